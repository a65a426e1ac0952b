// The processor's GPIO block: the one place in the library that touches it.
//
// Pins 0..120 in four banks of 32 (bank 3 holds pins 96..120). Per bank:
// level (read: 1 = the pin is high), direction (1 = output), set and clear
// (write 1 bits to drive outputs high or low), rising- and falling-edge
// detect enables, and the edge-detect status (bit latched on an enabled
// edge; write 1 to clear). Alternate-function fields are two bits per pin,
// sixteen pins per register; function 0 is plain GPIO.
//
// Board wiring the library relies on: the EEPROM bus (SCL 12, SDA 22, write
// protect 4), the single-slot controller's slot interrupt (3), the user LED
// (84), the backlight (52), the buzzer's PWM 0 output (16, alternate
// function 2) and the backlight's PWM 1 output (17, alternate function 2).
//
// Set, clear, level and edge status are single register accesses. The
// other operations read, modify and write a whole register; they hold the
// cross-process GPIO lock while they do, so that two threads or processes
// changing different pins of one bank never undo each other's change.
// Lock order: a caller may hold "VEX_EEP" (or its own locks) when it calls
// these; the GPIO lock is taken last and held for one register update.
// Pins above 120 are ignored (level and status read 0).
#pragma once

#include <cstdint>

#include "platform/peripherals.h"

namespace vex::plat::gpio {

inline constexpr uint32_t kPins = 121;

// Register offsets of bank 0; banks 1 and 2 follow at +4 and +8, bank 3
// sits 0x100 above bank 0.
inline constexpr uint32_t kLevel = 0x00;
inline constexpr uint32_t kDirection = 0x0C;
inline constexpr uint32_t kSet = 0x18;
inline constexpr uint32_t kClear = 0x24;
inline constexpr uint32_t kRisingEdge = 0x30;
inline constexpr uint32_t kFallingEdge = 0x3C;
inline constexpr uint32_t kEdgeStatus = 0x48;
inline constexpr uint32_t kAltFunction = 0x54;  // eight registers, 16 pins each

constexpr uint32_t reg(uint32_t bank0_offset, uint32_t bank) {
    return bank < 3 ? bank0_offset + 4 * bank : bank0_offset + 0x100;
}
constexpr uint32_t reg_of_pin(uint32_t bank0_offset, uint32_t pin) { return reg(bank0_offset, pin >> 5); }
constexpr uint32_t bit(uint32_t pin) { return 1u << (pin & 31); }
constexpr uint32_t alt_function_reg(uint32_t pin) { return kAltFunction + 4 * (pin >> 4); }

// Drive an output high or low (no effect while the pin is an input).
inline void set(uint32_t pin) {
    if (pin < kPins) reg_write(Page::Gpio, reg_of_pin(kSet, pin), bit(pin));
}
inline void clear(uint32_t pin) {
    if (pin < kPins) reg_write(Page::Gpio, reg_of_pin(kClear, pin), bit(pin));
}
// The pin's level as a mask: bit(pin) when high, 0 when low.
inline uint32_t level(uint32_t pin) {
    return pin < kPins ? reg_read(Page::Gpio, reg_of_pin(kLevel, pin)) & bit(pin) : 0;
}
// How a pin is set up: its alternate function (0 = GPIO) and direction.
inline uint32_t function_of(uint32_t pin) {
    return pin < kPins ? (reg_read(Page::Gpio, alt_function_reg(pin)) >> ((pin & 15) * 2)) & 3u : 0;
}
inline bool is_output(uint32_t pin) {
    return pin < kPins && (reg_read(Page::Gpio, reg_of_pin(kDirection, pin)) & bit(pin)) != 0;
}
// Edge-detect status as a mask; clear_edge writes the pin's bit to clear it.
inline uint32_t edge_detected(uint32_t pin) {
    return pin < kPins ? reg_read(Page::Gpio, reg_of_pin(kEdgeStatus, pin)) & bit(pin) : 0;
}
inline void clear_edge(uint32_t pin) {
    if (pin < kPins) reg_write(Page::Gpio, reg_of_pin(kEdgeStatus, pin), bit(pin));
}

// Read-modify-write operations (under the GPIO lock).
void select_function(uint32_t pin, uint32_t function);  // 0..3
void make_output(uint32_t pin);
void make_input(uint32_t pin);
void set_rising_edge(uint32_t pin, bool enabled);
void set_falling_edge(uint32_t pin, bool enabled);

// Opens the cross-process GPIO lock of the current target (load sequence,
// platform/controller.cpp). Without it the updates above still run, unlocked.
void attach_lock();
void detach_lock();

}  // namespace vex::plat::gpio
