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
void slot_remove(State& s, int slot);

// Parallel-bus module registers.
uint8_t parallel_read(State& s, int slot, uint32_t offset, uint64_t now);
void parallel_write(State& s, int slot, uint32_t offset, uint8_t value, uint64_t now);
void parallel_power_up(State& s, int slot, const SlotDescription& d, uint64_t now);
// Advances time-driven behaviour (the module watchdog) to `now`.
void parallel_advance(State& s, int slot, uint64_t now);

}  // namespace vex::sim::models
