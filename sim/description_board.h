// The parts of a description that say what memory chips the controller
// carries, what its factory record holds, and the board facts beside them:
//
//   [controller]  rotary = 0..15, board_version = 0..63 (its top three bits
//                 are the CPU ID), battery1_low / battery2_low = true|false
//   [memory]      eeprom_kbit = 128|512, sram_kib = 0..512,
//                 eeprom_write_cycle_us = 0..1000000
//   [factory]     serial = "14 hex digits", serial_crc = "valid"|"invalid"|0..255,
//                 eboot_version / os_version = "a.b.c.d" (0..99 each),
//                 mac1 / mac2 = "00:11:22:AA:BB:CC", eboot_build / os_build =
//                 a TOML local date-time (2024-02-01 14:05:59)
//
// Unknown keys in [memory] and [factory] are errors.
#pragma once

#include <string>

#include "sim/toml.h"

#include "sim/description.h"

namespace vex::sim {

// Reads those parts of `root` into d; false with the reason on error.
bool parse_board_description(const toml::table& root, Description& d, std::string* error);

}  // namespace vex::sim
