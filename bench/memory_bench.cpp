// The non-volatile memories: the factory record and 8 KiB of EEPROM
// through the bit-banged bus and 64 KiB of SRAM through the paged window on
// the virtual controller, each against the register accesses it is made
// of; and an SRAM byte on the hardware path against its two raw accesses.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench/bench_targets.h"
#include "platform/backplane_bus.h"
#include "platform/gpio.h"
#include "platform/os_timer.h"
#include "sim/far_side.h"
#include "sim/instance.h"
#include "vexsdk.h"

namespace {

constexpr uint32_t kSram = 64 * 1024;
constexpr uint32_t kEeprom = 8 * 1024;

// Baseline of the bus: one GPIO register write on the virtual controller
// (pin 40 is wired to nothing, so only the GPIO model runs).
void BM_SimGpioWrite(benchmark::State& state) {
    vex::bench::use_sim();
    uint32_t i = 0;
    for (auto _ : state) (i++ & 1) ? vex::plat::gpio::set(40) : vex::plat::gpio::clear(40);
    vex::bench::release();
}
BENCHMARK(BM_SimGpioWrite);

void BM_FactoryRecordSim(benchmark::State& state) {
    vex::bench::use_sim();
    uint8_t record[56];
    for (auto _ : state) {
        if (!vex_ReadMemory(0x23800, record, 56, VEX_MEMORY_EEPROM)) state.SkipWithError("read failed");
        benchmark::DoNotOptimize(record);
    }
    vex::bench::release();
}
BENCHMARK(BM_FactoryRecordSim)->Unit(benchmark::kMicrosecond);

void BM_EepromRead8KSim(benchmark::State& state) {
    vex::bench::use_sim();
    std::vector<uint8_t> buf(kEeprom);
    for (auto _ : state) {
        if (!vex_ReadMemory(0, buf.data(), kEeprom, VEX_MEMORY_EEPROM)) state.SkipWithError("read failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kEeprom);
    vex::bench::release();
}
BENCHMARK(BM_EepromRead8KSim)->Unit(benchmark::kMillisecond);

// Argument: the chip's write cycle in microseconds (5000 as on a real
// chip; 0 shows what the bus itself costs).
void BM_EepromWrite8KSim(benchmark::State& state) {
    vex::bench::use_sim();
    vex::sim::far::set_eeprom_write_cycle_us(*vex::sim::current(), static_cast<uint32_t>(state.range(0)));
    vex_EnableEEPROM(VEX_TRUE);
    std::vector<uint8_t> buf(kEeprom, 0x5A);
    for (auto _ : state) {
        if (!vex_WriteMemory(0, buf.data(), kEeprom, VEX_MEMORY_EEPROM)) state.SkipWithError("write failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kEeprom);
    vex::bench::release();
}
BENCHMARK(BM_EepromWrite8KSim)->Arg(5000)->Arg(0)->Unit(benchmark::kMillisecond)->Iterations(3);

// Baseline of the SRAM path: per byte a page-register write and a window
// read through the register accessors, as the backend makes them.
void BM_SramRegisterPairs64KSim(benchmark::State& state) {
    vex::bench::use_sim();
    for (auto _ : state) {
        for (uint32_t a = 0x10000; a < 0x10000 + kSram; ++a) {
            _vex_outp(0x901E, a / 2048);
            benchmark::DoNotOptimize(_vex_inp(0xA000 + 2 * (a % 2048)));
        }
    }
    vex::bench::release();
}
BENCHMARK(BM_SramRegisterPairs64KSim)->Unit(benchmark::kMillisecond);

void BM_SramRead64KSim(benchmark::State& state) {
    vex::bench::use_sim();
    std::vector<uint8_t> buf(kSram);
    for (auto _ : state) vex_ReadMemory(0, buf.data(), kSram, VEX_MEMORY_SRAM);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kSram);
    vex::bench::release();
}
BENCHMARK(BM_SramRead64KSim)->Unit(benchmark::kMillisecond);

void BM_SramWrite64KSim(benchmark::State& state) {
    vex::bench::use_sim();
    std::vector<uint8_t> buf(kSram, 0xC3);
    for (auto _ : state) vex_WriteMemory(0, buf.data(), kSram, VEX_MEMORY_SRAM);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kSram);
    vex::bench::release();
}
BENCHMARK(BM_SramWrite64KSim)->Unit(benchmark::kMillisecond);

// Hardware path over a file: the two raw accesses of an SRAM byte (page
// register store, window load) against vex_ReadMemory, per byte.
void BM_SramByteRawHardware(benchmark::State& state) {
    volatile uint8_t* w = vex::bench::use_hw();
    uint8_t out = 0;
    for (auto _ : state) {
        for (uint32_t a = 0x10000; a < 0x10000 + kSram; ++a) {
            w[0x901E] = static_cast<uint8_t>(a / 2048);
            out = static_cast<uint8_t>(out + w[0xA000 + 2 * (a % 2048)]);
        }
    }
    benchmark::DoNotOptimize(out);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kSram);
    vex::bench::release();
}
BENCHMARK(BM_SramByteRawHardware);

void BM_SramByteHardware(benchmark::State& state) {
    vex::bench::use_hw();
    std::vector<uint8_t> buf(kSram);
    for (auto _ : state) vex_ReadMemory(0, buf.data(), kSram, VEX_MEMORY_SRAM);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kSram);
    vex::bench::release();
}
BENCHMARK(BM_SramByteHardware);

// Writes add one read of the OS timer counter per byte on both sides.
void BM_SramWriteByteRawHardware(benchmark::State& state) {
    volatile uint8_t* w = vex::bench::use_hw();
    for (auto _ : state) {
        for (uint32_t a = 0x10000; a < 0x10000 + kSram; ++a) {
            w[0x901E] = static_cast<uint8_t>(a / 2048);
            w[0xA000 + 2 * (a % 2048)] = static_cast<uint8_t>(a);
            benchmark::DoNotOptimize(vex::plat::os_timer_count());
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kSram);
    vex::bench::release();
}
BENCHMARK(BM_SramWriteByteRawHardware);

void BM_SramWriteByteHardware(benchmark::State& state) {
    vex::bench::use_hw();
    std::vector<uint8_t> buf(kSram, 0x3C);
    for (auto _ : state) vex_WriteMemory(0, buf.data(), kSram, VEX_MEMORY_SRAM);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kSram);
    vex::bench::release();
}
BENCHMARK(BM_SramWriteByteHardware);

}  // namespace
