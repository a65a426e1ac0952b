// Busy-wait delays: microsecond passes of a calibrated loop, and OS timer
// ticks.
#include <algorithm>
#include <atomic>

#include "frame/errors.h"
#include "platform/os_timer.h"
#include "platform/system.h"
#include "vexsdk.h"

namespace {

// Iterations of the delay loop per microsecond on this machine: 0 until the
// first call measures it. Any thread may measure; the last result stays.
std::atomic<uint32_t> g_loops_per_us{0};

// The delay loop: a counter the compiler must keep in memory, as the
// controller's 28-iteration pass did.
void spin(uint32_t loops) {
    volatile uint32_t i = 0;
    while (i < loops) i = i + 1;
}

// Times a fixed number of iterations several times and takes the median,
// after spinning a while so that the processor runs at its working speed.
uint32_t calibrate() {
    constexpr uint32_t kTrialLoops = 50000;
    constexpr int kTrials = 7;
    spin(kTrialLoops * 4);
    uint64_t ns[kTrials];
    for (uint64_t& t : ns) {
        const uint64_t start = vex::plat::monotonic_ns();
        spin(kTrialLoops);
        t = std::max<uint64_t>(1, vex::plat::monotonic_ns() - start);
    }
    std::sort(ns, ns + kTrials);
    const uint64_t per_us = static_cast<uint64_t>(kTrialLoops) * 1000 / ns[kTrials / 2];
    return static_cast<uint32_t>(std::clamp<uint64_t>(per_us, 1, 1000000));
}

uint32_t loops_per_us() {
    uint32_t n = g_loops_per_us.load(std::memory_order_relaxed);
    if (n == 0) {
        n = calibrate();
        g_loops_per_us.store(n, std::memory_order_relaxed);
    }
    return n;
}

// How long the counter may stand still before the wait gives up: a live
// counter moves 3250 times a millisecond.
constexpr uint64_t kStuckNs = 10000000;
constexpr uint32_t kReadsBetweenClockChecks = 1024;

}  // namespace

VEXSDK_EXTERN_C_BEGIN

VEXSDK_API uint32_t _vex_delay(uint32_t) {
    vex::frame::set_last_error(VEX_ERR_NOT_SUPPORTED);
    return 0;
}

VEXSDK_API void _vex_us_delay(uint32_t n) {
    const uint32_t per_pass = loops_per_us();
    for (uint32_t pass = 0; pass < n; ++pass) spin(per_pass);
}

VEXSDK_API void _vex_5us_delay(void) { _vex_us_delay(5); }

// The controller's library compares the counter with entry + ticks, first
// waiting for a wrap when that sum overflows; counting the ticks that pass
// in 64 bits is the same rule without its blind spot (a sum landing on
// 0xFFFFFFFF, which the counter can never exceed).
VEXSDK_API void _vex_ticks_delay(uint32_t ticks) {
    uint32_t last = vex::plat::os_timer_count();
    uint64_t passed = 0;
    uint32_t still = 0;
    uint64_t still_since = 0;
    while (passed <= ticks) {
        const uint32_t now = vex::plat::os_timer_count();
        if (now != last) {
            passed += static_cast<uint32_t>(now - last);
            last = now;
            still = 0;
            continue;
        }
        if (++still % kReadsBetweenClockChecks != 0) continue;
        const uint64_t t = vex::plat::monotonic_ns();
        if (still == kReadsBetweenClockChecks) still_since = t;
        else if (t - still_since > kStuckNs) return;
    }
}

VEXSDK_EXTERN_C_END
