// What the call tables of the platform layer cost (platform/linux/
// call_table.h): the same system call made directly and through the COM
// port backend's table, taken in turns within one loop so that the load of
// a shared machine falls on both alike. poll() with a zero time-out on an
// eventfd that is never signalled is about the cheapest call that enters
// the kernel, so the ratio is an upper bound for any call of the backends.
//
//   build/default/bench/vexsdk_bench --benchmark_filter=BM_SeamIndirection
//       --benchmark_repetitions=3
//
// Counters: direct_ns and table_ns per call (wall), table_x_direct and
// table_cpu_x_direct (the ratios; 1.00 is no cost).
#include <benchmark/benchmark.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/linux/com_calls.h"

namespace {

double now_s(clockid_t clock) {
    timespec ts{};
    clock_gettime(clock, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

struct Timed {
    double wall = 0, cpu = 0;
    template <typename F>
    void run(F call) {
        const double w = now_s(CLOCK_MONOTONIC), c = now_s(CLOCK_THREAD_CPUTIME_ID);
        call();
        cpu += now_s(CLOCK_THREAD_CPUTIME_ID) - c;
        wall += now_s(CLOCK_MONOTONIC) - w;
    }
};

constexpr int kCallsPerTurn = 64;  // each turn long enough that reading the clocks is small beside it

void BM_SeamIndirection(benchmark::State& state) {
    const int fd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (fd < 0) std::abort();
    Timed direct, table;
    int answered = 0;
    for (auto _ : state) {
        direct.run([&] {
            for (int i = 0; i < kCallsPerTurn; ++i) {
                pollfd p{fd, POLLIN, 0};
                answered += ::poll(&p, 1, 0);
            }
        });
        table.run([&] {
            for (int i = 0; i < kCallsPerTurn; ++i) {
                pollfd p{fd, POLLIN, 0};
                answered += vex::plat::com_calls().poll(&p, 1, 0);
            }
        });
    }
    if (answered != 0) state.SkipWithError("the eventfd was readable");
    const double calls = static_cast<double>(state.iterations()) * kCallsPerTurn;
    if (calls > 0) {
        state.counters["direct_ns"] = direct.wall / calls * 1e9;
        state.counters["table_ns"] = table.wall / calls * 1e9;
        state.counters["table_x_direct"] = table.wall / direct.wall;
        state.counters["table_cpu_x_direct"] = table.cpu / direct.cpu;
    }
    ::close(fd);
}
BENCHMARK(BM_SeamIndirection)->UseRealTime();

}  // namespace
