// This process's slot interrupt entries, slots 0..7, and the calls of the
// slot interrupt exports that other subsystems use.
//
// Lock rules: g_slot_mutex (slot_table.cpp) guards each entry's callback,
// service thread and event ownership; the event handle and the trigger type
// are atomics, read without it by service threads. The mutex is never held
// while a callback runs or a thread is joined. Never taken together with
// the timer table's mutex.
#pragma once

#include <cstdint>

#include "vexsdk.h"

namespace vex::irq {

// Back to the state of a fresh process (load).
void reset_slot_table();
// Stops every service thread and closes this process's events (unload).
void release_slot_table();

// The stored trigger type of a slot (0 for slots without an entry).
int32_t slot_trigger_type(uint32_t slot);
void store_slot_trigger_type(uint32_t slot, int32_t type);
// Acknowledges by the stored trigger type.
void acknowledge_slot(uint32_t slot);

// Gives the slot a new event made by the library (its own to close).
// Returns the handle, or -1 when none can be made or the slot has no entry.
int renew_slot_event(uint32_t slot);
// Stores a program's handle as the slot's event (not closed by the library).
void store_slot_event(uint32_t slot, int32_t handle);
// The slot's event handle, -1 for none.
int slot_event(uint32_t slot);

// Registration steps, as vex_RegisterSlotInterrupt and
// vex_UnregisterSlotInterrupt take them.
enum class Claim { Claimed, AlreadyHeld, NoEntry };
Claim claim_slot(uint32_t slot, VEX_IRQ_CALLBACK callback);
bool holds_slot(uint32_t slot);
bool start_slot_thread(uint32_t slot);
bool set_slot_thread_priority(uint32_t slot, int32_t priority);
// Forgets the callback, stops the thread (without waiting) and closes the
// event when the library made it.
void release_slot(uint32_t slot);

}  // namespace vex::irq
