#include "io/parallel_io.h"

#include "io/do_shadow.h"
#include "io/module_watchdog.h"

namespace vex::io {

void attach_parallel_io() {
    attach_shadows();
    reset_watchdog_state();
    reset_wdt_interrupt_callbacks();
}

void detach_parallel_io() { detach_shadows(); }

}  // namespace vex::io
