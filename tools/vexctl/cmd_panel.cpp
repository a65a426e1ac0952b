// vexctl beep / led / backlight: the controller's front panel.
#include <cstdio>
#include <string>

#include "services/panel.h"
#include "tools/common/cli.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_panel {

using vex::tools::fail;

struct BeepOptions {
    std::string count = "1";
    std::string ms = "100";
    std::string freq;
    std::string duty;
    bool stop = false;
};

int beep(const BeepOptions& o) {
    if (o.stop) {
        vex_StopBuzzer();
        std::printf("buzzer silenced\n");
        return 0;
    }
    const uint32_t count = vex::tools::parse_number(o.count, "COUNT");
    const uint32_t ms = vex::tools::parse_number(o.ms, "MS", 600000);
    int32_t freq = 0, duty = 0;
    if (!o.freq.empty()) freq = static_cast<int32_t>(vex::tools::parse_signed(o.freq, "--freq", 1, 1000000));
    if (!o.duty.empty()) duty = static_cast<int32_t>(vex::tools::parse_signed(o.duty, "--duty", 1, 100));
    vex_SetBuzzerFreqDuty(freq, duty);
    uint32_t f = 0, d = 0;
    vex_GetBuzzerFreqDuty(&f, &d);
    vex::services::set_beep_values(count, ms);
    if (!vex_BuzzerBeep(count, ms)) fail(vex::tools::kExitFailed, "cannot start the beep thread");
    if (count == 0) {
        std::printf("buzzer sounding at %u Hz, %u %% duty, until 'vexctl beep --stop'\n", f, d);
    } else {
        std::printf("beeping %u x %u ms at %u Hz, %u %% duty\n", count, ms, f, d);
        std::fflush(stdout);
    }
    vex::services::wait_for_beep();
    return 0;
}

int led(const std::string& state) {
    if (state != "on" && state != "off") fail(vex::tools::kExitUsage, "led takes 'on' or 'off', not '" + state + "'");
    vex_EnableLED(state == "on" ? 1 : 0);
    return 0;
}

int backlight(const std::string& text, bool slope) {
    const int32_t level = static_cast<int32_t>(vex::tools::parse_signed(text, "LEVEL", 0, 100));
    const int32_t kind = vex::services::backlight_kind();
    if (kind == VEX_BACKLIGHT_NO_HWID)
        fail(vex::tools::kExitFailed, "the controller has no hardware ID: its backlight kind is unknown");
    if (kind == VEX_BACKLIGHT_NONE)
        fail(vex::tools::kExitFailed, "this controller's backlight is not driven by the library (hardware ID is not "
                                   "HR31..., HR-208K... or HR19...)");
    if (slope && kind != VEX_BACKLIGHT_PWM)
        fail(vex::tools::kExitFailed, "--slope needs a dimmable backlight; this one only switches on and off");
    if (slope)
        vex_SetBackLight_Slope(level);
    else
        vex_SetBackLight(level);
    if (kind == VEX_BACKLIGHT_SWITCHED)
        std::printf("backlight %s (this backlight only switches)\n", level ? "on" : "off");
    else
        std::printf("backlight at %d %%%s\n", level < 11 ? 11 : level, level < 11 ? " (the lowest level)" : "");
    return 0;
}

}  // namespace vexctl_cmd_panel
}  // namespace

void register_panel_commands(CLI::App& app) {
    using namespace vexctl_cmd_panel;
    static BeepOptions b;
    CLI::App* bp = app.add_subcommand("beep", "Beep COUNT times, MS on and MS off (COUNT 0: until --stop)");
    bp->add_option("count", b.count, "Number of beeps (default 1)");
    bp->add_option("ms", b.ms, "Milliseconds on and off (default 100)");
    bp->add_option("--freq", b.freq, "Frequency in Hz (default 2000)");
    bp->add_option("--duty", b.duty, "Duty in percent (default 50)");
    bp->add_flag("--stop", b.stop, "Silence the buzzer");
    bp->callback([] { std::exit(beep(b)); });

    static std::string led_state;
    CLI::App* l = app.add_subcommand("led", "Switch the user LED");
    l->add_option("state", led_state, "on or off")->required();
    l->callback([] { std::exit(led(led_state)); });

    static std::string level;
    static bool slope = false;
    CLI::App* bl = app.add_subcommand("backlight", "Set the display backlight (percent)");
    bl->add_option("level", level, "0..100")->required();
    bl->add_flag("--slope", slope, "Ramp to the level as the controller does");
    bl->callback([] { std::exit(backlight(level, slope)); });
}
