// vexsim show / trace.
#include <cstdio>

#include "platform/target.h"
#include "sim/host.h"
#include "sim/serial_ports.h"
#include "sim/models/models.h"
#include "tools/vexsim/commands.h"

namespace {

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
        std::printf("  slot %d: bus module ID 0x%02X, %u DI / %u DO, capability 0x%02X%s\n", i, slot.id,
                    m.di_channels, m.do_channels, m.capability, m.readback ? ", read-back" : "");
        if (m.di_channels) std::printf("          inputs  0x%08X\n", m.di);
        if (m.do_channels)
            std::printf("          outputs 0x%08X (last source %u: %s)\n", m.do_latch, m.last_source,
                        source_name(m.last_source));
        if (m.watchdog) show_watchdog(m, now);
        return;
    }
    case ModuleKind::Serial:
        std::printf("  slot %d: serial module '%s', %u DI / %u DO / %u AI / %u AO\n", i, slot.serial.kind,
                    slot.serial.di_channels, slot.serial.do_channels, slot.serial.ai_channels,
                    slot.serial.ao_channels);
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

int show(const std::string& name) {
    auto inst = attach_or_exit(name);
    inst->advance(0);  // a system watchdog that ran out resets the controller first
    inst->with_lock([&](vex::sim::State& s) {
        const int count = s.slot_count_code == 7 ? 8 : s.slot_count_code;
        const int host = vex::sim::Host::host_pid(name);
        std::printf("instance %s (%s)\n", s.instance, vex::plat::instance_dir(name).c_str());
        std::printf("  host: %s\n", host > 0 ? ("pid " + std::to_string(host)).c_str()
                                           : host < 0 ? "running" : "none (the library hosts it in-process)");
        std::printf("  hardware ID %s, CPU ID %u, backplane version %u, %d slots\n", s.hardware_id, s.cpu_id,
                    s.backplane_version, count);
        std::printf("  DIP switch 0x%02X, slot select 0x%02X\n", s.dip_switch, s.slot_select);
        // Bring the modules' watchdogs up to the instance clock first.
        const uint64_t now = inst->now_ns();
        for (int i = 0; i < count; ++i) {
            if (s.slots[i].kind == static_cast<uint8_t>(vex::sim::ModuleKind::Parallel))
                vex::sim::models::parallel_advance(s, i, now);
            show_slot(i, s.slots[i], now);
        }
        for (int i = 0; i < vex::sim::kSerialPorts; ++i) show_port(s, i);
        show_services(s, now);
        vex::sim::models::timers_advance(s, now);
        show_interrupts(s, now);
        return 0;
    });
    return 0;
}

int trace(const std::string& name, unsigned last) {
    auto inst = attach_or_exit(name);
    inst->with_lock([&](vex::sim::State& s) {
        const uint32_t total = s.trace_next;
        const uint32_t n = std::min<uint32_t>({total, vex::sim::kTraceEntries, last});
        for (uint32_t k = total - n; k < total; ++k) {
            const vex::sim::TraceEntry& e = s.trace[k % vex::sim::kTraceEntries];
            // Signed: entries from before a watchdog reset precede the new epoch.
            const double at = static_cast<double>(static_cast<int64_t>(e.when_ns - s.epoch_ns)) / 1e9;
            char event[96];
            if (describe_service_event(e, event, sizeof event)) {
                std::printf("%12.6f  %s\n", at, event);
                continue;
            }
            std::printf("%12.6f  write%s 0x%04X <- 0x%0*X\n", at, e.kind == 2 ? "16" : "8 ", e.offset,
                        e.kind == 2 ? 4 : 2, e.value);
        }
        return 0;
    });
    return 0;
}

}  // namespace

void register_show_commands(CLI::App& app) {
    static InstanceOption inst;
    CLI::App* s = app.add_subcommand("show", "Show the instance's state");
    inst.add_to(s);
    s->callback([] { std::exit(show(inst.resolve())); });

    static unsigned last = 32;
    CLI::App* t = app.add_subcommand("trace", "Show the latest register writes and panel, watchdog, card and link events");
    inst.add_to(t);
    t->add_option("-n,--last", last, "How many entries");
    t->callback([] { std::exit(trace(inst.resolve(), last)); });
}
