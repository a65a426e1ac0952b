// The processor's own peripheral pages, beside the backplane window.
//
// Pages (one 4 KiB page of 32-bit registers each, at its physical address):
//   OS timer         0x40A00000  match 0..3, counter (3.25 MHz), status,
//                                watchdog enable, interrupt enable
//   PWM 0            0x40B00000  control (prescaler), duty, period (buzzer)
//   PWM 1            0x40C00000  same layout (display backlight)
//   interrupt ctl    0x40D00000  pending, mask, level
//   GPIO             0x40E00000  see platform/gpio.h (the only user)
//   power manager    0x40F00000  reset status (+0x30)
//   clock manager    0x41300000  clock-enable word (+0x04)
//
// Who may use them: the GPIO block only through platform/gpio.h; the other
// pages through reg_read / reg_write with the offsets below (the OS timer
// counter through platform/os_timer.h).
//
// On hardware each page is mapped like the backplane window (from
// $VEXSDK_PHYSMEM, else /dev/mem) and an access is one volatile 32-bit load
// or store: no system call, no lock. On the virtual controller the direct
// pointer is null and the access goes to the page's device model under the
// instance's lock. A page that could not be mapped, or an access without a
// controller, floats: reads 0xFFFFFFFF, writes vanish.
//
// Thread safety: a single access is atomic, as on the processor's bus. A
// read-modify-write is two accesses and is not; callers that need one say
// which lock they hold (platform/gpio.h holds the cross-process GPIO lock).
#pragma once

#include <cstddef>
#include <cstdint>

namespace vex::plat {

enum class Page : uint8_t { OsTimer = 0, Pwm0, Pwm1, IrqController, Gpio, PowerManager, Clock };
inline constexpr size_t kPageCount = 7;
inline constexpr uint32_t kPageSize = 0x1000;
inline constexpr uint32_t kPagePhysical[kPageCount] = {0x40A00000, 0x40B00000, 0x40C00000, 0x40D00000,
                                                       0x40E00000, 0x40F00000, 0x41300000};
// Short names, for messages and the virtual controller's display.
inline constexpr const char* kPageName[kPageCount] = {"ostimer", "pwm0", "pwm1", "intc", "gpio", "power", "clock"};

// OS timer page.
namespace ost {
constexpr uint32_t match(uint32_t n) { return 4 * n; }  // match registers 0..3
inline constexpr uint32_t kCount = 0x10;          // free-running counter
inline constexpr uint32_t kStatus = 0x14;         // bit n: match n reached; write 1 to clear
inline constexpr uint32_t kWatchdogEnable = 0x18; // bit 0: match 3 resets the processor
inline constexpr uint32_t kIrqEnable = 0x1C;      // bit n: match n interrupts
}  // namespace ost

// PWM 0 and PWM 1 pages.
namespace pwm {
inline constexpr uint32_t kControl = 0x00;  // prescaler, bits 0..5
inline constexpr uint32_t kDuty = 0x04;     // bits 0..9 duty, bit 10 full duty
inline constexpr uint32_t kPeriod = 0x08;   // bits 0..9
}  // namespace pwm

// Interrupt controller page.
namespace intc {
inline constexpr uint32_t kPending = 0x00;
inline constexpr uint32_t kMask = 0x04;     // bit n: interrupt source n enabled
inline constexpr uint32_t kLevel = 0x08;
inline constexpr uint32_t kOsTimerMatch3 = 29;  // source number of OS timer match 3
}  // namespace intc

// Power manager page.
namespace power {
inline constexpr uint32_t kResetStatus = 0x30;    // bit 0 hardware, bit 1 watchdog, bit 2 sleep, bit 3 GPIO reset
inline constexpr uint32_t kResetWatchdog = 1u << 1;
}  // namespace power

// Clock manager page.
namespace clock {
inline constexpr uint32_t kEnable = 0x04;   // one bit per unit: bit 0 PWM 0, bit 1 PWM 1
}  // namespace clock

// Non-null on hardware while the page is mapped. Written only by
// connect_controller / disconnect_controller (platform/controller.h).
extern volatile uint8_t* g_page_direct[kPageCount];

namespace detail {
uint32_t sim_reg_read(Page page, uint32_t offset);
void sim_reg_write(Page page, uint32_t offset, uint32_t value);
}  // namespace detail

// `offset` is a multiple of 4 below kPageSize; nothing checks it.
inline uint32_t reg_read(Page page, uint32_t offset) {
    if (volatile uint8_t* base = g_page_direct[static_cast<size_t>(page)]) [[likely]]
        return *reinterpret_cast<volatile uint32_t*>(base + offset);
    return detail::sim_reg_read(page, offset);
}

inline void reg_write(Page page, uint32_t offset, uint32_t value) {
    if (volatile uint8_t* base = g_page_direct[static_cast<size_t>(page)]) [[likely]] {
        *reinterpret_cast<volatile uint32_t*>(base + offset) = value;
        return;
    }
    detail::sim_reg_write(page, offset, value);
}

}  // namespace vex::plat
