// Device models of the virtual controller. Each runs in the accessing
// process, on the shared state, with the state's lock held by the caller.
// `now` is the monotonic time in nanoseconds.
#pragma once

#include <cstdint>

#include "sim/description.h"
#include "sim/state.h"

namespace vex::sim::models {

// Backplane-wide registers, offsets 0x9000..0x90FF of the window.
uint8_t backplane_read(State& s, uint32_t offset, uint64_t now);
void backplane_write(State& s, uint32_t offset, uint8_t value, uint64_t now);
// Power-up values of the backplane registers from the description.
void backplane_power_up(State& s, const Description& d);
// Recomputes the presence register after a plug or unplug.
void backplane_update_presence(State& s);

// Slot pages: dispatch to the module in the slot. Offsets are within the
// 4 KiB page. An empty slot floats high (reads 0xFF, ignores writes).
uint8_t slot_read(State& s, int slot, uint32_t offset, uint64_t now);
void slot_write(State& s, int slot, uint32_t offset, uint8_t value, uint64_t now);
// Installs a module into a slot and powers it up (plug, or instance power-up).
void slot_install(State& s, int slot, const SlotDescription& d, uint64_t now);
void slot_remove(State& s, int slot, uint64_t now);

// Slot interrupt controller: 0x9006 (end of interrupt), 0x900C
// (retrigger), 0x9010..0x901A (enables and latches), 0x9044 (gate).
bool is_slot_irq_register(uint32_t offset);
uint8_t slot_irq_read(State& s, uint32_t offset);
void slot_irq_write(State& s, uint32_t offset, uint8_t value);
void slot_irq_power_up(State& s);
// A slot's interrupt line as its module drives it: a level (the module
// watchdog's interrupt) or a short pulse (an input edge, vexsim irq) that
// only the latches of one trigger type catch, or all of them. On the
// single-slot controller slot 0's line is GPIO 3 instead (see slot_irq.cpp).
void slot_line_level(State& s, int slot, bool high, uint64_t now);
enum class Pulse { Full, Rising, Level, Falling };
void slot_line_pulse(State& s, int slot, Pulse kind, uint64_t now);
// A process binds the slot's interrupt (`line` 0..7, or the single-slot
// controller's): when one is pending it is delivered to that process
// (true) instead of waiting for the next edge.
bool slot_irq_take_pending(State& s, int line);
// The GPIO block latched edges (bank, newly latched bits): the processor's
// interrupt controller looks for the single-slot controller's slot pin.
void gpio_edges_latched(State& s, int bank, uint32_t bits);

// Timer block: 0x900A (control), 0x900E (status), 0x9020..0x903E (timers),
// 0x9028..0x902E and 0x9040 (counters). Timers count in these steps:
inline constexpr uint64_t kTimerUnitNs = 100000;  // 100 microseconds
bool is_timer_register(uint32_t offset);
uint8_t timer_read(State& s, uint32_t offset, uint64_t now);
void timer_write(State& s, uint32_t offset, uint8_t value, uint64_t now);
void timers_power_up(State& s, uint64_t now);
// Runs the timers up to `now`: ticks, status bits, interrupts.
void timers_advance(State& s, uint64_t now);
// Instance-clock time of the timer's next tick (UINT64_MAX when stopped).
uint64_t timer_deadline(const State& s, int timer);
// Level of timer 0's output pin.
bool timer0_output(const State& s, uint64_t now);
// A module was plugged or unplugged: sets the hot-plug pending bit when
// hot-plug notification is enabled.
void hotplug_event(State& s);

// Parallel-bus module registers.
uint8_t parallel_read(State& s, int slot, uint32_t offset, uint64_t now);
void parallel_write(State& s, int slot, uint32_t offset, uint8_t value, uint64_t now);
void parallel_power_up(State& s, int slot, const SlotDescription& d, uint64_t now);
// Advances time-driven behaviour (the module watchdog) to `now`.
void parallel_advance(State& s, int slot, uint64_t now);
// New input lines of a parallel-bus module; edges of the inputs its
// description names pulse its interrupt line.
void parallel_set_inputs(State& s, int slot, uint32_t lines, uint64_t now);
// When the module's watchdog interrupt can next fire (UINT64_MAX: it cannot).
uint64_t parallel_irq_deadline(const State& s, int slot);

}  // namespace vex::sim::models
