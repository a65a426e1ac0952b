// vexsim show / trace.
#include <cstdio>

#include "platform/target.h"
#include "sim/host.h"
#include "tools/vexsim/commands.h"

namespace {

void show_slot(int i, const vex::sim::Slot& slot) {
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
        if (m.do_channels) std::printf("          outputs 0x%08X\n", m.do_latch);
        return;
    }
    case ModuleKind::Serial:
        std::printf("  slot %d: serial module '%s', %u DI / %u DO / %u AI / %u AO\n", i, slot.serial.kind,
                    slot.serial.di_channels, slot.serial.do_channels, slot.serial.ai_channels,
                    slot.serial.ao_channels);
        return;
    }
}

int show(const std::string& name) {
    auto inst = attach_or_exit(name);
    inst->with_lock([&](vex::sim::State& s) {
        const int count = s.slot_count_code == 7 ? 8 : s.slot_count_code;
        const int host = vex::sim::Host::host_pid(name);
        std::printf("instance %s (%s)\n", s.instance, vex::plat::instance_dir(name).c_str());
        std::printf("  host: %s\n", host > 0 ? ("pid " + std::to_string(host)).c_str()
                                           : host < 0 ? "running" : "none (the library hosts it in-process)");
        std::printf("  hardware ID %s, CPU ID %u, backplane version %u, %d slots\n", s.hardware_id, s.cpu_id,
                    s.backplane_version, count);
        std::printf("  DIP switch 0x%02X, slot select 0x%02X\n", s.dip_switch, s.slot_select);
        for (int i = 0; i < count; ++i) show_slot(i, s.slots[i]);
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
            std::printf("%12.6f  write%s 0x%04X <- 0x%0*X\n",
                        static_cast<double>(e.when_ns - s.epoch_ns) / 1e9, e.kind == 2 ? "16" : "8 ", e.offset,
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
    CLI::App* t = app.add_subcommand("trace", "Show the latest register writes");
    inst.add_to(t);
    t->add_option("-n,--last", last, "How many entries");
    t->callback([] { std::exit(trace(inst.resolve(), last)); });
}
