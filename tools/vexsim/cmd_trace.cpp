// vexsim trace: register writes (slot and register named, with the writing
// process), serial exchanges and the services' events, merged by time;
// -f keeps following until Ctrl-C or the reader of a pipe goes away.
#include <signal.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "sim/serial_modules/describe.h"
#include "tools/common/json.h"
#include "tools/vexsim/commands.h"
#include "tools/vexsim/trace_names.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexsim_cmd_trace {

volatile sig_atomic_t g_stop = 0;
void on_signal(int) { g_stop = 1; }

struct Line {
    uint64_t when;
    uint32_t pid;  // 0: not recorded (serial exchanges)
    std::string text;
};

struct Cursor {
    uint32_t writes = 0;
    uint32_t exchanges = 0;
};

std::string describe_write(const vex::sim::State& s, const vex::sim::TraceEntry& e) {
    char buf[96];
    if (describe_service_event(e, buf, sizeof buf)) return buf;
    std::snprintf(buf, sizeof buf, "%s <- 0x%0*X%s", register_name(s, e.offset).c_str(), e.kind == 2 ? 4 : 2,
                  e.value, e.kind == 2 ? " (16-bit)" : "");
    return buf;
}

// The entries after `from` (at most `last` of each ring, older ones are
// overwritten anyway), merged by time; moves the cursor past them.
std::vector<Line> collect(vex::sim::State& s, Cursor& from, uint32_t last) {
    std::vector<Line> lines;
    const uint32_t writes = std::min<uint32_t>({s.trace_next - from.writes, vex::sim::kTraceEntries, last});
    for (uint32_t k = s.trace_next - writes; k != s.trace_next; ++k) {
        const vex::sim::TraceEntry& e = s.trace[k % vex::sim::kTraceEntries];
        lines.push_back({e.when_ns, e.pid, describe_write(s, e)});
    }
    from.writes = s.trace_next;
    const vex::sim::SerialBusState& b = s.serial;
    const uint32_t exchanges = std::min<uint32_t>(
        {b.trace_next - from.exchanges, static_cast<uint32_t>(vex::sim::kSerialTraceEntries), last});
    for (uint32_t k = b.trace_next - exchanges; k != b.trace_next; ++k) {
        const vex::sim::SerialTraceEntry& e = b.trace[k % vex::sim::kSerialTraceEntries];
        lines.push_back({e.when_ns, 0, "serial " + vex::sim::serial::describe_exchange(s, e)});
    }
    from.exchanges = b.trace_next;
    std::stable_sort(lines.begin(), lines.end(), [](const Line& a, const Line& c) { return a.when < c.when; });
    if (lines.size() > last) lines.erase(lines.begin(), lines.end() - last);
    return lines;
}

// False when stdout is gone (a closed pipe).
bool print(const std::vector<Line>& lines, uint64_t epoch, bool json) {
    for (const Line& l : lines) {
        // Signed: entries from before a watchdog reset precede the new epoch.
        const double t = static_cast<double>(static_cast<int64_t>(l.when - epoch)) / 1e9;
        if (json) {
            vex::tools::Json j;
            j.open_object().field("time", t).field("event", l.text);
            if (l.pid)
                j.field("pid", l.pid);
            else
                j.key("pid").null();
            std::printf("%s\n", j.close().text().c_str());
        } else if (l.pid) {
            std::printf("%12.6f  %-40s  pid %u\n", t, l.text.c_str(), l.pid);
        } else {
            std::printf("%12.6f  %s\n", t, l.text.c_str());
        }
    }
    return std::fflush(stdout) == 0 && !std::ferror(stdout);
}

int trace(const std::string& name, unsigned last, bool follow) {
    auto inst = attach_existing_or_exit(name);
    const bool json = vex::tools::json_output();
    Cursor cursor;
    uint64_t epoch = 0;
    std::vector<Line> lines = inst->with_lock([&](vex::sim::State& s) {
        epoch = s.epoch_ns;
        return collect(s, cursor, last);
    });
    if (!follow) {
        if (json) {
            // One document: an array of the entries.
            vex::tools::Json j;
            j.open_array();
            for (const Line& l : lines) {
                j.open_object().field("time", static_cast<double>(static_cast<int64_t>(l.when - epoch)) / 1e9);
                j.field("event", l.text);
                if (l.pid)
                    j.field("pid", l.pid);
                else
                    j.key("pid").null();
                j.close();
            }
            j.close().print();
            return 0;
        }
        return print(lines, epoch, false) ? 0 : 1;
    }
    // Following: JSON comes as one object per line. SIGPIPE is ignored so
    // that a closed pipe shows as a write error and ends the loop cleanly.
    struct sigaction sa {};
    sa.sa_handler = on_signal;
    ::sigaction(SIGINT, &sa, nullptr);
    ::sigaction(SIGTERM, &sa, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    if (!print(lines, epoch, json)) return 0;
    while (!g_stop) {
        // A tenth of a second between looks; a signal cuts the sleep short.
        const timespec pause{0, 100 * 1000 * 1000};
        ::nanosleep(&pause, nullptr);
        lines = inst->with_lock([&](vex::sim::State& s) {
            epoch = s.epoch_ns;
            return collect(s, cursor, vex::sim::kTraceEntries + vex::sim::kSerialTraceEntries);
        });
        if (!print(lines, epoch, json)) return 0;
    }
    return 0;
}

}  // namespace vexsim_cmd_trace
}  // namespace

void register_trace_command(CLI::App& app) {
    using namespace vexsim_cmd_trace;
    static InstanceOption inst;
    static unsigned last = 32;
    static bool follow = false;
    CLI::App* t = app.add_subcommand(
        "trace", "Show the latest register writes (slot, register, value, writing process), serial exchanges and "
                 "panel, watchdog, card and link events");
    inst.add_to(t);
    t->add_option("-n,--last", last, "How many entries")->check(CLI::Range(1u, 100000u));
    t->add_flag("-f,--follow", follow, "Keep printing new entries until Ctrl-C (JSON: one object per line)");
    t->callback([] { std::exit(trace(inst.resolve(), last, follow)); });
}
