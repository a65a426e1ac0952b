// vexctl serial / ports: a console for serial modules, and the COM port map.
//
//   vexctl serial PORT_CONFIG "COMMAND" [--checksum] [--terminator TEXT] [--timeout MS] [--trace]
//       sends one command and prints the answer, e.g.
//       vexctl serial COM1:,9600,N,8,1 '$01M' --checksum
//       --trace prints every byte sent and received, with its time
//   vexctl ports
//       lists the COM names and the devices they stand for
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/controller.h"
#include "platform/target.h"
#include "platform/text_codec.h"
#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "tools/vexctl/serial_console.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_serial {

using vex::tools::fail;

constexpr const wchar_t* kPortsKey = L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports";

struct SerialArgs {
    std::string config;
    std::string command;
    LineOptions line;
};

void run_serial(const SerialArgs& a) {
    if (a.command.size() > VEX_UART_BUFFER_SIZE)
        fail(2, "COMMAND is longer than " + std::to_string(VEX_UART_BUFFER_SIZE) + " characters");
    const VEX_PORT port = open_line(a.config, a.line);
    char answer[VEX_UART_BUFFER_SIZE] = "";
    const bool ok = uart_SendCmd(port, a.command.c_str(), answer) != 0;
    const uint32_t code = vex_GetLastError();
    uart_Close(port);
    if (!ok) vex::tools::fail_error(code, a.config);
    if (vex::tools::json_output()) {
        vex::tools::Json j;
        j.open_object().field("port", a.config).field("command", a.command).field("answer", std::string(answer));
        j.close().print();
        return;
    }
    std::printf("%s\n", printable(answer).c_str());
}

void run_ports() {
    struct Port {
        std::string name;
        std::string device;  // "" when the value is not a device path
    };
    // The host maps a virtual controller's ports; it may be on its way up.
    vex::plat::await_host();
    std::vector<Port> ports;
    wchar_t name[VEX_REG_NAME_SIZE];
    for (uint32_t i = 0; vex_RegGetValueByIndex(kPortsKey, i, name); ++i) {
        const std::wstring path = std::wstring(kPortsKey) + L"\\" + name;
        wchar_t device[512];
        const bool ok = vex_RegGetString(path.c_str(), device, sizeof device);
        ports.push_back({vex::plat::to_utf8(name) + ":", ok ? vex::plat::to_utf8(device) : ""});
    }
    const bool hardware = vex::plat::target().hardware;
    if (vex::tools::json_output()) {
        vex::tools::Json j;
        j.open_object().key("ports").open_array();
        for (const Port& p : ports) {
            j.open_object().field("name", p.name);
            if (p.device.empty())
                j.key("device").null();
            else
                j.field("device", p.device).field("present", ::access(p.device.c_str(), F_OK) == 0);
            j.close();
        }
        j.close().field("unmapped_open_ttyS", hardware).close().print();
        return;
    }
    for (const Port& p : ports) {
        // A virtual controller's ports are links that exist while its host runs.
        const bool present = !p.device.empty() && ::access(p.device.c_str(), F_OK) == 0;
        std::printf("%-8s %s%s\n", p.name.c_str(), p.device.empty() ? "(not a device path)" : p.device.c_str(),
                    p.device.empty() || present ? "" : "  (not present now)");
    }
    if (hardware)
        std::printf("%sOther COMn: open /dev/ttySn unless mapped in HKEY_LOCAL_MACHINE\\VORLAN\\Ports.\n",
                    ports.empty() ? "" : "\n");
    else if (ports.empty())
        std::printf("No COM ports: nothing mapped in HKEY_LOCAL_MACHINE\\VORLAN\\Ports.\n");
}

}  // namespace vexctl_cmd_serial
}  // namespace

void register_serial_commands(CLI::App& app) {
    using namespace vexctl_cmd_serial;
    static SerialArgs args;
    CLI::App* serial = app.add_subcommand("serial", "Send one command to a serial module and print its answer");
    serial->add_option("PORT_CONFIG", args.config, "Port and settings, e.g. COM1:,9600,N,8,1 or COM0:")
        ->required();
    serial->add_option("COMMAND", args.command, "Command text without terminator, e.g. '$01M'")->required();
    add_line_options(*serial, args.line);
    serial->footer("With --json: {port, command, answer}.\n"
                   "Exits 1 with the error code and its message when the port or the module fails.");
    serial->callback([] { run_serial(args); });

    CLI::App* ports = app.add_subcommand("ports", "List the COM ports and their devices");
    ports->footer("With --json: {ports: [{name, device (null: not a device path), present (the device exists now)}],\n"
                  "unmapped_open_ttyS (true on hardware: other COMn: open /dev/ttySn)}.");
    ports->callback([] { run_ports(); });
}
