#include "tools/common/cli.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace vex::tools {

void fail(int code, const std::string& message) {
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, message.c_str());
    std::exit(code);
}

uint32_t parse_u32(const std::string& text, const char* what, uint32_t max) {
    char* end = nullptr;
    errno = 0;
    const unsigned long long v = std::strtoull(text.c_str(), &end, 0);
    if (text.empty() || text[0] == '-' || text[0] == '+' || text[0] == ' ' || *end != '\0' || errno != 0 || v > max)
        fail(kBadCommandLine, std::string(what) + " must be a number from 0 to " + std::to_string(max) +
                                  " (decimal or 0x hex), not '" + text + "'");
    return static_cast<uint32_t>(v);
}

int32_t parse_i32(const std::string& text, const char* what, int32_t min, int32_t max) {
    char* end = nullptr;
    errno = 0;
    const long long v = std::strtoll(text.c_str(), &end, 10);
    if (text.empty() || text[0] == ' ' || *end != '\0' || errno != 0 || v < min || v > max)
        fail(kBadCommandLine, std::string(what) + " must be a whole number from " + std::to_string(min) + " to " +
                                  std::to_string(max) + ", not '" + text + "'");
    return static_cast<int32_t>(v);
}

}  // namespace vex::tools
