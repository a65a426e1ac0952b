// What a virtual controller is: read from a TOML description file, or the
// built-in default (a representative 8-slot controller).
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sim/state.h"

namespace vex::sim {

// A fault as the description (or vexsim fault) sets it; see SerialFault.
struct FaultDescription {
    SerialFaultKind kind = SerialFaultKind::None;
    uint32_t param = 0;           // garbage: bytes; cut: characters kept; dribble: ms
    uint32_t count = 0;           // exchanges it spoils; 0 = until cleared
};

// A serial module: its kind from the product catalogue, and what a new
// module of that kind holds (inputs as wired, module memory as delivered).
struct SerialModuleDescription {
    std::string kind;             // name text: a catalogue kind, optionally with a variant mark ("4504P")
    uint8_t address = 0;          // bus address (local slots: 00, as the library addresses them)
    std::optional<bool> checksum; // expects and gives checksums; default: its port's setting
    SerialFormat format = SerialFormat::Engineering;  // analog input answers
    uint32_t di = 0;              // initial input lines
    std::vector<float> ai;        // initial analog inputs, engineering units, channel 0 first
    uint32_t power_on = 0;        // digital outputs at power-up
    uint32_t safe = 0;            // digital outputs when the host watchdog runs out
    std::vector<float> ao_power_on;  // analog outputs at power-up
    std::vector<float> ao_safe;      // analog outputs when the watchdog runs out
    bool wdt_enabled = false;     // host watchdog armed at power-up
    uint8_t wdt_timeout = 0;      // tenths of a second
    FaultDescription fault;
};

struct SlotDescription {
    ModuleKind kind = ModuleKind::Empty;
    uint8_t id = 0;
    // Parallel-bus modules.
    uint8_t di_channels = 0;
    uint8_t do_channels = 0;
    bool readback = false;
    bool watchdog = false;
    uint8_t version = 0;          // hardware version, 0..31
    std::optional<uint8_t> capability;  // raw register 0x0E, overrides the above
    uint8_t subtype = 0;          // register 0x10
    uint32_t di = 0;              // initial input lines
    // Inputs whose rising (falling) edge pulses the slot's interrupt line.
    uint32_t irq_rising = 0;
    uint32_t irq_falling = 0;
    // Modules with a watchdog: what a new module holds in its parameter
    // memory, and its timeout register at power-up.
    uint32_t power_on = 0;        // power-on output value (0 = none)
    uint32_t safe = 0;            // safe output value
    uint8_t wdt_timeout = 10;     // half-seconds
    // Serial modules (answering on the internal port COM0:).
    SerialModuleDescription serial;
};

// A remote expansion unit on a bus: modules in its own slots, reached with
// commands that carry the slot ("$AAS<slot>...").
struct UnitDescription {
    uint8_t address = 0;
    std::string name;             // answered to "$AAM"; default "RU<slots>"
    uint8_t slots = 8;            // 1..16
    FaultDescription fault;
    std::vector<std::pair<uint8_t, SerialModuleDescription>> modules;  // (slot, module)
};

struct PortDescription {
    std::string name;             // "COM1:"
    bool modem_loopback = true;   // DTR -> DSR and carrier detect, RTS -> CTS
    bool checksum = false;        // the modules on it expect and give checksums
    std::string terminator = "\r";  // ends commands and answers (1..7 characters)
    bool pacing = false;          // answers at the line's character rate
    uint16_t turnaround_ms = 0;   // pause before an answer, with pacing
    FaultDescription fault;
    std::vector<SerialModuleDescription> modules;
    std::vector<UnitDescription> units;
};

struct RegistryPreset {
    std::wstring path;            // full path, "HKEY_LOCAL_MACHINE\...\Name"
    bool is_number = false;
    std::wstring text;
    uint32_t number = 0;
};

// The factory record kept in the EEPROM's system area.
struct FactoryDescription {
    bool present = false;              // no [factory]: the system area stays erased
    std::array<uint8_t, 7> serial{};   // silicon serial number
    enum class Crc : uint8_t { Valid, Invalid, Explicit } crc = Crc::Valid;
    uint8_t crc_byte = 0;              // Crc::Explicit
    std::array<uint8_t, 4> eboot_version{};
    std::array<uint8_t, 4> os_version{};
    std::array<uint8_t, 6> mac1{};
    std::array<uint8_t, 6> mac2{};
    std::array<uint16_t, 6> eboot_build{};  // year, month, day, hour, minute, second
    std::array<uint16_t, 6> os_build{};
};

// The memory chips and board facts (sim/description_board.cpp).
struct BoardDescription {
    uint32_t eeprom_kbit = 0;          // 128 or 512; 0 = by model (512 on "LT44")
    int32_t sram_kib = -1;             // 0..512; -1 = by model (none on "LT4")
    uint32_t eeprom_write_cycle_us = 5000;
    uint8_t rotary = 0;                // rotary switch position
    int16_t board_version = -1;        // 0..63; -1 = cpu_id * 8
    bool battery1_low = false;
    bool battery2_low = false;
};

// The storage card (sim/card.h): present or not, and its partitions.
struct CardPartitionDescription {
    std::string name;             // as the platform names it, "mmcblk0p1"
    std::string file_system;      // "vfat", "exfat", "ext4", ...
    std::string label;            // volume label
    std::string contents;         // directory of its files; relative = in the instance directory
};
struct CardDescription {
    bool present = false;
    std::vector<CardPartitionDescription> partitions;
};

// An Ethernet adapter (sim/links.h), by its interface name.
struct LinkDescription {
    std::string interface;        // "eth0"
    bool up = false;              // cable plugged in
};

struct Description {
    std::string hardware_id = "HR4-8000";
    uint8_t cpu_id = 2;
    uint8_t backplane_version = 3;
    uint8_t dip_switch = 0;
    uint8_t slot_count = 8;       // 0..8
    std::array<SlotDescription, kSlots> slots{};
    std::vector<PortDescription> ports;  // COM0: may be listed for its settings (no modules)
    std::vector<RegistryPreset> registry;
    FactoryDescription factory;
    BoardDescription board;
    CardDescription card;         // [card]; no card when absent
    std::vector<LinkDescription> links;  // [[link]]; no adapters when absent
};

// Parses a description. On error returns nothing and explains in *error,
// as "<source>:<line>:<column>: <what is wrong>". Unknown tables and keys,
// values of the wrong type or out of range are errors.
std::optional<Description> parse_description(const std::string& text, std::string* error,
                                             const std::string& source = "description");
// Reads and parses a description file.
std::optional<Description> load_description_file(const std::string& path, std::string* error);

// The built-in default description, as TOML text and parsed.
const char* default_description_text();
// Largest description file read (bytes).
inline constexpr size_t kMaxDescriptionBytes = 1024 * 1024;
const Description& default_description();

}  // namespace vex::sim
