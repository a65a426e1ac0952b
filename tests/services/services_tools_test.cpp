// vexctl's service commands against the test's virtual controller, seen
// from the board's side; and what they say to bad command lines.
#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "tests/services/services_fixture.h"
#include "vexsdk.h"

namespace {

using vex::test::has_text;
using vex::test::run_vexctl;
using vex::test::run_vexsim;

class ServiceTools : public vex::test::ServicesFixture {};

class DimmableTools : public vex::test::ServicesFixture {
    std::string description() override { return "[controller]\nhardware_id = \"HR31-7\"\n"; }
};

TEST_F(ServiceTools, WatchdogCommands) {
    auto r = run_vexctl({"watchdog", "enable", "0", "5"});
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(has_text(r.output, "resets in 5 s"));
    EXPECT_TRUE(vex_GetWatchDogState(0)) << "the backplane keeps it after vexctl ended";
    EXPECT_TRUE(has_text(run_vexctl({"watchdog", "status", "0"}).output, "enabled, time 5 s"));
    EXPECT_EQ(run_vexctl({"watchdog", "refresh", "0"}).status, 0);
    EXPECT_EQ(run_vexctl({"watchdog", "disable", "0"}).status, 0);
    EXPECT_FALSE(vex_GetWatchDogState(0));

    r = run_vexctl({"watchdog", "enable", "0", "99"});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(has_text(r.output, "Invalid WatchDog timer value"));
    EXPECT_EQ(run_vexctl({"watchdog", "enable", "2", "5"}).status, 2);
    EXPECT_EQ(run_vexctl({"watchdog", "enable", "0", "five"}).status, 2);

    EXPECT_EQ(run_vexctl({"watchdog", "enable", "1", "60000"}).status, 0);
    EXPECT_TRUE(has_text(run_vexctl({"watchdog", "status", "1"}).output, "armed, resets the controller in"));
    r = run_vexctl({"watchdog", "refresh", "1"});
    EXPECT_EQ(r.status, 2) << "an OS timer refresh needs the time";
    EXPECT_EQ(run_vexctl({"watchdog", "refresh", "1", "60000"}).status, 0);
    EXPECT_EQ(run_vexctl({"watchdog", "disable", "1"}).status, 0);
    EXPECT_TRUE(has_text(run_vexctl({"watchdog", "status", "1"}).output, "not armed"));
    EXPECT_EQ(services().watchdog.resets, 0u);
}

TEST_F(ServiceTools, BeepWaitsForItsBeeps) {
    const uint32_t beeps = services().panel.beeps;
    const auto r = run_vexctl({"beep", "2", "20", "--freq", "4000", "--duty", "25"});
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(has_text(r.output, "beeping 2 x 20 ms at 4000 Hz, 25 % duty"));
    EXPECT_EQ(services().panel.beeps - beeps, 2u);
    EXPECT_EQ(services().panel.buzzer_hz, 0u);

    EXPECT_EQ(run_vexctl({"beep", "0", "0"}).status, 0);
    EXPECT_EQ(services().panel.buzzer_hz, 1991u) << "count 0 keeps sounding after vexctl ended";
    EXPECT_EQ(run_vexctl({"beep", "--stop"}).status, 0);
    EXPECT_EQ(services().panel.buzzer_hz, 0u);

    EXPECT_EQ(run_vexctl({"beep", "-1", "20"}).status, 2);
    EXPECT_EQ(run_vexctl({"beep", "1", "20", "--duty", "0"}).status, 2);
}

TEST_F(ServiceTools, LedAndBacklightOnAControllerWithoutDimming) {
    EXPECT_EQ(run_vexctl({"led", "on"}).status, 0);
    EXPECT_EQ(services().panel.led_on, 1u);
    EXPECT_EQ(run_vexctl({"led", "off"}).status, 0);
    EXPECT_EQ(services().panel.led_on, 0u);
    EXPECT_EQ(run_vexctl({"led", "blink"}).status, 2);
    const auto r = run_vexctl({"backlight", "50"});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(has_text(r.output, "not driven by the library"));
}

TEST_F(DimmableTools, BacklightLevels) {
    EXPECT_EQ(run_vexctl({"backlight", "70"}).status, 0);
    EXPECT_EQ(services().panel.backlight, 70u);
    EXPECT_TRUE(has_text(run_vexctl({"backlight", "3"}).output, "11 % (the lowest level)"));
    EXPECT_EQ(run_vexctl({"backlight", "101"}).status, 2);
    EXPECT_EQ(run_vexctl({"backlight", "abc"}).status, 2);
    EXPECT_EQ(run_vexctl({"backlight", "60", "--slope"}).status, 0);
    EXPECT_EQ(services().panel.backlight, 60u);
}

TEST_F(ServiceTools, CardCommands) {
    EXPECT_TRUE(has_text(run_vexctl({"card", "status"}).output, "card inserted, not mounted"));
    auto r = run_vexctl({"card", "info"});
    EXPECT_TRUE(has_text(r.output, "first partition: mmcblk0p1"));
    EXPECT_TRUE(has_text(r.output, "label: VEXCARD"));
    r = run_vexctl({"card", "mount", "mmcblk0p7"});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(has_text(r.output, "the card's first partition is 'mmcblk0p1'"));
    EXPECT_EQ(run_vexctl({"card", "mount", "mmcblk0p1"}).status, 0);
    EXPECT_TRUE(vex_SDExists()) << "mounted for every process";
    EXPECT_TRUE(has_text(run_vexctl({"card", "status"}).output, "mounted at"));
    EXPECT_EQ(run_vexctl({"card", "unmount"}).status, 0);
    EXPECT_FALSE(vex_SDExists());
    EXPECT_EQ(run_vexsim({"card", "remove"}).status, 0);
    EXPECT_TRUE(has_text(run_vexctl({"card", "status"}).output, "no card"));
    EXPECT_EQ(run_vexctl({"card", "unmount"}).status, 1);
}

TEST_F(ServiceTools, LinkOnceAndWatching) {
    auto r = run_vexctl({"link"});
    EXPECT_TRUE(has_text(r.output, "LAN1 (eth0): up"));
    EXPECT_TRUE(has_text(r.output, "LAN2 (eth1): down"));

    auto watching = std::async(std::launch::async, [] { return run_vexctl({"link", "--watch", "--changes", "1"}); });
    // A change made before vexctl's monitor started is not one it waits
    // for: keep plugging and pulling until it has seen one.
    bool up = true;
    const uint64_t until = vex::test::now_ms() + 20000;
    while (watching.wait_for(std::chrono::milliseconds(200)) != std::future_status::ready && vex::test::now_ms() < until) {
        EXPECT_EQ(run_vexsim({"set", "link", "LAN2", up ? "up" : "down"}).status, 0);
        up = !up;
    }
    ASSERT_EQ(watching.wait_for(std::chrono::seconds(1)), std::future_status::ready);
    r = watching.get();
    EXPECT_EQ(r.status, 0) << r.output;
    size_t prints = 0;
    for (size_t at = r.output.find("LAN2 (eth1)"); at != std::string::npos; at = r.output.find("LAN2 (eth1)", at + 1))
        ++prints;
    EXPECT_EQ(prints, 2u) << "the state at start, then after the change:\n" << r.output;
}

TEST_F(ServiceTools, ShowAndTraceTellThePanelStory) {
    vex_EnableLED(1);
    ASSERT_TRUE(vex_EnableWatchDog(0, 9));
    const auto shown = run_vexsim({"show"}).output;
    EXPECT_TRUE(has_text(shown, "system watchdog 0 (backplane): enabled, time 9 s"));
    EXPECT_TRUE(has_text(shown, "LED: on"));
    EXPECT_TRUE(has_text(shown, "buzzer: silent"));
    EXPECT_TRUE(has_text(shown, "card: inserted, 1 partition, not mounted"));
    EXPECT_TRUE(has_text(shown, "link eth0: up"));
    const auto trace = run_vexsim({"trace"}).output;
    EXPECT_TRUE(has_text(trace, "LED on"));
    EXPECT_TRUE(has_text(trace, "platform notice 0x01012010"));
}

}  // namespace
