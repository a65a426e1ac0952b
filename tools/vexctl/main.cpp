// vexctl: the command-line tool for people at a controller or a virtual one.
#include <cstdio>

#include "tools/common/cli.h"
#include "tools/vexctl/commands.h"

int main(int argc, char** argv) {
    CLI::App app{"vexctl - inspect and drive a controller (real or virtual)\n"
                 "Target: VEXSDK_TARGET=hw | sim | sim:<instance> (default: the virtual controller)"};
    vex::tools::set_program_name("vexctl");
    app.require_subcommand(1);
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
    CLI11_PARSE(app, argc, argv);
    return 0;
}
