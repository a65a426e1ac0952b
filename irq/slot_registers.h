// Slot interrupt registers of the backplane and the acknowledge and enable
// sequences on them. Bit n of every mask is slot n.
#pragma once

#include <cstdint>

namespace vex::irq {

inline constexpr uint32_t kIrqSlots = 8;  // the slots that can have a service thread

inline constexpr uint32_t kRegEndOfInterrupt = 0x9006;
inline constexpr uint32_t kRegRetrigger = 0x900C;
inline constexpr uint32_t kRegRisingEnable = 0x9010;
inline constexpr uint32_t kRegRisingLatch = 0x9012;
inline constexpr uint32_t kRegSlotGate = 0x9044;
inline constexpr uint8_t kEndOfInterrupt = 0xFF;

// Trigger types: 0 rising edge, 1 level (high), 2 falling edge.
inline constexpr int32_t kTriggerRising = 0;
inline constexpr int32_t kTriggerLevel = 1;
inline constexpr int32_t kTriggerFalling = 2;

// Enable and latch register of a trigger type (0 for a type outside 0..2).
uint32_t enable_register(int32_t type);
uint32_t latch_register(int32_t type);

// Acknowledges slot n's interrupt of the given trigger type: on the
// multi-slot controllers clears its latch and writes the end of interrupt;
// on the single-slot controller re-arms the processor's edge detection.
void acknowledge_slot_interrupt(uint32_t slot, int32_t type);
// Sets or clears the slot's enable bits (type enable and gate); disabling
// also acknowledges. Multi-slot controllers only.
void set_slot_interrupt_enabled(uint32_t slot, int32_t type, bool enable);

}  // namespace vex::irq
