// The user LED (GPIO 84) and the display backlight (PWM 1 on GPIO 17, or
// GPIO 52), and the panel calls these controllers do not support.
#include <algorithm>
#include <atomic>
#include <cstring>

#include "frame/errors.h"
#include "platform/gpio.h"
#include "platform/peripherals.h"
#include "platform/system.h"
#include "platform/text_codec.h"
#include "services/panel.h"
#include "vexsdk.h"

namespace vex::services {
namespace {

using plat::Page;
namespace pwm = plat::pwm;

constexpr uint32_t kLedPin = 84;
constexpr uint32_t kBacklightPwmPin = 17;
constexpr uint32_t kBacklightPin = 52;
constexpr uint32_t kPwm1Clock = 1u << 1;
constexpr uint32_t kPrescaler = 127;
constexpr uint32_t kPeriod = 10;
constexpr int32_t kMinLevel = 11;
constexpr int32_t kMaxLevel = 100;
constexpr uint32_t kRampStepMs = 5;

// The level a ramp started from, when it left the dim range. Written and
// never read, as on the controller; atomic, as any thread may ramp.
std::atomic<uint32_t> g_saved_level{0};

bool starts_with(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }

// GPIO 17 to PWM 1 with its clock on; the modulator is then set per level.
void route_pwm1() {
    plat::gpio::make_output(kBacklightPwmPin);
    plat::gpio::clear(kBacklightPwmPin);
    plat::gpio::select_function(kBacklightPwmPin, 2);
    plat::reg_write(Page::Clock, plat::clock::kEnable, plat::reg_read(Page::Clock, plat::clock::kEnable) | kPwm1Clock);
}

// Levels below 11 are raised to 11 (the panel goes dark below); levels
// above 100 mean full.
int32_t clamp_level(int32_t level) { return std::clamp(level, kMinLevel, kMaxLevel); }

void set_pwm1_duty(uint32_t duty) {
    plat::reg_write(Page::Pwm1, pwm::kControl, kPrescaler);
    plat::reg_write(Page::Pwm1, pwm::kPeriod, kPeriod);
    plat::reg_write(Page::Pwm1, pwm::kDuty, duty);
}

void set_pwm1_level(int32_t level) { set_pwm1_duty(static_cast<uint32_t>(10 * level / 100)); }

}  // namespace

int32_t backlight_kind() {
    if (!vex_RegKeyExist(L"HKEY_LOCAL_MACHINE\\HARDWARE\\MODULETYPE\\")) return VEX_BACKLIGHT_NO_HWID;
    wchar_t id[128] = {};
    if (!vex_RegGetString(L"HKEY_LOCAL_MACHINE\\HARDWARE\\MODULETYPE\\HWID", id, sizeof id)) id[0] = 0;
    id[127] = 0;
    const std::string narrow = plat::to_utf8(id);
    if (starts_with(narrow, "HR31") || starts_with(narrow, "HR-208K")) return VEX_BACKLIGHT_PWM;
    if (starts_with(narrow, "HR19")) return VEX_BACKLIGHT_SWITCHED;
    return VEX_BACKLIGHT_NONE;
}

}  // namespace vex::services

VEXSDK_EXTERN_C_BEGIN

VEXSDK_API void vex_EnableLED(int32_t on) {
    vex::plat::gpio::select_function(vex::services::kLedPin, 0);
    vex::plat::gpio::make_output(vex::services::kLedPin);
    if (on & 0xFF)
        vex::plat::gpio::clear(vex::services::kLedPin);  // lit when low
    else
        vex::plat::gpio::set(vex::services::kLedPin);
}

VEXSDK_API void vex_EnableLEDs(uint32_t) { vex::frame::set_last_error(VEX_ERR_NOT_SUPPORTED); }

VEXSDK_API void vex_SetBackLight(int32_t level) {
    using namespace vex::services;
    switch (backlight_kind()) {
    case VEX_BACKLIGHT_PWM:
        route_pwm1();
        set_pwm1_level(clamp_level(level));
        return;
    case VEX_BACKLIGHT_SWITCHED:
        vex::plat::gpio::make_output(kBacklightPin);
        vex::plat::gpio::select_function(kBacklightPin, 0);
        if (level != 0)
            vex::plat::gpio::set(kBacklightPin);
        else
            vex::plat::gpio::clear(kBacklightPin);
        return;
    default:
        return;
    }
}

VEXSDK_API int32_t vex_SetBackLight_Slope(int32_t level) {
    using namespace vex::services;
    const int32_t kind = backlight_kind();
    if (kind != VEX_BACKLIGHT_PWM) return kind;
    route_pwm1();
    level = clamp_level(level);
    // The ramp steps the duty register itself, from its value (0..10 after
    // a level was set) towards the level taken as a duty value, as the
    // controller's library does: dimming to 50 or 60 therefore seldom
    // steps, and any other level first runs the duty up to 100, far past
    // the period of 10, so the panel shows full brightness until the level
    // is set at the end.
    // A duty above 100 (not written by this library) starts from 100, so no
    // ramp is longer than half a second.
    const int32_t current = std::min<int32_t>(
        kMaxLevel, static_cast<int32_t>(vex::plat::reg_read(vex::plat::Page::Pwm1, vex::plat::pwm::kDuty) & 0x3FF));
    if ((level < 0 || level > 49) && current < 50) g_saved_level.store(static_cast<uint32_t>(current));
    if (level == 50 || level == 60) {
        for (int32_t v = current - 1; v >= level; --v) {
            set_pwm1_duty(static_cast<uint32_t>(v));
            vex::plat::sleep_ms(kRampStepMs);
        }
    } else {
        for (int32_t v = current + 1; v <= kMaxLevel; ++v) {
            set_pwm1_duty(static_cast<uint32_t>(v));
            vex::plat::sleep_ms(kRampStepMs);
        }
    }
    set_pwm1_level(level);
    return 0;
}

VEXSDK_API int32_t vex_GetBackLight(void) {
    vex::frame::set_last_error(VEX_ERR_NOT_SUPPORTED);
    return 0;
}

VEXSDK_EXTERN_C_END
