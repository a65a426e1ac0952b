#include "irq/slot_registers.h"

#include "frame/backplane.h"
#include "irq/single_slot.h"

namespace vex::irq {
namespace {

uint8_t bit(uint32_t slot) { return static_cast<uint8_t>(slot < 8 ? (1u << slot) : 0u); }

void set_bits(uint32_t reg, uint8_t bits, bool on) {
    const uint8_t v = plat::bus_read8(reg);
    plat::bus_write8(reg, static_cast<uint8_t>(on ? (v | bits) : (v & ~bits)));
}

}  // namespace

uint32_t enable_register(int32_t type) {
    return type >= 0 && type <= 2 ? kRegRisingEnable + 4u * static_cast<uint32_t>(type) : 0;
}
uint32_t latch_register(int32_t type) {
    return type >= 0 && type <= 2 ? kRegRisingLatch + 4u * static_cast<uint32_t>(type) : 0;
}

void acknowledge_slot_interrupt(uint32_t slot, int32_t type) {
    if (frame::controller_model() == frame::kModelSingleSlot) {
        rearm_single_slot_edges(type);
        return;
    }
    if (const uint32_t latch = latch_register(type)) plat::bus_write8(latch, bit(slot));
    plat::bus_write8(kRegEndOfInterrupt, kEndOfInterrupt);
}

void set_slot_interrupt_enabled(uint32_t slot, int32_t type, bool enable) {
    const uint8_t b = bit(slot);
    if (const uint32_t reg = enable_register(type)) set_bits(reg, b, enable);
    set_bits(kRegSlotGate, b, enable);
    if (!enable) acknowledge_slot_interrupt(slot, type);
}

}  // namespace vex::irq
