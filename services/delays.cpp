// Busy-wait delays: microseconds on the monotonic clock, and OS timer
// ticks.

#include "frame/errors.h"
#include "platform/os_timer.h"
#include "platform/system.h"
#include "vexsdk.h"

namespace {

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

// The controller's library ran n passes of a 28-iteration loop, which took
// a microsecond each on its processor. A loop calibrated once cannot hold
// that on a machine whose speed changes with its load, so each pass here
// is a microsecond of the monotonic clock: the delay never ends early,
// whatever the processor.
VEXSDK_API void _vex_us_delay(uint32_t n) {
    const uint64_t until = vex::plat::monotonic_ns() + static_cast<uint64_t>(n) * 1000u;
    while (vex::plat::monotonic_ns() < until) {
    }
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
