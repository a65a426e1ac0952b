// What a serial module makes of a command text: pure functions over bytes,
// no state, no locks (unit-tested and fuzzed on their own).
//
// A command is a prefix ('#', '$', '@', '~'), the module's address as two
// hexadecimal digits (either case) and a body. "~**" (host alive) is heard by
// every module on the bus. A remote expansion unit passes a body that starts
// with "S<slot>" on to the module in that slot. Many bodies mean different
// things to different kinds ("#01A" reads analog input 10 of an analog
// module but counter 10 of a counter module; "@01CE" clears the counter of a
// one-counter module but writes 0xCE to an output module), so decoding
// takes the module's shape: what the catalogue says its kind has.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "frame/catalogue.h"

namespace vex::sim::serial {

// The abilities of a module kind that decide what its commands mean.
struct Shape {
    uint8_t di = 0, dout = 0, ai = 0, ao = 0, counters = 0;
    bool latches = false, watchdog = false;
    catalogue::AoPowerOnRead ao_power_on_read = catalogue::AoPowerOnRead::None;
    catalogue::AoPowerOnSet ao_power_on_set = catalogue::AoPowerOnSet::Channel;
};
Shape shape_of(const catalogue::SerialKind& kind);

enum class Op : uint8_t {
    Unknown,        // answered "?AA"
    Name,           // $AAM
    DioRead,        // @AADI, @AA, $AA6, $AAS<s>6
    DoWrite,        // @AADO<hex>, @AA<hex>, #AAS<s>00<hex>, @AAS<s><hex>
    DoBit,          // #AA<group><bit><value>
    LatchRead,      // $AAL<k>, $AAS<s>L<k>
    LatchClear,     // $AAC, $AAS<s>C
    CounterRead,    // #AAN, @AARE, @AAREC<n>, #AAS<s>C<n>
    CounterClear,   // $AAC<n>, @AACE, @AACEC<n>, $AAS<s>C<n>
    AiRead,         // #AA (one channel), #AAN, #AAS<s>C<n>
    AiReadAll,      // #AA, #AAS<s>
    AoWrite,        // #AA[N][sign]value, #AAS<s>C<n>sign value
    AoRead,         // $AA6[N], $AAS<s>C<n>6
    AoPowerOnRead,  // $AA7[N], ~AA7N, $AAS<s>C<n>7
    AoPowerOnSet,   // $AA4[N], $AAS, $AAS<s>C<n>4
    AoSafeRead,     // ~AA4[N]
    AoSafeSet,      // ~AA5[N]
    DoValuesRead,   // ~AA4, ~AA4P, ~AA4S, ~AAS<s>4P/S
    DoValuesWrite,  // ~AA5<power-on><safe>
    DoValueStore,   // ~AA5P, ~AA5S, ~AAS<s>5P/S: the present outputs become the value
    WdtStatus,      // ~AA0
    WdtReset,       // ~AA1
    WdtConfigRead,  // ~AA2
    WdtConfigSet,   // ~AA3<enable><timeout>
    OutputWidth,    // ~AAD: how many digital outputs
};

// Answer families: the same operation is acknowledged differently by the
// command forms that ask for it.
enum class Dialect : uint8_t {
    Plain,   // '>' answers; refused outputs "!AA"
    Mf,      // "@AADO", "@AADI", "@AARE", "@AACE": "!AA" answers, refusal "?AA"
    Dollar,  // "$AA6" digital read: "!AA" + data
};

struct Request {
    Op op = Op::Unknown;
    Dialect dialect = Dialect::Plain;
    int channel = -1;          // channel, bit number (DoBit); -1 = none given
    uint32_t value = 0;        // DoWrite, DoBit (0/1), DoValuesWrite power-on value
    uint32_t value2 = 0;       // DoValuesWrite safe value
    float analog = 0;          // AoWrite
    char which = 0;            // LatchRead '0'/'1'; DoValuesRead/DoValueStore 'P', 'S' (0: both)
    bool enable = false;       // WdtConfigSet
    uint8_t timeout = 0;       // WdtConfigSet
    bool via_unit = false;     // came through an expansion unit's slot field
};

// A command split at its address.
struct Addressed {
    char prefix = 0;
    bool broadcast = false;    // "~**"
    uint8_t address = 0;
    std::string_view body;     // what follows the address
};
std::optional<Addressed> split_address(std::string_view command);

// A unit-slot body "S<slot hex digit><rest>".
struct UnitSlot {
    uint8_t slot = 0;
    std::string_view rest;
};
std::optional<UnitSlot> split_unit_slot(std::string_view body);

// The meaning of a body sent to a module of the given shape directly.
Request decode(char prefix, std::string_view body, const Shape& shape);
// The meaning of the rest of a unit-slot body for the module in that slot.
Request decode_unit(char prefix, std::string_view rest, const Shape& shape);

// Strict number parsers shared by the decoder and the tools.
// Hexadecimal digits, either case, 1..8 of them.
bool parse_hex(std::string_view text, uint32_t& out);
// [+-]digits[.digits] with at most 12 characters.
bool parse_decimal(std::string_view text, float& out);

}  // namespace vex::sim::serial
