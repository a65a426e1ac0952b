#include "platform/os_timer.h"

#include "platform/system.h"

namespace vex::plat {

bool os_timer_wait(uint32_t ticks) {
    const uint32_t entry = os_timer_count();
    // Enough for the wait itself, plus slack for being descheduled: only a
    // counter that does not run makes the wait end here.
    const uint64_t give_up = monotonic_ns() + static_cast<uint64_t>(ticks) * 1000000000ull / kOsTimerHz + 20000000ull;
    for (uint32_t spins = 1;; ++spins) {
        if (os_timer_count() - entry > ticks) return true;
        if ((spins & 1023u) == 0 && monotonic_ns() > give_up) return false;
    }
}

}  // namespace vex::plat
