#include "platform/os_timer.h"

#include "platform/deadline.h"

namespace vex::plat {

bool os_timer_wait(uint32_t ticks) {
    const uint32_t entry = os_timer_count();
    // Enough for the wait itself plus 20 ms for being descheduled: only a
    // counter that does not run makes the wait end here.
    const Deadline give_up = Deadline::in_ms(static_cast<uint32_t>(ticks / (kOsTimerHz / 1000)) + 21);
    for (uint32_t spins = 1;; ++spins) {
        if (os_timer_count() - entry > ticks) return true;
        if ((spins & 1023u) == 0 && give_up.expired()) return false;
    }
}

}  // namespace vex::plat
