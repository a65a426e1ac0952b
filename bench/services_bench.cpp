// The microsecond delay against a spin on the monotonic clock for the same
// time (the ideal delay), both timed by the benchmark's own clock:
//   build/default/bench/vexsdk_bench --benchmark_filter=Delay
//       --benchmark_repetitions=3 --benchmark_report_aggregates_only=true
// The medians should be about 100 us each (their ratio about 1).
#include <benchmark/benchmark.h>

#include <chrono>

#include "vexsdk.h"

namespace {

void BM_UsDelay100(benchmark::State& state) {
    _vex_us_delay(1);  // calibrates on first use, outside the timing
    for (auto _ : state) _vex_us_delay(100);
}
BENCHMARK(BM_UsDelay100)->Unit(benchmark::kMicrosecond);

void BM_ClockSpinDelay100(benchmark::State& state) {
    for (auto _ : state) {
        const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(100);
        while (std::chrono::steady_clock::now() < until) {
        }
    }
}
BENCHMARK(BM_ClockSpinDelay100)->Unit(benchmark::kMicrosecond);

}  // namespace
