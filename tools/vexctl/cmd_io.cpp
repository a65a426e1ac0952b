// vexctl di / do / wdt: digital I/O and the module watchdog of the
// parallel-bus modules in the controller's slots.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "io/output_values.h"
#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_io {

// Registers of a module's slot page that vexctl looks at to explain
// itself (the library does the actual work).
constexpr uint32_t kRegId = 0x00;
constexpr uint32_t kRegCapability = 0x0E;
constexpr uint32_t kRegTimeout = 0x1E;
constexpr uint8_t kCapWatchdog = 0x20;

using vex::tools::fail;

std::string hex(uint32_t v, int digits) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%0*X", digits, v);
    return buf;
}

uint32_t parse_number(const std::string& text, const char* what) { return vex::tools::parse_number(text, what); }

// The slot, once it is known to hold a parallel-bus module; otherwise the
// command ends here saying what is wrong.
uint32_t bus_module_slot(const std::string& text) {
    const uint32_t slot = parse_number(text, "SLOT");
    const uint32_t count = vex_GetSlotCount();
    if (slot >= count) {
        const std::string range = count ? "0.." + std::to_string(count - 1) : "none";
        fail(1, "slot " + std::to_string(slot) + " does not exist: this controller has " + std::to_string(count) +
                    " slots (" + range + ")");
    }
    if (!_vex_slot_exists(slot)) fail(1, "slot " + std::to_string(slot) + " is empty");
    if (_vex_slot_inp(slot, kRegId) == 0xFF)
        fail(1, "slot " + std::to_string(slot) + " holds a serial module; these commands reach parallel-bus modules only");
    return slot;
}

uint32_t watchdog_module_slot(const std::string& text) {
    const uint32_t slot = bus_module_slot(text);
    const uint32_t capability = _vex_slot_inp(slot, kRegCapability);
    if (!(capability & kCapWatchdog))
        fail(1, "the module in slot " + std::to_string(slot) + " has no module watchdog (capability " +
                    hex(capability, 2) + ")");
    return slot;
}

const char* source_name(int16_t code) {
    switch (code) {
    case 0: return "host";
    case 1: return "power-on value";
    case 2: return "safe value";
    default: return "module-specific code";
    }
}

// A module whose watchdog has expired holds its outputs at the safe value
// and ignores the write: that is a refusal, not a success.
void fail_if_held(uint32_t slot) {
    if (!(_vex_slot_inp(slot, kRegCapability) & kCapWatchdog)) return;
    if (vex_GetModuleWDTStatus(0, static_cast<int32_t>(slot)))
        fail(vex::tools::kExitFailed, "the watchdog of slot " + std::to_string(slot) +
                                          " has expired: the module holds its outputs at the safe value until "
                                          "'vexctl wdt " + std::to_string(slot) + " reset' and a new write");
}

void check_channels(int32_t channels) {
    if (channels < 1 || channels > 32)
        fail(vex::tools::kExitUsage, "-n must be a channel count from 1 to 32, not " + std::to_string(channels));
}

int print_lines(uint32_t slot, int32_t channels, uint32_t value) {
    if (vex::tools::json_output()) {
        vex::tools::Json j;
        j.open_object().field("slot", slot).field("channels", channels).field("value", value).close().print();
        return 0;
    }
    std::printf("0x%08X\n", value);
    return 0;
}

// ---- di / do ----

struct IoOptions {
    std::string slot;
    std::string value;
    int32_t channels = 0;
    uint32_t bit = 0;
    bool on = false;
    bool off = false;
};

int run_di(const IoOptions& o) {
    check_channels(o.channels);
    const uint32_t slot = bus_module_slot(o.slot);
    return print_lines(slot, o.channels, _vex_ReadDI(slot, o.channels));
}

int write_outputs(uint32_t slot, int32_t channels, uint32_t value) {
    if (channels < 32 && (value >> channels) != 0)
        fail(vex::tools::kExitUsage, "VALUE " + hex(value, 2) + " is wider than the module's " +
                                         std::to_string(channels) + " output channels");
    fail_if_held(slot);
    vex_ClearLastError();
    if (!_vex_WriteDO(slot, channels, value)) {
        if (vex_GetLastError() == VEX_ERR_INVALID_SLOT) fail(1, "slot " + std::to_string(slot) + " is not a valid slot");
        fail(1, "the library writes 4, 5, 6, 8, 16 or 32 output channels, not " + std::to_string(channels));
    }
    fail_if_held(slot);
    return 0;
}

