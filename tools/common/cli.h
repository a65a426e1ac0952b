// What vexctl and vexsim share on the command line: one way to fail, with
// fixed exit codes, and one number parser.
//
//   exit 1  the controller, port or module refused or failed
//   exit 2  the command line is wrong
#pragma once

#include <cstdint>
#include <string>

#include "platform/text_codec.h"

namespace vex::tools {

inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

class Json;

// Prints "<program>: <message>" on stderr and exits with `code`. Under
// --json it also prints, on stdout, the error as one JSON document:
//   {"error":{"exit_code":1,"message":"...","code":null,"code_message":null}}
// so that a script reading stdout always gets a document to look at.
[[noreturn]] void fail(int code, const std::string& message);
// A call of the library failed with `error` (its last error): exits 1 with
// "<what>: error 0x...: <library message>"; the JSON error carries the
// code as a number and the library's message.
[[noreturn]] void fail_error(uint32_t error, const std::string& what);
// The error object above as the value of key "error" of the open object
// in `j` (`error` null: no library code).
void add_error(Json& j, int exit_code, const std::string& message, const uint32_t* error);
// Exits with `code` after a command printed its own JSON error document:
// only the text line on stderr.
[[noreturn]] void fail_after_json(int code, const std::string& message);
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

using plat::format;  // printf into a string (platform/text_codec.h)

}  // namespace vex::tools
