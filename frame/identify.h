// Module identification inside the library: what a slot's registers, the
// catalogue and the name file say a module is.
//
// The per-slot memory of the last resolved series number and class is
// process-local and written by vex_GetModuleType / vex_GetModuleName from
// any thread: each value is an atomic of its own (a reader may see the
// series of one resolution with the class of another, as on the
// reference controller, where the pair is not guarded either).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "frame/catalogue.h"

namespace vex::frame {

// Register offsets of a slot page that identification reads.
inline constexpr uint32_t kRegModuleId = 0x00;
inline constexpr uint32_t kRegCapability = 0x0E;
// Offsets in the window of the single-slot controller's expansion board.
inline constexpr uint32_t kRegBoardVersion = 0x1100;
inline constexpr uint32_t kRegBoardId = 0x1102;

inline constexpr uint8_t kSerialModuleId = 0xFF;
inline constexpr uint32_t kLastCatalogueId = 197;
inline constexpr uint32_t kLastBoardId = 18;

// What a module ID resolves to.
struct Resolution {
    uint16_t series = catalogue::kUnknownSeries;
    uint8_t type_class = catalogue::kClassUnknown;
    catalogue::ParallelIdentity parallel;          // kind set: a catalogue row
    const catalogue::ExpansionBoard* board = nullptr;
};

// Resolves a parallel-bus module's ID (multi-slot controllers) from the
// catalogue, reading the rule registers of the slot, else from
// "modulename.ini".
Resolution resolve_module(uint32_t slot, uint32_t id);
// Resolves an expansion board ID (single-slot controller) from the
// catalogue, else from "KVmodulename.ini".
Resolution resolve_board(uint32_t id);

// An ID that the catalogue does not know: class and series from the name
// file, or the unknown module.
Resolution resolve_from_file(bool expansion_board, uint32_t id);

// The name file's class numbers to class codes (1 = 0xE3 ... 7 = 0x80,
// others are the code itself).
uint8_t class_from_file(int32_t number);
// "<directory>/modulename.ini" or ".../KVmodulename.ini".
std::string name_file_path(bool expansion_board);
// The name file's ModuleName of an ID (UTF-8, cut to `size` - 1 bytes at
// a character boundary) into out; false when the key is absent.
bool name_from_file(bool expansion_board, uint32_t id, char* out, size_t size);
// The directory the name files are looked for in: the running program's.
// Tests point it elsewhere ("" restores the program's).
void set_name_file_directory(const std::string& directory);

// The per-slot memory (low 8 bits of the slot).
void remember(uint32_t slot, const Resolution& r);
uint8_t remembered_class(uint32_t slot);
uint16_t remembered_series(uint32_t slot);

// The name of the serial module in a local slot, asked over "COM0:" with
// "$00M"; into out (size bytes). False, with the code recorded, when the
// port cannot be had or the exchange fails.
bool serial_module_name(uint32_t slot, char* out, size_t size);

}  // namespace vex::frame
