// The battery-backed SRAM behind the backplane's paged window: register
// 0x901E selects a 2 KiB page (absolute SRAM address / 2048), and byte k of
// the page is the register at 0xA000 + 2k. Accesses hold a process-local
// lock (two processes may interleave page selection, as on the controller).
// Addresses are absolute SRAM addresses; the caller checks the range.
#pragma once

#include <cstdint>

namespace vex::services::sram {

inline constexpr uint32_t kPageRegister = 0x901E;
inline constexpr uint32_t kWindow = 0xA000;
inline constexpr uint32_t kPageSize = 2048;

void read(uint32_t address, uint8_t* buf, uint32_t n);
// After each byte one read of the OS timer counter lets the write settle.
void write(uint32_t address, const uint8_t* data, uint32_t n);

}  // namespace vex::services::sram
