// Real-time priority of the library's service threads.
//
// Priorities are given on the controller's own scale: 0 is the most urgent,
// 255 the least. On Linux:
//   0 .. 247    real-time, SCHED_FIFO priority 99 down to 1
//               (fifo = 99 - priority * 98 / 247; 100 -> 60, 50 -> 80)
//   248 .. 255  the controller's ordinary application priorities: normal
//               time-sharing (SCHED_OTHER), always allowed
// Anything else is refused. Real-time scheduling needs CAP_SYS_NICE or an
// RLIMIT_RTPRIO at least as high as the mapped priority; without it the
// call fails and the thread keeps running at its current priority.
#pragma once

#include <cstdint>
#include <thread>

namespace vex::plat {

inline constexpr int32_t kLowestRealtimePriority = 247;
inline constexpr int32_t kLowestPriority = 255;

// The SCHED_FIFO priority a controller priority maps to, 0 for the normal
// (non-real-time) range, -1 for a priority outside 0..255.
int sched_fifo_priority(int32_t priority);

// Sets the priority of a running thread. False when the priority is out of
// range, the thread has ended or the process may not use it.
bool set_thread_priority(std::thread& thread, int32_t priority);
// The same for the calling thread.
bool set_current_thread_priority(int32_t priority);

}  // namespace vex::plat
