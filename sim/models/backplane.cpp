// The backplane's own register block at 0x9000 of the window.
#include "sim/models/models.h"

namespace vex::sim::models {
namespace {

constexpr uint32_t kVersion = 0x9000;
constexpr uint32_t kDipSwitch = 0x9002;
constexpr uint32_t kSlotSelect = 0x9004;
constexpr uint32_t kPresence = 0x9008;
constexpr uint32_t kSlotCount = 0x9046;

uint8_t& reg(State& s, uint32_t off) { return s.image[off]; }

}  // namespace

void backplane_update_presence(State& s) {
    uint8_t presence = 0xFF;  // active low: a 0 bit is a module
    for (int i = 0; i < kSlots; ++i) {
        if (s.slots[i].kind != static_cast<uint8_t>(ModuleKind::Empty))
            presence = static_cast<uint8_t>(presence & ~(1u << i));
    }
    reg(s, kPresence) = presence;
}

void backplane_power_up(State& s, const Description& d) {
    s.backplane_version = d.backplane_version;
    s.dip_switch = d.dip_switch;
    s.cpu_id = d.cpu_id;
    s.slot_count_code = static_cast<uint8_t>(d.slot_count >= 8 ? 7 : d.slot_count);
    reg(s, kVersion) = d.backplane_version;
    reg(s, kDipSwitch) = static_cast<uint8_t>(~d.dip_switch);
    reg(s, kSlotSelect) = 0xFF;
    s.slot_select = 0xFF;
    // Unused bits of the count register float high.
    reg(s, kSlotCount) = static_cast<uint8_t>(0xF8 | s.slot_count_code);
    // The CPU identifier sits in the top three bits of the word at offset 0.
    const uint16_t cpu_word = static_cast<uint16_t>(d.cpu_id << 13);
    s.image[0] = static_cast<uint8_t>(cpu_word & 0xFF);
    s.image[1] = static_cast<uint8_t>(cpu_word >> 8);
    backplane_update_presence(s);
    slot_irq_power_up(s);
    timers_power_up(s, s.epoch_ns);
}

uint8_t backplane_read(State& s, uint32_t offset, uint64_t now) {
    if (is_slot_irq_register(offset)) return slot_irq_read(s, offset);
    if (is_timer_register(offset)) return timer_read(s, offset, now);
    switch (offset) {
    case kDipSwitch:
        return static_cast<uint8_t>(~s.dip_switch);  // switches read active low
    case kSlotSelect:
        return 0xFF;  // write-only registers read as a floating bus
    default:
        return reg(s, offset);
    }
}

void backplane_write(State& s, uint32_t offset, uint8_t value, uint64_t now) {
    if (is_slot_irq_register(offset)) return slot_irq_write(s, offset, value);
    if (is_timer_register(offset)) return timer_write(s, offset, value, now);
    switch (offset) {
    case kVersion:
    case kDipSwitch:   // the switch is an input; writes do not move it
    case kPresence:
    case kSlotCount:
    case 0x901C:       // battery and storage status
        return;
    case kSlotSelect:
        s.slot_select = value;
        return;
    default:
        reg(s, offset) = value;
    }
}

}  // namespace vex::sim::models
