#include "tools/common/cli.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "platform/text_codec.h"
#include "tools/common/json.h"
#include "vexsdk.h"

namespace vex::tools {
namespace {

const char* g_program = "vexsdk";

std::string library_message(uint32_t code) {
    wchar_t message[VEX_ERROR_MESSAGE_SIZE] = L"";
    vex_GetErrorMessage(code, message);
    return plat::to_utf8(message);
}

[[noreturn]] void fail_report(int code, const std::string& message, const uint32_t* error) {
    if (json_output()) {
        Json j;
        j.open_object();
        add_error(j, code, message, error);
        j.close().print();
    }
    fail_after_json(code, message);
}

}  // namespace

void set_program_name(const char* name) { g_program = name; }

void fail_after_json(int code, const std::string& message) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s\n", g_program, message.c_str());
    std::exit(code);
}

void fail(int code, const std::string& message) { fail_report(code, message, nullptr); }

void fail_error(uint32_t error, const std::string& what) {
    fail_report(kExitFailed, what + ": " + error_text(error), &error);
}

void add_error(Json& j, int exit_code, const std::string& message, const uint32_t* error) {
    j.key("error").open_object().field("exit_code", exit_code).field("message", message);
    if (error)
        j.field("code", *error).field("code_message", library_message(*error));
    else
        j.key("code").null().key("code_message").null();
    j.close();
}

uint32_t parse_number(const std::string& text, const char* what, uint32_t max) {
    char* end = nullptr;
    errno = 0;
    const unsigned long long v = std::strtoull(text.c_str(), &end, 0);
    if (text.empty() || text[0] == '-' || text[0] == '+' || text[0] == ' ' || *end != '\0' || errno != 0 ||
        v > max) {
        char range[64];
        std::snprintf(range, sizeof range, "from 0 to %u (0x%X)", max, max);
        fail(kExitUsage, std::string(what) + " must be a number " + range + ", decimal or 0x hex, not '" + text + "'");
    }
    return static_cast<uint32_t>(v);
}

int64_t parse_signed(const std::string& text, const char* what, int64_t min, int64_t max) {
    char* end = nullptr;
    errno = 0;
    const long long v = std::strtoll(text.c_str(), &end, 0);
    if (text.empty() || text[0] == ' ' || *end != '\0' || errno != 0 || v < min || v > max)
        fail(kExitUsage, std::string(what) + " must be a number from " + std::to_string(min) + " to " +
                             std::to_string(max) + ", not '" + text + "'");
    return v;
}

float parse_real(const std::string& text, const char* what) {
    char* end = nullptr;
    errno = 0;
    const float v = std::strtof(text.c_str(), &end);
    const bool plain = text.find_first_not_of("+-.0123456789") == std::string::npos;
    if (text.empty() || !plain || *end != '\0' || errno != 0 || !std::isfinite(v))
        fail(kExitUsage, std::string(what) + " must be a decimal number such as -2.5, not '" + text + "'");
    return v;
}

std::string escape_text(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        switch (c) {
        case '\\': out += "\\\\"; continue;
        case '"': out += "\\\""; continue;
        case '\n': out += "\\n"; continue;
        case '\r': out += "\\r"; continue;
        case '\t': out += "\\t"; continue;
        default: break;
        }
        if (c >= 0x20 && c < 0x7F) {
            out += static_cast<char>(c);
            continue;
        }
        // A valid multi-byte UTF-8 sequence passes; anything else is shown.
        size_t n = c >= 0xC2 && c <= 0xDF ? 2 : c >= 0xE0 && c <= 0xEF ? 3 : c >= 0xF0 && c <= 0xF4 ? 4 : 0;
        for (size_t k = 1; n && k < n; ++k)
            if (i + k >= text.size() || (static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) n = 0;
        if (n) {
            out.append(text, i, n);
            i += n - 1;
            continue;
        }
        char hex[8];
        std::snprintf(hex, sizeof hex, "\\x%02X", c);
        out += hex;
    }
    return out;
}

std::string error_text(uint32_t code) {
    const std::string message = library_message(code);
    char head[32];
    std::snprintf(head, sizeof head, "error 0x%X", code);
    return std::string(head) + ": " + (message.empty() ? "(no message)" : message);
}

}  // namespace vex::tools
