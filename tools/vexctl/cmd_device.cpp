// vexctl device: every fact the library reports about the controller
// (factory record, board registers, library version); set-mac stores a MAC
// address in the factory record.
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/text_codec.h"
#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_device {

using vex::tools::error_text;
using vex::tools::fail;
using vex::tools::kExitFailed;
using vex::tools::kExitUsage;

struct Facts {
    std::string serial, cpu, os, eboot, os_build, eboot_build, mac1, mac2, sdk;
    int rotary = 0;
    int battery[2] = {0, 0};
    bool battery_known = true;
    uint32_t record_error = 0;  // set when the factory record could not be read
};

std::string text_of(int32_t (*get)(char*)) {
    char buf[VEX_DEVICE_TEXT_SIZE] = "";
    get(buf);
    return buf;
}

constexpr const char* kUnreadable = "(unreadable)";

// The facts of the factory record, unless it cannot be read at all (then
// each call would try again for nothing).
void gather_record(Facts& f) {
    uint8_t record[56];
    vex_ClearLastError();
    if (!vex_ReadMemory(0x23800, record, sizeof record, VEX_MEMORY_EEPROM)) {
        f.record_error = vex_GetLastError();
        f.serial = f.os = f.eboot = f.os_build = f.eboot_build = f.mac1 = f.mac2 = kUnreadable;
        return;
    }
    f.serial = text_of(vex_GetSerialNumber);
    f.os = text_of(vex_GetOSVersion);
    f.eboot = text_of(vex_GetEbootVersion);
    char buf[VEX_DEVICE_TEXT_SIZE] = "";
    vex_GetOSBuild_DATE_TIME(buf, nullptr);
    f.os_build = buf;
    vex_GetEbootBuild_DATE_TIME(buf, nullptr);
    f.eboot_build = buf;
    vex_GetMacAddress(1, buf);
    f.mac1 = buf;
    vex_GetMacAddress(2, buf);
    f.mac2 = buf;
}

Facts gather() {
    Facts f;
    gather_record(f);
    f.cpu = text_of(vex_GetCPUVersion);
    char buf[VEX_DEVICE_TEXT_SIZE] = "";
    vex_GetSDKVersion(buf);
    f.sdk = buf;
    f.rotary = vex_GetRotaryID();
    vex_ClearLastError();
    f.battery[0] = vex_GetBatteryLevel(1);
    f.battery[1] = vex_GetBatteryLevel(2);
    f.battery_known = vex_GetLastError() != VEX_ERR_NOT_SUPPORTED;
    return f;
}

std::string mac_text(const std::string& hex) {
    if (hex == kUnreadable) return hex;
    std::string out;
    for (size_t i = 0; i < hex.size(); i += 2) out += (i ? ":" : "") + hex.substr(i, 2);
    return out;
}

bool serial_valid(const Facts& f) { return !f.record_error && f.serial != "5A5A5A5A5A5A5A5A"; }

const char* battery_text(const Facts& f, int i) {
    if (!f.battery_known) return "not reported on this model";
    return f.battery[i] ? "ok" : "LOW";
}

void print_text(const Facts& f) {
    std::printf("serial number:      %s%s\n", f.serial.c_str(),
                serial_valid(f) || f.record_error ? "" : " (no valid number stored)");
    std::printf("CPU board version:  %s\n", f.cpu.c_str());
    std::printf("OS version:         %s\n", f.os.c_str());
    std::printf("OS build:           %s\n", f.os_build.c_str());
    std::printf("boot loader:        %s\n", f.eboot.c_str());
    std::printf("boot loader build:  %s\n", f.eboot_build.c_str());
    std::printf("MAC LAN1:           %s\n", mac_text(f.mac1).c_str());
    std::printf("MAC LAN2:           %s\n", mac_text(f.mac2).c_str());
    std::printf("rotary switch:      %d\n", f.rotary);
    std::printf("battery 1:          %s\n", battery_text(f, 0));
    std::printf("battery 2:          %s\n", battery_text(f, 1));
    std::printf("SDK version:        %s\n", f.sdk.c_str());
}

void print_json(const Facts& f) {
    vex::tools::Json j;
    j.open_object().field("serial_number", f.serial).field("serial_number_valid", serial_valid(f));
    j.field("cpu_version", f.cpu).field("os_version", f.os).field("os_build", f.os_build);
    j.field("eboot_version", f.eboot).field("eboot_build", f.eboot_build);
    j.field("mac1", mac_text(f.mac1)).field("mac2", mac_text(f.mac2)).field("rotary_switch", f.rotary);
    if (f.battery_known)
        j.field("battery1_ok", f.battery[0] != 0).field("battery2_ok", f.battery[1] != 0);
    else
        j.key("battery1_ok").null().key("battery2_ok").null();
    j.field("factory_record_readable", !f.record_error).field("sdk_version", f.sdk).close().print();
}

}  // namespace vexctl_cmd_device
}  // namespace

void register_device_commands(CLI::App& app) {
    using namespace vexctl_cmd_device;
    CLI::App* device = app.add_subcommand("device", "Show the controller's identity: versions, serial, MACs, ...");
    device->callback([] {
        const Facts f = gather();
        if (f.record_error)
            std::fprintf(stderr, "vexctl: warning: the factory record could not be read (%s)\n",
                         error_text(f.record_error).c_str());
        vex::tools::json_output() ? print_json(f) : print_text(f);
        std::exit(0);
    });

    // set-mac's callback runs (and exits) before device's own.
    static std::string index_text, mac;
    CLI::App* set_mac = device->add_subcommand("set-mac", "Store the MAC address of adapter 1 or 2");
    set_mac->add_option("adapter", index_text, "1 (LAN1) or 2 (LAN2)")->required();
    set_mac->add_option("mac", mac, "Twelve hex digits, e.g. 001122AABBCC (':' or '-' between bytes allowed)")
        ->required();
    set_mac->callback([] {
        if (index_text != "1" && index_text != "2") fail(kExitUsage, "adapter must be 1 or 2, not '" + index_text + "'");
        std::string digits;
        for (char c : mac) {
            if (c != ':' && c != '-') digits += c;
        }
        vex_ClearLastError();
        if (!_vex_set_mac_address(static_cast<uint8_t>(index_text[0] - '0'), vex::plat::from_utf8(digits).c_str())) {
            const uint32_t code = vex_GetLastError();
            fail(code == VEX_ERR_INVALID_MAC ? kExitUsage : kExitFailed,
                 code == VEX_ERR_INVALID_MAC ? "'" + mac + "' is not a MAC address of twelve hex digits"
                                             : "cannot store the MAC address: " + error_text(code));
        }
        char buf[VEX_DEVICE_TEXT_SIZE] = "";
        vex_GetMacAddress(static_cast<uint8_t>(index_text[0] - '0'), buf);
        std::printf("MAC LAN%s: %s\n", index_text.c_str(), mac_text(buf).c_str());
        std::exit(0);
    });
}
