// vexsim card / set link, and the services' part of vexsim show and trace:
// system watchdogs, front panel, storage card, Ethernet links.
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "platform/peripherals.h"
#include "platform/registry_store.h"
#include "platform/target.h"
#include "services/link_monitor.h"
#include "sim/card.h"
#include "sim/links.h"
#include "sim/models/peripherals.h"
#include "tools/common/cli.h"
#include "tools/vexsim/commands.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexsim_cmd_services {

using vex::tools::fail;
namespace sim = vex::sim;

std::string text(const char* field, size_t size) { return std::string(field, strnlen(field, size)); }

double seconds(uint64_t ns) { return static_cast<double>(ns) / 1e9; }

void show_watchdogs(const sim::State& s, uint64_t now) {
    const sim::SystemWatchdogState& w = s.services.watchdog;
    std::printf("  system watchdog 0 (backplane): ");
    if (w.enabled)
        std::printf("enabled, time %u s, resets the controller in %.3f s", w.time ? w.time : 32u,
                    w.deadline0_ns > now ? seconds(w.deadline0_ns - now) : 0.0);
    else
        std::printf("disabled");
    std::printf("\n  system watchdog 1 (OS timer match 3): ");
    if (w.deadline1_ns != UINT64_MAX)
        std::printf("armed, resets the controller in %.3f s\n", w.deadline1_ns > now ? seconds(w.deadline1_ns - now) : 0.0);
    else
        std::printf("not armed\n");
    if (w.resets)
        std::printf("  WATCHDOG RESET %.3f s ago by the %s watchdog (%u so far)\n", seconds(now - w.last_reset_ns),
                    w.last_reset_type == 0 ? "backplane" : "OS timer", w.resets);
    const uint32_t status = s.peripherals.power.word[vex::plat::power::kResetStatus / 4];
    std::printf("  reset status 0x%X (%s)\n", status,
                status & vex::plat::power::kResetWatchdog ? "watchdog reset" : "power-on or other reset");
}

void show_panel(const sim::State& s) {
    const sim::PanelState& p = s.services.panel;
    if (p.buzzer_hz)
        std::printf("  buzzer: SOUNDING %u Hz, %u %% duty", p.buzzer_hz, p.buzzer_duty);
    else
        std::printf("  buzzer: silent");
    std::printf(" (%u beeps so far)\n", p.beeps);
    std::printf("  LED: %s\n", p.led_on ? "on" : "off");
    if (p.backlight_pwm)
        std::printf("  backlight: %u %% (PWM 1)\n", p.backlight);
    else
        std::printf("  backlight: %s\n", p.backlight ? "on (GPIO 52)" : "off");
}

void show_card(const sim::State& s) {
    const sim::CardState& c = s.services.card;
    if (!c.present) {
        std::printf("  card: none\n");
        return;
    }
    std::printf("  card: inserted, %u partition%s", c.partitions, c.partitions == 1 ? "" : "s");
    if (c.mounted)
        std::printf(", partition %s mounted at %s\n", c.part[c.mounted - 1].name, text(c.folder, sizeof c.folder).c_str());
    else
        std::printf(", not mounted\n");
    for (int i = 0; i < c.partitions; ++i) {
        const sim::CardPartitionState& p = c.part[i];
        std::printf("        %s: %s, label \"%s\", files in %s\n", p.name, p.file_system[0] ? p.file_system : "(no file system)",
                    p.label, p.contents);
    }
}

void show_links(const sim::State& s) {
    for (const sim::LinkEntry& e : s.services.links.link) {
        if (e.interface[0]) std::printf("  link %s: %s\n", text(e.interface, sizeof e.interface).c_str(), e.up ? "up" : "down");
    }
}

// LAN1 and LAN2 name interfaces through the instance's own registry, as the
// library on that instance reads them; anything else is an interface name.
std::string interface_of(const std::string& instance, const std::string& name) {
    if (name != "LAN1" && name != "LAN2") return name;
    vex::plat::registry::Store store(vex::plat::instance_dir(instance) + "/registry.db", "");
    return vex::services::adapter_interface(store, name == "LAN1" ? 1 : 2);
}

}  // namespace vexsim_cmd_services
}  // namespace

void show_services(vex::sim::State& s, uint64_t now) {
    using namespace vexsim_cmd_services;
    show_watchdogs(s, now);
    show_panel(s);
    show_card(s);
    show_links(s);
}

