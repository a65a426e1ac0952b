// The 31 bytes of RAM in the controller's timekeeping chip, reached on the
// three-wire port of backplane register 0x901C (bit 0 chip enable, bit 1
// clock, bit 2 direction: 1 = the chip drives the data line, bit 3 data to
// the chip; reading bit 0 gives the data line). RAM byte n is chip register
// 32 + n: command 0xC0 + 2n writes it, 0xC1 + 2n reads it, least
// significant bit first.
//
// The library keeps the port's last written value in a process-wide shadow
// and changes one bit of it per register write. A clock pulse holds the
// clock high until the OS timer has moved two counts (at least 0.3 us).
// Calls are serialised within the process (the controller's library had no
// effective lock here); processes are not serialised against each other.
#pragma once

#include <cstdint>

namespace vex::services::nvram {

inline constexpr uint32_t kPort = 0x901C;
// Reads or writes n RAM bytes from byte `index`; the caller checks the range.
void read(uint32_t index, uint8_t* buf, uint32_t n);
void write(uint32_t index, const uint8_t* data, uint32_t n);

}  // namespace vex::services::nvram
