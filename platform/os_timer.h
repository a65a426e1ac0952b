// The processor's free-running OS timer counter (3.25 MHz, 32 bits, wraps).
#pragma once

#include <cstdint>

namespace vex::plat {

inline constexpr uint32_t kOsTimerHz = 3250000;

// Non-null on hardware: the mapped counter register.
extern volatile uint32_t* g_os_timer_direct;

namespace detail {
uint32_t sim_os_timer();
}

inline uint32_t os_timer_count() {
    if (volatile uint32_t* reg = g_os_timer_direct) [[likely]]
        return *reg;
    return detail::sim_os_timer();
}

}  // namespace vex::plat
