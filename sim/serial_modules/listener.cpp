// The serial modules on the line: a listener on every port of the host that
// cuts commands out of what the port's user writes, has the bus answer them
// (bus.h) and sends the answer back, at once or paced as a wire would.
//
// Pacing (a port setting, off unless described): an answer starts when the
// command would have finished arriving on a wire at the line's baud rate,
// plus the port's turnaround time, and its characters follow one character
// time apart (the character time from the line settings the port's user
// made on the pseudo-terminal). A dribbling fault spaces them further.
//
// When the port's user starts a new command while an answer is still going
// out, the rest of that answer is dropped: the host has given up on it.
//
// Runs on the host's serial thread; takes the instance's state lock for
// each command (and once per chunk of bytes for the port's settings).
#include <algorithm>
#include <cstring>
#include <string>

#include "sim/host.h"
#include "sim/serial_modules/bus.h"
#include "sim/serial_modules/framing.h"
#include "sim/serial_ports.h"

namespace vex::sim::serial {
namespace {

class ModuleListener : public SerialListener {
public:
    ModuleListener(Instance& instance, std::string port) : instance_(instance), port_(std::move(port)) {}

    void received(SerialLine& line, const uint8_t* data, size_t size) override {
        struct Settings {
            int index = -1;
            std::string terminator;
            bool pacing = false;
            uint16_t turnaround_ms = 0;
        };
        const Settings set = instance_.with_lock([&](State& s) {
            Settings out;
            out.index = bus_port_index(s, port_);
            if (out.index >= 0) {
                const SerialBusPort& p = s.serial.ports[out.index];
                out.terminator.assign(p.terminator, strnlen(p.terminator, sizeof p.terminator));
                out.pacing = p.pacing != 0;
                out.turnaround_ms = p.turnaround_ms;
            }
            return out;
        });
        if (set.index < 0) return;  // a port the description does not know: nobody on it
        assembler_.set_terminator(set.terminator);
        for (size_t i = 0; i < size; ++i) {
            if (assembler_.idle()) line.drop_pending();
            if (!assembler_.feed(data[i])) continue;
            const std::string& command = assembler_.command();
            const Answer a = instance_.with_lock(
                [&](State& s) { return answer_command(s, set.index, command, instance_.now_ns()); });
            if (a.bytes.empty()) continue;
            uint64_t first = 0, gap = static_cast<uint64_t>(a.gap_ms) * 1000000u;
            if (set.pacing) {
                const uint64_t t = line.char_time_ns();
                first = (command.size() + set.terminator.size() + 1) * t + set.turnaround_ms * 1000000ull;
                gap = std::max(gap, t);
            }
            if (first == 0 && gap == 0)
                line.send(a.bytes.data(), a.bytes.size());
            else
                line.send_timed(a.bytes, first, gap);
        }
    }

private:
    Instance& instance_;
    std::string port_;
    CommandAssembler assembler_;
};

std::unique_ptr<SerialListener> make_listener(Instance& instance, const std::string& port) {
    return std::make_unique<ModuleListener>(instance, port);
}

[[maybe_unused]] const bool registered = register_serial_listener("serial-modules", &make_listener);

}  // namespace
}  // namespace vex::sim::serial
