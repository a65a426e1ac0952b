// Answers of the serial module command set: each function takes the answer
// as the exchange handed it back (terminator and checksum removed) and
// reads the fields that command defines.
//
// Every function is pure and bounded by the answer's length: it never reads
// past it, whatever the answer holds (NULs included). Fields are read
// strictly: a hexadecimal field holds hexadecimal digits only, a decimal
// field decimal digits only, an engineering value an optional sign, digits
// and at most one point, and a field must hold at least one digit. A field
// that breaks these rules, or a number that does not fit 32 bits, makes the
// parse fail (Answer::Unparsable): a garbled answer is never reported as a
// value. Safe from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "modproto/codes.h"

namespace vex::modproto {

// ---- Fields ----------------------------------------------------------------

// 1..8 hexadecimal digits (either case) and nothing else.
std::optional<uint32_t> hex_field(std::string_view field);
// 1..10 decimal digits, at most 4294967295, and nothing else.
std::optional<uint32_t> decimal_field(std::string_view field);
// [+-] digits [. digits] (or [+-] . digits), and nothing else.
std::optional<float> float_field(std::string_view field);
// The characters from `skip` on ("" when the answer is shorter).
std::string_view rest(std::string_view answer, size_t skip);

// ---- Digital -----------------------------------------------------------------

struct DigitalPair {
    uint32_t di = 0;
    uint32_t do_ = 0;
};

// Masks a read part to its byte width: 1, 2 or 3 bytes, 4 and more unmasked.
uint32_t mask_to_bytes(uint32_t value, int32_t bytes);

// @AADI (_MF): data after 3 characters when the answer's length is odd and
// at least 5, else after 4; DO part first, DI part last.
std::optional<DigitalPair> parse_dio_mf(std::string_view answer, int32_t di_count, int32_t do_count);
// @AA (unified): data after '>'; the DI part from the end when di_count > 8,
// else right after the DO part.
std::optional<DigitalPair> parse_dio_unified(std::string_view answer, int32_t di_count, int32_t do_count);
// $AASi6 (behind a unit): data after 3 characters, DI right after DO; read
// masks 16 bits for two bytes, else 8.
std::optional<DigitalPair> parse_dio_unit(std::string_view answer, int32_t di_count, int32_t do_count);

// $AALk: latches after the first character.
std::optional<DigitalPair> parse_latch(std::string_view answer, int32_t di_count, int32_t do_count);
// $AASiLk: the unit's own field positions.
std::optional<DigitalPair> parse_latch_unit(std::string_view answer, int32_t di_count, int32_t do_count);

// #AAN, @AARE...: skip 3; decimal when the whole answer is 8 characters,
// otherwise up to 8 hexadecimal digits.
std::optional<uint32_t> parse_counter(std::string_view answer);
// The single-digit form: after the first character; decimal when the
// answer is 12 characters or its second character is '+' (the sign is then
// part of the decimal number), otherwise up to 8 hexadecimal digits.
std::optional<uint32_t> parse_counter_single(std::string_view answer);

// ~AA4 (_MF): the power-on (first) or safe (second) field of width 2, 4, 6
// or 8 by the output count.
enum class Stored : uint8_t { PowerOn, Safe };
std::optional<uint32_t> parse_stored_do(std::string_view answer, int32_t do_count, Stored which);

// $AAM: the name number, the leading decimal digits after 3 characters
// (at most 9 digits are read).
std::optional<int> parse_name_number(std::string_view answer);

// ---- Analog ----------------------------------------------------------------

// A reading with the range judgement of its answer text: Accepted, or
// UnderRange / OverRange with the value still read; Unparsable without one.
struct AnalogReading {
    Answer answer = Answer::Unparsable;
    float value = 0;
};
struct CountReading {
    Answer answer = Answer::Unparsable;
    uint32_t value = 0;
};

// #AAN (engineering units): '>' then the value.
AnalogReading parse_ai(std::string_view answer);
// #aaN (hexadecimal): '>' then up to four hexadecimal digits. The marker
// texts ">-0000" and ">+9999" are not counts; they leave 0x0000 and
// 0x0999 (what a four-character hexadecimal read makes of them) with their
// range judgement.
CountReading parse_ai_hex(std::string_view answer);

// #AA (all channels): '>' then signed values cut at each sign (and at
// spaces, which separate values too). Stores at most `capacity` values;
// `count` is how many the answer held. The judgement is Accepted, or that
// of the last value that was out of range or did not read (the walk goes
// on to the end either way: every value that reads is stored), Unparsable
// also for an answer without any value, and Unexpected for one that does
// not begin with '>'.
struct AllReadings {
    Answer answer = Answer::Unparsable;
    size_t count = 0;
};
AllReadings parse_ai_all(std::string_view answer, float* values, size_t capacity);
// Hexadecimal twin: '>' then four hexadecimal digits per channel.
AllReadings parse_ai_all_hex(std::string_view answer, uint32_t* values, size_t capacity);

// $AA6, ~AA4, $AA7 and their channel forms: skip 3, then the value.
std::optional<float> parse_value_after_address(std::string_view answer);

// ---- Host watchdog -----------------------------------------------------------

// ~AA0: '!' required; a 5-character answer carries two decimal digits from
// the fourth character and bit 2 of them is the time-out state; any other
// '!' answer is status 0.
std::optional<uint16_t> parse_wdt_status(std::string_view answer);
// ~AA2: '!' and exactly 6 characters: enable digit at the fourth, time-out
// from the fifth, read as hexadecimal (`hex`) or decimal.
struct WatchdogConfig {
    uint16_t enabled = 0;
    uint32_t timeout = 0;
};
std::optional<WatchdogConfig> parse_wdt_config(std::string_view answer, bool hex);

}  // namespace vex::modproto
