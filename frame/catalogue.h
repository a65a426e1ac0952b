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
// no locks, no allocation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

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

namespace data {
// The generated table (build tree, from data/catalogue.toml).
extern const SerialKind kSerialKinds[];
extern const size_t kSerialKindCount;
}  // namespace data

}  // namespace vex::catalogue
