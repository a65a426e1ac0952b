// Routes slot-page accesses to the module plugged into the slot.
#include <cstring>

#include "sim/models/models.h"
#include "sim/serial_modules/control.h"

namespace vex::sim::models {
namespace {
ModuleKind kind_of(const State& s, int slot) { return static_cast<ModuleKind>(s.slots[slot].kind); }
}  // namespace

uint8_t slot_read(State& s, int slot, uint32_t offset, uint64_t now) {
    switch (kind_of(s, slot)) {
    case ModuleKind::Parallel:
        return parallel_read(s, slot, offset, now);
    case ModuleKind::Serial:
        // A serial module shows only its identification register (255);
        // the rest of its page floats.
        return 0xFF;
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
    } else if (d.kind == ModuleKind::Serial && !serial::slot_install(s, slot, d.serial, now)) {
        sl.kind = static_cast<uint8_t>(ModuleKind::Empty);  // no room for another serial module
    }
    backplane_update_presence(s);
}

void slot_remove(State& s, int slot, uint64_t now) {
    serial::slot_remove(s, slot);
    std::memset(&s.slots[slot], 0, sizeof s.slots[slot]);
    s.irq.input_rising[slot] = s.irq.input_falling[slot] = 0;
    slot_line_level(s, slot, false, now);  // the module's line goes with it
    backplane_update_presence(s);
}

}  // namespace vex::sim::models
