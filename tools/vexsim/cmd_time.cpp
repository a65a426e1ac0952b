// vexsim advance: lets time pass at once for an instance's clock, so that
// timers and module watchdogs run out without waiting.
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "tools/vexsim/commands.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexsim_cmd_time {

// A day is more than any watchdog or timer of the controller counts.
constexpr double kMaxSeconds = 86400.0;

int advance(const std::string& name, const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const double seconds = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || errno != 0 || !std::isfinite(seconds) || seconds < 0 ||
        seconds > kMaxSeconds) {
        std::fprintf(stderr, "vexsim: SECONDS must be a number from 0 to %.0f (e.g. 2.5), not '%s'\n", kMaxSeconds,
                     text.c_str());
        return 2;
    }
    auto inst = attach_or_exit(name);
    inst->advance(static_cast<uint64_t>(std::llround(seconds * 1e9)));
    std::printf("instance '%s': %g s passed\n", inst->name().c_str(), seconds);
    return 0;
}

}  // namespace vexsim_cmd_time
}  // namespace

void register_time_commands(CLI::App& app) {
    using namespace vexsim_cmd_time;
    static InstanceOption inst;
    static std::string seconds;
    CLI::App* a = app.add_subcommand("advance", "Let time pass at once (module watchdogs, timers)");
    inst.add_to(a);
    a->add_option("seconds", seconds, "How long, in seconds (fractions allowed)")->required();
    a->callback([] { std::exit(advance(inst.resolve(), seconds)); });
}
