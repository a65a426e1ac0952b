// The memory chips and board facts of a virtual controller, as kept in the
// instance's shared state (sim/state.h): the bus decoders of the I2C
// EEPROM and of the timekeeping chip, the SRAM page register, fault
// settings and what the chips saw. Plain data, fixed-width fields, guarded
// by the instance lock. The chips' contents are not here: they live in
// files of the instance directory, mapped by every attached process
// (sim/models/chip_images.cpp).
#pragma once

#include <cstddef>
#include <cstdint>

namespace vex::sim {

// One transaction a chip completed, for tests and vexsim (far side).
struct ChipLogEntry {
    uint32_t address;  // first chip byte
    uint16_t length;   // bytes moved
    uint8_t kind;      // ChipLogKind
    uint8_t extra;     // NVRAM: the command byte
};
static_assert(sizeof(ChipLogEntry) == 8);
inline constexpr uint32_t kChipLogEntries = 64;

enum class ChipLogKind : uint8_t {
    Write = 1,           // EEPROM page write committed / NVRAM byte written
    Read = 2,            // bytes sent to the master
    WriteRefused = 3,    // EEPROM: write-protected, nothing written
    WriteAborted = 4,    // EEPROM: data bytes abandoned by a start condition
};

struct ChipLog {
    uint32_t next;  // entries written so far (index = next % kChipLogEntries)
    uint32_t pad;
    ChipLogEntry entry[kChipLogEntries];
};

// Faults a chip can be told to show (vexsim fault).
struct ChipFaults {
    uint8_t no_ack;        // EEPROM: acknowledges nothing, as if absent
    uint8_t stuck_mask;    // bits of every byte the chip sends that are stuck...
    uint8_t stuck_value;   // ...at these values
    uint8_t pad;
    int32_t ack_budget;    // EEPROM: bytes it still acknowledges; -1 = no limit
};
static_assert(sizeof(ChipFaults) == 8);

inline constexpr uint32_t kEepromPage = 64;

struct EepromState {
    uint32_t size;             // bytes the chip holds: 16384 (128 kbit) or 65536 (512 kbit)
    uint32_t write_cycle_us;   // internal write time after a page write
    uint64_t busy_until_ns;    // instance clock; no acknowledge before it
    // Bus decoder.
    uint8_t phase;             // EepromPhase (sim/models/eeprom.cpp)
    uint8_t bits;              // bits clocked in the current byte, 0..8
    uint8_t shift;             // byte being received or sent
    uint8_t scl;               // line levels last seen
    uint8_t sda;
    uint8_t wp;
    uint8_t holding_sda;       // the chip pulls SDA low
    uint8_t acked;             // the byte just received was acknowledged
    uint32_t address;          // internal address counter
    uint32_t page_base;        // page of the write in progress
    uint32_t page_offset;      // next position within it
    uint32_t received;         // data bytes received in this write
    uint32_t read_start;       // first address of the read in progress
    uint32_t sent;             // bytes sent in the read in progress
    uint64_t page_mask;        // positions of the page written in this write
    uint8_t page_data[kEepromPage];
    // Redo record: a committed page is copied into the image under the
    // instance lock; if the copying process dies, the next access redoes it.
    uint32_t commit_pending;
    uint32_t commit_base;
    uint64_t commit_mask;
    uint8_t commit_data[kEepromPage];
    ChipFaults faults;
    uint32_t busy_nacks;       // device selects refused during a write cycle
    uint32_t pad;
    ChipLog log;
};

struct NvramState {
    uint8_t port;              // register 0x901C as last written
    uint8_t phase;             // NvramPhase (sim/models/nvram.cpp)
    uint8_t bits;              // bits clocked in the current byte
    uint8_t shift;
    uint8_t command;           // command byte of this chip-enable period
    uint8_t index;             // RAM byte the next data byte goes to or comes from
    uint8_t out;               // level the chip puts on the data line
    uint8_t driving;           // the chip drives the data line
    ChipFaults faults;
    ChipLog log;
};

struct SramState {
    uint32_t size;             // bytes; 0 = no SRAM on this controller
    uint8_t page;              // register 0x901E as last written
    uint8_t pad[3];
    ChipFaults faults;
};

// Board facts the library reads from the backplane block.
struct BoardState {
    uint8_t single_slot;       // the controller has no backplane block (hardware ID "LT4...")
    uint8_t rotary;            // rotary switch position 0..15
    uint8_t board_version;     // CPU board version 0..63
    uint8_t battery_low;       // bit 0: battery 1 low, bit 1: battery 2 low
    uint8_t pad[4];
};

struct MemoryChips {
    BoardState board;
    SramState sram;
    EepromState eeprom;
    NvramState nvram;
};
static_assert(sizeof(ChipLog) == 8 + 8 * kChipLogEntries);
static_assert(offsetof(EepromState, page_mask) % 8 == 0);
static_assert(offsetof(EepromState, commit_mask) % 8 == 0);
static_assert(offsetof(MemoryChips, eeprom) % 8 == 0);
static_assert(sizeof(MemoryChips) % 8 == 0);

}  // namespace vex::sim
