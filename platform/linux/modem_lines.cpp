#include "platform/linux/modem_lines.h"

#include <linux/serial.h>
#include <sys/ioctl.h>

#include <mutex>

#include "platform/linux/com_calls.h"
#include "sim/instance.h"
#include "sim/serial_ports.h"

namespace vex::plat {
namespace {

uint32_t status_from_tiocm(int m) {
    return ((m & TIOCM_CTS) ? kModemCts : 0) | ((m & TIOCM_DSR) ? kModemDsr : 0) |
           ((m & TIOCM_RNG) ? kModemRing : 0) | ((m & TIOCM_CAR) ? kModemRlsd : 0);
}

class TtyLines final : public ModemLines {
public:
    explicit TtyLines(int fd) : fd_(fd) {}

    bool status(uint32_t& bits) override {
        int m = 0;
        if (com_calls().ioctl(fd_, TIOCMGET, &m) != 0) return false;
        bits = status_from_tiocm(m);
        return true;
    }

    bool drive(ModemLine line, bool on) override {
        int bit = line == ModemLine::Rts ? TIOCM_RTS : TIOCM_DTR;
        return com_calls().ioctl(fd_, on ? TIOCMBIS : TIOCMBIC, &bit) == 0;
    }

    // From the driver's interrupt counters, or (drivers without them)
    // counted here from the line states, which can miss a pulse shorter
    // than the caller's look.
    bool transitions(std::array<uint32_t, 4>& counts) override {
        serial_icounter_struct ic{};
        if (com_calls().ioctl(fd_, TIOCGICOUNT, &ic) == 0) {
            counts = {static_cast<uint32_t>(ic.cts), static_cast<uint32_t>(ic.dsr), static_cast<uint32_t>(ic.rng),
                      static_cast<uint32_t>(ic.dcd)};
            return true;
        }
        uint32_t now = 0;
        if (!status(now)) return false;
        static constexpr uint32_t kBits[4] = {kModemCts, kModemDsr, kModemRing, kModemRlsd};
        std::lock_guard lock(mutex_);
        if (have_status_) {
            for (size_t k = 0; k < 4; ++k) {
                if ((now ^ last_status_) & kBits[k]) ++own_counts_[k];
            }
        }
        last_status_ = now;
        have_status_ = true;
        counts = own_counts_;
        return true;
    }

    void hang_up() override {}

private:
    const int fd_;  // owned by the port
    // The counting state of drivers without counters: written by whichever
    // thread looks at the lines, under mutex_.
    std::mutex mutex_;
    bool have_status_ = false;
    uint32_t last_status_ = 0;
    std::array<uint32_t, 4> own_counts_{};
};

// The lines live in the controller's state, under the instance's lock. The
// port is found by device name at each call, since the controller may
// rearrange its table of ports while this one stays open; a port it has
// dropped has no lines any more.
class ModelLines final : public ModemLines {
public:
    explicit ModelLines(std::string canonical) : canonical_(std::move(canonical)) {}

    bool status(uint32_t& bits) override {
        return with_port([&](sim::State& s, int i) { bits = sim::serial_port_status(s, i); });
    }

    bool drive(ModemLine line, bool on) override {
        const bool rts = line == ModemLine::Rts;
        return with_port([&](sim::State& s, int i) { sim::serial_port_drive(s, i, rts, on); });
    }

    bool transitions(std::array<uint32_t, 4>& counts) override {
        return with_port([&](sim::State& s, int i) {
            for (size_t k = 0; k < counts.size(); ++k) counts[k] = s.serial_ports[i].transitions[k];
        });
    }

    void hang_up() override {
        with_port([](sim::State& s, int i) {
            sim::serial_port_drive(s, i, false, false);
            sim::serial_port_drive(s, i, true, false);
        });
    }

private:
    template <typename F>
    bool with_port(F&& f) {
        sim::Instance* inst = sim::current();
        if (!inst) return false;
        return inst->with_lock([&](sim::State& s) {
            const int i = sim::serial_port_index(s, canonical_.c_str());
            if (i < 0) return false;
            f(s, i);
            return true;
        });
    }

    const std::string canonical_;
};

}  // namespace

std::unique_ptr<ModemLines> open_modem_lines(int fd, const std::string& canonical) {
    if (sim::Instance* inst = sim::current()) {
        const bool modelled = inst->with_lock(
            [&](sim::State& s) { return sim::serial_port_index(s, canonical.c_str()) >= 0; });
        if (modelled) return std::make_unique<ModelLines>(canonical);
    }
    return std::make_unique<TtyLines>(fd);
}

}  // namespace vex::plat
