// vexctl serial / ports: a console for serial modules, and the COM port map.
//
//   vexctl serial PORT_CONFIG "COMMAND" [--checksum] [--terminator TEXT] [--timeout MS]
//       sends one command and prints the answer, e.g.
//       vexctl serial COM1:,9600,N,8,1 '$01M' --checksum
//   vexctl ports
//       lists the COM names and the devices they stand for
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/target.h"
#include "platform/text_codec.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {

constexpr const wchar_t* kPortsKey = L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports";

// Exit codes: 1 = the port or the module failed, 2 = bad command line.
[[noreturn]] void fail(int code, const std::string& message) {
    std::fprintf(stderr, "vexctl: %s\n", message.c_str());
    std::exit(code);
}

// "error 0x14002: Uart read timeout"
std::string error_text(uint32_t code) {
    wchar_t message[VEX_ERROR_MESSAGE_SIZE] = L"";
    vex_GetErrorMessage(code, message);
    char head[32];
    std::snprintf(head, sizeof head, "error 0x%X", code);
    return std::string(head) + ": " + (message[0] ? vex::plat::to_utf8(message) : "(no message)");
}

// Reads C-style escapes: \r \n \t \\ \xHH.
std::string unescape(const std::string& text) {
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

// Shows control characters of an answer as escapes, so a garbled answer
// cannot garble the terminal.
std::string printable(const char* text) {
    std::string out;
    for (const char* p = text; *p; ++p) {
        const auto c = static_cast<unsigned char>(*p);
        if (c >= 0x20 && c != 0x7F) {
            out += static_cast<char>(c);
        } else {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\x%02X", c);
            out += esc;
        }
    }
    return out;
}

struct SerialArgs {
    std::string config;
    std::string command;
    bool checksum = false;
    std::string terminator = "\\r";
    int64_t timeout = -1;
};

void run_serial(const SerialArgs& a) {
    if (a.command.size() > VEX_UART_BUFFER_SIZE)
        fail(2, "COMMAND is longer than " + std::to_string(VEX_UART_BUFFER_SIZE) + " characters");
    const std::string terminator = unescape(a.terminator);
    if (terminator.size() > 255) fail(2, "--terminator is longer than 255 characters");
    if (a.timeout < -1 || a.timeout > 0xFFFFFFFFLL) fail(2, "--timeout must be 0 to 4294967295 ms");

    const VEX_PORT port = uart_OpenEx(a.config.c_str());
    if (port == VEX_INVALID_PORT)
        fail(1, a.config + ": " + error_text(vex_GetLastError()) +
                    " (is the port mapped and free? see 'vexctl ports')");
    uart_EnableCheckSum(port, a.checksum ? VEX_TRUE : VEX_FALSE);
    uart_SetTerminator(port, terminator.c_str());
    if (a.timeout >= 0) uart_SetTimeOut(port, static_cast<uint32_t>(a.timeout), 0);

    char answer[VEX_UART_BUFFER_SIZE] = "";
    const bool ok = uart_SendCmd(port, a.command.c_str(), answer) != 0;
    const uint32_t code = vex_GetLastError();
    uart_Close(port);
    if (!ok) fail(1, a.config + ": " + error_text(code));
    std::printf("%s\n", printable(answer).c_str());
}

void run_ports() {
    wchar_t name[VEX_REG_NAME_SIZE];
    int shown = 0;
    for (uint32_t i = 0; vex_RegGetValueByIndex(kPortsKey, i, name); ++i) {
        const std::wstring path = std::wstring(kPortsKey) + L"\\" + name;
        wchar_t device[512];
        const bool ok = vex_RegGetString(path.c_str(), device, sizeof device);
        std::printf("%-8s %s\n", (vex::plat::to_utf8(name) + ":").c_str(),
                    ok ? vex::plat::to_utf8(device).c_str() : "(not a device path)");
        ++shown;
    }
    if (vex::plat::target().hardware)
        std::printf("%sOther COMn: open /dev/ttySn unless mapped in HKEY_LOCAL_MACHINE\\VORLAN\\Ports.\n",
                    shown ? "\n" : "");
    else if (!shown)
        std::printf("No COM ports: nothing mapped in HKEY_LOCAL_MACHINE\\VORLAN\\Ports.\n");
}

}  // namespace

void register_serial_commands(CLI::App& app) {
    static SerialArgs args;
    CLI::App* serial = app.add_subcommand("serial", "Send one command to a serial module and print its answer");
    serial->add_option("PORT_CONFIG", args.config, "Port and settings, e.g. COM1:,9600,N,8,1 or COM0:")
        ->required();
    serial->add_option("COMMAND", args.command, "Command text without terminator, e.g. '$01M'")->required();
    serial->add_flag("--checksum", args.checksum, "Append and check the two-digit checksum");
    serial->add_option("--terminator", args.terminator, "Line terminator, with escapes \\r \\n \\t \\\\ \\xHH")
        ->capture_default_str();
    serial->add_option("--timeout", args.timeout, "Time-out in ms for each character of the answer");
    serial->footer("Exits 1 with the error code and its message when the port or the module fails.");
    serial->callback([] { run_serial(args); });

    CLI::App* ports = app.add_subcommand("ports", "List the COM ports and their devices");
    ports->callback([] { run_ports(); });
}
