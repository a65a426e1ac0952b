// The far side of the virtual controller's processor pins and chips: what
// a device on the board sees and does. vexsim and tests observe and drive
// the controller through these, never through raw State fields.
#pragma once

#include <cstdint>
#include <vector>

#include "sim/instance.h"

namespace vex::sim::far {

// The level of a GPIO pin as the board sees it (true = high).
bool pin_high(Instance& inst, uint32_t pin);
// Holds a GPIO pin low from outside the processor, or lets it go (the
// board's pull-up then raises it unless the processor drives it low).
void hold_pin_low(Instance& inst, uint32_t pin, bool low);

enum class Chip : uint8_t { Sram, Eeprom, Nvram };

// What a chip holds, read and written behind the library's back (chip
// addresses; the SRAM's from 0 including its system area). Out-of-range
// bytes are left out of reads and ignored by writes.
std::vector<uint8_t> contents(Instance& inst, Chip chip, uint32_t address, uint32_t n);
void fill(Instance& inst, Chip chip, uint32_t address, const std::vector<uint8_t>& bytes);
// Size of the chip in bytes (0: the controller has none).
uint32_t chip_size(Instance& inst, Chip chip);

// Transactions the chip completed since power-up, oldest first (at most
// kChipLogEntries), and how many there were in all.
std::vector<ChipLogEntry> transactions(Instance& inst, Chip chip, uint32_t* total = nullptr);
// Device selects the EEPROM refused because it was busy writing.
uint32_t eeprom_busy_refusals(Instance& inst);

// Faults a chip shows until cleared (the SRAM and NVRAM know only stuck
// bits; ack_budget and no_ack are the EEPROM's).
ChipFaults faults(Instance& inst, Chip chip);
void set_faults(Instance& inst, Chip chip, const ChipFaults& f);
// Internal write time of an EEPROM page.
void set_eeprom_write_cycle_us(Instance& inst, uint32_t us);

// Values the library wrote to a backplane register, oldest first (from the
// trace of the latest 256 register writes).
std::vector<uint16_t> register_writes(Instance& inst, uint32_t offset);

// Battery low signals (1 and 2) and the rotary switch.
void set_battery_low(Instance& inst, int battery, bool low);
void set_rotary(Instance& inst, uint8_t position);

}  // namespace vex::sim::far