int run_do(const IoOptions& o, bool bit_given) {
    check_channels(o.channels);
    const uint32_t slot = bus_module_slot(o.slot);
    if (bit_given) {
        if (o.on == o.off) fail(2, "--bit needs exactly one of --on or --off");
        if (!o.value.empty()) fail(2, "give either VALUE or --bit, not both");
        if (o.bit >= static_cast<uint32_t>(o.channels))
            fail(2, "--bit must be a channel from 0 to " + std::to_string(o.channels - 1) + ", not " +
                        std::to_string(o.bit));
        const uint32_t current = _vex_ReadDO(slot, o.channels);
        const uint32_t mask = 1u << o.bit;
        return write_outputs(slot, o.channels, o.on ? (current | mask) : (current & ~mask));
    }
    if (o.on || o.off) fail(2, "--on and --off go with --bit");
    if (!o.value.empty()) return write_outputs(slot, o.channels, parse_number(o.value, "VALUE"));
    return print_lines(slot, o.channels, _vex_ReadDO(slot, o.channels));
}

// ---- wdt ----

struct WdtOptions {
    std::string slot;
    std::string value;
    uint32_t timeout = 0;
    bool enable = false;
    bool disable = false;
    bool overwrite = false;
};

// Under --json: {slot, expired, last_source, last_source_name} and, for
// config, timeout_s and timeout_register.
int wdt_report(uint32_t slot, bool config) {
    const auto address = static_cast<int32_t>(slot);
    uint32_t timeout = 0;
    if (config) vex_GetModuleWDTConfig(0, address, nullptr, &timeout, nullptr);
    const bool expired = vex_GetModuleWDTStatus(0, address) != 0;
    const int16_t source = vex_GetModuleLastOutputSource(0, address);
    if (vex::tools::json_output()) {
        vex::tools::Json j;
        j.open_object().field("slot", slot).field("expired", expired).field("last_source", static_cast<int>(source));
        j.field("last_source_name", source_name(source));
        if (config) j.field("timeout_s", timeout).field("timeout_register", _vex_slot_inp(slot, kRegTimeout));
        j.close().print();
        return 0;
    }
    if (config) {
        std::printf("slot %u: timeout %u s (module register: %u half-seconds)\n", slot, timeout,
                    _vex_slot_inp(slot, kRegTimeout));
        std::printf("(the enable flag and overwrite permission are kept by each program; the module's enable\n"
                    " register cannot be read back)\n");
    }
    std::printf("slot %u: watchdog %s\n", slot, expired ? "EXPIRED" : "not expired");
    std::printf("last output source: %d (%s)\n", source, source_name(source));
    return 0;
}

int wdt_status(uint32_t slot) { return wdt_report(slot, false); }
int wdt_config(uint32_t slot) { return wdt_report(slot, true); }

int wdt_set(uint32_t slot, const WdtOptions& o, bool timeout_given) {
    if (!timeout_given) fail(2, "set needs --timeout SECONDS");
    if (o.enable == o.disable) fail(2, "set needs exactly one of --enable or --disable");
    if (o.timeout > 127)
        std::fprintf(stderr, "vexctl: note: the module counts at most 127.5 s; %u s wraps to %u half-seconds\n",
                     o.timeout, (o.timeout * 2u) & 0xFFu);
    vex_SetModuleWDTConfig(0, static_cast<int32_t>(slot), o.enable ? 1 : 0, o.timeout, o.overwrite ? 1 : 0);
    return 0;
}

// The stored values sit in the module's parameter memory; the library's
// parallel-bus branches of the power-on and safe value calls reach them.
int wdt_value(uint32_t slot, const std::string& value, bool power_on) {
    if (value.empty()) {
        const uint32_t v = power_on ? vex::io::read_power_on_do(slot) : vex::io::read_safe_do(slot);
        if (vex::tools::json_output()) {
            vex::tools::Json j;
            j.open_object().field("slot", slot).field("value", v).close().print();
            return 0;
        }
        std::printf("0x%08X\n", v);
        return 0;
    }
    const uint32_t v = parse_number(value, "VALUE");
    if (power_on)
        vex::io::write_power_on_do(slot, v);
    else
        vex::io::write_safe_do(slot, v);
    return 0;
}

}  // namespace vexctl_cmd_io
}  // namespace

