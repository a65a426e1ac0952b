// Register accessors on the hardware path against the raw volatile access
// they stand for, and on the virtual controller.
#include <benchmark/benchmark.h>

#include "bench/bench_targets.h"
#include "vexsdk.h"

namespace {

void BM_RawVolatileLoad(benchmark::State& state) {
    volatile uint8_t* window = vex::bench::use_hw();
    for (auto _ : state) benchmark::DoNotOptimize(window[0x9046]);
    vex::bench::release();
}
BENCHMARK(BM_RawVolatileLoad);

void BM_RawVolatileStore(benchmark::State& state) {
    volatile uint8_t* window = vex::bench::use_hw();
    uint8_t v = 0;
    for (auto _ : state) window[0x9010] = v++;
    vex::bench::release();
}
BENCHMARK(BM_RawVolatileStore);

void BM_InpHardware(benchmark::State& state) {
    vex::bench::use_hw();
    for (auto _ : state) benchmark::DoNotOptimize(_vex_inp(0x9046));
    vex::bench::release();
}
BENCHMARK(BM_InpHardware);

void BM_OutpHardware(benchmark::State& state) {
    vex::bench::use_hw();
    uint32_t v = 0;
    for (auto _ : state) _vex_outp(0x9010, v++);
    vex::bench::release();
}
BENCHMARK(BM_OutpHardware);

void BM_InpSimulator(benchmark::State& state) {
    vex::bench::use_sim();
    for (auto _ : state) benchmark::DoNotOptimize(_vex_inp(0x9046));
    vex::bench::release();
}
BENCHMARK(BM_InpSimulator);

void BM_OutpSimulator(benchmark::State& state) {
    vex::bench::use_sim();
    uint32_t v = 0;
    for (auto _ : state) _vex_outp(0x9010, v++);
    vex::bench::release();
}
BENCHMARK(BM_OutpSimulator);

}  // namespace

BENCHMARK_MAIN();
