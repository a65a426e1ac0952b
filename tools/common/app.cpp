#include "tools/common/app.h"

#include <cstdio>
#include <string>

#include "tools/common/cli.h"
#include "tools/common/json.h"

#ifndef VEXSDK_TOOLS_VERSION
#define VEXSDK_TOOLS_VERSION "unknown"
#endif

namespace vex::tools {
namespace {

const char* kExitCodes =
    "\nExit codes: 0 done, 1 the controller, port or module refused or failed, 2 the command line is wrong.";

// The word the user typed where a command was expected, or "" when the
// first word is a known command or an option.
std::string unknown_command(const CLI::App& app, int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word.empty()) return "''";
        if (word == "--json") continue;  // the tool's own switch may come first
        if (word[0] == '-') return "";  // other options first: let the parser judge
        for (const CLI::App* sub : app.get_subcommands({}))
            if (sub->check_name(word)) return "";
        return word;
    }
    return "";
}

}  // namespace

void setup_app(CLI::App& app, const char* program) {
    set_program_name(program);
    app.option_defaults()->always_capture_default();
    app.footer(kExitCodes);
    app.set_version_flag("--version", std::string(program) + " " + VEXSDK_TOOLS_VERSION);
    app.add_flag("--json", json_output(), "Print data as one JSON document (commands that print data)");
    app.require_subcommand(1);
    // Options of the tool may also follow the command ("info --json").
    app.fallthrough();
}

int run_app(CLI::App& app, int argc, char** argv) {
    // Known before parsing, so that a usage error is a JSON document too.
    for (int i = 1; i < argc && std::string(argv[i]) != "--"; ++i)
        if (std::string(argv[i]) == "--json") json_output() = true;
    if (const std::string word = unknown_command(app, argc, argv); !word.empty()) {
        std::string names;
        for (const CLI::App* sub : app.get_subcommands({})) names += (names.empty() ? "" : ", ") + sub->get_name();
        fail(kExitUsage, "unknown command '" + word + "' (commands: " + names + "; see --help)");
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::RuntimeError& e) {
        return e.get_exit_code();  // a command that ended with its own code
    } catch (const CLI::ParseError& e) {
        if (json_output()) {
            Json j;
            j.open_object();
            add_error(j, kExitUsage, e.what(), nullptr);
            j.close().print();
        }
        app.exit(e);  // prints the message and the usage hint
        return kExitUsage;
    }
    return 0;
}

}  // namespace vex::tools