bool describe_service_event(const vex::sim::TraceEntry& e, char* buf, size_t size) {
    using namespace vexsim_cmd_services;
    switch (e.kind) {
    case sim::kTraceBuzzer:
        if (e.offset)
            std::snprintf(buf, size, "buzzer sounding %u Hz, %u %% duty", e.offset, e.value);
        else
            std::snprintf(buf, size, "buzzer silent");
        return true;
    case sim::kTraceLed: std::snprintf(buf, size, "LED %s", e.value ? "on" : "off"); return true;
    case sim::kTraceBacklight: std::snprintf(buf, size, "backlight %u %%", e.value); return true;
    case sim::kTraceReset:
        std::snprintf(buf, size, "WATCHDOG RESET by the %s watchdog", e.offset == 0 ? "backplane" : "OS timer");
        return true;
    case sim::kTraceNotice: std::snprintf(buf, size, "platform notice 0x%08X", e.offset); return true;
    case sim::kTraceCard: {
        static const char* const what[] = {"card removed", "card inserted", "card mounted", "card unmounted"};
        std::snprintf(buf, size, "%s", e.value < 4 ? what[e.value] : "card ?");
        return true;
    }
    case sim::kTraceLink: std::snprintf(buf, size, "link %u %s", e.offset, e.value ? "up" : "down"); return true;
    case sim::kTracePowerCycle: std::snprintf(buf, size, "reboot: power-cycled"); return true;
    default: return false;
    }
}

void register_service_commands(CLI::App& app) {
    using namespace vexsim_cmd_services;
    static InstanceOption inst;
    static vex::sim::CardPartitionDescription part;
    CLI::App* c = app.add_subcommand("card", "Insert or remove the storage card");
    c->require_subcommand(1);
    CLI::App* ins = c->add_subcommand("insert", "Insert the card (as described, or one partition as given)");
    inst.add_to(ins);
    ins->add_option("--name", part.name, "Partition name (default mmcblk0p1 when any option is given)");
    ins->add_option("--fs", part.file_system, "File system, e.g. vfat");
    ins->add_option("--label", part.label, "Volume label");
    ins->add_option("--dir", part.contents, "Directory of the partition's files (relative: in the instance directory)");
    ins->callback([] {
        const bool custom = !part.name.empty() || !part.file_system.empty() || !part.label.empty() || !part.contents.empty();
        if (part.name.empty()) part.name = "mmcblk0p1";
        if (part.name.size() >= sim::kCardText || part.file_system.size() >= sim::kCardText ||
            part.label.size() >= sim::kCardText || part.contents.size() >= sim::kCardPath || part.name.find('/') != std::string::npos)
            fail(vex::tools::kExitUsage, "names, file system and label are at most 31 characters (no '/' in the name), "
                                              "the directory at most 255");
        auto i = attach_or_exit(inst.resolve());
        const std::vector<sim::CardPartitionDescription> parts{part};
        if (!sim::card_insert(*i, custom ? &parts : nullptr)) fail(vex::tools::kExitFailed, "a card is already inserted");
        std::exit(0);
    });
    CLI::App* rm = c->add_subcommand("remove", "Remove the card (unmounting it)");
    inst.add_to(rm);
    rm->callback([] {
        auto i = attach_or_exit(inst.resolve());
        if (!sim::card_remove(*i)) fail(vex::tools::kExitFailed, "no card is inserted");
        std::exit(0);
    });

    static std::string link_name, link_state;
    CLI::App* set = app.get_subcommand("set");
    CLI::App* l = set->add_subcommand("link", "Plug or pull an Ethernet adapter's cable: NAME up|down");
    inst.add_to(l);
    l->add_option("name", link_name, "LAN1, LAN2 or an interface name (eth0)")->required();
    l->add_option("state", link_state, "up or down")->required();
    l->callback([] {
        if (link_state != "up" && link_state != "down")
            fail(vex::tools::kExitUsage, "the link state is 'up' or 'down', not '" + link_state + "'");
        const std::string name = inst.resolve();
        auto i = attach_or_exit(name);
        const std::string iface = interface_of(name, link_name);
        if (iface.empty()) fail(vex::tools::kExitFailed, link_name + " names no interface (its registry value is not a string)");
        if (!sim::link_set(*i, iface, link_state == "up")) {
            std::string known;
            for (const sim::LinkView& v : sim::links_snapshot(*i)) known += (known.empty() ? "" : ", ") + v.interface;
            fail(vex::tools::kExitFailed, "the controller has no adapter '" + iface + "'" +
                                           (link_name != iface ? " (" + link_name + ")" : "") +
                                           (known.empty() ? "; it has none" : "; it has " + known));
        }
        std::exit(0);
    });
}
