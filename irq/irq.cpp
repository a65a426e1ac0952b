#include "irq/irq.h"

#include <cstdio>

#include "irq/masks.h"
#include "irq/service_thread.h"
#include "irq/slot_table.h"
#include "platform/interrupt.h"
#include "platform/system.h"

namespace vex::irq {

void attach_interrupts() {
    attach_masks();
    reset_slot_table();
}

void detach_interrupts() {
    release_slot_table();
    release_timers();
    const int abandoned = settle_service_threads(kUnloadGraceMs);
    if (abandoned && !plat::env("VEXSDK_DEBUG").empty())
        std::fprintf(stderr, "vexsdk: %d interrupt callback(s) did not return at unload; left running\n", abandoned);
    plat::unbind_all_interrupts();
    detach_masks();
}

}  // namespace vex::irq
