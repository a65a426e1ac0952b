// vexsim show.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/target.h"
#include "sim/catalogue_module.h"
#include "sim/host.h"
#include "sim/serial_ports.h"
#include "sim/models/models.h"
#include "sim/serial_modules/control.h"
#include "sim/serial_modules/describe.h"
#include "tools/common/json.h"
#include "tools/vexsim/commands.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexsim_cmd_show {

const char* source_name(uint8_t code) {
    switch (code) {
    case vex::sim::kSourceHost: return "host";
    case vex::sim::kSourcePowerOn: return "power-on value";
    case vex::sim::kSourceSafe: return "safe value";
    default: return "?";
    }
}

// The module watchdog and the parameter memory of a module that has them.
void show_watchdog(const vex::sim::ParallelModule& m, uint64_t now) {
    const unsigned half = m.wdt_timeout ? m.wdt_timeout : 256u;
    std::printf("          watchdog %s, timeout %u half-seconds (%.1f s)", m.wdt_enabled ? "enabled" : "disabled",
                half, half / 2.0);
    if (m.wdt_expired)
        std::printf(", EXPIRED (outputs held at the safe value)");
    else if (m.wdt_enabled)
        std::printf(", expires in %.3f s",
                    m.wdt_deadline_ns > now ? static_cast<double>(m.wdt_deadline_ns - now) / 1e9 : 0.0);
    std::printf(", interrupt %s\n", m.wdt_irq_enable == 2 ? "on" : "off");
    auto word = [&](int first) {
        uint32_t v = 0;
        for (int k = 0; k < 4; ++k) v |= static_cast<uint32_t>(m.params[first + k]) << (8 * k);
        return v;
    };
    std::printf("          power-on value 0x%08X (%s), safe value 0x%08X\n", word(1),
                m.params[0] ? "enabled" : "disabled", word(9));
}

void show_slot(int i, const vex::sim::Slot& slot, uint64_t now) {
    using vex::sim::ModuleKind;
    switch (static_cast<ModuleKind>(slot.kind)) {
    case ModuleKind::Empty:
        std::printf("  slot %d: empty\n", i);
        return;
    case ModuleKind::Parallel: {
        const vex::sim::ParallelModule& m = slot.parallel;
        const std::string name = vex::sim::catalogue_name(slot);
        std::printf("  slot %d: bus module %s%sID 0x%02X, %u DI / %u DO, capability 0x%02X%s\n", i, name.c_str(),
                    name.empty() ? "" : ", ", slot.id, m.di_channels, m.do_channels, m.capability,
                    m.readback ? ", read-back" : "");
        if (m.di_channels) std::printf("          inputs  0x%08X\n", m.di);
        if (m.do_channels)
            std::printf("          outputs 0x%08X (last source %u: %s)\n", m.do_latch, m.last_source,
                        source_name(m.last_source));
        if (m.watchdog) show_watchdog(m, now);
        return;
    }
    case ModuleKind::Serial:
        std::printf("  slot %d: serial module (see below)\n", i);
        return;
    }
}

void show_port(const vex::sim::State& s, int i) {
    const vex::sim::SerialPortState& p = s.serial_ports[i];
    if (!p.name[0]) return;
    const uint32_t in = vex::sim::serial_port_status(s, i);
    std::printf("  port %-6s %s  DTR %s RTS %s | CTS %s DSR %s RING %s DCD %s%s\n", p.name, p.device,
                p.dtr ? "on " : "off", p.rts ? "on " : "off", in & 0x10 ? "on " : "off", in & 0x20 ? "on " : "off",
                in & 0x40 ? "on " : "off", in & 0x80 ? "on " : "off", p.loopback ? "  (loopback)" : "");
}