void register_io_commands(CLI::App& app) {
    using namespace vexctl_cmd_io;
    static IoOptions di;
    CLI::App* d = app.add_subcommand("di", "Read the inputs of a parallel-bus module");
    d->add_option("slot", di.slot, "Slot")->required();
    d->add_option("-n,--channels", di.channels, "Input channels of the module (1..32)")->required();
    d->callback([] { std::exit(run_di(di)); });

    static IoOptions out;
    static CLI::Option* bit = nullptr;
    CLI::App* o = app.add_subcommand("do", "Read or write the outputs of a parallel-bus module\n"
                                           "  do SLOT -n N            read (the shared shadow, or the module's read-back)\n"
                                           "  do SLOT VALUE -n N      write\n"
                                           "  do SLOT --bit CH --on|--off -n N   switch one channel");
    o->add_option("slot", out.slot, "Slot")->required();
    o->add_option("value", out.value, "Output value to write (decimal or 0x hex)");
    o->add_option("-n,--channels", out.channels, "Output channels of the module (4..8, 16 or 32)")->required();
    bit = o->add_option("--bit", out.bit, "Channel to switch (0..31)");
    o->add_flag("--on", out.on, "Switch the --bit channel on");
    o->add_flag("--off", out.off, "Switch the --bit channel off");
    o->callback([] { std::exit(run_do(out, bit->count() > 0)); });

    static WdtOptions w;
    static CLI::Option* timeout = nullptr;
    CLI::App* wdt = app.add_subcommand("wdt", "Module watchdog, power-on and safe output values");
    wdt->add_option("slot", w.slot, "Slot")->required();
    wdt->require_subcommand(1);
    wdt->footer("With --json: status and config print {slot, expired, last_source, last_source_name}, config\n"
                "adds timeout_s and timeout_register (half-seconds); poweron and safe without VALUE print {slot, value}.");
    wdt->add_subcommand("status", "Expired or not, and what last drove the outputs")->callback([] {
        std::exit(wdt_status(watchdog_module_slot(w.slot)));
    });
    wdt->add_subcommand("config", "The module's timeout and status")->callback([] {
        std::exit(wdt_config(watchdog_module_slot(w.slot)));
    });
    CLI::App* set = wdt->add_subcommand("set", "Configure: --timeout S and --enable or --disable");
    timeout = set->add_option("-t,--timeout", w.timeout, "Timeout in seconds (the module counts half-seconds)");
    set->add_flag("--enable", w.enable, "Enable the watchdog");
    set->add_flag("--disable", w.disable, "Disable the watchdog");
    set->add_flag("--overwrite", w.overwrite,
                  "Permit this program's output writes to an expired module (a per-program setting)");
    set->callback([] { std::exit(wdt_set(watchdog_module_slot(w.slot), w, timeout->count() > 0)); });
    wdt->add_subcommand("refresh", "Feed the watchdog")->callback([] {
        vex_RefreshModuleWDT(0, static_cast<int32_t>(watchdog_module_slot(w.slot)));
        std::exit(0);
    });
    wdt->add_subcommand("reset", "Re-arm an expired watchdog")->callback([] {
        vex_ResetModuleWDT(0, static_cast<int32_t>(watchdog_module_slot(w.slot)));
        std::exit(0);
    });
    CLI::App* pv = wdt->add_subcommand("poweron", "Read, or write with VALUE, the stored power-on output value");
    pv->add_option("value", w.value, "New power-on value (0 disables it)");
    pv->callback([] { std::exit(wdt_value(watchdog_module_slot(w.slot), w.value, true)); });
    CLI::App* sv = wdt->add_subcommand("safe", "Read, or write with VALUE, the stored safe output value");
    sv->add_option("value", w.value, "New safe value");
    sv->callback([] { std::exit(wdt_value(watchdog_module_slot(w.slot), w.value, false)); });
}
