// vexctl irq watch: registers slot interrupts and prints one time-stamped
// line per interrupt, like a GPIO event monitor.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_irq {

using vex::tools::fail;
using vex::tools::kExitFailed;
using vex::tools::kExitUsage;

constexpr uint32_t kSlots = 8;

uint64_t monotonic_ns() {
    timespec ts{};
    ::clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<uint64_t>(ts.tv_sec) * 1000000000ull + static_cast<uint64_t>(ts.tv_nsec);
}

// The callbacks run on the library's service threads: they only hand the
// slot and the moment over to the main thread through a pipe.
struct Event {
    uint32_t slot;
    uint64_t when_ns;
};
int g_pipe[2] = {-1, -1};
volatile sig_atomic_t g_stop = 0;

template <uint32_t Slot>
int32_t on_interrupt() {
    const Event e{Slot, monotonic_ns()};
    // A full pipe (nobody reading) loses the line, not the acknowledge.
    if (::write(g_pipe[1], &e, sizeof e) != static_cast<ssize_t>(sizeof e)) return 0;
    return 0;  // acknowledge
}

constexpr VEX_IRQ_CALLBACK kCallbacks[kSlots] = {on_interrupt<0>, on_interrupt<1>, on_interrupt<2>, on_interrupt<3>,
                                                  on_interrupt<4>, on_interrupt<5>, on_interrupt<6>, on_interrupt<7>};

void on_signal(int) { g_stop = 1; }

int32_t trigger_of(const std::string& type) {
    if (type == "rising") return VEX_TRIGGER_RISING;
    if (type == "falling") return VEX_TRIGGER_FALLING;
    if (type == "level") return VEX_TRIGGER_LEVEL;
    fail(kExitUsage, "--type must be rising, falling or level, not '" + type + "'");
}

std::vector<uint32_t> parse_slots(const std::vector<std::string>& texts) {
    const uint32_t count = vex_GetSlotCount();
    std::set<uint32_t> seen;
    std::vector<uint32_t> slots;
    for (const std::string& t : texts) {
        const uint32_t slot = vex::tools::parse_number(t, "SLOT", kSlots - 1);
        if (slot >= count)
            fail(kExitFailed, "slot " + std::to_string(slot) + " does not exist: this controller has " +
                                   std::to_string(count) + " slots");
        if (seen.insert(slot).second) slots.push_back(slot);
    }
    return slots;
}

void release(const std::vector<uint32_t>& slots) {
    for (uint32_t s : slots) {
        if (!vex_UnregisterSlotInterrupt(static_cast<uint8_t>(s)))
            std::fprintf(stderr,
                         "vexctl: note: slot %u stays registered (another program registered or unregistered a slot "
                         "meanwhile); it is free again once every program using the controller has ended\n",
                         s);
    }
}

void register_slot(uint32_t slot, int32_t trigger, std::vector<uint32_t>& done) {
    vex_ClearLastError();
    if (!vex_RegisterSlotInterrupt(slot, kCallbacks[slot])) {
        const uint32_t code = vex_GetLastError();
        release(done);
        if (code == VEX_ERR_SLOT_IN_USE)
            fail(kExitFailed, "slot " + std::to_string(slot) +
                                   " is registered by another program (a registration outlives a program that "
                                   "died until every program using the controller has ended)");
        fail(kExitFailed, "cannot register slot " + std::to_string(slot) + " (" + vex::tools::error_text(code) +
                              "; VEXSDK_DEBUG=1 tells more)");
    }
    done.push_back(slot);
    vex_SetTriggerType(slot, trigger);
    vex_EnableSlotInterrupt(slot, 1);
}

struct WatchOptions {
    std::vector<std::string> slots;
    std::string type = "rising";
    uint32_t count = 0;
    double timeout = 0;
};

int watch(const WatchOptions& o) {
    const int32_t trigger = trigger_of(o.type);
    const std::vector<uint32_t> slots = parse_slots(o.slots);
    if (o.timeout < 0) fail(kExitUsage, "--timeout must not be negative");
    if (::pipe2(g_pipe, O_CLOEXEC) != 0) fail(kExitFailed, "cannot create a pipe");
    struct sigaction sa {};
    sa.sa_handler = on_signal;  // no SA_RESTART: the wait below ends
    ::sigaction(SIGINT, &sa, nullptr);
    ::sigaction(SIGTERM, &sa, nullptr);

    std::vector<uint32_t> registered;
    for (uint32_t s : slots) register_slot(s, trigger, registered);
    std::string list;
    for (uint32_t s : slots) list += (list.empty() ? "" : ", ") + std::to_string(s);
    const bool json = vex::tools::json_output();
    // Under --json stdout carries only the JSON lines.
    std::fprintf(json ? stderr : stdout, "watching slot%s %s (%s); Ctrl-C to stop\n", slots.size() > 1 ? "s" : "",
                 list.c_str(), o.type.c_str());
    std::fflush(stdout);

    const uint64_t start = monotonic_ns();
    const uint64_t deadline = o.timeout > 0 ? start + static_cast<uint64_t>(o.timeout * 1e9) : 0;
    uint32_t seen = 0;
    int status = 0;
    while (!g_stop && (o.count == 0 || seen < o.count)) {
        int wait_ms = -1;
        if (deadline) {
            const uint64_t now = monotonic_ns();
            if (now >= deadline) {
                char what[64];
                std::snprintf(what, sizeof what, "%u interrupt(s) within %g s", seen, o.timeout);
                if (json) {
                    vex::tools::Json j;
                    j.open_object();
                    vex::tools::add_error(j, kExitFailed, what, nullptr);
                    j.close().print();
                }
                std::fprintf(stderr, "vexctl: %s\n", what);
                status = kExitFailed;
                break;
            }
            wait_ms = static_cast<int>((deadline - now + 999999) / 1000000);
        }
        pollfd p{g_pipe[0], POLLIN, 0};
        if (::poll(&p, 1, wait_ms) <= 0) continue;  // a signal or the time-out: looked at above
        Event e{};
        if (::read(g_pipe[0], &e, sizeof e) != static_cast<ssize_t>(sizeof e)) continue;
        ++seen;
        const double at = static_cast<double>(e.when_ns - start) / 1e9;
        if (json) {
            vex::tools::Json j;
            j.open_object().field("time_s", at).field("slot", e.slot).field("interrupt", seen).close().print();
            continue;
        }
        std::printf("%12.6f  slot %u  interrupt %u\n", at, e.slot, seen);
        std::fflush(stdout);
    }
    release(registered);
    return status;
}

}  // namespace vexctl_cmd_irq
}  // namespace

void register_irq_commands(CLI::App& app) {
    using namespace vexctl_cmd_irq;
    CLI::App* irq = app.add_subcommand("irq", "Slot interrupts");
    irq->require_subcommand(1);
    static WatchOptions w;
    CLI::App* watch_cmd = irq->add_subcommand("watch", "Wait for slot interrupts and print one line per interrupt");
    watch_cmd->add_option("slots", w.slots, "Slots to watch")->required();
    watch_cmd->add_option("-t,--type", w.type, "Trigger: rising (default), falling or level");
    watch_cmd->add_option("-c,--count", w.count, "Stop after this many interrupts");
    watch_cmd->add_option("--timeout", w.timeout, "Give up after this many seconds (exit status 1)");
    watch_cmd->footer("With --json: one JSON object per line (JSON Lines), {time_s, slot, interrupt} per interrupt\n"
                      "(seconds since the watch began; interrupt counts from 1); a time-out ends with an error line.");
    watch_cmd->callback([] { std::exit(watch(w)); });
}
