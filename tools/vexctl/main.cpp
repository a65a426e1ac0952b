// vexctl: the command-line tool for people at a controller or a virtual one.
//
// The library attaches only once the command line has parsed: --help,
// --version and a wrong command line never touch a controller, and -i picks
// the instance before anything connects.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "frame/library.h"
#include "platform/target.h"
#include "tools/common/app.h"
#include "tools/common/cli.h"
#include "tools/vexctl/commands.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_main {

void detach() { vex::frame::library_detach(); }

void attach(const std::string& instance, bool given) {
    if (given) {
        if (!vex::plat::valid_instance_name(instance))
            vex::tools::fail(vex::tools::kExitUsage,
                             "instance name must be 1 to 48 letters, digits, '_', '-' or '.' (not '.' or '..')");
        ::setenv("VEXSDK_TARGET", ("sim:" + instance).c_str(), 1);
    }
    vex::plat::reload_target();
    vex::frame::library_attach();
    std::atexit(detach);
}

}  // namespace vexctl_main
}  // namespace

int main(int argc, char** argv) {
    using namespace vexctl_main;
    CLI::App app{"vexctl - inspect and drive a controller (real or virtual)\n"
                 "Target: VEXSDK_TARGET=hw | sim | sim:<instance> (default: sim, the virtual controller\n"
                 "'default'); -i <instance> overrides it."};
    vex::tools::setup_app(app, "vexctl");
    static std::string instance;
    static CLI::Option* option =
        app.add_option("-i,--instance", instance, "Virtual controller instance (default: from VEXSDK_TARGET)");
    app.parse_complete_callback([] { attach(instance, option->count() > 0); });
    register_info_command(app);
    register_reg_command(app);
    register_io_commands(app);
    register_serial_commands(app);
    register_watchdog_commands(app);
    register_panel_commands(app);
    register_card_commands(app);
    register_link_commands(app);
    register_module_commands(app);
    register_irq_commands(app);
    register_timer_commands(app);
    register_mem_commands(app);
    register_device_commands(app);
    register_unified_commands(app);
    return vex::tools::run_app(app, argc, argv);
}
