// The backplane's timer block: three interval timers, the millisecond and
// microsecond counters, and the control and status registers that the
// timers share with hot-plug notification.
//
// Units: timers count in steps of 100 microseconds (kTimerUnitNs).
//   timer 0   first value 0x9020/0x9022, second value 0x9024/0x9026: its
//             output is high for `first` steps, then low for `second` steps,
//             and it ticks at the start of every period (first + second).
//             Writing the high byte of the second value (0x9026) loads it.
//   timer 1   interval 0x9038/0x903A, loaded by writing 0x903A
//   timer 2   interval 0x903C/0x903E, loaded by writing 0x903E
// Loading a period of 0 stops the timer; any other period starts it afresh
// from the moment of the load. Ticks fall exactly on the load time plus
// whole periods of the instance clock, however late anyone looks.
//
// A tick sets the timer's status bit in 0x900E (timer 0 bit 2, timer 1 bit 0,
// timer 2 bit 1) and raises its interrupt (67 + n). Writing 1 bits to 0x900E
// clears them; a tick that finds its bit still set raises nothing (it is
// counted as merged). Bit 3 of 0x900E is the hot-plug pending bit, set by a
// module being plugged or unplugged while bit 3 of 0x900A enables it;
// bit 2 of 0x900A switches timer 0's output on.
//
// 0x9028..0x902E count milliseconds since power-up (least significant byte
// first), 0x9040 microseconds (low 8 bits). Each byte is computed when read,
// so a carry between two byte reads shows, as on the bus.
#include <climits>

#include "sim/interrupt_lines.h"
#include "sim/models/models.h"

namespace vex::sim::models {
namespace {

constexpr uint32_t kControl = 0x900A;
constexpr uint32_t kStatus = 0x900E;
constexpr uint32_t kTimer0First = 0x9020;
constexpr uint32_t kMsCounter = 0x9028;
constexpr uint32_t kTimer1 = 0x9038;
constexpr uint32_t kUsCounter = 0x9040;
constexpr uint8_t kStatusBit[3] = {0x04, 0x01, 0x02};
constexpr uint8_t kHotPlugBit = 0x08;

// Index in IrqState::timer_regs of a timer register, or -1.
int timer_reg_index(uint32_t offset) {
    if (offset >= kTimer0First && offset <= kTimer0First + 6 && offset % 2 == 0) return static_cast<int>((offset - kTimer0First) / 2);
    if (offset >= kTimer1 && offset <= kTimer1 + 6 && offset % 2 == 0) return 4 + static_cast<int>((offset - kTimer1) / 2);
    return -1;
}

uint32_t word(const IrqState& q, int first_index) {
    return static_cast<uint32_t>(q.timer_regs[first_index] | (q.timer_regs[first_index + 1] << 8));
}

uint64_t period_units(const IrqState& q, int timer) {
    if (timer == 0) return word(q, 0) + word(q, 2);
    return word(q, timer == 1 ? 4 : 6);
}

void load(State& s, int timer, uint64_t now) {
    BackplaneTimer& t = s.irq.timers[timer];
    const uint64_t units = period_units(s.irq, timer);
    t = BackplaneTimer{};
    if (units != 0) {
        t.start_ns = now;
        t.period_ns = units * kTimerUnitNs;
        t.next_ns = now + t.period_ns;
    }
    reschedule_irq(s, kIrqLineTimer0 + timer);
}

uint8_t counter_byte(const State& s, uint32_t offset, uint64_t now) {
    const uint64_t since = now - s.epoch_ns;
    if (offset == kUsCounter) return static_cast<uint8_t>(since / 1000);
    const uint32_t ms = static_cast<uint32_t>(since / 1000000);
    return static_cast<uint8_t>(ms >> (8 * ((offset - kMsCounter) / 2)));
}

void mirror(State& s, uint64_t now) {
    s.image[kControl] = s.irq.control;
    s.image[kStatus] = s.irq.status;
    for (int i = 0; i < 4; ++i) {
        s.image[kTimer0First + 2 * i] = s.irq.timer_regs[i];
        s.image[kTimer1 + 2 * i] = s.irq.timer_regs[4 + i];
        s.image[kMsCounter + 2 * i] = counter_byte(s, kMsCounter + 2 * static_cast<uint32_t>(i), now);
    }
    s.image[kUsCounter] = counter_byte(s, kUsCounter, now);
}

}  // namespace

bool is_timer_register(uint32_t offset) {
    return offset == kControl || offset == kStatus || timer_reg_index(offset) >= 0 || offset == kUsCounter ||
           (offset >= kMsCounter && offset <= kMsCounter + 6 && offset % 2 == 0);
}

void timers_advance(State& s, uint64_t now) {
    for (int n = 0; n < 3; ++n) {
        BackplaneTimer& t = s.irq.timers[n];
        if (!t.start_ns || now < t.next_ns) continue;
        const uint64_t k = (now - t.next_ns) / t.period_ns + 1;
        t.ticks += k;
        t.next_ns += k * t.period_ns;
        if (s.irq.status & kStatusBit[n]) {
            t.merged += k;
        } else {
            t.merged += k - 1;
            s.irq.status |= kStatusBit[n];
            raise_irq(s, kIrqLineTimer0 + n);
        }
    }
    s.image[kStatus] = s.irq.status;
}

uint64_t timer_deadline(const State& s, int timer) {
    const BackplaneTimer& t = s.irq.timers[timer];
    return t.start_ns ? t.next_ns : UINT64_MAX;
}

bool timer0_output(const State& s, uint64_t now) {
    const BackplaneTimer& t = s.irq.timers[0];
    if (!(s.irq.control & 0x04) || !t.start_ns) return false;
    return (now - t.start_ns) % t.period_ns < word(s.irq, 0) * kTimerUnitNs;
}

uint8_t timer_read(State& s, uint32_t offset, uint64_t now) {
    timers_advance(s, now);
    mirror(s, now);
    return s.image[offset];
}

void timer_write(State& s, uint32_t offset, uint8_t value, uint64_t now) {
    timers_advance(s, now);
    IrqState& q = s.irq;
    if (offset == kControl) {
        q.control = value;
    } else if (offset == kStatus) {
        q.status = static_cast<uint8_t>(q.status & ~value);
    } else if (const int i = timer_reg_index(offset); i >= 0) {
        q.timer_regs[i] = value;
        if (i == 3) load(s, 0, now);
        if (i == 5) load(s, 1, now);
        if (i == 7) load(s, 2, now);
    }
    // The counters are read-only.
    mirror(s, now);
}

void timers_power_up(State& s, uint64_t now) {
    IrqState& q = s.irq;
    q.control = 0;
    q.status = 0;
    for (uint8_t& r : q.timer_regs) r = 0;
    for (BackplaneTimer& t : q.timers) t = BackplaneTimer{};
    mirror(s, now);
}

void hotplug_event(State& s) {
    if (s.irq.control & kHotPlugBit) s.irq.status |= kHotPlugBit;
    s.image[kStatus] = s.irq.status;
}

}  // namespace vex::sim::models
