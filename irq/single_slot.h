// The single-slot controller's slot interrupt: its module's line is GPIO 3
// of the processor, and the interrupt (66) comes from the GPIO block's edge
// detection. Re-arming the detection is this model's acknowledge.
#pragma once

#include <cstdint>

namespace vex::irq {

inline constexpr uint32_t kSlotGpio = 3;

// Trigger type 0 or 1: detect rising edges on GPIO 3, not falling ones;
// 2: falling, not rising; any other type: nothing is written.
void rearm_single_slot_edges(int32_t type);

}  // namespace vex::irq
