// vexsim describe: the built-in description as a file to start from, and a
// check of a description file without powering anything up.
#include <cstdio>
#include <string>

#include "sim/description.h"
#include "tools/common/cli.h"
#include "tools/vexsim/commands.h"

void register_describe_command(CLI::App& app) {
    static std::string check;
    CLI::App* d = app.add_subcommand("describe",
                                     "Print the built-in controller description (a file to start from), or "
                                     "check a description file with --check");
    d->add_option("--check", check, "Description file to check; errors name file:line:column");
    d->callback([] {
        if (check.empty()) {
            std::fputs(vex::sim::default_description_text(), stdout);
            std::exit(0);
        }
        std::string error;
        if (!vex::sim::load_description_file(check, &error)) vex::tools::fail(vex::tools::kExitUsage, error);
        std::printf("%s: a valid description\n", check.c_str());
        std::exit(0);
    });
}
