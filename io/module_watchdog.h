// Per-process state of the module watchdog calls, for slots 0..7.
//
// The module keeps its timeout and its expiry; what the host last asked
// for (enable flag, overwrite permission, watchdog interrupt status) is
// remembered by each process on its own, as the register for the enable
// flag cannot be read back. Slots 8 and above hold no module: their state
// reads as the initial values and stores are dropped.
#pragma once

#include <cstdint>

#include "io/module_registers.h"

namespace vex::io {

// Back to the start of a process: disabled, overwriting permitted,
// interrupt status 0. Run when the library attaches.
void reset_watchdog_state();

bool overwrite_permitted(uint32_t slot);
void set_overwrite_permitted(uint32_t slot, bool permitted);
uint8_t watchdog_enable_flag(uint32_t slot);
void set_watchdog_enable_flag(uint32_t slot, uint8_t enabled);
// The module-watchdog interrupt status last set (the interrupt calls use it).
int16_t watchdog_interrupt_status(uint32_t slot);
void set_watchdog_interrupt_status(uint32_t slot, int16_t status);

// Forgets the module-watchdog interrupt callbacks (load).
void reset_wdt_interrupt_callbacks();

// The rest of the output gate, for a module whose capability bit 5 is set.
bool read_back_outputs_held(uint32_t slot);

// The output gate of _vex_WriteDO: true when the slot holds the read-back
// module type, its watchdog has expired and this process has not permitted
// overwriting. Modules without capability bit 5 cost one bus read.
inline bool outputs_held_by_watchdog(uint32_t slot) {
    return (module_read8(slot, kRegCapability) & kCapReadBackWatchdog) != 0 && read_back_outputs_held(slot);
}

}  // namespace vex::io
