// Load and unload of the parallel-bus I/O subsystem (the library's load
// sequence calls these).
#pragma once

namespace vex::io {

// Maps the output shadows of the current target and starts the per-process
// watchdog state afresh.
void attach_parallel_io();
void detach_parallel_io();

}  // namespace vex::io
