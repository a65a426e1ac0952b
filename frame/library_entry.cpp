// Load and unload entry points of the shared library and the static archive.
#include "frame/library.h"

namespace {

__attribute__((constructor)) void vexsdk_process_attach() { vex::frame::library_attach(); }
__attribute__((destructor)) void vexsdk_process_detach() { vex::frame::library_detach(); }

}  // namespace
