// The processor peripherals of a virtual controller, as kept in the
// instance's shared state (sim/state.h). Plain data, fixed-width fields,
// one layout on every platform; guarded by the instance lock.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vex::sim {

inline constexpr int kGpioBanks = 4;

struct GpioState {
    uint32_t out[kGpioBanks];        // output latch (set / clear registers)
    uint32_t dir[kGpioBanks];        // 1 = the processor drives the pin
    uint32_t rising[kGpioBanks];     // rising-edge detect enables
    uint32_t falling[kGpioBanks];    // falling-edge detect enables
    uint32_t edge[kGpioBanks];       // edge-detect status, write 1 to clear
    uint32_t alt[8];                 // alternate-function fields, 2 bits per pin
    uint32_t pulled_low[kGpioBanks]; // pins a device outside the processor holds low
    uint32_t level[kGpioBanks];      // settled pin levels (1 = high)
    uint32_t edges_latched;          // count of edge-status bits set so far
    uint32_t pad;
};
static_assert(sizeof(GpioState) == 4 * (7 * kGpioBanks + 8 + 2));

struct OsTimerState {
    uint32_t match[4];
    uint32_t status;           // bit n: match n reached since last cleared
    uint32_t watchdog_enable;  // bit 0
    uint32_t irq_enable;
    uint32_t pad;
    uint64_t evaluated_ticks;  // counts since power-up when matches were last evaluated
};
static_assert(sizeof(OsTimerState) == 40);

// A page that is only a file of registers (so far): PWM, interrupt
// controller, power manager, clock manager. Offsets 0x00..0x3C.
inline constexpr int kRegisterFileWords = 16;
struct RegisterFile {
    uint32_t word[kRegisterFileWords];
};

struct Peripherals {
    GpioState gpio;
    OsTimerState os_timer;
    RegisterFile pwm0;
    RegisterFile pwm1;
    RegisterFile intc;
    RegisterFile power;
    RegisterFile clock;
};
static_assert(sizeof(Peripherals) == sizeof(GpioState) + sizeof(OsTimerState) + 5 * sizeof(RegisterFile));
static_assert(offsetof(Peripherals, os_timer) % 4 == 0);

}  // namespace vex::sim
