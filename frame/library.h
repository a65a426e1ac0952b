// The library's load and unload sequence. The shared library runs it from
// its constructor and destructor; tests run it themselves so that each can
// point the library at its own virtual controller.
#pragma once

namespace vex::frame {

// Process attach: connect the target, fix the model code, map the window,
// then the members the other subsystems add. Always succeeds; problems are
// reported on stderr when VEXSDK_DEBUG is set.
void library_attach();
// Process detach, in reverse.
void library_detach();
// How many times the library is attached in this process.
int load_count();
// Why the last attach could not connect to the controller, or why the host
// process it started was replaced in-process ("" if neither). Waits for a
// host process still on its way up.
const char* load_problem();

}  // namespace vex::frame
