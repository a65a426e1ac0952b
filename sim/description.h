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
    // Serial modules.
    std::string serial_kind;
    uint8_t address = 0;
    uint8_t ai_channels = 0;
    uint8_t ao_channels = 0;
};

struct PortDescription {
    std::string name;             // "COM1:"
    bool modem_loopback = true;   // DTR -> DSR and carrier detect, RTS -> CTS
};

struct RegistryPreset {
    std::wstring path;            // full path, "HKEY_LOCAL_MACHINE\...\Name"
    bool is_number = false;
    std::wstring text;
    uint32_t number = 0;
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
    std::vector<PortDescription> ports;
    std::vector<RegistryPreset> registry;
    CardDescription card;         // [card]; no card when absent
    std::vector<LinkDescription> links;  // [[link]]; no adapters when absent
};

// Parses a description. On error returns nothing and explains in *error
// (with the line of the problem when TOML itself is malformed).
std::optional<Description> parse_description(const std::string& text, std::string* error);
// Reads and parses a description file.
std::optional<Description> load_description_file(const std::string& path, std::string* error);

// The built-in default description, as TOML text and parsed.
const char* default_description_text();
const Description& default_description();

}  // namespace vex::sim
