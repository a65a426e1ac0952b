// What vexctl and vexsim share on the command line: one way to fail and one
// number parser, with the same exit codes (1: the controller refused or
// cannot; 2: the command line is wrong).
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace vex::tools {

inline constexpr int kExitRefused = 1;
inline constexpr int kExitUsage = 2;

// Prints "<program>: <message>" on stderr and exits with `code`.
[[noreturn]] inline void fail(const char* program, int code, const std::string& message) {
    std::fprintf(stderr, "%s: %s\n", program, message.c_str());
    std::exit(code);
}

// A whole number from `min` to `max`, decimal or 0x hexadecimal; anything
// else ends the program with exit code 2, naming `what`.
inline uint32_t parse_number(const char* program, const std::string& text, const char* what, uint32_t min,
                             uint32_t max) {
    char* end = nullptr;
    errno = 0;
    const unsigned long long v = std::strtoull(text.c_str(), &end, 0);
    if (text.empty() || text[0] == '-' || text[0] == '+' || *end != '\0' || errno != 0 || v < min || v > max)
        fail(program, kExitUsage,
             std::string(what) + " must be a number from " + std::to_string(min) + " to " + std::to_string(max) +
                 " (decimal or 0x hex), not '" + text + "'");
    return static_cast<uint32_t>(v);
}

}  // namespace vex::tools
