// vexsim serve / destroy / power-cycle.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "platform/target.h"
#include "sim/description.h"
#include "sim/host.h"
#include "tools/vexsim/commands.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexsim_cmd_lifecycle {

volatile sig_atomic_t g_stop = 0;
void on_signal(int) { g_stop = 1; }

int serve(const std::string& name, const std::string& description_file) {
    if (!description_file.empty()) {
        std::string error;
        if (!vex::sim::load_description_file(description_file, &error)) {
            std::fprintf(stderr, "vexsim: %s\n", error.c_str());
            return 2;
        }
        std::filesystem::create_directories(vex::plat::instance_dir(name));
        std::filesystem::copy_file(description_file, vex::plat::instance_dir(name) + "/description.toml",
                                   std::filesystem::copy_options::overwrite_existing);
    }
    auto inst = attach_or_exit(name);
    if (!description_file.empty()) {
        std::string error;
        if (!inst->power_cycle(&error)) {
            std::fprintf(stderr, "vexsim: %s\n", error.c_str());
            return 1;
        }
    }
    std::string why;
    auto host = vex::sim::Host::try_start(*inst, &why, "serve");
    if (!host) {
        const int pid = vex::sim::Host::host_pid(name);
        std::fprintf(stderr, "vexsim: instance '%s' is already hosted (pid %d)\n", name.c_str(), pid);
        return 1;
    }
    if (!why.empty()) std::fprintf(stderr, "vexsim: warning: %s\n", why.c_str());
    struct sigaction sa {};
    sa.sa_handler = on_signal;
    ::sigaction(SIGINT, &sa, nullptr);
    ::sigaction(SIGTERM, &sa, nullptr);
    std::printf("vexsim: hosting instance '%s' (pid %d) in %s; Ctrl-C to stop\n", name.c_str(),
                static_cast<int>(::getpid()), vex::plat::instance_dir(name).c_str());
    std::fflush(stdout);
    while (!g_stop) ::pause();
    std::printf("vexsim: stopped\n");
    return 0;
}

}  // namespace vexsim_cmd_lifecycle
}  // namespace

void register_lifecycle_commands(CLI::App& app) {
    using namespace vexsim_cmd_lifecycle;
    static InstanceOption inst;
    static std::string description;
    CLI::App* s = app.add_subcommand("serve", "Host an instance until interrupted");
    inst.add_to(s);
    s->add_option("-d,--description", description, "Description file (TOML); powers the instance up anew")
        ->check(CLI::ExistingFile);
    s->callback([] { std::exit(serve(inst.resolve(), description)); });

    CLI::App* d = app.add_subcommand("destroy", "Remove an instance: shared state, registry and files");
    inst.add_to(d);
    d->callback([] {
        const std::string name = inst.resolve();
        if (!vex::sim::Instance::exists(name) && !std::filesystem::exists(vex::plat::instance_dir(name))) {
            std::fprintf(stderr, "vexsim: instance '%s' does not exist\n", name.c_str());
            std::exit(1);
        }
        if (vex::sim::Host::host_pid(name) != 0) {
            std::fprintf(stderr, "vexsim: instance '%s' is hosted; stop its host first\n", name.c_str());
            std::exit(1);
        }
        const bool ok = vex::sim::Instance::destroy(name);
        std::printf("%s instance '%s'\n", ok ? "removed" : "could not remove", name.c_str());
        std::exit(ok ? 0 : 1);
    });

    CLI::App* p = app.add_subcommand("power-cycle", "Power the instance off and on again");
    inst.add_to(p);
    p->callback([] {
        auto i = attach_or_exit(inst.resolve());
        std::string error;
        if (!i->power_cycle(&error)) {
            std::fprintf(stderr, "vexsim: %s\n", error.c_str());
            std::exit(1);
        }
        std::printf("instance '%s' powered up\n", i->name().c_str());
        std::exit(0);
    });
}
