// The processor's OS timer: a 3.25 MHz counter from power-up, four match
// registers that latch status bits when the counter reaches them, the
// interrupt enables and the watchdog enable. Matches are evaluated when the
// page is accessed, from the instance clock, so they hold exactly whichever
// process looks and however long nobody did.
#include "sim/models/peripherals.h"

namespace vex::sim::models {

// The epoch moves when a system watchdog resets the controller, and the
// counter is read without the instance lock: load it atomically.
uint64_t os_timer_ticks(const State& s, uint64_t now) {
    const uint64_t epoch = __atomic_load_n(&s.epoch_ns, __ATOMIC_ACQUIRE);
    return now > epoch ? (now - epoch) * 13 / 4000 : 0;
}

namespace {

uint64_t ticks(const State& s, uint64_t now) { return os_timer_ticks(s, now); }

void evaluate_matches(State& s, uint64_t now) {
    OsTimerState& t = s.peripherals.os_timer;
    const uint64_t to = ticks(s, now);
    if (to <= t.evaluated_ticks) return;
    const uint64_t passed = to - t.evaluated_ticks;
    const uint32_t from = static_cast<uint32_t>(t.evaluated_ticks);
    for (uint32_t n = 0; n < 4; ++n) {
        // The counter reached match n when it stepped onto it in (from, to].
        const uint32_t distance = t.match[n] - from;
        if ((distance != 0 && distance <= passed) || passed >= (1ull << 32)) t.status |= 1u << n;
    }
    t.evaluated_ticks = to;
}

}  // namespace

uint32_t os_timer_count(const State& s, uint64_t now) { return static_cast<uint32_t>(ticks(s, now)); }

uint32_t os_timer_read(State& s, uint32_t offset, uint64_t now) {
    evaluate_matches(s, now);
    const OsTimerState& t = s.peripherals.os_timer;
    switch (offset) {
    case plat::ost::kCount: return os_timer_count(s, now);
    case plat::ost::kStatus: return t.status;
    case plat::ost::kWatchdogEnable: return t.watchdog_enable;
    case plat::ost::kIrqEnable: return t.irq_enable;
    default: return offset < 0x10 && offset % 4 == 0 ? t.match[offset / 4] : 0;
    }
}

void os_timer_write(State& s, uint32_t offset, uint32_t value, uint64_t now) {
    evaluate_matches(s, now);
    OsTimerState& t = s.peripherals.os_timer;
    switch (offset) {
    case plat::ost::kCount: return;  // the counter is free-running here
    case plat::ost::kStatus: t.status &= ~(value & 0xFu); return;
    case plat::ost::kWatchdogEnable: t.watchdog_enable = value & 1u; return;
    case plat::ost::kIrqEnable: t.irq_enable = value & 0xFu; return;
    default:
        if (offset < 0x10 && offset % 4 == 0) t.match[offset / 4] = value;
    }
}

}  // namespace vex::sim::models
