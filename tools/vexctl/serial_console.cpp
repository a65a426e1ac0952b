#include "tools/vexctl/serial_console.h"

#include <cstdio>
#include <cstdlib>

#include "platform/system.h"
#include "serial/trace.h"
#include "tools/common/cli.h"

using vex::tools::fail;

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_serial_console {

uint64_t g_trace_start = 0;

void print_trace(uint32_t, vex::serial::TraceDirection direction, const uint8_t* data, size_t size,
                 uint64_t time_ns) {
    std::string hex;
    for (size_t i = 0; i < size; ++i) {
        char b[4];
        std::snprintf(b, sizeof b, "%02X ", data[i]);
        hex += b;
    }
    const double ms = static_cast<double>(time_ns - g_trace_start) / 1e6;
    std::fprintf(stderr, "+%9.3f ms %c %s %s\n", ms, direction == vex::serial::TraceDirection::Sent ? '>' : '<',
                 hex.c_str(), printable(data, size).c_str());
}

}  // namespace vexctl_serial_console
}  // namespace

void add_line_options(CLI::App& command, LineOptions& options) {
    using namespace vexctl_serial_console;
    command.add_flag("--checksum", options.checksum, "Append and check the two-digit checksum");
    command.add_option("--terminator", options.terminator, "Line terminator, with escapes \\r \\n \\t \\\\ \\xHH")
        ->capture_default_str();
    command.add_option("--timeout", options.timeout, "Time-out in ms for each character of the answer");
    command.add_flag("--trace", options.trace, "Print every byte sent (>) and received (<) with its time, on stderr");
}

VEX_PORT open_line(const std::string& config, const LineOptions& o) {
    using namespace vexctl_serial_console;
    const std::string terminator = unescape(o.terminator);
    if (terminator.size() > 255) fail(2, "--terminator is longer than 255 characters");
    if (o.timeout < -1 || o.timeout > 0xFFFFFFFFLL) fail(2, "--timeout must be 0 to 4294967295 ms");
    const VEX_PORT port = uart_OpenEx(config.c_str());
    if (port == VEX_INVALID_PORT)
        fail(1, config + ": " + vex::tools::error_text(vex_GetLastError()) +
                    " (is the port mapped and free? see 'vexctl ports')");
    uart_EnableCheckSum(port, o.checksum ? VEX_TRUE : VEX_FALSE);
    uart_SetTerminator(port, terminator.c_str());
    if (o.timeout >= 0) uart_SetTimeOut(port, static_cast<uint32_t>(o.timeout), 0);
    if (o.trace) {
        g_trace_start = vex::plat::monotonic_ns();
        vex::serial::set_tracer(print_trace);
    }
    return port;
}

std::string unescape(const std::string& text) {
    using namespace vexctl_serial_console;
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            out += text[i];
            continue;
        }
        if (++i == text.size()) fail(2, "--terminator ends in a lone backslash");
        switch (text[i]) {
        case 'r': out += '\r'; break;
        case 'n': out += '\n'; break;
        case 't': out += '\t'; break;
        case '\\': out += '\\'; break;
        case 'x': {
            const std::string digits = text.substr(i + 1, 2);
            char* end = nullptr;
            const long v = std::strtol(digits.c_str(), &end, 16);
            if (digits.size() != 2 || *end != '\0' || v == 0)
                fail(2, "--terminator: \\x needs two hexadecimal digits (not 00)");
            out += static_cast<char>(v);
            i += 2;
            break;
        }
        default: fail(2, std::string("--terminator: unknown escape \\") + text[i]);
        }
    }
    return out;
}

std::string printable(const uint8_t* data, size_t size) {
    using namespace vexctl_serial_console;
    std::string out;
    for (size_t i = 0; i < size; ++i) {
        const uint8_t c = data[i];
        if (c >= 0x20 && c != 0x7F) {
            out += static_cast<char>(c);
        } else if (c == '\r') {
            out += "\\r";
        } else {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\x%02X", c);
            out += esc;
        }
    }
    return out;
}

std::string printable(const char* text) {
    using namespace vexctl_serial_console;
    size_t n = 0;
    while (text[n]) ++n;
    return printable(reinterpret_cast<const uint8_t*>(text), n);
}
