// The built-in virtual controller as the unified I/O calls meet it, with
// both traces at hand: the register writes (parallel-bus modules) and the
// serial exchanges (serial modules, whatever their address form).
//
//   slot 0  parallel, ID 0x2F, 32 DO, read-back, watchdog
//   slot 2  parallel, 8 DI / 8 DO        slot 3  serial "4308" (8/8), DI 0x05
//   slot 6  empty                        slot 7  serial "4504P" (4 AO)
//   COM1:01 "4408" (8 AI)   COM1:02 "4216" (16 DO)
//   COM1:10 unit: slot 0 "4116" (16 DI, DI 0x0101), slot 1 "4502" (2 AO)
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/sim/serial_fixture.h"

namespace vex::test {

inline constexpr int32_t kUnit10 = 0x100000 | (0x10 << 8);

class UnifiedSim : public SerialSim {
protected:
    void SetUp() override {
        SerialSim::SetUp();
        com0_ = open_port("COM0:");
        com1_ = open_port("COM1:");
    }

    // The command of the latest exchange, without its terminator.
    std::string sent() {
        const std::string e = last_exchange();
        return e.substr(0, e.find("\r ->"));
    }
    uint32_t serial_mark() { return sim().with_lock([](sim::State& s) { return s.serial.trace_next; }); }
    // Commands sent since a mark, terminators cut off.
    std::vector<std::string> sent_since(uint32_t mark) {
        return sim().with_lock([mark](sim::State& s) {
            std::vector<std::string> out;
            for (uint32_t k = mark; k != s.serial.trace_next; ++k) {
                const sim::SerialTraceEntry& e = s.serial.trace[k % sim::kSerialTraceEntries];
                const std::string c(e.command, e.command_len);
                out.push_back(c.substr(0, c.find('\r')));
            }
            return out;
        });
    }
    uint32_t register_mark() { return sim().with_lock([](sim::State& s) { return s.trace_next; }); }
    // Register writes (window offset, value) since a mark.
    std::vector<std::pair<uint32_t, uint32_t>> writes_since(uint32_t mark) {
        return sim().with_lock([mark](sim::State& s) {
            std::vector<std::pair<uint32_t, uint32_t>> out;
            for (uint32_t k = mark; k != s.trace_next; ++k) {
                const sim::TraceEntry& e = s.trace[k % sim::kTraceEntries];
                if (e.kind == 1 || e.kind == 2) out.emplace_back(e.offset, e.value);
            }
            return out;
        });
    }
    static uint32_t error() { return vex_GetLastError(); }

    VEX_PORT com1_ = VEX_INVALID_PORT;
};

}  // namespace vex::test
