// What vexctl and vexsim share on the command line: one way to fail, with
// fixed exit codes, and one number parser.
//
//   exit 1  the controller, port or module refused or failed
//   exit 2  the command line is wrong
#pragma once

#include <cstdint>
#include <string>

namespace vex::tools {

inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// Prints "<program>: <message>" on stderr and exits with `code`.
[[noreturn]] void fail(int code, const std::string& message);
// The program name fail() prints ("vexctl", "vexsim").
void set_program_name(const char* name);

// A number in decimal or 0x hexadecimal (no sign), at most `max`; anything
// else fails with kExitUsage naming `what`.
uint32_t parse_number(const std::string& text, const char* what, uint32_t max = 0xFFFFFFFFu);
// A signed decimal or 0x hexadecimal number within [min, max].
int64_t parse_signed(const std::string& text, const char* what, int64_t min, int64_t max);
// A decimal number with an optional sign and point ("-2.5").
float parse_real(const std::string& text, const char* what);

// Text made safe for a terminal: \\, \", \n, \r, \t and \xNN for other
// control bytes and for bytes that are not valid UTF-8.
std::string escape_text(const std::string& text);

// "error 0x14002: Uart read timeout"
std::string error_text(uint32_t code);

}  // namespace vex::tools
