// Where the memory chips and the board facts sit in the backplane window,
// and their power-up.
#include <cctype>

#include "sim/models/memory.h"

namespace vex::sim::models {
namespace {

constexpr uint32_t kNvramPort = 0x901C;      // also the battery bits
constexpr uint32_t kSramPage = 0x901E;
constexpr uint32_t kSramWindow = 0xA000;
constexpr uint32_t kSingleSlotBoard = 0x8000;  // board register of the single-slot controller

bool starts_with_nocase(const std::string& text, const char* prefix) {
    for (size_t i = 0; prefix[i]; ++i) {
        if (i >= text.size() || std::toupper(static_cast<unsigned char>(text[i])) != prefix[i]) return false;
    }
    return true;
}

// Bit 0 the data line of the timekeeping chip, bits 1 and 2 battery 1 and
// 2 low.
uint8_t port_value(const State& s) {
    return static_cast<uint8_t>((nvram_data_line(s) ? 1u : 0u) | ((s.chips.board.battery_low & 3u) << 1));
}

}  // namespace

void chip_log(ChipLog& log, ChipLogKind kind, uint32_t address, uint32_t length, uint8_t extra) {
    ChipLogEntry& e = log.entry[log.next % kChipLogEntries];
    e.address = address;
    e.length = static_cast<uint16_t>(length > 0xFFFF ? 0xFFFF : length);
    e.kind = static_cast<uint8_t>(kind);
    e.extra = extra;
    ++log.next;
}

void memory_power_up(State& s, const Description& d) {
    BoardState& b = s.chips.board;
    b.single_slot = starts_with_nocase(d.hardware_id, "LT4");
    const bool large_eeprom = starts_with_nocase(d.hardware_id, "LT44");
    b.rotary = d.board.rotary;
    b.board_version = static_cast<uint8_t>(d.board.board_version >= 0 ? d.board.board_version : d.cpu_id << 3);
    b.battery_low = static_cast<uint8_t>((d.board.battery1_low ? 1u : 0u) | (d.board.battery2_low ? 2u : 0u));
    // Register 0: rotary switch, inverted, in the low nibble. Register 1:
    // board version in bits 2..7 (its top three bits are the CPU ID).
    s.image[0] = static_cast<uint8_t>(15 - b.rotary);
    s.image[1] = static_cast<uint8_t>(b.board_version << 2);

    const int32_t sram_kib = d.board.sram_kib >= 0 ? d.board.sram_kib : (b.single_slot ? 0 : 512);
    s.chips.sram = SramState{};
    s.chips.sram.size = static_cast<uint32_t>(sram_kib) * 1024u;
    s.chips.sram.faults.ack_budget = -1;
    const uint32_t kbit = d.board.eeprom_kbit ? d.board.eeprom_kbit : (large_eeprom ? 512u : 128u);
    eeprom_power_up(s, kbit * 128u, d.board.eeprom_write_cycle_us);
    s.chips.nvram = NvramState{};
    s.chips.nvram.faults.ack_budget = -1;
    s.image[kNvramPort] = port_value(s);
    s.image[kSramPage] = 0xFF;
    sram_select_page(s, 0, true);
}

void memory_settle(State& s) { eeprom_settle(s); }

bool memory_decodes(const State& s, uint32_t offset) {
    return offset == kNvramPort || offset == kSramPage || (offset >= kSramWindow && offset < kSramWindow + 0x1000) ||
           (offset == kSingleSlotBoard && s.chips.board.single_slot);
}

uint8_t memory_read(State& s, uint32_t offset, uint64_t) {
    switch (offset) {
    case kNvramPort: return s.image[offset] = port_value(s);
    case kSramPage: return 0xFF;  // write-only
    case kSingleSlotBoard:
        return static_cast<uint8_t>(((s.chips.board.board_version & 15u) << 4) | (15u - s.chips.board.rotary));
    default: return sram_read(s, offset);
    }
}

void memory_write(State& s, uint32_t offset, uint8_t value, uint64_t) {
    switch (offset) {
    case kNvramPort:
        nvram_port_write(s, value);
        s.image[offset] = port_value(s);
        return;
    case kSramPage: sram_select_page(s, value); return;
    case kSingleSlotBoard: return;
    default: sram_write(s, offset, value);
    }
}

}  // namespace vex::sim::models
