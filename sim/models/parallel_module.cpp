// Parallel-bus digital modules: identification, input and output registers.
// Registers sit at even offsets (the bus has a stride of 2). The read and
// write sides of one offset are different registers: offset 0 reads the
// module ID but writes outputs 0..7.
#include "sim/models/models.h"

namespace vex::sim::models {
namespace {

ParallelModule& mod(State& s, int slot) { return s.slots[slot].parallel; }

uint32_t channel_mask(uint8_t channels) {
    return channels >= 32 ? 0xFFFFFFFFu : ((1u << channels) - 1u);
}

uint8_t byte_of(uint32_t v, int i) { return static_cast<uint8_t>(v >> (8 * i)); }

}  // namespace

void parallel_power_up(State& s, int slot, const SlotDescription& d, uint64_t) {
    ParallelModule& m = mod(s, slot);
    m.di_channels = d.di_channels;
    m.do_channels = d.do_channels;
    m.readback = d.readback;
    m.watchdog = d.watchdog;
    m.subtype = d.subtype;
    m.capability = d.capability ? *d.capability
                                : static_cast<uint8_t>(((d.readback || d.watchdog) ? 0x20 : 0) |
                                                       (d.version & 0x1F));
    m.di = d.di & channel_mask(d.di_channels);
    m.do_latch = 0;
}

void parallel_advance(State&, int, uint64_t) {}

uint8_t parallel_read(State& s, int slot, uint32_t offset, uint64_t now) {
    parallel_advance(s, slot, now);
    ParallelModule& m = mod(s, slot);
    switch (offset) {
    case 0x00:
        return s.slots[slot].id;
    case 0x02:
    case 0x04:
    case 0x06:
    case 0x08: {
        // Inputs read active low; lines beyond the module's width float high.
        const int i = static_cast<int>(offset / 2 - 1);
        return static_cast<uint8_t>(~byte_of(m.di & channel_mask(m.di_channels), i));
    }
    case 0x0E:
        return m.capability;
    case 0x10:
    case 0x12:
    case 0x14:
    case 0x16:
        if (m.readback) return byte_of(m.do_latch, static_cast<int>((offset - 0x10) / 2));
        return offset == 0x10 ? m.subtype : 0xFF;
    default:
        return 0xFF;
    }
}

void parallel_write(State& s, int slot, uint32_t offset, uint8_t value, uint64_t now) {
    parallel_advance(s, slot, now);
    ParallelModule& m = mod(s, slot);
    if (offset <= 0x06 && offset % 2 == 0) {
        const int shift = static_cast<int>(offset / 2) * 8;
        const uint32_t keep = ~(0xFFu << shift);
        m.do_latch = ((m.do_latch & keep) | (static_cast<uint32_t>(value) << shift)) &
                     channel_mask(m.do_channels);
    }
}

}  // namespace vex::sim::models
