// What the unified address costs over the register call it ends in:
// vex_ReadDI on a parallel-bus module against _vex_ReadDI on the same slot,
// on the hardware path (a file stands in for physical memory). The
// difference is the dispatch: the address comparisons and the presence and
// ID register reads (the inputs themselves are read inline, as
// _vex_ReadDI reads them).
#include <benchmark/benchmark.h>

#include "bench/bench_targets.h"
#include "vexsdk.h"

namespace {

constexpr uint32_t kSlot = 1;  // an input module of the default controller

void BM_ReadDI32_Register(benchmark::State& state) {
    vex::bench::use_hw();
    for (auto _ : state) benchmark::DoNotOptimize(_vex_ReadDI(kSlot, 32));
    vex::bench::release();
}
BENCHMARK(BM_ReadDI32_Register);

void BM_ReadDI32_Unified(benchmark::State& state) {
    vex::bench::use_hw();
    uint32_t v = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(vex_ReadDI(0, static_cast<int32_t>(kSlot), 32, &v));
        benchmark::DoNotOptimize(v);
    }
    vex::bench::release();
}
BENCHMARK(BM_ReadDI32_Unified);

}  // namespace
