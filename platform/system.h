// Small operating-system services the portable core needs.
#pragma once

#include <cstdint>
#include <string>

namespace vex::plat {

// Identifier of the calling thread (32-bit, as the kernel numbers threads).
uint32_t current_thread_id();
// Milliseconds from an arbitrary start; wraps after 49 days like a tick count.
uint32_t tick_count_ms();
// Nanoseconds of the monotonic clock.
uint64_t monotonic_ns();
void sleep_ms(uint32_t ms);
// Gives up the processor once.
void yield_thread();
// Full path of the running executable ("" if unknown).
std::string executable_path();
// Environment variable, or "" when unset.
std::string env(const char* name);
// Records a problem in the system log (facility user, tagged "vexsdk").
void log_problem(const std::string& text);

}  // namespace vex::plat
