// The processor's free-running OS timer counter (3.25 MHz, 32 bits, wraps).
// The rest of the OS timer page is reached through platform/peripherals.h.
#pragma once

#include <cstdint>

#include "platform/peripherals.h"

namespace vex::plat {

inline constexpr uint32_t kOsTimerHz = 3250000;

inline uint32_t os_timer_count() { return reg_read(Page::OsTimer, ost::kCount); }

}  // namespace vex::plat
