// The timekeeping chip's 31 bytes of RAM on the three-wire port of 0x901C
// (bit 0 chip enable, bit 1 clock, bit 2 direction: 1 = the chip drives,
// bit 3 data to the chip; reading bit 0 gives the data line).
//
// With chip enable high, eight clock rising edges shift a command byte in,
// least significant bit first: bit 7 must be 1, bit 6 selects the RAM (0 =
// clock registers, not modelled: writes vanish, reads give 0), bits 1..5
// the register (31 = burst: consecutive bytes from register 0), bit 0 read.
// A write's data byte follows the same way. For a read the chip puts data
// bit 0 on the line at the falling edge of the command's eighth clock and
// each further bit at each further falling edge. Chip enable low ends it.
#include "sim/models/memory.h"

namespace vex::sim::models {
namespace {

enum Phase : uint8_t { Idle = 0, Command, WriteData, ReadData, Ignore };

constexpr uint8_t kEnable = 0x01, kClock = 0x02, kDirection = 0x04, kData = 0x08;
constexpr uint8_t kBurst = 31;

bool is_ram(uint8_t command) { return (command & 0x40) != 0; }

uint8_t ram_byte(State& s, uint8_t index) {
    const ChipImages* im = chip_images(s);
    const uint8_t v = im && is_ram(s.chips.nvram.command) && index < kNvramBytes ? im->nvram[index] : 0;
    const ChipFaults& f = s.chips.nvram.faults;
    return static_cast<uint8_t>((v & ~f.stuck_mask) | (f.stuck_value & f.stuck_mask));
}

void take_byte(State& s) {
    NvramState& n = s.chips.nvram;
    if (n.phase == Command) {
        n.command = n.shift;
        const uint8_t reg = (n.command >> 1) & 31;
        n.index = reg == kBurst ? 0 : reg;
        if (!(n.command & 0x80)) {
            n.phase = Ignore;
            return;
        }
        n.phase = (n.command & 1) ? ReadData : WriteData;
        n.shift = n.phase == ReadData ? ram_byte(s, n.index) : 0;
        n.bits = 0;
        return;
    }
    // A data byte for the RAM (a full register in burst mode goes on).
    ChipImages* im = chip_images(s);
    if (im && is_ram(n.command) && n.index < kNvramBytes) {
        im->nvram[n.index] = n.shift;
        chip_log(n.log, ChipLogKind::Write, n.index, 1, n.command);
    }
    n.bits = 0;
    n.shift = 0;
    if (((n.command >> 1) & 31) == kBurst) ++n.index;
    else n.phase = Ignore;
}

}  // namespace

void nvram_port_write(State& s, uint8_t value) {
    NvramState& n = s.chips.nvram;
    const uint8_t old = n.port;
    n.port = value;
    if (!(value & kEnable)) {
        n.phase = Idle;
        n.driving = 0;
        return;
    }
    if (!(old & kEnable)) {
        n.phase = Command;
        n.bits = 0;
        n.shift = 0;
        n.driving = 0;
    }
    const bool rising = !(old & kClock) && (value & kClock);
    const bool falling = (old & kClock) && !(value & kClock);
    if (rising && (n.phase == Command || n.phase == WriteData)) {
        if (nvram_data_line(s)) n.shift = static_cast<uint8_t>(n.shift | (1u << n.bits));
        if (++n.bits == 8) take_byte(s);
    } else if (falling && n.phase == ReadData) {
        if (n.bits == 8) {  // a whole byte is out: burst mode goes on
            if (((n.command >> 1) & 31) != kBurst) {
                n.phase = Ignore;
                n.driving = 0;
                return;
            }
            n.shift = ram_byte(s, ++n.index);
            n.bits = 0;
        }
        n.out = (n.shift >> n.bits) & 1u;
        n.driving = 1;
        if (++n.bits == 8) chip_log(n.log, ChipLogKind::Read, n.index, 1, n.command);
    }
}

bool nvram_data_line(const State& s) {
    const NvramState& n = s.chips.nvram;
    if (!(n.port & kDirection)) return (n.port & kData) != 0;  // the processor drives it
    return n.driving && n.out;  // else the chip, or the line's pull-down
}

}  // namespace vex::sim::models
