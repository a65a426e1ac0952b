// Opening and closing COM ports.
#include <cstdio>
#include <string>

#include "frame/errors.h"
#include "platform/controller.h"
#include "platform/system.h"
#include "platform/target.h"
#include "platform/text_codec.h"
#include "serial/config_string.h"
#include "serial/port_table.h"
#include "vexsdk.h"

namespace vex::serial {
namespace {

constexpr const wchar_t* kPortsPath = L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports\\";

void report(const std::string& what) {
    if (!plat::env("VEXSDK_DEBUG").empty()) std::fprintf(stderr, "vexsdk: %s\n", what.c_str());
}

// "COMn" -> /dev/ttySn: what a Linux controller calls its UARTs unless the
// board's registry says otherwise.
bool hardware_default(const std::string& name, std::string& device) {
    if (name.size() < 4 || name.size() > 6 || name.compare(0, 3, "COM") != 0) return false;
    for (size_t i = 3; i < name.size(); ++i) {
        if (name[i] < '0' || name[i] > '9') return false;
    }
    device = "/dev/ttyS" + name.substr(3);
    return true;
}

// Finds the device of a port name. The registry lookup belongs to this
// library, not to the caller: it must not change the caller's last error.
bool resolve_device(const PortName& name, std::string& device) {
    // A virtual controller's ports are its host's, which the load may have
    // left on its way up (and which maps them in the registry).
    plat::await_host();
    if (!name.mapping.empty()) {
        const uint32_t saved = frame::last_error();
        const std::wstring path = kPortsPath + plat::from_utf8(name.mapping);
        wchar_t text[512];
        const bool found = vex_RegGetString(path.c_str(), text, sizeof text) && text[0] != L'\0';
        frame::set_last_error(saved);
        if (found) {
            device = plat::to_utf8(text);
            return true;
        }
    }
    if (plat::target().hardware && hardware_default(name.mapping, device)) return true;
    report(name.device + ": no device (set HKEY_LOCAL_MACHINE\\VORLAN\\Ports\\" + name.mapping + ")");
    return false;
}

}  // namespace
}  // namespace vex::serial

VEXSDK_EXTERN_C_BEGIN

VEX_PORT uart_OpenEx(const char* config) {
    using namespace vex::serial;
    namespace plat = vex::plat;
    const ConfigFields fields = split_config(config ? config : kDefaultConfig, "COM0:");
    const PortName name = port_name(fields[kPort]);

    std::unique_ptr<plat::ComPort> port;
    std::string device;
    if (resolve_device(name, device)) {
        std::string why;
        port = plat::ComPort::open(device, &why);
        if (!port) report(name.device + ": " + why);
    }
    if (!port) {
        vex::frame::set_last_error(VEX_ERR_UART_OPEN);
        return VEX_INVALID_PORT;
    }

    plat::ComSettings settings;
    port->get_settings(settings);
    apply_config(fields, settings);
    set_last_comm_state(settings);
    port->set_settings(settings);  // a block the port refuses leaves it as it was

    plat::ComTimeouts timeouts;
    port->get_timeouts(timeouts);
    timeouts.read_interval = 0;
    timeouts.read_multiplier = 0;
    timeouts.read_constant = 200;
    timeouts.write_multiplier = 0;
    timeouts.write_constant = 200;
    port->set_timeouts(timeouts);

    const uint32_t handle = register_port(std::move(port), name.record_name);
    if (handle == kInvalidHandle) vex::frame::set_last_error(VEX_ERR_UART_OPEN);
    return handle;
}

VEX_PORT uart_Open(const char* config) {
    using namespace vex::serial;
    std::string default_config = kDefaultConfig;
    std::string default_port = "COM0:";
    // Running mode 2 is the controller set up with its bus port as the
    // default one.
    if (vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\VORLAN\\RunningMode") == 2) {
        default_config[3] = '1';
        default_port[3] = '1';
    }
    const ConfigFields fields = split_config(config ? config : default_config.c_str(), default_port.c_str());
    std::string port = fields[kPort];
    if (port.back() != ':') port += ':';
    // Older controllers numbered their ports differently; programs written
    // for them name the old numbers.
    if (vex_BackwardCompatible()) {
        if (port == "COM0:")
            port = "COM1:";
        else if (port == "COM1:")
            port = "COM2:";
        else if (port == "COM2:")
            port = "COM5:";
    }
    const std::string rebuilt = port + "," + fields[kBaud] + "," + fields[kParity] + "," + fields[kDataBits] +
                                "," + fields[kStopBits];
    return uart_OpenEx(rebuilt.c_str());
}

VEX_BOOL32 uart_Close(VEX_PORT handle) {
    using namespace vex::serial;
    PortPtr record = unregister_port(handle);
    if (!record) return VEX_FALSE;
    stop_monitor(*record);
    // Calls still running on the port end now; the device closes when the
    // last of them lets go of the record.
    record->port->cancel();
    return VEX_TRUE;
}

VEXSDK_EXTERN_C_END
