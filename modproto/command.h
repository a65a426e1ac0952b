// Command texts of the serial module command set, built exactly as the
// module expects them, and bounded by the buffer each command uses.
//
// A command keeps the size of its buffer (10, 20 or 32 characters), which
// is also the command maximum handed to the exchange. A text that would not
// fit its buffer (an address or a value too wide to print) is not cut: the
// command is marked as not fitting and is never sent.
//
// Pure functions, no state: safe from any thread.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vex::modproto {

// Buffer sizes of the command set.
inline constexpr uint32_t kWatchdogCommand = 10;
inline constexpr uint32_t kShortCommand = 20;
inline constexpr uint32_t kLongCommand = 32;   // @AADO, @AADI, ~AA4, ~AA5 of the _MF calls
inline constexpr uint32_t kShortAnswer = 20;
inline constexpr uint32_t kLongAnswer = 32;
inline constexpr uint32_t kAllChannelsAnswer = 512;

struct Command {
    char text[kLongCommand] = {};
    uint32_t size = 0;  // the buffer's size: the command maximum of the exchange
    bool fits = false;
};

// printf into a command of `size` (at most kLongCommand) characters.
Command make_command(uint32_t size, const char* format, ...) __attribute__((format(printf, 2, 3)));

// The channel mask of a digital part: bits 0..count-1; 32 or more channels
// give all ones, 0 or fewer none.
uint32_t channel_mask(int32_t count);
// Bytes of a digital part: (count + 7) / 8 (0 for counts below 1).
int32_t part_bytes(int32_t count);

// Output value fields, by the output count.
// @AADO and ~AA4/~AA5 (_MF): 2, 4, 6 or 8 hex digits for < 9, < 17, 17..24, > 24.
int field_width_mf(int32_t do_count);
// @AA (unified): 1, 2, 4, 6 or 8 for < 5, < 9, < 17, 17..24, > 24.
int field_width_unified(int32_t do_count);

// The output group of a bit write: 'A'..'D' with the bit within the group.
struct BitGroup {
    char group;
    int32_t bit;
};
BitGroup bit_group(int32_t bit, int32_t do_count);

// The text of an analog output value: "%06.3f" of the absolute value, with
// '-' before negative values and '+' before others only when `plus` (a
// module with 3 or more channels). Into `out` (at least 24 bytes); false
// when the value is not a finite number or does not fit.
bool format_ao_value(float value, bool plus, char* out, size_t size);

}  // namespace vex::modproto
