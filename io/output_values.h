// Power-on and safe output values kept in a parallel-bus module's own
// parameter memory, reached through its parameter registers (mode 0x16,
// index 0x18, value 0x1A). Parameters: 0 = power-on value enabled,
// 1..4 = power-on value, 9..12 = safe value (least significant byte first).
//
// These are the parallel-bus branches of the unified power-on and safe
// value calls, which have already found a parallel-bus module in the slot.
// `slot` is the low 8 bits of the caller's; slots 8 and above hold no
// module (writes go nowhere, reads see the floating bus: all ones).
#pragma once

#include <cstdint>

namespace vex::io {

inline constexpr uint8_t kParamPowerOnEnabled = 0;
inline constexpr uint8_t kParamPowerOnValue = 1;  // 1..4
inline constexpr uint8_t kParamSafeValue = 9;     // 9..12

// Write: mode 1, index, value.
void write_module_param(uint32_t slot, uint8_t index, uint8_t value);
// Read: mode 0, index, a settling delay of 2000 counted iterations for the
// module to fetch the byte, then the value register.
uint8_t read_module_param(uint32_t slot, uint8_t index);

// The power-on value, or 0 when the module's power-on value is disabled.
uint32_t read_power_on_do(uint32_t slot);
// Stores the value, then enables it when non-zero (zero means disabled).
void write_power_on_do(uint32_t slot, uint32_t value);
// The safe value (then waits 1 ms, as the module needs).
uint32_t read_safe_do(uint32_t slot);
void write_safe_do(uint32_t slot, uint32_t value);

}  // namespace vex::io
