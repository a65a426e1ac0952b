// Device models of the controller's memory chips and the board registers
// beside them. Like every model they run in the accessing process on the
// shared state with the instance lock held; `now` is the instance clock.
//
//   SRAM      page register 0x901E and the window 0xA000..0xAFFF (bytes at
//             even offsets), sim/models/sram.cpp
//   NVRAM     the timekeeping chip's RAM on the three-wire port of 0x901C,
//             sim/models/nvram.cpp; the same register reads the battery bits
//   EEPROM    an I2C slave on GPIO SCL 12 / SDA 22 / WP 4, sim/models/eeprom.cpp
//   board     CPU board version and rotary switch (offsets 0 and 1, or
//             0x8000 on the single-slot controller)
//
// Contents live in files of the instance directory, mapped shared by every
// attached process (sim/models/chip_images.cpp): a completed write is in
// the kernel's page cache at once, so a process killed at any moment loses
// nothing that was written and tears nothing; files are created whole
// (written aside, then renamed) and never rewritten.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "sim/description.h"
#include "sim/state.h"

namespace vex::sim::models {

// The chips' contents in this process: mappings of the instance's files.
struct ChipImages {
    uint8_t* eeprom = nullptr;  // kEepromFileSize bytes
    uint8_t* sram = nullptr;    // kSramFileSize bytes
    uint8_t* nvram = nullptr;   // kNvramBytes bytes
};
inline constexpr uint32_t kEepromFileSize = 65536;
inline constexpr uint32_t kSramFileSize = 0x80000;
inline constexpr uint32_t kNvramBytes = 31;

// Maps the instance's chip files for this attachment of its state, creating
// any file that is missing (the EEPROM with the description's factory
// record). `description` is asked for only when a file must be created.
using DescriptionSource = std::function<std::optional<Description>(std::string* error)>;
bool open_chip_images(const State& s, const std::string& dir, const DescriptionSource& description,
                      std::string* error);
void close_chip_images(const State& s);
// The images of a state attached in this process, or null.
ChipImages* chip_images(const State& s);
// File names in the instance directory.
inline constexpr const char* kEepromFile = "eeprom.bin";
inline constexpr const char* kSramFile = "sram.bin";
inline constexpr const char* kNvramFile = "nvram.bin";
// The 56-byte factory record the description gives, and where it goes.
inline constexpr uint32_t kFactoryRecordAddress = 0x3800;
void encode_factory_record(const FactoryDescription& f, uint8_t out[56]);

// Power-up of the chips' state (contents are kept) and board facts.
void memory_power_up(State& s, const Description& d);
// Finishes what a process that died left half done (before a power cycle).
void memory_settle(State& s);

// Backplane window: the offsets these models decode, and their registers.
bool memory_decodes(const State& s, uint32_t offset);
uint8_t memory_read(State& s, uint32_t offset, uint64_t now);
void memory_write(State& s, uint32_t offset, uint8_t value, uint64_t now);

// SRAM (sim/models/sram.cpp).
// Selects a page and shows it in the window's register image (refresh:
// even when it is selected already, after its bytes changed behind it).
void sram_select_page(State& s, uint8_t page, bool refresh = false);
uint8_t sram_read(State& s, uint32_t offset);
void sram_write(State& s, uint32_t offset, uint8_t value);

// NVRAM port (sim/models/nvram.cpp): a write of 0x901C; the data line.
void nvram_port_write(State& s, uint8_t value);
bool nvram_data_line(const State& s);

// EEPROM (sim/models/eeprom.cpp): the GPIO wiring calls this when SCL,
// SDA or WP changed.
void eeprom_lines_changed(State& s, uint64_t now);
void eeprom_power_up(State& s, uint32_t size, uint32_t write_cycle_us);
void eeprom_settle(State& s);

void chip_log(ChipLog& log, ChipLogKind kind, uint32_t address, uint32_t length, uint8_t extra = 0);

}  // namespace vex::sim::models
