// Load and unload of the interrupt and timer subsystem (the library's load
// sequence calls these).
#pragma once

#include <cstdint>

namespace vex::irq {

// Maps the registration masks and starts the per-process tables afresh.
void attach_interrupts();
// Stops every service thread, waits up to kUnloadGraceMs for callbacks in
// progress to return (threads whose callback does not return are left to
// the process), ends every interrupt binding, closes this process's events
// and lets go of the masks. Registrations are not undone: the bits this
// process set stay in the masks while other processes have them.
void detach_interrupts();
inline constexpr uint32_t kUnloadGraceMs = 1000;

// Stops the timers' service threads and closes their events (unload).
void release_timers();

}  // namespace vex::irq
