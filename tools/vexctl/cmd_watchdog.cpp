// vexctl watchdog: the controller's system watchdogs.
#include <cstdio>
#include <string>

#include "platform/os_timer.h"
#include "platform/peripherals.h"
#include "tools/common/cli.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {

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
    fail(vex::tools::kExitFailed, std::string(what) + ": " + vex::tools::error_text(code) +
                                      (code == VEX_ERR_WDT_VALUE ? " (backplane: 1..31 s; OS timer: 1 ms and up)" : ""));
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
    if (type == VEX_WDT_BACKPLANE) {
        std::printf("backplane watchdog: %s, time %u s\n", vex_GetWatchDogState(type) ? "enabled" : "disabled",
                    vex_GetWatchDogTime(type));
        return 0;
    }
    // Read from the registers: this process did not arm it.
    using vex::plat::Page;
    const uint32_t ier = vex::plat::reg_read(Page::OsTimer, vex::plat::ost::kIrqEnable);
    const uint32_t mask = vex::plat::reg_read(Page::IrqController, vex::plat::intc::kMask);
    const uint32_t wme = vex::plat::reg_read(Page::OsTimer, vex::plat::ost::kWatchdogEnable);
    const bool armed = (wme & 1u) || ((ier & 8u) && (mask & (1u << vex::plat::intc::kOsTimerMatch3)));
    if (armed) {
        const uint32_t left = vex::plat::reg_read(Page::OsTimer, vex::plat::ost::match(3)) - vex::plat::os_timer_count();
        std::printf("OS timer watchdog: armed, resets the controller in %u ms\n", left / 3250u);
    } else {
        std::printf("OS timer watchdog: not armed\n");
    }
    std::printf("last reset: %s\n", vex_GetWatchDogResetState(type) ? "by a watchdog" : "not by a watchdog");
    return 0;
}

}  // namespace

void register_watchdog_commands(CLI::App& app) {
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
    s->callback([] { std::exit(status(parse_type(o.type))); });
}
