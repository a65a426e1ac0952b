// The front panel as the board shows it, from the processor's pins and
// modulators.
//
// Buzzer: PWM 0's output reaches it through GPIO 16 in alternate function 2
// (an output), with PWM 0's clock enabled (clock-enable bit 0). The
// modulators count a 13 MHz input divided by the prescaler (control bits
// 0..5, plus one); the tone is that over the period register (bits 0..9)
// and sounds while the duty (bits 0..9) is neither zero nor the whole
// period, the full-duty bit (10) is clear and the tone is one a buzzer can
// make (20 Hz to 20 kHz: the passing states of a register sequence, such
// as prescaler 0 with the old period, are no beeps). At the library's
// prescaler 63 a 2000 Hz request (period 102) gives 1991 Hz.
//
// LED: GPIO 84, lit while the pin is low (driven low as an output).
//
// Backlight: dimmed by PWM 1 through GPIO 17 in alternate function 2 with
// its clock (bit 1) enabled: the level is duty / period; or switched by
// GPIO 52 as a plain output: high is full, low is off.
#include <algorithm>

#include "platform/gpio.h"
#include "sim/models/peripherals.h"
#include "sim/models/services.h"

namespace vex::sim::models {
namespace {

namespace g = plat::gpio;
constexpr uint64_t kPwmInputHz = 13000000;
constexpr uint64_t kLowestTone = 20, kHighestTone = 20000;
constexpr uint32_t kBuzzerPin = 16;
constexpr uint32_t kBacklightPwmPin = 17;
constexpr uint32_t kBacklightPin = 52;
constexpr uint32_t kLedPin = 84;

uint32_t alt_function(const State& s, uint32_t pin) {
    return (s.peripherals.gpio.alt[pin >> 4] >> ((pin & 15) * 2)) & 3u;
}

bool is_output(const State& s, uint32_t pin) { return (s.peripherals.gpio.dir[pin >> 5] & g::bit(pin)) != 0; }

uint32_t pwm_reg(const RegisterFile& f, uint32_t offset) { return f.word[offset / 4]; }

bool clock_on(const State& s, uint32_t bit) {
    return (s.peripherals.clock.word[plat::clock::kEnable / 4] & (1u << bit)) != 0;
}

struct Tone {
    uint32_t hz = 0;
    uint8_t duty = 0;
};

Tone buzzer_tone(const State& s) {
    Tone t;
    if (alt_function(s, kBuzzerPin) != 2 || !is_output(s, kBuzzerPin) || !clock_on(s, 0)) return t;
    const RegisterFile& p = s.peripherals.pwm0;
    const uint32_t period = pwm_reg(p, plat::pwm::kPeriod) & 0x3FFu;
    const uint32_t duty = pwm_reg(p, plat::pwm::kDuty);
    const uint32_t cycle = duty & 0x3FFu;
    if (period == 0 || (duty & 0x400u) || cycle == 0 || cycle >= period) return t;
    const uint64_t prescaler = (pwm_reg(p, plat::pwm::kControl) & 0x3Fu) + 1u;
    const uint64_t hz = kPwmInputHz / prescaler / period;
    if (hz < kLowestTone || hz > kHighestTone) return t;
    t.hz = static_cast<uint32_t>(hz);
    t.duty = static_cast<uint8_t>(cycle * 100u / period);
    return t;
}

void backlight_level(const State& s, uint8_t& level, uint8_t& pwm) {
    level = 0;
    pwm = 0;
    if (alt_function(s, kBacklightPwmPin) == 2 && is_output(s, kBacklightPwmPin) && clock_on(s, 1)) {
        pwm = 1;
        const RegisterFile& p = s.peripherals.pwm1;
        const uint32_t period = pwm_reg(p, plat::pwm::kPeriod) & 0x3FFu;
        const uint32_t duty = pwm_reg(p, plat::pwm::kDuty);
        if (duty & 0x400u)
            level = 100;
        else if (period)
            level = static_cast<uint8_t>(std::min<uint32_t>(100, (duty & 0x3FFu) * 100u / period));
        return;
    }
    if (alt_function(s, kBacklightPin) == 0 && is_output(s, kBacklightPin))
        level = gpio_pin_high(s, kBacklightPin) ? 100 : 0;
}

}  // namespace

void panel_observe(State& s, uint64_t now) {
    PanelState& p = s.services.panel;
    const Tone tone = buzzer_tone(s);
    if (tone.hz != p.buzzer_hz || tone.duty != p.buzzer_duty) {
        if (tone.hz && !p.buzzer_hz) p.beeps++;
        p.buzzer_hz = tone.hz;
        p.buzzer_duty = tone.duty;
        trace_event(s, kTraceBuzzer, tone.hz, tone.duty, now);
    }
    const uint8_t led = gpio_pin_high(s, kLedPin) ? 0 : 1;
    if (led != p.led_on) {
        p.led_on = led;
        trace_event(s, kTraceLed, kLedPin, led, now);
    }
    uint8_t level = 0, pwm = 0;
    backlight_level(s, level, pwm);
    if (level != p.backlight || pwm != p.backlight_pwm) {
        p.backlight = level;
        p.backlight_pwm = pwm;
        trace_event(s, kTraceBacklight, pwm ? kBacklightPwmPin : kBacklightPin, level, now);
    }
}

}  // namespace vex::sim::models
