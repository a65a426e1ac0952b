// A controller whose modules raise slot interrupts on their inputs, callbacks
// that count and answer as told, and far-side views of the interrupt lines.
#pragma once

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "irq/service_thread.h"
#include "sim/models/models.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {

inline constexpr uint32_t kEdgeSlot = 1;    // 16 DI: input 0 rising and input 1 falling pulse its line
inline constexpr uint32_t kInputSlotA = 2;  // 8 DI / 8 DO, every input's rising edge
inline constexpr uint32_t kInputSlotB = 3;  // the same
inline constexpr uint32_t kQuietSlot = 4;   // 32 DI, no interrupt inputs

// What the callbacks of slot (or timer) n do: count, remember the thread
// they ran on, return `result`, and optionally run `hook` first.
struct CallbackState {
    std::atomic<int> calls{0};
    std::atomic<int32_t> result{0};
    std::function<void()> hook;  // set before registering; read on the service thread
};

inline CallbackState g_cb[8];
inline std::mutex g_cb_mutex;
inline std::condition_variable g_cb_cv;

template <int N>
int32_t counting_callback() {
    if (g_cb[N].hook) g_cb[N].hook();
    const int32_t r = g_cb[N].result.load();
    {
        std::lock_guard<std::mutex> lock(g_cb_mutex);
        g_cb[N].calls.fetch_add(1);
    }
    g_cb_cv.notify_all();
    return r;
}

inline constexpr VEX_IRQ_CALLBACK kCallbacks[8] = {counting_callback<0>, counting_callback<1>, counting_callback<2>,
                                                   counting_callback<3>, counting_callback<4>, counting_callback<5>,
                                                   counting_callback<6>, counting_callback<7>};

// Waits until callback n has run `calls` times (false after `ms`).
inline bool wait_calls(int n, int calls, int ms = 5000) {
    std::unique_lock<std::mutex> lock(g_cb_mutex);
    return g_cb_cv.wait_for(lock, std::chrono::milliseconds(ms), [&] { return g_cb[n].calls.load() >= calls; });
}

// Waits until `cond` holds, looking every millisecond (false after `ms`).
inline bool eventually(const std::function<bool()>& cond, int ms = 5000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (!cond()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

inline int count_entries(const char* dir) {
    int n = 0;
    for (const auto& e : std::filesystem::directory_iterator(dir)) {
        static_cast<void>(e);
        ++n;
    }
    return n;
}
inline int open_descriptors() { return count_entries("/proc/self/fd"); }
inline int threads() { return count_entries("/proc/self/task"); }

class IrqFixture : public SimFixture {
protected:
    std::string description() override {
        return R"toml(
slot = [
  { slot = 0, id = 0x2F, do_channels = 32, readback = true, wdt_timeout = 2 },
  { slot = 1, id = 0x13, di_channels = 16, interrupt_rising = 0x0001, interrupt_falling = 0x0002 },
  { slot = 2, id = 0x21, di_channels = 8, do_channels = 8, interrupt_rising = 0xFF },
  { slot = 3, id = 0x21, di_channels = 8, do_channels = 8, interrupt_rising = 0xFF },
  { slot = 4, id = 0x15, di_channels = 32 },
  { slot = 5, type = "serial", kind = "4108" },
]
)toml";
    }

    void SetUp() override {
        SimFixture::SetUp();
        for (CallbackState& c : g_cb) {
            c.calls = 0;
            c.result = 0;
            c.hook = nullptr;
        }
    }
    void TearDown() override {
        SimFixture::TearDown();  // stops the service threads before the hooks go
        for (CallbackState& c : g_cb) c.hook = nullptr;
    }

    // Registers slot n with its counting callback, rising edge, enabled.
    void register_and_enable(uint32_t slot, int32_t trigger = VEX_TRIGGER_RISING) {
        ASSERT_TRUE(vex_RegisterSlotInterrupt(slot, kCallbacks[slot])) << "slot " << slot;
        vex_SetTriggerType(slot, trigger);
        vex_EnableSlotInterrupt(slot, 1);
    }

    // The module energises input 0 and releases it again: a rising and a
    // falling edge, each pulsing the line when the description says so.
    void toggle_input(uint32_t slot, uint32_t input = 0) {
        sim().set_inputs(static_cast<int>(slot), 1u << input);
        sim().set_inputs(static_cast<int>(slot), 0);
    }
    void pulse(uint32_t slot, sim::models::Pulse kind = sim::models::Pulse::Full) {
        const uint64_t now = sim().now_ns();
        sim().with_lock([&](sim::State& s) {
            sim::models::slot_line_pulse(s, static_cast<int>(slot), kind, now);
            return 0;
        });
    }

    // Far side: interrupts the backplane has raised for the slot so far, and
    // whether one of its latches holds an edge.
    uint32_t raised(int line) { return sim().with_lock([&](sim::State& s) { return s.irq.raised[line]; }); }
    bool latched(uint32_t slot) {
        return sim().with_lock([&](sim::State& s) {
            return ((s.irq.latch[0] | s.irq.latch[1] | s.irq.latch[2]) >> slot) & 1u;
        }) != 0;
    }
    int bindings() {
        return sim().with_lock([](sim::State& s) {
            int n = 0;
            for (const sim::IrqBinding& b : s.irq.bindings) n += b.token != 0;
            return n;
        });
    }
    // Lets every stopped service thread end and joins it.
    void settle() { EXPECT_EQ(irq::settle_service_threads(5000), 0); }
};

}  // namespace vex::test
