// The product catalogue: what the library knows about module kinds.
//
// The data come from data/catalogue.toml, turned into a constant table at
// build time (scripts/gen_catalogue.py); the virtual controller builds its
// device models from the same table, so the library and the simulated
// modules always agree. docs/catalogue.md describes every field.
//
// Serial module kinds are known by the name text a module gives after "!AA"
// in its answer to "$AAM" ("4504P"); the kind's name number is that text's
// leading decimal digits (4504), which is what the command set looks at.
// A name text may carry one of the kind's variant marks after the number
// ("P" in "4504P").
//
// Everything here is constant data and pure functions: safe from any thread,
// no locks, no allocation (but parallel_names(), for tools).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vex::catalogue {

// How an analog output kind's power-on value is read back, if at all.
enum class AoPowerOnRead : uint8_t {
    None,    // not readable: the read reports the API as unsupported
    Dollar,  // "$AA7" with the channel field of the kind's channel count
    Tilde,   // "~AA7N", always one hexadecimal channel digit
};

// How an analog output kind stores its present output as power-on value.
enum class AoPowerOnSet : uint8_t {
    Channel,  // "$AA4" (single channel) or "$AA4N"
    SingleS,  // "$AAS": a single-channel kind with a command of its own
};

struct SerialKind {
    const char* name;         // name text without variant mark, "4504"
    int number;               // leading decimal digits of the name, 4504
    const char* description;
    uint8_t di_channels;      // 0..32
    uint8_t do_channels;      // 0..32
    uint8_t ai_channels;      // 0..32
    uint8_t ao_channels;      // 0..32
    uint8_t counters;         // input counters, on the first `counters` inputs
    uint8_t counter_bits;     // 16 or 32: where a counter wraps
    bool latches;             // input (and output) latches
    bool watchdog;            // host watchdog with safe values
    float range_low;          // analog kinds: engineering range
    float range_high;
    const char* unit;         // analog kinds: "V", "mA"; "" otherwise
    const char* variants;     // variant marks, comma-separated ("P"), or ""
    AoPowerOnRead ao_power_on_read;
    const char* ao_power_on_variant;  // mark the name needs for the read, or ""
    AoPowerOnSet ao_power_on_set;
};

// Every serial kind, in catalogue order.
std::span<const SerialKind> serial_kinds();

// The kind of a name text: the name itself ("4504") or the name followed by
// one of its variant marks ("4504P"). Exact, case-sensitive; null if none.
const SerialKind* find_serial_kind(std::string_view name);
// The kind whose name number is `number`, or null.
const SerialKind* find_serial_kind_by_number(int number);

// The name number of a name text: its leading decimal digits (at most 9),
// or -1 when it does not start with a digit.
int name_number(std::string_view name);
// True when the name text carries `mark` right after its leading digits
// ("4504P" carries "P"). An empty mark is always carried.
bool has_variant_mark(std::string_view name, std::string_view mark);

// ---- Parallel-bus modules -------------------------------------------------
//
// A parallel-bus module is known by its ID register (offset 0 of its slot
// page, 1..197 for the catalogue). Its row gives a series number, a type
// class and a naming rule; the printed model number is series_base() plus
// the series number, followed by a suffix ("8016H"), unless the row (or a
// rule) gives a fixed name ("GPIB"). Rules refine a row by one of the slot
// page's registers 0x06, 0x08, 0x0E, 0x10: the first rule whose masked
// register equals its value wins.

// Type class codes (vex_GetModuleType); kClassUnknown for modules nobody knows.
inline constexpr uint8_t kClassUnknown = 0x40;
// Series number of a module nobody knows; it prints as "Unknow".
inline constexpr uint16_t kUnknownSeries = 238;

struct ParallelRule {
    uint8_t reg;              // 0x06, 0x08, 0x0E or 0x10
    uint8_t mask;
    uint8_t equals;           // (register & mask) == equals
    int16_t series;           // -1: keep the row's
    int16_t type_class;       // -1: keep the row's
    const char* suffix;       // null: keep
    const char* fixed_name;   // null: keep
};

struct ParallelKind {
    uint8_t id;
    uint8_t series;
    uint8_t type_class;
    const char* suffix;       // "" for none
    const char* fixed_name;   // "" unless the row has one
    const char* description;
    uint8_t di_channels;      // 0, 4, 8, 16, 32
    uint8_t do_channels;
    uint8_t ai_channels;      // analog-capable modules: the unified calls still refuse them
    uint8_t ao_channels;
    uint8_t counters;
    bool readback;            // outputs readable, module watchdog (the read-back module type)
    bool watchdog;
    const ParallelRule* rules;
    uint8_t rule_count;
};

// The four registers the rules look at, as read from the slot page.
struct RuleRegisters {
    uint8_t r06 = 0xFF;
    uint8_t r08 = 0xFF;
    uint8_t r0e = 0;
    uint8_t r10 = 0;
    uint8_t at(uint8_t reg) const;
};

// What a module resolves to: its row and the row's values after the rules.
struct ParallelIdentity {
    const ParallelKind* kind = nullptr;
    const ParallelRule* rule = nullptr;  // the rule that matched, or null
    uint16_t series = kUnknownSeries;
    uint8_t type_class = kClassUnknown;
    const char* suffix = "";
    const char* fixed_name = "";
};

uint16_t series_base();
std::span<const ParallelKind> parallel_kinds();
// The row of a module ID (exact), or null.
const ParallelKind* find_parallel_kind(uint32_t id);
// Applies the row's rules to the registers.
ParallelIdentity resolve_parallel(const ParallelKind& kind, const RuleRegisters& regs);
// The printed name of a resolved module into out (size bytes, always
// terminated); returns its length, or 0 when it does not fit.
size_t format_parallel_name(const ParallelIdentity& who, char* out, size_t size);
// The row and rule (null: none) that print `name`, exactly, in catalogue
// order; false when no row prints it.
bool find_parallel_name(std::string_view name, const ParallelKind** kind, const ParallelRule** rule);
// Every name the catalogue's parallel-bus rows can print.
std::vector<std::string> parallel_names();

// ---- Expansion boards of the single-slot controller ------------------------

struct ExpansionBoard {
    uint8_t id;               // board ID, 1..18
    uint16_t number;          // printed "KV%03d"
    char letter;              // printed after the number, or '\0'
    uint8_t type_class;
    const char* description;
    uint8_t di_channels;
    uint8_t do_channels;
};
std::span<const ExpansionBoard> expansion_boards();
const ExpansionBoard* find_expansion_board(uint32_t id);
// "KV101", "KV102R" into out; returns the length, 0 when it does not fit.
size_t format_expansion_name(const ExpansionBoard& board, char* out, size_t size);

namespace data {
// The generated table (build tree, from data/catalogue.toml).
extern const SerialKind kSerialKinds[];
extern const size_t kSerialKindCount;
extern const uint16_t kSeriesBase;
extern const ParallelKind kParallelKinds[];
extern const size_t kParallelKindCount;
extern const ExpansionBoard kExpansionBoards[];
extern const size_t kExpansionBoardCount;
}  // namespace data

}  // namespace vex::catalogue
