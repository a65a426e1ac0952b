// vexsim: serves, shows and controls virtual controller instances.
#include <cstdio>
#include <cstdlib>

#include "platform/target.h"
#include "tools/common/app.h"
#include "tools/common/cli.h"
#include "tools/vexsim/commands.h"

void InstanceOption::add_to(CLI::App* cmd) {
    cmd->add_option("-i,--instance", name, "Instance name (default: from VEXSDK_TARGET, else 'default')")
        ->each([this](const std::string&) { given = true; });
}

std::string InstanceOption::resolve() const {
    if (!name.empty() || given) {
        if (!vex::plat::valid_instance_name(name))
            vex::tools::fail(vex::tools::kExitUsage, "instance name must be 1 to 48 letters, digits, '_', '-' or "
                                                     "'.' (not '.' or '..'), not '" + name + "'");
        return name;
    }
    const vex::plat::Target& t = vex::plat::target();
    if (t.none()) vex::tools::fail(vex::tools::kExitUsage, t.problem);
    return t.hardware ? "default" : t.instance;
}

std::unique_ptr<vex::sim::Instance> attach_existing_or_exit(const std::string& name) {
    if (!vex::sim::Instance::exists(name))
        vex::tools::fail(vex::tools::kExitFailed, "instance '" + name + "' does not exist (vexsim serve -i " + name +
                                                      " makes it, as does any program that uses it)");
    return attach_or_exit(name);
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
    CLI::App app{"vexsim - the virtual controller\n"
                 "Instances live in $VEXSDK_SIM_DIR (default ~/.local/state/vexsdk/sim)."};
    vex::tools::setup_app(app, "vexsim");
    register_lifecycle_commands(app);
    register_show_commands(app);
    register_trace_command(app);
    register_control_commands(app);
    register_time_commands(app);
    register_service_commands(app);
    register_irq_commands(app);
    register_host_command(app);
    register_serial_commands(app);
    register_chip_commands(app);
    register_describe_command(app);
    return vex::tools::run_app(app, argc, argv);
}
