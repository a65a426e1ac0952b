// Buzzer, LED, backlight and delays: registers on the hardware path, and
// what the virtual controller's panel shows, beep by beep, from its trace.
#include <gtest/gtest.h>

#include <thread>

#include "frame/library.h"
#include "platform/os_timer.h"
#include "services/panel.h"
#include "sim/far_side.h"
#include "tests/services/services_fixture.h"
#include "tests/support/physmem_file.h"
#include "vexsdk.h"

namespace {

using vex::test::has_text;
using vex::test::set_hardware_id;
using vex::test::now_ms;

constexpr uint64_t kPwm0 = 0x40B00000, kPwm1 = 0x40C00000;
constexpr uint64_t kControl = 0x00, kDuty = 0x04, kPeriod = 0x08;
constexpr uint64_t kGpio = 0x40E00000;
constexpr uint64_t kGpioDir0 = kGpio + 0x0C, kGpioSet1 = kGpio + 0x1C, kGpioClear0 = kGpio + 0x24,
                   kGpioClear1 = kGpio + 0x28, kAlt16to31 = kGpio + 0x58;
constexpr uint64_t kClockEnable = 0x41300004;

class HwPanel : public ::testing::Test {
protected:
    void SetUp() override { mem.attach_library(); }
    vex::test::PhysMemFile mem;
};

TEST_F(HwPanel, BeepProgramsPwm0AndStopSilencesIt) {
    mem.poke32(kClockEnable, 0x41);
    vex::services::set_beep_values(0, 0);
    ASSERT_TRUE(vex_BuzzerBeep(0, 0));
    vex::services::wait_for_beep();
    EXPECT_EQ(mem.peek32(kPwm0 + kControl), 127u);
    EXPECT_EQ(mem.peek32(kPwm0 + kPeriod), 102u) << "2000 Hz";
    EXPECT_EQ(mem.peek32(kPwm0 + kDuty), 51u) << "50 %";
    EXPECT_EQ(mem.peek32(kGpioDir0) & ((1u << 6) | (1u << 16)), (1u << 6) | (1u << 16));
    EXPECT_EQ(mem.peek32(kGpioClear0), 1u << 16) << "GPIO 16 driven low before it drives";
    EXPECT_EQ(mem.peek32(kAlt16to31) & 3u, 2u) << "GPIO 16 carries PWM 0";
    EXPECT_EQ(mem.peek32(kClockEnable), 0x41u) << "nothing is ORed into the clock enables";

    vex_StopBuzzer();
    EXPECT_EQ(mem.peek32(kPwm0 + kControl), 0u);
    EXPECT_EQ(mem.peek32(kPwm0 + kPeriod), 1u);
    EXPECT_EQ(mem.peek32(kPwm0 + kDuty), 51u | 0x400u) << "full duty keeps the output still";
}

TEST_F(HwPanel, FrequencyAndDutySettings) {
    vex_SetBuzzerFreqDuty(0, -5);
    uint32_t f = 1, d = 1;
    vex_GetBuzzerFreqDuty(&f, &d);
    EXPECT_EQ(f, 2000u);
    EXPECT_EQ(d, 50u);
    vex_GetBuzzerFreqDuty(nullptr, nullptr);
    vex_SetBuzzerFreqDuty(4000, 25);
    vex_GetBuzzerFreqDuty(&f, &d);
    EXPECT_EQ(f, 4000u);
    EXPECT_EQ(d, 25u);
    const auto s = vex::services::buzzer_setting(4000, 25);
    EXPECT_EQ(s.period, 51u);
    EXPECT_EQ(s.duty, 12u);
    // Extremes stay defined: no division by zero, no overflow.
    EXPECT_EQ(vex::services::buzzer_setting(0x7FFFFFFF, 50).period, 0u);
    EXPECT_EQ(vex::services::buzzer_setting(1, 0x7FFFFFFF).duty,
              static_cast<uint32_t>(203125ull * 0x7FFFFFFFull / 100ull));
}

TEST_F(HwPanel, BacklightKindsFromTheHardwareId) {
    EXPECT_EQ(vex_SetBackLight_Slope(50), VEX_BACKLIGHT_NO_HWID) << "no MODULETYPE key at all";
    set_hardware_id("HR4-8000");
    EXPECT_EQ(vex_SetBackLight_Slope(50), VEX_BACKLIGHT_NONE);
    vex_SetBackLight(50);
    EXPECT_EQ(mem.peek32(kPwm1 + kDuty), 0u) << "nothing to drive";

    set_hardware_id("HR31-A");
    vex_SetBackLight(3);
    EXPECT_EQ(mem.peek32(kPwm1 + kControl), 127u);
    EXPECT_EQ(mem.peek32(kPwm1 + kPeriod), 10u);
    EXPECT_EQ(mem.peek32(kPwm1 + kDuty), 1u) << "level 3 is raised to 11";
    EXPECT_EQ(mem.peek32(kClockEnable) & 2u, 2u) << "PWM 1's clock enabled";
    EXPECT_EQ((mem.peek32(kAlt16to31) >> 2) & 3u, 2u) << "GPIO 17 carries PWM 1";
    vex_SetBackLight(0x7FFFFFFF);
    EXPECT_EQ(mem.peek32(kPwm1 + kDuty), 10u) << "above 100 means full, without overflow";
    set_hardware_id("HR-208K2");
    vex_SetBackLight(70);
    EXPECT_EQ(mem.peek32(kPwm1 + kDuty), 7u);

    set_hardware_id("HR19X");
    vex_SetBackLight(5);
    EXPECT_EQ(mem.peek32(kGpioSet1), 1u << 20) << "GPIO 52 high";
    vex_SetBackLight(0);
    EXPECT_EQ(mem.peek32(kGpioClear1), 1u << 20) << "GPIO 52 low";
    EXPECT_EQ(vex_SetBackLight_Slope(80), VEX_BACKLIGHT_SWITCHED);
}

TEST_F(HwPanel, UnsupportedCallsSaySo) {
    vex_ClearLastError();
    EXPECT_EQ(_vex_delay(100), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    vex_ClearLastError();
    EXPECT_EQ(vex_GetBackLight(), 0);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    vex_ClearLastError();
    vex_EnableLEDs(0xFF);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
}

TEST_F(HwPanel, TicksDelayGivesUpOnAStillCounter) {
    // The file's counter never moves: the wait must end, not hang.
    mem.poke32(0x40A00010, 1234);
    const uint64_t start = now_ms();
    _vex_ticks_delay(3250000);
    EXPECT_LT(now_ms() - start, 5000u);
}

// ---- Virtual controller ----

class SimPanel : public vex::test::ServicesFixture {
protected:
    std::string description() override { return "[controller]\nhardware_id = \"HR31-TEST\"\n"; }
};

TEST_F(SimPanel, BeepsCountedAndTimedFromTheTrace) {
    vex::services::set_beep_values(3, 40);
    const uint32_t from = mark();
    const uint32_t beeps = services().panel.beeps;
    ASSERT_TRUE(vex_BuzzerBeep(3, 40));
    vex::services::wait_for_beep();
    EXPECT_EQ(services().panel.beeps - beeps, 3u);
    const auto tones = events_since(from, vex::sim::kTraceBuzzer);
    ASSERT_EQ(tones.size(), 6u);
    for (size_t i = 0; i < tones.size(); ++i) {
        EXPECT_EQ(tones[i].offset != 0, i % 2 == 0) << "on, off, on, off, ...";
        if (i % 2 == 0) {
            EXPECT_EQ(tones[i].offset, 1991u) << "13 MHz / 64 / 102";
            EXPECT_EQ(tones[i].value, 50u);
        }
        if (i > 0) {
            EXPECT_GE(tones[i].when_ns - tones[i - 1].when_ns, 39000000u) << "each phase lasts 40 ms";
        }
    }
    EXPECT_EQ(services().panel.buzzer_hz, 0u);
}

TEST_F(SimPanel, CountZeroSoundsUntilStopped) {
    vex_SetBuzzerFreqDuty(1000, 25);
    vex::services::set_beep_values(0, 0);
    ASSERT_TRUE(vex_BuzzerBeep(0, 0));
    vex::services::wait_for_beep();
    EXPECT_EQ(services().panel.buzzer_hz, 1000u) << "13 MHz / 64 / 203";
    EXPECT_EQ(services().panel.buzzer_duty, 24u);
    EXPECT_TRUE(has_text(vex::test::run_vexsim({"show"}).output, "buzzer: SOUNDING 1000 Hz"));
    vex_StopBuzzer();
    EXPECT_EQ(services().panel.buzzer_hz, 0u);
}

TEST_F(SimPanel, HugeBeepsStayStoppable) {
    vex::services::set_beep_values(0xFFFFFFFF, 0);
    ASSERT_TRUE(vex_BuzzerBeep(0xFFFFFFFF, 0));  // spins through on/off as fast as it can
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const uint64_t start = now_ms();
    vex_StopBuzzer();
    EXPECT_LT(now_ms() - start, 2000u);
    const uint32_t beeps = services().panel.beeps;
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(services().panel.beeps, beeps) << "the sequence ended";
    EXPECT_EQ(services().panel.buzzer_hz, 0u);

    vex::services::set_beep_values(0xFFFFFFFF, 0xFFFFFFFF);  // an on-phase of 49 days
    ASSERT_TRUE(vex_BuzzerBeep(0xFFFFFFFF, 0xFFFFFFFF));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    vex_StopBuzzer();
    EXPECT_EQ(services().panel.buzzer_hz, 0u);
}

TEST_F(SimPanel, NewBeepAbandonsTheRunningOne) {
    vex::services::set_beep_values(1000, 30);
    const uint32_t beeps = services().panel.beeps;
    ASSERT_TRUE(vex_BuzzerBeep(1000, 30));
    // Until its first tone sounds (a loaded machine may be slow to run it).
    for (const uint64_t until = now_ms() + 5000; services().panel.beeps == beeps && now_ms() < until;)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    vex::services::set_beep_values(2, 10);  // the new thread may read them before vex_BuzzerBeep stores them
    ASSERT_TRUE(vex_BuzzerBeep(2, 10));
    vex::services::wait_for_beep();
    EXPECT_EQ(services().panel.beeps - beeps, 3u) << "one of the first sequence, then the new two";
    const uint32_t after = services().panel.beeps;
    std::this_thread::sleep_for(std::chrono::milliseconds(80));
    EXPECT_EQ(services().panel.beeps, after) << "the abandoned sequence does not come back";
}

TEST_F(SimPanel, LedFollowsGpio84) {
    const uint32_t from = mark();
    vex_EnableLED(1);
    EXPECT_FALSE(vex::sim::far::pin_high(sim(), 84)) << "lit when low";
    EXPECT_EQ(services().panel.led_on, 1u);
    vex_EnableLED(0x100);  // only the low byte counts
    EXPECT_TRUE(vex::sim::far::pin_high(sim(), 84));
    EXPECT_EQ(services().panel.led_on, 0u);
    const auto leds = events_since(from, vex::sim::kTraceLed);
    ASSERT_EQ(leds.size(), 2u);
    EXPECT_EQ(leds[0].value, 1u);
    EXPECT_EQ(leds[1].value, 0u);
}

TEST_F(SimPanel, BacklightLevelsAndTheAsymmetricRamp) {
    vex_SetBackLight(3);
    EXPECT_EQ(services().panel.backlight, 10u) << "level 11 gives duty 1 of 10";
    EXPECT_EQ(services().panel.backlight_pwm, 1u);
    vex_SetBackLight(100);
    EXPECT_EQ(services().panel.backlight, 100u);

    // Dimming to 60 starts from the duty value (10), which is below 60: no
    // steps, straight to the level.
    uint32_t from = mark();
    EXPECT_EQ(vex_SetBackLight_Slope(60), 0);
    auto steps = events_since(from, vex::sim::kTraceBacklight);
    ASSERT_EQ(steps.size(), 1u);
    EXPECT_EQ(steps[0].value, 60u);

    // Any other level first brightens to full, stepping the duty register
    // from its value (6) up to 100, 5 ms a step, then drops to the level.
    from = mark();
    const uint64_t start = now_ms();
    EXPECT_EQ(vex_SetBackLight_Slope(30), 0);
    EXPECT_GE(now_ms() - start, 94u * 5u) << "from duty 6 up to 100, one step every 5 ms";
    steps = events_since(from, vex::sim::kTraceBacklight);
    ASSERT_GE(steps.size(), 2u);
    EXPECT_EQ(steps[steps.size() - 2].value, 100u);
    EXPECT_EQ(steps.back().value, 30u);
    EXPECT_TRUE(has_text(vex::test::run_vexsim({"show"}).output, "backlight: 30 % (PWM 1)"));
}

class SwitchedBacklightSim : public vex::test::ServicesFixture {
    std::string description() override { return "[controller]\nhardware_id = \"HR19-1\"\n"; }
};

TEST_F(SwitchedBacklightSim, BacklightSwitchesOnGpio52) {
    vex_SetBackLight(1);
    EXPECT_EQ(services().panel.backlight, 100u);
    EXPECT_EQ(services().panel.backlight_pwm, 0u);
    vex_SetBackLight(0);
    EXPECT_EQ(services().panel.backlight, 0u);
}

TEST_F(SimPanel, TicksDelayFollowsTheCounterAcrossItsWrap) {
    // Moves the instance clock until the OS timer counter (3.25 MHz) stands
    // `ms` before its wrap, and reads it back. A slow machine (an emulator)
    // may let that time pass before the read: then the counter is parked
    // again, a whole turn later.
    auto park_before_wrap = [this](uint32_t ms) {
        constexpr uint64_t kTicksPerMs = 3250;
        uint32_t count = vex::plat::os_timer_count();
        for (int i = 0; i < 5; ++i) {
            const uint64_t left = (1ull << 32) - count;
            if (left > ms * kTicksPerMs) let_pass_ms((left - ms * kTicksPerMs) / kTicksPerMs);
            count = vex::plat::os_timer_count();
            if ((1ull << 32) - count <= 2 * ms * kTicksPerMs) break;
        }
        return count;
    };
    // Entry + ticks overflows: a delay of 100 ms from 50 ms before the wrap.
    const uint32_t before = park_before_wrap(50);
    ASSERT_GT(before, 0xFFFFFFFFu - 100u * 3250u);
    uint64_t start = now_ms();
    _vex_ticks_delay(100 * 3250);
    EXPECT_GE(now_ms() - start, 99u);
    EXPECT_LT(vex::plat::os_timer_count(), before) << "the counter wrapped meanwhile";

    // A sum that lands on 0xFFFFFFFF, which the counter can never exceed:
    // the wrap ends it.
    const uint32_t count = park_before_wrap(50);
    ASSERT_GT(count, 0xFFFFFFFFu - 100u * 3250u);
    start = now_ms();
    _vex_ticks_delay(0xFFFFFFFFu - count);
    EXPECT_LT(now_ms() - start, 2000u);
}

TEST_F(SimPanel, MicrosecondDelaysNeverEndEarly) {
    _vex_us_delay(0);
    _vex_5us_delay();
    const auto start = std::chrono::steady_clock::now();
    _vex_us_delay(20000);
    const auto us = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
    // Strict below, generous above (the machine is shared). The precision
    // is measured in bench/.
    EXPECT_GE(us.count(), 20000);
    EXPECT_LT(us.count(), 2000000);
}

}  // namespace
