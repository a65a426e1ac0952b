// vexsim: serves, shows and controls virtual controller instances.
#include <cstdio>
#include <cstdlib>

#include "platform/target.h"
#include "tools/common/cli.h"
#include "tools/vexsim/commands.h"

void InstanceOption::add_to(CLI::App* cmd) {
    cmd->add_option("-i,--instance", name, "Instance name (default: from VEXSDK_TARGET, else 'default')");
}

std::string InstanceOption::resolve() const {
    if (!name.empty()) return name;
    const vex::plat::Target& t = vex::plat::target();
    return t.hardware ? "default" : t.instance;
}

std::unique_ptr<vex::sim::Instance> attach_or_exit(const std::string& name) {
    std::string error;
    auto inst = vex::sim::Instance::attach(name, &error);
    if (!inst) {
        std::fprintf(stderr, "vexsim: %s\n", error.c_str());
        std::exit(1);
    }
    return inst;
}

uint32_t parse_number_or_exit(const std::string& text, const char* what, uint32_t max) {
    char* end = nullptr;
    errno = 0;
    const unsigned long long v = std::strtoull(text.c_str(), &end, 0);
    if (text.empty() || *end != '\0' || errno != 0 || v > max || text[0] == '-') {
        std::fprintf(stderr, "vexsim: %s must be a number from 0 to %u (decimal or 0x hex), not '%s'\n", what,
                     max, text.c_str());
        std::exit(2);
    }
    return static_cast<uint32_t>(v);
}

int main(int argc, char** argv) {
    vex::tools::set_program_name("vexsim");
    CLI::App app{"vexsim - the virtual controller\n"
                 "Instances live in $VEXSDK_SIM_DIR (default ~/.local/state/vexsdk/sim)."};
    app.require_subcommand(1);
    register_lifecycle_commands(app);
    register_show_commands(app);
    register_control_commands(app);
    register_time_commands(app);
    register_service_commands(app);
    register_irq_commands(app);
    register_host_command(app);
    register_serial_commands(app);
    register_chip_commands(app);
    CLI11_PARSE(app, argc, argv);
    return 0;
}
