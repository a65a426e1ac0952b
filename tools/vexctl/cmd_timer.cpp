// vexctl timer: runs a backplane timer and reports how regularly its
// callback ran. vexctl hotplug: the hot-plug state and registrations.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "services/hotplug.h"
#include "platform/text_codec.h"
#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_timer {

using vex::tools::fail;
using vex::tools::kExitFailed;

constexpr double kUnitUs = 100.0;  // the timers count in steps of 100 microseconds

uint64_t monotonic_ns() {
    timespec ts{};
    ::clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<uint64_t>(ts.tv_sec) * 1000000000ull + static_cast<uint64_t>(ts.tv_nsec);
}

// Filled by the callback on the timer's service thread; read by the main
// thread once the timer is killed (the count is published with release).
std::vector<uint64_t> g_ticks;
std::atomic<uint32_t> g_count{0};
int g_done[2] = {-1, -1};  // the callback writes one byte here after the last tick
volatile sig_atomic_t g_stop = 0;

int32_t on_tick() {
    const uint32_t n = g_count.load(std::memory_order_relaxed);
    if (n < g_ticks.size()) {
        g_ticks[n] = monotonic_ns();
        g_count.store(n + 1, std::memory_order_release);
        const char done = 1;
        // The main thread also notices the count when it next looks.
        if (n + 1 == g_ticks.size() && ::write(g_done[1], &done, 1) != 1) return 0;
    }
    return 0;  // acknowledge
}

void on_signal(int) { g_stop = 1; }

struct TimerOptions {
    std::string timer;
    std::string interval;
    uint32_t count = 1000;
};

// The tick statistics, printed for people or as one JSON object.
void report(uint32_t timer, uint32_t interval, uint32_t n, bool complete) {
    const double expected_us = interval * kUnitUs;
    const bool json = vex::tools::json_output();
    vex::tools::Json j;
    j.open_object().field("timer", timer).field("interval", interval).field("interval_us", expected_us);
    j.field("ticks", n).field("complete", complete);
    if (!json) std::printf("timer: %u ticks at an interval of %u (%.1f us)\n", n, interval, expected_us);
    if (n < 2) {
        for (const char* key : {"mean_period_us", "jitter_us", "min_period_us", "max_period_us", "missed"}) j.key(key).null();
        if (json) j.close().print();
        return;
    }
    double sum = 0, sq = 0, lo = 1e300, hi = 0;
    for (uint32_t i = 1; i < n; ++i) {
        const double p = static_cast<double>(g_ticks[i] - g_ticks[i - 1]) / 1000.0;
        sum += p;
        sq += p * p;
        lo = std::min(lo, p);
        hi = std::max(hi, p);
    }
    const double periods = n - 1;
    const double mean = sum / periods;
    const double jitter = std::sqrt(std::max(0.0, sq / periods - mean * mean));
    const double span_us = static_cast<double>(g_ticks[n - 1] - g_ticks[0]) / 1000.0;
    const long missed = std::max(0L, std::lround(span_us / expected_us) - static_cast<long>(periods));
    if (json) {
        j.field("mean_period_us", mean).field("jitter_us", jitter).field("min_period_us", lo);
        j.field("max_period_us", hi).field("missed", static_cast<int64_t>(missed)).close().print();
        return;
    }
    std::printf("mean period %.1f us, jitter (std dev) %.1f us, min %.1f us, max %.1f us\n", mean, jitter, lo, hi);
    std::printf("ticks not seen by the callback: %ld\n", missed);
}

