// vexctl watchdog: the controller's system watchdogs.
#include <cstdio>
#include <string>

#include "platform/os_timer.h"
#include "platform/peripherals.h"
#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_watchdog {

using vex::tools::fail;

struct WatchdogOptions {
    std::string type;
    std::string time;
};

uint32_t parse_type(const std::string& text) {
    const uint32_t type = vex::tools::parse_number(text, "TYPE", 0xFFFFFFFFu);
    if (type != VEX_WDT_BACKPLANE && type != VEX_WDT_OS_TIMER)
        fail(vex::tools::kExitUsage, "TYPE must be 0 (backplane watchdog) or 1 (OS timer watchdog), not " + text);
    return type;
}

[[noreturn]] void refused(const char* what) {
    const uint32_t code = vex_GetLastError();
    vex::tools::fail_error(code, code == VEX_ERR_WDT_VALUE
                                     ? std::string(what) + " (backplane: 1..31 s; OS timer: 1 ms and up)"
                                     : std::string(what));
}

const char* unit(uint32_t type) { return type == VEX_WDT_BACKPLANE ? "s" : "ms"; }

int enable(uint32_t type, const std::string& time_text) {
    if (time_text.empty()) fail(vex::tools::kExitUsage, "enable needs TIME");
    const uint32_t time = vex::tools::parse_number(time_text, "TIME");
    vex_ClearLastError();
    if (!vex_EnableWatchDog(type, time)) refused("cannot enable the watchdog");
    std::printf("watchdog %u enabled: the controller resets in %u %s unless refreshed ('vexctl watchdog refresh %u%s')\n",
                type, time, unit(type), type, type == VEX_WDT_OS_TIMER ? " TIME" : "");
    return 0;
}

// The OS timer watchdog's time is kept by the program that armed it; a new
// process must be told it, or a refresh would set the deadline to now.
int refresh(uint32_t type, const std::string& time_text) {
    if (type == VEX_WDT_BACKPLANE) {
        vex_RefreshWatchDog(type);
        return 0;
    }
    if (time_text.empty())
        fail(vex::tools::kExitUsage, "refreshing the OS timer watchdog needs TIME in ms (its time belongs to the "
                                          "program that armed it)");
    vex_ClearLastError();
    if (!vex_SetWatchDogTime(type, vex::tools::parse_number(time_text, "TIME"))) refused("cannot refresh the watchdog");
    return 0;
}

int status(uint32_t type) {
    const bool json = vex::tools::json_output();
    vex::tools::Json j;
    j.open_object().field("type", type);
    if (type == VEX_WDT_BACKPLANE) {
        const bool on = vex_GetWatchDogState(type) != 0;
        const uint32_t time = vex_GetWatchDogTime(type);
        if (json)
            j.field("enabled", on).field("time_s", time).close().print();
        else
            std::printf("backplane watchdog: %s, time %u s\n", on ? "enabled" : "disabled", time);
        return 0;
    }
    // Read from the registers: this process did not arm it.
    using vex::plat::Page;
    const uint32_t ier = vex::plat::reg_read(Page::OsTimer, vex::plat::ost::kIrqEnable);
    const uint32_t mask = vex::plat::reg_read(Page::IrqController, vex::plat::intc::kMask);
    const uint32_t wme = vex::plat::reg_read(Page::OsTimer, vex::plat::ost::kWatchdogEnable);
    const bool armed = (wme & 1u) || ((ier & 8u) && (mask & (1u << vex::plat::intc::kOsTimerMatch3)));
    const uint32_t left_ms =
        armed ? (vex::plat::reg_read(Page::OsTimer, vex::plat::ost::match(3)) - vex::plat::os_timer_count()) / 3250u : 0;
    const bool by_watchdog = vex_GetWatchDogResetState(type) != 0;
    if (json) {
        j.field("armed", armed);
        if (armed)
            j.field("resets_in_ms", left_ms);
        else
            j.key("resets_in_ms").null();
        j.field("last_reset_by_watchdog", by_watchdog).close().print();
        return 0;
    }
    if (armed)
        std::printf("OS timer watchdog: armed, resets the controller in %u ms\n", left_ms);
    else
        std::printf("OS timer watchdog: not armed\n");
    std::printf("last reset: %s\n", by_watchdog ? "by a watchdog" : "not by a watchdog");
    return 0;
}

}  // namespace vexctl_cmd_watchdog
}  // namespace

void register_watchdog_commands(CLI::App& app) {
    using namespace vexctl_cmd_watchdog;
    static WatchdogOptions o;
    CLI::App* w = app.add_subcommand("watchdog", "The controller's system watchdogs (TYPE 0 backplane, 1 OS timer)");
    w->require_subcommand(1);
    CLI::App* e = w->add_subcommand("enable", "Arm: TYPE 0 TIME 1..31 s, TYPE 1 TIME in ms");
    e->add_option("type", o.type, "0 or 1")->required();
    e->add_option("time", o.time, "Time (s for 0, ms for 1)")->required();
    e->callback([] { std::exit(enable(parse_type(o.type), o.time)); });
    CLI::App* d = w->add_subcommand("disable", "Disarm");
    d->add_option("type", o.type, "0 or 1")->required();
    d->callback([] {
        vex_DisableWatchDog(parse_type(o.type));
        std::exit(0);
    });
    CLI::App* r = w->add_subcommand("refresh", "Restart the count (TYPE 1 needs TIME in ms)");
    r->add_option("type", o.type, "0 or 1")->required();
    r->add_option("time", o.time, "Time in ms (TYPE 1)");
    r->callback([] { std::exit(refresh(parse_type(o.type), o.time)); });
    CLI::App* s = w->add_subcommand("status", "Enabled or armed, time, last reset");
    s->add_option("type", o.type, "0 or 1")->required();
    s->footer("With --json: {type, enabled, time_s} for the backplane watchdog (0); {type, armed, resets_in_ms\n"
              "(null: not armed), last_reset_by_watchdog} for the OS timer watchdog (1).");
    s->callback([] { std::exit(status(parse_type(o.type))); });
}
