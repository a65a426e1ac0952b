// Interrupt latency and timer regularity on the virtual controller, each
// against the kernel mechanism it rests on, measured in the same run:
//   BM_EventfdWake            one thread wakes another through an eventfd
//   BM_SlotInterruptLatency   a slot's interrupt line pulses -> first
//                             instruction of the registered callback
//   BM_TimerfdPeriod          a bare 1 ms timerfd, read by a thread
//   BM_Timer1Period           backplane timer 1 at 1 ms (interval 10), with
//                             a bare timerfd twin ticking in the same seconds
//   BM_Timer1PeriodUnderLoad  the same beside spinning normal-priority
//                             threads and a main loop reading the counter
//   BM_IdleRegistrations      CPU time while a slot and a timer are
//                             registered but nothing happens
// Latencies and deviations are counters in microseconds (median, p99,
// standard deviation). Both sides run at the service threads' priority
// (SCHED_FIFO when the process may use it).
#include <benchmark/benchmark.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <atomic>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "bench/bench_targets.h"
#include "irq/service_thread.h"
#include "platform/thread_priority.h"
#include "sim/instance.h"
#include "sim/models/models.h"
#include "vexsdk.h"

namespace {

constexpr int32_t kServicePriority = 100;
constexpr uint32_t kSlot = 1;
constexpr int kTicks = 10000;

uint64_t now_ns() {
    timespec ts{};
    ::clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<uint64_t>(ts.tv_sec) * 1000000000ull + static_cast<uint64_t>(ts.tv_nsec);
}

void wait_readable(int fd) {
    pollfd p{fd, POLLIN, 0};
    while (::poll(&p, 1, -1) != 1) {
    }
    uint64_t v;
    if (::read(fd, &v, sizeof v) != sizeof v) std::abort();
}

void signal(int fd) {
    const uint64_t one = 1;
    if (::write(fd, &one, sizeof one) != sizeof one) std::abort();
}

double percentile(std::vector<double> v, double p) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, static_cast<size_t>(p * static_cast<double>(v.size())))];
}

void report_latency(benchmark::State& state, const std::vector<double>& us) {
    state.counters["median_us"] = percentile(us, 0.5);
    state.counters["p99_us"] = percentile(us, 0.99);
}

// Periods between consecutive timestamps: deviation from the nominal period.
void report_periods(benchmark::State& state, const std::vector<uint64_t>& at, double period_us, const std::string& prefix) {
    std::vector<double> dev;
    double sq = 0;
    for (size_t i = 1; i < at.size(); ++i) {
        const double d = static_cast<double>(at[i] - at[i - 1]) / 1000.0 - period_us;
        dev.push_back(std::fabs(d));
        sq += d * d;
    }
    state.counters[prefix + "stddev_us"] = dev.empty() ? 0 : std::sqrt(sq / static_cast<double>(dev.size()));
    state.counters[prefix + "p99_dev_us"] = percentile(dev, 0.99);
    state.counters[prefix + "max_dev_us"] = percentile(dev, 1.0);
}

// ---- Slot interrupt latency ------------------------------------------------

std::atomic<uint64_t> g_entered{0};
int g_done = -1;
int32_t latency_callback() {
    g_entered.store(now_ns(), std::memory_order_relaxed);
    vex_InterruptDone(kSlot);  // re-arm before the next pulse
    signal(g_done);
    return 2;  // acknowledged already
}

void BM_EventfdWake(benchmark::State& state) {
    const int go = ::eventfd(0, EFD_CLOEXEC), back = ::eventfd(0, EFD_CLOEXEC);
    std::atomic<uint64_t> woke{0};
    std::atomic<bool> stop{false};
    std::thread waiter([&] {
        vex::plat::set_current_thread_priority(kServicePriority);
        for (;;) {
            wait_readable(go);
            woke.store(now_ns(), std::memory_order_relaxed);
            if (stop) return;
            signal(back);
        }
    });
    std::vector<double> us;
    for (auto _ : state) {
        const uint64_t t0 = now_ns();
        signal(go);
        wait_readable(back);
        us.push_back(static_cast<double>(woke.load() - t0) / 1000.0);
    }
    stop = true;
    signal(go);
    waiter.join();
    ::close(go);
    ::close(back);
    report_latency(state, us);
}
BENCHMARK(BM_EventfdWake)->Iterations(5000)->Unit(benchmark::kMicrosecond);

