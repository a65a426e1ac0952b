// The registers of a parallel-bus module as io/ uses them, and the only
// way io/ reaches them.
//
// Module registers are bytes at even offsets of the slot's 4 KiB page (the
// bus has a stride of 2). One offset can be two registers: offset 0x00
// reads the module ID but writes outputs 0..7.
#pragma once

#include <cstdint>

#include "frame/backplane.h"

namespace vex::io {

// Slots that can hold a module. The page that "slot 8" would have is the
// backplane's own register block (0x9000), and the pages beyond decode
// nothing or lie outside the 64 KiB window; module calls must not reach
// them, whatever slot number an application passes.
inline constexpr uint32_t kModuleSlots = 8;

// Read side.
inline constexpr uint32_t kRegId = 0x00;
inline constexpr uint32_t kRegInput0 = 0x02;      // DI 0..7, then 0x04, 0x06, 0x08
inline constexpr uint32_t kRegCapability = 0x0E;
inline constexpr uint32_t kRegReadBack0 = 0x10;   // DO read-back 0..7, then 0x12, 0x14, 0x16
inline constexpr uint32_t kRegWdtStatus = 0x20;
// Write side.
inline constexpr uint32_t kRegOutput0 = 0x00;     // DO 0..7, then 0x02, 0x04, 0x06
inline constexpr uint32_t kRegParamMode = 0x16;   // 1 = write, 0 = read
inline constexpr uint32_t kRegParamIndex = 0x18;
inline constexpr uint32_t kRegParamValue = 0x1A;  // read and write
inline constexpr uint32_t kRegWdtEnable = 0x1C;
inline constexpr uint32_t kRegWdtTimeout = 0x1E;  // half-seconds; read and write
inline constexpr uint32_t kRegWdtRefresh = 0x24;

inline constexpr uint8_t kSerialModuleId = 0xFF;
inline constexpr uint8_t kReadBackModuleId = 0x2F;
// Capability bit 5: outputs readable and a module watchdog present.
inline constexpr uint8_t kCapReadBackWatchdog = 0x20;
// Status bit 4: the watchdog has expired and holds the outputs.
inline constexpr uint8_t kStatusExpired = 0x10;
inline constexpr uint8_t kWdtRefreshKey = 0x55;

// `slot` is already reduced to its low 8 bits. Outside slots 0..7 the
// bus floats: reads see all ones, writes go nowhere.
inline uint8_t module_read8(uint32_t slot, uint32_t offset) {
    return slot < kModuleSlots ? frame::slot_read8(slot, offset) : 0xFF;
}
inline void module_write8(uint32_t slot, uint32_t offset, uint8_t value) {
    if (slot < kModuleSlots) frame::slot_write8(slot, offset, value);
}

// The read-back module type: ID 0x2F with capability bit 5. Only its
// outputs are read from the module and only its writes are gated by its
// watchdog. The capability byte is read first: most modules stop there.
inline bool is_read_back_module(uint32_t slot) {
    return (module_read8(slot, kRegCapability) & kCapReadBackWatchdog) != 0 &&
           module_read8(slot, kRegId) == kReadBackModuleId;
}

}  // namespace vex::io
