// Routes slot-page accesses to the module plugged into the slot.
#include <cstring>

#include "sim/models/models.h"

namespace vex::sim::models {
namespace {
ModuleKind kind_of(const State& s, int slot) { return static_cast<ModuleKind>(s.slots[slot].kind); }
}  // namespace

uint8_t slot_read(State& s, int slot, uint32_t offset, uint64_t now) {
    switch (kind_of(s, slot)) {
    case ModuleKind::Parallel:
        return parallel_read(s, slot, offset, now);
    case ModuleKind::Serial:
        // A serial module shows only its identification register.
        return offset == 0 ? 0xFF : 0xFF;
    case ModuleKind::Empty:
        break;
    }
    return 0xFF;
}

void slot_write(State& s, int slot, uint32_t offset, uint8_t value, uint64_t now) {
    if (kind_of(s, slot) == ModuleKind::Parallel) parallel_write(s, slot, offset, value, now);
}

void slot_install(State& s, int slot, const SlotDescription& d, uint64_t now) {
    Slot& sl = s.slots[slot];
    std::memset(&sl, 0, sizeof sl);
    sl.kind = static_cast<uint8_t>(d.kind);
    sl.id = d.kind == ModuleKind::Serial ? 0xFF : d.id;
    s.irq.input_rising[slot] = d.kind == ModuleKind::Parallel ? d.irq_rising : 0;
    s.irq.input_falling[slot] = d.kind == ModuleKind::Parallel ? d.irq_falling : 0;
    slot_line_level(s, slot, false, now);
    if (d.kind == ModuleKind::Parallel) {
        parallel_power_up(s, slot, d, now);
    } else if (d.kind == ModuleKind::Serial) {
        SerialSlotModule& m = sl.serial;
        std::strncpy(m.kind, d.serial_kind.c_str(), sizeof m.kind - 1);
        m.address = d.address;
        m.di_channels = d.di_channels;
        m.do_channels = d.do_channels;
        m.ai_channels = d.ai_channels;
        m.ao_channels = d.ao_channels;
        m.di = d.di;
    }
    backplane_update_presence(s);
}

void slot_remove(State& s, int slot, uint64_t now) {
    std::memset(&s.slots[slot], 0, sizeof s.slots[slot]);
    s.irq.input_rising[slot] = s.irq.input_falling[slot] = 0;
    slot_line_level(s, slot, false, now);  // the module's line goes with it
    backplane_update_presence(s);
}

}  // namespace vex::sim::models
