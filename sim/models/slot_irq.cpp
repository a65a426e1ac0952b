// The backplane's slot interrupt controller.
//
// Each slot has an interrupt line from its module. Three latches per slot
// catch what happens on it, one per trigger type, each only while its
// enable bit is set: 0x9012 a rising edge (enable 0x9010), 0x9016 the line
// being high (0x9014; a level latch sets again at once when cleared while
// the line is still high), 0x901A a falling edge (0x9018). Writing 1 bits
// to a latch clears them. A slot is pending while one of its latches is set
// with its enable, and 0x9044 lets it through to the processor.
//
// The processor sees one interrupt per slot (kernel interrupt 38 + n) each
// time the slot becomes pending. Delivery puts the slot in service; while
// in service a new pending edge waits. Writing 0xFF to 0x9006 (end of
// interrupt) ends service for every slot that is no longer pending or that
// became pending again meanwhile, and delivers the latter at once. A slot
// that stays pending without being cleared (a callback that leaves the
// latch for later) gets no further interrupt until it is cleared and the
// end of interrupt written. Retrigger (0x900C): a slot whose bit is set
// there is delivered again at every end of interrupt while still pending.
//
// An interrupt that nobody has bound is not taken by the processor: the
// slot does not enter service, and the first process that binds it later
// receives it at once (see sim/interrupt_lines.cpp).
//
// The single-slot controller has no such block: its slot's line reaches the
// processor's GPIO 3 through an open-drain driver, so an asserted line holds
// the pin low and a pulse pulls it low and lets it go (a falling and a
// rising edge). The GPIO block latches the edges its rising- and
// falling-edge enables ask for; the processor's interrupt controller then
// raises interrupt 66, clears the pin's edge status and masks both of its
// edge enables, which the library's acknowledge enables again.
#include <cctype>

#include "platform/gpio.h"
#include "sim/interrupt_lines.h"
#include "sim/models/models.h"
#include "sim/models/peripherals.h"

