// Device models of the controller services: the system watchdogs (the
// backplane's type 0 in the window's base page, the OS timer's type 1) with
// the controller reset they cause, and the front panel (buzzer, LED,
// backlight) as the board shows it. Like every model they run in the
// accessing process on the shared state with the instance lock held;
// `now` is the instance clock.
#pragma once

#include <cstdint>

#include "platform/peripherals.h"
#include "sim/description.h"
#include "sim/state.h"

namespace vex::sim::models {

// Services' state at instance power-up, from the description.
void services_power_up(State& s, const Description& d, uint64_t now);

// The window's base page: offsets below 0x1000 and from 0xF000. Offsets 0
// and 1 carry the CPU ID word and the type-0 watchdog's register; any read
// at 0xF000 refreshes that watchdog. Everything else is plain memory.
uint8_t base_page_read(State& s, uint32_t offset, uint64_t now);
void base_page_write(State& s, uint32_t offset, uint8_t value, uint64_t now);

// Called after every write to a processor page: re-arms the OS timer
// watchdog, and notices what the panel now shows.
void services_after_page_write(State& s, plat::Page page, uint64_t now);

// The earliest instance time at which a system watchdog resets the
// controller (UINT64_MAX: none armed). Safe to call without the lock.
uint64_t reset_deadline(const State& s);
// Applies the resets that are due at `now`, each at the time it was due:
// module watchdogs that ran out before it first, then outputs to their
// power-on state, registers to reset values, the OS timer from zero, the
// reset status saying "watchdog", a new generation, a line in the trace.
// True when the controller reset (the caller refreshes register images).
bool system_catch_up(State& s, uint64_t now);

// A notice from the platform layer (the hardware-abstraction control codes
// around the type-0 watchdog): counted and traced.
void platform_notice(State& s, uint32_t code, uint64_t now);

// Compares what the panel shows with what was last seen and records each
// change in the trace: buzzer tone and duty, LED, backlight level.
void panel_observe(State& s, uint64_t now);

// Appends one entry to the instance's trace.
void trace_event(State& s, uint8_t kind, uint32_t offset, uint16_t value, uint64_t now);

// A reset of the controller leaves each slot module as at power-up, with
// its configuration and parameter memory kept (sim/models/parallel_module.cpp).
void parallel_reset(State& s, int slot, uint64_t now);

}  // namespace vex::sim::models
