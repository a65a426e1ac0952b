// The serial EEPROM on the processor's GPIO pins (SCL 12, SDA 22, write
// protect 4): a 128-kbit chip (512 kbit on the "LT44" controller), two
// address bytes, 64-byte write pages. Addresses here are chip addresses.
//
// Every transfer and the write-protect switch hold the cross-process lock
// "VEX_EEP" (a robust mutex: when a process dies holding it, the next one
// takes it over, brings the bus back without letting the chip commit the
// dead process's half page, and goes on). Lock order: "VEX_EEP", then the
// GPIO lock (platform/gpio.h), then the virtual controller's lock.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vex::services::eeprom {

inline constexpr uint32_t kPinScl = 12;
inline constexpr uint32_t kPinSda = 22;
inline constexpr uint32_t kPinWriteProtect = 4;
inline constexpr uint32_t kPageSize = 64;
inline constexpr uint32_t kAckPollLimit = 10000;
inline constexpr int kAckPollPasses = 3;

// Load: opens "VEX_EEP" and, under it, sets the three pins up as GPIO
// outputs driven high (bus idle, writes protected), unless this was done
// before since the controller started: a program loading the library must
// not write-protect the EEPROM under another that enabled writes. Returns
// "" or what went wrong (transfers then fail with their codes).
std::string attach();
void detach();

// Reads n bytes at a chip address. False when the chip does not answer;
// buf may then hold part of the data.
bool read(uint32_t address, uint8_t* buf, uint32_t n);
enum class WriteResult { Ok, WriteProtected, Failed };
// Writes n bytes, cut at 64-byte page boundaries; each page waits for the
// chip to finish the previous one (acknowledge polling).
WriteResult write(uint32_t address, const uint8_t* data, uint32_t n);
// Reads n bytes into buf, lets `change` modify them, and writes them back
// with write protect off, under one hold of the lock (so no other process
// can slip a write in between); write protect is on afterwards. The read
// needs n > 0.
enum class UpdateResult { Ok, ReadFailed, WriteFailed };
UpdateResult update(uint32_t address, uint8_t* buf, uint32_t n, const std::function<void(uint8_t*)>& change);
// Drives write protect low (allow writes) or high.
void set_write_protect(bool protect);

// Device selects sent by the last address phase (1 = acknowledged at once).
uint32_t last_poll_count();
// Delay loops of one bit delay unit (0 on the virtual controller). On
// hardware the first transfer calibrates it; asking calibrates it too.
uint32_t delay_loops();

}  // namespace vex::services::eeprom
