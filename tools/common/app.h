// The command-line frame both tools share: --version, --json, help that
// shows defaults and the exit codes, and a parse that maps every command-
// line error to exit code 2 with the offending word named.
//
// Call setup_app() before adding any subcommand or option (the defaults it
// sets apply to what is added later), then return run_app() from main().
#pragma once

#include <CLI/CLI.hpp>

namespace vex::tools {

void setup_app(CLI::App& app, const char* program);
int run_app(CLI::App& app, int argc, char** argv);

}  // namespace vex::tools
