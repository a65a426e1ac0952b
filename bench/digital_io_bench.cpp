// _vex_ReadDI and _vex_WriteDO per call on the hardware path, against the
// raw volatile register accesses each performs, and on the virtual
// controller.
#include <benchmark/benchmark.h>

#include "bench/bench_targets.h"
#include "vexsdk.h"

namespace {

constexpr uint32_t kSlot = 1;         // an ordinary module (capability bit 5 clear)
constexpr uint32_t kPage = 0x2000;    // its page in the window
constexpr uint32_t kGatedSlot = 0;    // made the read-back type: the output gate reads more

// 32 inputs: four active-low bytes at 0x02..0x08.
void BM_ReadDI32_Raw(benchmark::State& state) {
    volatile uint8_t* w = vex::bench::use_hw();
    for (auto _ : state) {
        const uint32_t v = ~((static_cast<uint32_t>(w[kPage + 8]) << 24) | (static_cast<uint32_t>(w[kPage + 6]) << 16) |
                             (static_cast<uint32_t>(w[kPage + 4]) << 8) | w[kPage + 2]);
        benchmark::DoNotOptimize(v);
    }
    vex::bench::release();
}
BENCHMARK(BM_ReadDI32_Raw);

void BM_ReadDI32_Hardware(benchmark::State& state) {
    vex::bench::use_hw();
    for (auto _ : state) benchmark::DoNotOptimize(_vex_ReadDI(kSlot, 32));
    vex::bench::release();
}
BENCHMARK(BM_ReadDI32_Hardware);

void BM_ReadDI8_Hardware(benchmark::State& state) {
    vex::bench::use_hw();
    for (auto _ : state) benchmark::DoNotOptimize(_vex_ReadDI(kSlot, 8));
    vex::bench::release();
}
BENCHMARK(BM_ReadDI8_Hardware);

// What a 32-channel write does on the bus: the capability byte (output
// gate), the slot count (slot check), then four output bytes.
void BM_WriteDO32_Raw(benchmark::State& state) {
    volatile uint8_t* w = vex::bench::use_hw();
    uint32_t v = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(w[kPage + 0x0E]);
        benchmark::DoNotOptimize(w[0x9046]);
        for (uint32_t i = 0; i < 4; ++i) w[kPage + 2 * i] = static_cast<uint8_t>(v >> (8 * i));
        ++v;
    }
    vex::bench::release();
}
BENCHMARK(BM_WriteDO32_Raw);

void BM_WriteDO32_Hardware(benchmark::State& state) {
    vex::bench::use_hw();
    uint32_t v = 0;
    for (auto _ : state) benchmark::DoNotOptimize(_vex_WriteDO(kSlot, 32, v++));
    vex::bench::release();
}
BENCHMARK(BM_WriteDO32_Hardware);

void BM_WriteDO8_Hardware(benchmark::State& state) {
    vex::bench::use_hw();
    uint32_t v = 0;
    for (auto _ : state) benchmark::DoNotOptimize(_vex_WriteDO(kSlot, 8, v++));
    vex::bench::release();
}
BENCHMARK(BM_WriteDO8_Hardware);

// The read-back module type: the gate also reads the ID register and this
// process's overwrite permission.
void BM_WriteDO32_Hardware_ReadBackModule(benchmark::State& state) {
    volatile uint8_t* w = vex::bench::use_hw();
    w[0x1000] = 0x2F;
    w[0x100E] = 0x20;
    uint32_t v = 0;
    for (auto _ : state) benchmark::DoNotOptimize(_vex_WriteDO(kGatedSlot, 32, v++));
    vex::bench::release();
}
BENCHMARK(BM_WriteDO32_Hardware_ReadBackModule);

// The built-in virtual controller: slot 4 has 32 inputs, slot 0 is the
// read-back module with 32 outputs.
void BM_ReadDI32_Simulator(benchmark::State& state) {
    vex::bench::use_sim();
    for (auto _ : state) benchmark::DoNotOptimize(_vex_ReadDI(4, 32));
    vex::bench::release();
}
BENCHMARK(BM_ReadDI32_Simulator);

void BM_WriteDO32_Simulator(benchmark::State& state) {
    vex::bench::use_sim();
    uint32_t v = 0;
    for (auto _ : state) benchmark::DoNotOptimize(_vex_WriteDO(0, 32, v++));
    vex::bench::release();
}
BENCHMARK(BM_WriteDO32_Simulator);

}  // namespace
