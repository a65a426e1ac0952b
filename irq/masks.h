// The cross-process registration masks of slot interrupts ("INTSHARE") and
// backplane timers ("BPSHARED"), and this process's copy of each as it last
// wrote it.
//
// Bit n set means slot (timer) n is registered in some process of the
// controller. The masks live while any process has the library loaded (see
// platform/session_section.h): a process that dies with slots registered
// leaves its bits set until every process has let go.
//
// No lock guards a mask, across processes or within one: each access is a
// single 16-bit load or store (relaxed atomics, so the compiler keeps them
// whole), and a read-modify-write can lose another process's change made in
// between. The only guard is the comparison of the mask with this process's
// copy before unregistering.
#pragma once

#include <cstdint>

namespace vex::irq {

enum class Mask { SlotInterrupts, Timers };

// Maps both masks for the current target (load) and lets go of them (unload).
// Without shared memory the masks are private to the process.
void attach_masks();
void detach_masks();

uint16_t shared_mask(Mask which);
uint16_t mask_copy(Mask which);
// Sets or clears bit n of the shared mask and copies the whole mask into
// this process's copy.
void change_mask(Mask which, uint32_t bit, bool set);

inline bool mask_has(uint16_t mask, uint32_t n) { return n < 16 && ((mask >> n) & 1u) != 0; }

}  // namespace vex::irq