int run_timer(const TimerOptions& o) {
    const uint32_t timer = vex::tools::parse_number(o.timer, "TIMER", 2);
    const uint32_t interval = vex::tools::parse_number(o.interval, "--interval", 0xFFFF);
    if (interval == 0) fail(vex::tools::kExitUsage, "--interval must be from 1 to 65535 (steps of 100 us)");
    if (o.count < 1 || o.count > 10000000) fail(vex::tools::kExitUsage, "--count must be from 1 to 10000000");
    g_ticks.assign(o.count, 0);
    if (::pipe2(g_done, O_CLOEXEC) != 0) fail(kExitFailed, "cannot create a pipe");
    struct sigaction sa {};
    sa.sa_handler = on_signal;
    ::sigaction(SIGINT, &sa, nullptr);
    ::sigaction(SIGTERM, &sa, nullptr);

    vex_ClearLastError();
    // Timer 0 runs a square wave of the whole interval.
    const VEX_BOOL32 ok = timer == 0 ? vex_SetBPTimerOut(static_cast<uint16_t>(interval - interval / 2),
                                                          static_cast<uint16_t>(interval / 2), on_tick)
                                     : vex_SetBPTimer(timer, static_cast<uint16_t>(interval), on_tick);
    if (!ok) {
        const uint32_t code = vex_GetLastError();
        if (code == VEX_ERR_NOT_SUPPORTED) fail(kExitFailed, "this controller has no backplane timers");
        if (code == VEX_ERR_SLOT_IN_USE) fail(kExitFailed, "timer " + o.timer + " is in use by another program");
        fail(kExitFailed, "cannot start timer " + o.timer + " (VEXSDK_DEBUG=1 tells more)");
    }
    // Under --json stdout carries only the document.
    std::fprintf(vex::tools::json_output() ? stderr : stdout, "timer %u running, %u ticks to go; Ctrl-C to stop early\n",
                 timer, o.count);
    std::fflush(stdout);
    // Give up when ticks stop coming: two periods and a second of slack.
    const int patience_ms = static_cast<int>(2 * interval * kUnitUs / 1000.0) + 1000;
    uint32_t last = 0;
    while (!g_stop && g_count.load(std::memory_order_acquire) < o.count) {
        pollfd p{g_done[0], POLLIN, 0};
        if (::poll(&p, 1, patience_ms) != 0) continue;  // done, or a signal
        const uint32_t now_count = g_count.load(std::memory_order_acquire);
        if (now_count == last) {
            std::fprintf(stderr, "vexctl: the timer stopped ticking after %u ticks\n", now_count);
            break;
        }
        last = now_count;
    }
    vex_KillBPTimer(timer);
    const uint32_t n = g_count.load(std::memory_order_acquire);
    report(timer, interval, n, n == o.count);
    return n == o.count || g_stop ? 0 : kExitFailed;
}

int show_hotplug() {
    if (vex::tools::json_output()) {
        vex::tools::Json j;
        j.open_object().field("enabled", vex_GetHotPlugStatus() != 0).field("pending", vex_GetHotPlugIRQState() != 0);
        j.key("registrations").open_array();
        for (const auto& r : vex::services::hotplug::registrations())
            j.open_object().field("key", vex::plat::to_utf8(r.key)).field("window", r.window).field("message", r.message).close();
        j.close().close().print();
        return 0;
    }
    std::printf("hot-plug notification: %s\n", vex_GetHotPlugStatus() ? "enabled" : "disabled");
    std::printf("hot-plug event pending: %s\n", vex_GetHotPlugIRQState() ? "yes" : "no");
    const auto regs = vex::services::hotplug::registrations();
    std::printf("registered windows (HKEY_LOCAL_MACHINE\\VORLAN\\HotPlug): %s\n", regs.empty() ? "none" : "");
    for (const auto& r : regs)
        std::printf("  %-14s window 0x%X, message 0x%X\n", vex::plat::to_utf8(r.key).c_str(), r.window, r.message);
    return 0;
}

}  // namespace vexctl_cmd_timer
}  // namespace

void register_timer_commands(CLI::App& app) {
    using namespace vexctl_cmd_timer;
    static TimerOptions t;
    CLI::App* timer = app.add_subcommand("timer", "Run a backplane timer and report its tick statistics");
    timer->add_option("timer", t.timer, "Timer 0, 1 or 2")->required();
    timer->add_option("-i,--interval", t.interval, "Interval in steps of 100 us (10 = 1 ms; 1..65535)")->required();
    timer->add_option("-c,--count", t.count, "Ticks to measure (default 1000)");
    timer->footer("With --json: {timer, interval, interval_us, ticks, complete (every tick seen before the end),\n"
                  "mean_period_us, jitter_us, min_period_us, max_period_us, missed} (null with fewer than 2 ticks).");
    timer->callback([] { std::exit(run_timer(t)); });

    CLI::App* hp = app.add_subcommand("hotplug", "Show the hot-plug state and registered windows");
    hp->footer("With --json: {enabled, pending, registrations: [{key, window, message}]}.");
    hp->add_subcommand("enable", "Enable hot-plug notification")->callback([] {
        vex_EnableHotPlug(1);
        std::exit(show_hotplug());
    });
    hp->add_subcommand("disable", "Disable hot-plug notification")->callback([] {
        vex_EnableHotPlug(0);
        std::exit(show_hotplug());
    });
    hp->add_subcommand("clear", "Clear a pending hot-plug event")->callback([] {
        vex_ClearHotPlug();
        std::exit(show_hotplug());
    });
    hp->callback([hp] {
        if (hp->get_subcommands().empty()) std::exit(show_hotplug());
    });
}
