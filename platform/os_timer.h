// The processor's free-running OS timer counter (3.25 MHz, 32 bits, wraps).
// The rest of the OS timer page is reached through platform/peripherals.h.
#pragma once

#include <cstdint>

#include "platform/peripherals.h"

namespace vex::plat {

inline constexpr uint32_t kOsTimerHz = 3250000;

inline uint32_t os_timer_count() { return reg_read(Page::OsTimer, ost::kCount); }

// Spins until the counter has moved more than `ticks` past its value at
// entry. The difference is taken modulo 2^32, so a wrap of the counter
// during the wait changes nothing. Returns false, early, only when the
// counter does not run (an unmapped or dead timer): every spin on it ends.
bool os_timer_wait(uint32_t ticks);

}  // namespace vex::plat