long service_thread_wakeups() {
    // Voluntary context switches of every thread but the calling one.
    long total = 0;
    char self[32];
    std::snprintf(self, sizeof self, "%ld", static_cast<long>(::gettid()));
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        if (task.path().filename() == self) continue;
        FILE* f = std::fopen((task.path() / "status").c_str(), "r");
        if (!f) continue;
        char line[128];
        while (std::fgets(line, sizeof line, f)) {
            long n;
            if (std::sscanf(line, "voluntary_ctxt_switches: %ld", &n) == 1) total += n;
        }
        std::fclose(f);
    }
    return total;
}

void BM_SlotInterruptLatency(benchmark::State& state) {
    vex::bench::use_sim();
    g_done = ::eventfd(0, EFD_CLOEXEC);
    if (!vex_RegisterSlotInterrupt(kSlot, latency_callback)) std::abort();
    vex_EnableSlotInterrupt(kSlot, 1);
    vex::sim::Instance& inst = *vex::sim::current();
    auto pulse = [&] {
        const uint64_t now = inst.now_ns();
        inst.with_lock([now](vex::sim::State& s) {
            vex::sim::models::slot_line_pulse(s, kSlot, vex::sim::models::Pulse::Full, now);
            return 0;
        });
    };
    pulse();  // warm up: the service thread is waiting now
    wait_readable(g_done);
    std::vector<double> us;
    const long wakeups_before = service_thread_wakeups();
    for (auto _ : state) {
        const uint64_t t0 = now_ns();
        pulse();
        wait_readable(g_done);
        us.push_back(static_cast<double>(g_entered.load() - t0) / 1000.0);
    }
    state.counters["thread_wakeups_per_irq"] =
        static_cast<double>(service_thread_wakeups() - wakeups_before) / static_cast<double>(us.size());
    vex_UnregisterSlotInterrupt(kSlot);
    ::close(g_done);
    vex::bench::release();
    report_latency(state, us);
}
BENCHMARK(BM_SlotInterruptLatency)->Iterations(5000)->Unit(benchmark::kMicrosecond);

// ---- Timer regularity ----------------------------------------------------

void BM_TimerfdPeriod(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<uint64_t> at;
        at.reserve(kTicks);
        uint64_t missed = 0;
        std::thread t([&] {
            vex::plat::set_current_thread_priority(kServicePriority);
            const int fd = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
            itimerspec period{{0, 1000000}, {0, 1000000}};
            ::timerfd_settime(fd, 0, &period, nullptr);
            while (at.size() < static_cast<size_t>(kTicks)) {
                uint64_t n = 0;
                if (::read(fd, &n, sizeof n) != sizeof n) std::abort();
                at.push_back(now_ns());
                missed += n - 1;
            }
            ::close(fd);
        });
        t.join();
        report_periods(state, at, 1000.0, "");
        state.counters["overruns"] = static_cast<double>(missed);
    }
}
BENCHMARK(BM_TimerfdPeriod)->Iterations(1)->Unit(benchmark::kMillisecond);

std::vector<uint64_t> g_ticks;
std::atomic<int> g_tick_count{0};
std::atomic<uint32_t> g_tick_calls{0};
int32_t tick_callback() {
    g_tick_calls.fetch_add(1, std::memory_order_relaxed);
    const int n = g_tick_count.load(std::memory_order_relaxed);
    if (n < kTicks) {
        g_ticks[static_cast<size_t>(n)] = now_ns();
        g_tick_count.store(n + 1, std::memory_order_release);
        if (n + 1 == kTicks) signal(g_done);
    }
    return 0;
}

// A bare timerfd thread at the service threads' priority, ticking every
// millisecond half a period after `start`: the baseline, measured in the
// same seconds as the backplane timer so that both meet the same load.
struct TimerfdTwin {
    std::vector<uint64_t> at;
    uint64_t overruns = 0;
    std::thread thread;

    explicit TimerfdTwin(uint64_t start) {
        at.reserve(kTicks);
        thread = std::thread([this, start] {
            vex::plat::set_current_thread_priority(kServicePriority);
            const int fd = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
            const uint64_t first = start + 500000;
            itimerspec when{{0, 1000000}, {static_cast<time_t>(first / 1000000000ull), static_cast<long>(first % 1000000000ull)}};
            ::timerfd_settime(fd, TFD_TIMER_ABSTIME, &when, nullptr);
            while (at.size() < static_cast<size_t>(kTicks)) {
                uint64_t n = 0;
                if (::read(fd, &n, sizeof n) != sizeof n) std::abort();
                at.push_back(now_ns());
                overruns += n - 1;
            }
            ::close(fd);
        });
    }
    ~TimerfdTwin() { thread.join(); }
};

