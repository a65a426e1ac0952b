// Device models of the processor's peripheral pages (platform/peripherals.h).
// Like every model they run in the accessing process on the shared state,
// with the instance lock held by the caller; `now` is the instance clock.
#pragma once

#include <cstdint>

#include "platform/peripherals.h"
#include "sim/state.h"

namespace vex::sim::models {

// Dispatch by page (sim/models/peripherals.cpp). Offsets outside a page's
// registers read 0 and ignore writes.
uint32_t peripheral_read(State& s, plat::Page page, uint32_t offset, uint64_t now);
void peripheral_write(State& s, plat::Page page, uint32_t offset, uint32_t value, uint64_t now);
// Reset values of every page (instance power-up).
void peripherals_power_up(State& s);

// GPIO block (sim/models/gpio.cpp).
uint32_t gpio_read(State& s, uint32_t offset, uint64_t now);
void gpio_write(State& s, uint32_t offset, uint32_t value, uint64_t now);
void gpio_power_up(State& s);
// The far side of a pin: a device (or a test) holds the pin low, or lets
// it go. A pin is low when the processor drives it low or anything holds
// it low; otherwise the board's pull-up keeps it high (wired-AND, as on an
// open-drain bus). Edges latch and wired devices hear of the change.
void gpio_pull(State& s, uint32_t pin, bool low, uint64_t now);
bool gpio_pin_high(const State& s, uint32_t pin);
// For devices answering a change (called from gpio_wiring_changed): holds
// or lets go of a pin without settling; the settling loop in progress
// takes the new level into account in its next round.
void gpio_hold(State& s, uint32_t pin, bool low);
// Called with the pins whose level just changed (sim/models/gpio_wiring.cpp):
// tells the devices wired to them. Devices may pull pins in turn.
void gpio_wiring_changed(State& s, const uint32_t changed[kGpioBanks], uint64_t now);

// OS timer page (sim/models/os_timer.cpp). The counter runs at 3.25 MHz
// from the instance's power-up.
uint32_t os_timer_count(const State& s, uint64_t now);
// Counts since power-up, 64 bits wide (never wraps in practice).
uint64_t os_timer_ticks(const State& s, uint64_t now);
uint32_t os_timer_read(State& s, uint32_t offset, uint64_t now);
void os_timer_write(State& s, uint32_t offset, uint32_t value, uint64_t now);

}  // namespace vex::sim::models
