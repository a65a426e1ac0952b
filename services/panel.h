// The front panel's services inside the library: the buzzer's beep thread
// (one per process at a time) and what the tools need of it.
#pragma once

#include <cstdint>

namespace vex::services {

// Load sequence: nothing runs at load; detach ends a running beep (silent)
// and joins its thread, so no thread outlives the library.
void attach_buzzer();
void detach_buzzer();

// Stores the count and time a beep thread reads, ahead of vex_BuzzerBeep
// (which stores them only after its thread started): a tool's first beep
// then never runs with another beep's values.
void set_beep_values(uint32_t count, uint32_t ms);

// Waits until the current beep sequence has ended (vexctl waits for its
// beeps before it exits). Returns at once when none runs.
void wait_for_beep();

// The modulator values a beep uses for a frequency (Hz) and duty (%).
struct BuzzerSetting {
    uint32_t period;
    uint32_t duty;
};
BuzzerSetting buzzer_setting(uint32_t freq, uint32_t duty_percent);

// Backlight kind from the hardware ID (VEX_BACKLIGHT_* of vexsdk/panel.h),
// read through the registry helpers as the controller's library does.
int32_t backlight_kind();

}  // namespace vex::services
