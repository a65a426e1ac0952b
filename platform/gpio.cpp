#include "platform/gpio.h"

#include <memory>
#include <string>

#include "platform/named_mutex.h"
#include "platform/system.h"
#include "platform/target.h"

namespace vex::plat::gpio {
namespace {

// Set by attach_lock before any export runs, cleared by detach_lock after
// the last (both from the load sequence, under the controller's lock); read
// by every export without a lock. The named mutex it points to serialises
// the GPIO lines across processes.
NamedMutex* g_lock = nullptr;

class Hold {
public:
    Hold() {
        // A process that died mid-update left the register as written or as
        // it was; either is a valid register value, so nothing to repair.
        if (g_lock) (void)g_lock->lock();
    }
    ~Hold() {
        if (g_lock) g_lock->unlock();
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
};

void update(uint32_t offset, uint32_t clear_bits, uint32_t set_bits) {
    Hold hold;
    const uint32_t v = reg_read(Page::Gpio, offset);
    reg_write(Page::Gpio, offset, (v & ~clear_bits) | set_bits);
}

void update_bit(uint32_t bank0_offset, uint32_t pin, bool on) {
    if (pin >= kPins) return;
    update(reg_of_pin(bank0_offset, pin), bit(pin), on ? bit(pin) : 0);
}

}  // namespace

void select_function(uint32_t pin, uint32_t function) {
    if (pin >= kPins) return;
    const uint32_t shift = (pin & 15) * 2;
    update(alt_function_reg(pin), 3u << shift, (function & 3u) << shift);
}

void make_output(uint32_t pin) { update_bit(kDirection, pin, true); }
void make_input(uint32_t pin) { update_bit(kDirection, pin, false); }
void set_rising_edge(uint32_t pin, bool enabled) { update_bit(kRisingEdge, pin, enabled); }
void set_falling_edge(uint32_t pin, bool enabled) { update_bit(kFallingEdge, pin, enabled); }

void attach_lock() {
    if (g_lock) return;
    std::string why;
    g_lock = NamedMutex::open(shared_object_name("GPIO"), &why).release();
    // Without it the lines still work, unguarded against other processes'
    // read-modify-writes: worth a line in the system log.
    if (!g_lock) log_problem("GPIO lock: " + why);
}

void detach_lock() {
    delete g_lock;
    g_lock = nullptr;
}

}  // namespace vex::plat::gpio
