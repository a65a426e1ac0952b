// vexctl link: the Ethernet adapters' link state, once or as it changes.
#include <cstdio>
#include <string>

#include "services/link_monitor.h"
#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_link {

// Both adapters; under --json one object per line ({links: [{adapter,
// interface, up}]}), so that --watch gives JSON Lines.
void print_links() {
    if (vex::tools::json_output()) {
        vex::tools::Json j;
        j.open_object().key("links").open_array();
        for (uint8_t i = 1; i <= 2; ++i) {
            uint8_t up = 0;
            const int32_t rc = vex_EthernetLinkState(i, &up);
            const std::string iface = vex::services::monitored_interface(i);
            j.open_object().field("adapter", "LAN" + std::to_string(i));
            if (iface.empty())
                j.key("interface").null();
            else
                j.field("interface", iface);
            if (rc == -2)
                j.key("up").null();
            else
                j.field("up", up != 0);
            j.close();
        }
        j.close().close().print();
        return;
    }
    for (uint8_t i = 1; i <= 2; ++i) {
        uint8_t up = 0;
        const int32_t rc = vex_EthernetLinkState(i, &up);
        const std::string iface = vex::services::monitored_interface(i);
        std::printf("LAN%u (%s): %s\n", i, iface.empty() ? "no interface" : iface.c_str(),
                    rc == -2 ? "unknown (no monitor)" : up ? "up" : "down");
    }
    std::fflush(stdout);
}

int run(bool watch, const std::string& changes_text) {
    const std::string problem = vex::services::link_monitor_problem();
    if (!problem.empty()) std::fprintf(stderr, "vexctl: warning: the link monitor could not start: %s\n", problem.c_str());
    print_links();
    if (!watch) return 0;
    const uint32_t limit = changes_text.empty() ? 0 : vex::tools::parse_number(changes_text, "--changes");
    uint32_t seen = vex::services::link_changes();
    for (uint32_t n = 0; limit == 0 || n < limit; ++n) {
        seen = vex::services::wait_for_link_change(seen, -1);
        print_links();
    }
    return 0;
}

}  // namespace vexctl_cmd_link
}  // namespace

void register_link_commands(CLI::App& app) {
    using namespace vexctl_cmd_link;
    static bool watch = false;
    static std::string changes;
    CLI::App* l = app.add_subcommand("link", "Link state of the Ethernet adapters LAN1 and LAN2");
    l->add_flag("--watch", watch, "Keep printing both at every change (Ctrl-C ends)");
    l->add_option("--changes", changes, "With --watch: end after this many changes");
    l->footer("With --json: {links: [{adapter, interface (null: none), up (null: unknown, no monitor)}]}, one\n"
              "document per line with --watch.");
    l->callback([] { std::exit(run(watch, changes)); });
}