// The controller's COM ports and the serial modules on them.
void show_serial(const vex::sim::State& s) {
    namespace serial = vex::sim::serial;
    const vex::sim::SerialBusState& b = s.serial;
    for (int p = 0; p < vex::sim::kSerialBusPorts; ++p) {
        if (!b.ports[p].name[0]) continue;
        std::printf("  serial %s %s\n", b.ports[p].name, serial::describe_port_settings(s, p).c_str());
        for (int i = 0; i < vex::sim::kSerialModules; ++i) {
            const vex::sim::SerialModuleState& m = b.modules[i];
            if (m.site != static_cast<uint8_t>(vex::sim::SerialSite::Unused) && m.port == p &&
                m.site != static_cast<uint8_t>(vex::sim::SerialSite::Unit))
                std::printf("%s", serial::describe_module(s, i, 4).c_str());
        }
        for (int u = 0; u < vex::sim::kSerialUnits; ++u) {
            if (!b.units[u].used || b.units[u].port != p) continue;
            std::printf("%s", serial::describe_unit(s, u, 4).c_str());
            for (int i = 0; i < vex::sim::kSerialModules; ++i) {
                const vex::sim::SerialModuleState& m = b.modules[i];
                if (m.site == static_cast<uint8_t>(vex::sim::SerialSite::Unit) && m.port == p &&
                    m.address == b.units[u].address)
                    std::printf("%s", serial::describe_module(s, i, 6).c_str());
            }
        }
    }
}

const char* host_text(const std::string& name, std::string& buf) {
    const int pid = vex::sim::Host::host_pid(name);
    if (pid == 0) return "none (the next program that uses it starts one)";
    const std::string mode = vex::sim::Host::host_mode(name);
    buf = pid > 0 ? "pid " + std::to_string(pid) : std::string("running");
    if (mode == "auto") buf += " (vexsim host: ends when the last program using the instance ends)";
    if (mode == "serve") buf += " (vexsim serve)";
    if (mode == "library") buf += " (in-process, in a program using the library)";
    return buf.c_str();
}

int show(const std::string& name) {
    auto inst = attach_existing_or_exit(name);
    inst->advance(0);  // a system watchdog that ran out resets the controller first
    inst->with_lock([&](vex::sim::State& s) {
        const int count = s.slot_count_code == 7 ? 8 : s.slot_count_code;
        // Bring the modules' watchdogs, the serial modules and the timers up
        // to the instance clock first: text and JSON show the same moment.
        const uint64_t now = inst->now_ns();
        for (int i = 0; i < count; ++i)
            if (s.slots[i].kind == static_cast<uint8_t>(vex::sim::ModuleKind::Parallel))
                vex::sim::models::parallel_advance(s, i, now);
        vex::sim::serial::advance_all(s, now);
        vex::sim::models::timers_advance(s, now);
        if (vex::tools::json_output()) {
            show_json(name, vex::sim::Host::host_pid(name), s, now);
            return 0;
        }
        std::string host;
        std::printf("instance %s (%s)\n", s.instance, vex::plat::instance_dir(name).c_str());
        std::printf("  host: %s\n", host_text(name, host));
        std::printf("  hardware ID %s, CPU ID %u, backplane version %u, %d slots\n", s.hardware_id, s.cpu_id,
                    s.backplane_version, count);
        std::printf("  DIP switch 0x%02X, slot select 0x%02X\n", s.dip_switch, s.slot_select);
        for (int i = 0; i < count; ++i) show_slot(i, s.slots[i], now);
        for (int i = 0; i < vex::sim::kSerialPorts; ++i) show_port(s, i);
        show_services(s, now);
        show_interrupts(s, now);
        show_serial(s);
        return 0;
    });
    return 0;
}

}  // namespace vexsim_cmd_show
}  // namespace

void register_show_commands(CLI::App& app) {
    using namespace vexsim_cmd_show;
    static InstanceOption inst;
    CLI::App* s = app.add_subcommand("show", "Show the instance's state");
    s->footer("With --json: {instance, host_pid, hardware_id, cpu_id, backplane_version, slot_count, dip_switch,\n"
              "slot_select, slots, ports, services {system_watchdog, panel, card, links}, interrupts {enabled,\n"
              "latched (per trigger: rising, level, falling), gate, in_service, lines, timers, hot_plug, ms_counter,\n"
              "bindings}, serial [{port, terminator, checksum, paced, turnaround_ms, fault, modules, units}]};\n"
              "a serial module has place, name, address, present, checksum, fault, known and its channels' state.");
    inst.add_to(s);
    s->callback([] { std::exit(show(inst.resolve())); });
}
