#include "sim/far_side.h"

#include "sim/models/peripherals.h"

namespace vex::sim::far {

bool pin_high(Instance& inst, uint32_t pin) {
    return inst.with_lock([&](State& s) { return models::gpio_pin_high(s, pin); });
}

void hold_pin_low(Instance& inst, uint32_t pin, bool low) {
    const uint64_t now = inst.now_ns();
    inst.with_lock([&](State& s) { models::gpio_pull(s, pin, low, now); });
}

}  // namespace vex::sim::far