namespace vex::sim::models {
namespace {

constexpr uint32_t kEndOfInterrupt = 0x9006;
constexpr uint32_t kRetrigger = 0x900C;
constexpr uint32_t kGate = 0x9044;
constexpr uint32_t kEnable[3] = {0x9010, 0x9014, 0x9018};
constexpr uint32_t kLatch[3] = {0x9012, 0x9016, 0x901A};
constexpr int kRising = 0, kLevel = 1, kFalling = 2;
constexpr uint32_t kSlotPin = 3;  // GPIO of the single-slot controller's slot line

bool single_slot_hardware(const char* id) {
    return std::toupper(static_cast<unsigned char>(id[0])) == 'L' &&
           std::toupper(static_cast<unsigned char>(id[1])) == 'T' && id[2] == '4';
}

// Interrupt 66: the kernel takes the edge and masks the pin until re-armed.
void deliver_single_slot(State& s) {
    if (!irq_line_bound(s, kIrqLineSingleSlot)) return;  // stays latched for whoever binds
    GpioState& g = s.peripherals.gpio;
    const uint32_t b = plat::gpio::bit(kSlotPin);
    g.edge[0] &= ~b;
    g.rising[0] &= ~b;
    g.falling[0] &= ~b;
    raise_irq(s, kIrqLineSingleSlot);
}

uint8_t bit(int slot) { return static_cast<uint8_t>(1u << slot); }

void mirror(State& s) {
    IrqState& q = s.irq;
    for (int t = 0; t < 3; ++t) {
        s.image[kEnable[t]] = q.enable[t];
        s.image[kLatch[t]] = q.latch[t];
    }
    s.image[kGate] = q.gate;
    s.image[kRetrigger] = q.retrigger;
}

uint8_t compute_pending(const IrqState& q) {
    const uint8_t latched = static_cast<uint8_t>((q.latch[kRising] & q.enable[kRising]) |
                                                 (q.latch[kLevel] & q.enable[kLevel]) |
                                                 (q.latch[kFalling] & q.enable[kFalling]));
    return static_cast<uint8_t>(latched & q.gate);
}

void deliver(State& s, int slot) {
    if (raise_irq(s, slot)) s.irq.in_service |= bit(slot);
}

// Recomputes the pending set after any change and delivers new ones.
void update(State& s) {
    IrqState& q = s.irq;
    q.latch[kLevel] |= static_cast<uint8_t>(q.line & q.enable[kLevel]);
    const uint8_t now = compute_pending(q);
    const uint8_t rising = static_cast<uint8_t>(now & ~q.pending);
    q.pending = now;
    for (int n = 0; n < kSlots; ++n) {
        if (!(rising & bit(n))) continue;
        if (q.in_service & bit(n))
            q.deferred |= bit(n);
        else
            deliver(s, n);
    }
    mirror(s);
}

void end_of_interrupt(State& s) {
    IrqState& q = s.irq;
    const uint8_t p = q.pending;
    const uint8_t release =
        static_cast<uint8_t>(q.in_service & (~p | q.deferred | (q.retrigger & p)));
    q.in_service = static_cast<uint8_t>(q.in_service & ~release);
    q.deferred = static_cast<uint8_t>(q.deferred & ~release);
    for (int n = 0; n < kSlots; ++n) {
        if (release & p & bit(n)) deliver(s, n);
    }
}

}  // namespace

bool is_slot_irq_register(uint32_t offset) {
    switch (offset) {
    case kEndOfInterrupt:
    case kRetrigger:
    case kGate:
    case 0x9010: case 0x9012: case 0x9014: case 0x9016: case 0x9018: case 0x901A:
        return true;
    default:
        return false;
    }
}

uint8_t slot_irq_read(State& s, uint32_t offset) {
    // The end of interrupt is write-only and reads as a floating bus.
    return offset == kEndOfInterrupt ? 0xFF : s.image[offset];
}

void slot_irq_write(State& s, uint32_t offset, uint8_t value) {
    IrqState& q = s.irq;
    switch (offset) {
    case kEndOfInterrupt:
        if (value == 0xFF) end_of_interrupt(s);
        return;
    case kRetrigger:
        q.retrigger = value;
        break;
    case kGate:
        q.gate = value;
        break;
    default:
        for (int t = 0; t < 3; ++t) {
            if (offset == kEnable[t]) q.enable[t] = value;
            if (offset == kLatch[t]) q.latch[t] = static_cast<uint8_t>(q.latch[t] & ~value);
        }
        break;
    }
    update(s);
}

void slot_irq_power_up(State& s) {
    IrqState& q = s.irq;
    for (int t = 0; t < 3; ++t) q.enable[t] = q.latch[t] = 0;
    q.gate = q.retrigger = q.line = q.pending = q.in_service = q.deferred = 0;
    q.single_slot = single_slot_hardware(s.hardware_id) ? 1 : 0;
    mirror(s);
}

void slot_line_level(State& s, int slot, bool high, uint64_t now) {
    IrqState& q = s.irq;
    const bool was = (q.line & bit(slot)) != 0;
    if (high == was) return;
    if (q.single_slot) {
        q.line = static_cast<uint8_t>(high ? (q.line | bit(slot)) : (q.line & ~bit(slot)));
        if (slot == 0) gpio_pull(s, kSlotPin, high, now);
        return;
    }
    if (high) {
        q.line |= bit(slot);
        q.latch[kRising] |= static_cast<uint8_t>(bit(slot) & q.enable[kRising]);
    } else {
        q.line = static_cast<uint8_t>(q.line & ~bit(slot));
        q.latch[kFalling] |= static_cast<uint8_t>(bit(slot) & q.enable[kFalling]);
    }
    update(s);
}

void slot_line_pulse(State& s, int slot, Pulse kind, uint64_t now) {
    IrqState& q = s.irq;
    const uint8_t b = bit(slot);
    if (q.single_slot) {
        // Whatever the kind, the pin sees both edges (unless the line is
        // held asserted already).
        if (slot != 0 || (q.line & b)) return;
        gpio_pull(s, kSlotPin, true, now);
        gpio_pull(s, kSlotPin, false, now);
        return;
    }
    if (kind == Pulse::Full || kind == Pulse::Rising) q.latch[kRising] |= static_cast<uint8_t>(b & q.enable[kRising]);
    if (kind == Pulse::Full || kind == Pulse::Level) q.latch[kLevel] |= static_cast<uint8_t>(b & q.enable[kLevel]);
    if (kind == Pulse::Full || kind == Pulse::Falling)
        q.latch[kFalling] |= static_cast<uint8_t>(b & q.enable[kFalling]);
    update(s);
}

void gpio_edges_latched(State& s, int bank, uint32_t bits) {
    if (s.irq.single_slot && bank == 0 && (bits & plat::gpio::bit(kSlotPin))) deliver_single_slot(s);
}

bool slot_irq_take_pending(State& s, int slot) {
    IrqState& q = s.irq;
    if (slot == kIrqLineSingleSlot) {
        GpioState& g = s.peripherals.gpio;
        const uint32_t b = plat::gpio::bit(kSlotPin);
        if (!q.single_slot || !(g.edge[0] & b)) return false;
        g.edge[0] &= ~b;
        g.rising[0] &= ~b;
        g.falling[0] &= ~b;
        return true;
    }
    if (!(q.pending & bit(slot))) return false;
    q.in_service |= bit(slot);
    q.deferred = static_cast<uint8_t>(q.deferred & ~bit(slot));
    return true;
}

}  // namespace vex::sim::models
