// What vexctl and vexsim share on their command lines: one number parser
// and one way to fail, with the same exit codes in both tools.
//   0  done
//   1  the controller refused or cannot (no such slot, no card, ...)
//   2  bad command line (a number that is not one, out of range, ...)
#pragma once

#include <cstdint>
#include <string>

namespace vex::tools {

inline constexpr int kRefused = 1;
inline constexpr int kBadCommandLine = 2;

// Prints "<program>: <message>" on stderr and exits with `code`.
[[noreturn]] void fail(int code, const std::string& message);

// A whole number in decimal or 0x hexadecimal, 0..max. Anything else
// (sign, junk, empty, too large) fails with exit code 2, naming `what`.
uint32_t parse_u32(const std::string& text, const char* what, uint32_t max = 0xFFFFFFFFu);
// A signed whole number in decimal, min..max; fails like parse_u32.
int32_t parse_i32(const std::string& text, const char* what, int32_t min, int32_t max);

}  // namespace vex::tools