// Normal-priority work beside the timer: `hogs` threads that only spin
// and, when `poll_counter`, the program's main thread reading the
// millisecond counter (every read takes the controller's lock) as a
// control program's main loop does.
struct Load {
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    explicit Load(int hogs) {
        for (int i = 0; i < hogs; ++i)
            threads.emplace_back([this] {
                while (!stop.load(std::memory_order_relaxed)) {
                }
            });
    }
    ~Load() {
        stop = true;
        for (auto& t : threads) t.join();
    }
};

// Backplane timer 1 at 1 ms (interval 10) with its timerfd twin. Counters:
//   stddev_us, p99_dev_us, max_dev_us      the timer's period deviation
//   base_stddev_us, base_p99_dev_us        the twin's
//   stddev_ratio                           stddev_us / base_stddev_us
//   overruns, base_overruns                periods that fell while the
//       previous tick was still being served: the timer's latch holds one
//       tick, so they merge into it (the timerfd counts them in one read)
//   lost_ticks                             periods of the timer that are
//       neither served nor merged: must be 0
void timer1_period(benchmark::State& state, int hogs, bool poll_counter) {
    vex::bench::use_sim();
    for (auto _ : state) {
        g_ticks.assign(kTicks, 0);
        g_tick_count = 0;
        g_tick_calls = 0;
        g_done = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        Load load(hogs);
        vex::sim::BackplaneTimer model{};
        uint32_t raised = 0;
        const uint32_t raised_before = vex::sim::current()->with_lock(
            [](vex::sim::State& s) { return s.irq.raised[vex::sim::kIrqLineTimer0 + 1]; });
        {
            TimerfdTwin twin(now_ns());
            if (!vex_SetBPTimer(1, 10, tick_callback)) std::abort();
            pollfd p{g_done, POLLIN, 0};
            while (::poll(&p, 1, poll_counter ? 0 : -1) == 0) benchmark::DoNotOptimize(vex_GetBPTimerTimeTick_ms());
            vex::sim::current()->with_lock([&](vex::sim::State& s) {
                model = s.irq.timers[1];
                raised = s.irq.raised[vex::sim::kIrqLineTimer0 + 1] - raised_before;
                return 0;
            });
            vex_KillBPTimer(1);
            vex::irq::settle_service_threads(1000);
            report_periods(state, twin.at, 1000.0, "base_");
            state.counters["base_overruns"] = static_cast<double>(twin.overruns);
        }
        report_periods(state, g_ticks, 1000.0, "");
        state.counters["stddev_ratio"] = state.counters["stddev_us"] / state.counters["base_stddev_us"];
        state.counters["overruns"] = static_cast<double>(model.merged);
        // Every period either raised the line or merged into a raised tick;
        // every raised tick but the last (in service when the timer was
        // read) reached the callback.
        const double unaccounted = static_cast<double>(model.ticks - model.merged - raised);
        const double undelivered = static_cast<double>(raised) - static_cast<double>(g_tick_calls.load()) - 1;
        state.counters["lost_ticks"] = unaccounted + std::max(0.0, undelivered);
        ::close(g_done);
    }
    vex::bench::release();
}

void BM_Timer1Period(benchmark::State& state) { timer1_period(state, 0, false); }
BENCHMARK(BM_Timer1Period)->Iterations(1)->Unit(benchmark::kMillisecond);

// The same with two normal-priority spinning threads per core and the main
// thread reading the controller's counter all the while.
void BM_Timer1PeriodUnderLoad(benchmark::State& state) { timer1_period(state, 4, true); }
BENCHMARK(BM_Timer1PeriodUnderLoad)->Iterations(1)->Unit(benchmark::kMillisecond);

// ---- Idle cost -------------------------------------------------------------

int32_t never_called() { return 0; }

double cpu_us() {
    rusage ru{};
    ::getrusage(RUSAGE_SELF, &ru);
    return static_cast<double>(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) * 1e6 +
           static_cast<double>(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec);
}

void BM_IdleRegistrations(benchmark::State& state) {
    vex::bench::use_sim();
    const bool registered = state.range(0) != 0;
    if (registered) {
        if (!vex_RegisterSlotInterrupt(kSlot, never_called)) std::abort();
        vex_EnableSlotInterrupt(kSlot, 1);
        if (!vex_SetBPTimerOut(0, 0, never_called)) std::abort();  // registered, not running
    }
    for (auto _ : state) {
        const double before = cpu_us();
        std::this_thread::sleep_for(std::chrono::seconds(1));
        state.counters["cpu_us_per_s"] = cpu_us() - before;
    }
    if (registered) {
        vex_UnregisterSlotInterrupt(kSlot);
        vex_KillBPTimer(0);
    }
    vex::bench::release();
}
BENCHMARK(BM_IdleRegistrations)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
