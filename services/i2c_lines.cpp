#include "services/i2c_lines.h"

#include <algorithm>

#include "platform/gpio.h"
#include "platform/system.h"

namespace vex::services::i2c {

void spin(uint32_t loops) {
    for (uint32_t i = 0; i < loops; ++i) asm volatile("" ::: "memory");  // kept by the compiler
}

uint32_t calibrate_delay_loops(uint32_t unit_ns) {
    constexpr uint32_t kProbe = 20000;
    const uint64_t warm_until = plat::monotonic_ns() + 2000000;
    while (plat::monotonic_ns() < warm_until) spin(1000);
    uint64_t fastest = UINT64_MAX;
    for (int run = 0; run < 5; ++run) {
        const uint64_t t0 = plat::monotonic_ns();
        spin(kProbe);
        fastest = std::min(fastest, plat::monotonic_ns() - t0);
    }
    if (fastest == 0) fastest = 1;
    const uint64_t loops = (static_cast<uint64_t>(unit_ns) * kProbe + fastest - 1) / fastest;
    return static_cast<uint32_t>(std::clamp<uint64_t>(loops, kMinDelayLoops, 100000000));
}

void GpioLines::scl(bool high) {
    high ? plat::gpio::set(scl_pin_) : plat::gpio::clear(scl_pin_);
    spin(loops_);
}

void GpioLines::sda(bool high) {
    high ? plat::gpio::set(sda_pin_) : plat::gpio::clear(sda_pin_);
    spin(loops_);
}

void GpioLines::sda_output(bool driven) {
    driven ? plat::gpio::make_output(sda_pin_) : plat::gpio::make_input(sda_pin_);
    spin(loops_);
}

bool GpioLines::sda_level() { return plat::gpio::level(sda_pin_) != 0; }

}  // namespace vex::services::i2c
