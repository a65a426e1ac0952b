// vexsim irq: raises a slot's interrupt line by hand; and the interrupt
// part of vexsim show.
#include <cstdio>
#include <string>

#include "sim/models/models.h"
#include "tools/common/cli.h"
#include "tools/vexsim/commands.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexsim_cmd_irq {

using vex::sim::models::Pulse;

struct IrqOptions {
    std::string slot;
    std::string type;
};

Pulse pulse_of(const std::string& type) {
    if (type.empty()) return Pulse::Full;
    if (type == "rising") return Pulse::Rising;
    if (type == "falling") return Pulse::Falling;
    if (type == "level") return Pulse::Level;
    vex::tools::fail(vex::tools::kExitUsage, "--type must be rising, falling or level, not '" + type + "'");
}

int raise(const std::string& name, const IrqOptions& o) {
    const uint32_t slot = vex::tools::parse_number(o.slot, "SLOT", vex::sim::kSlots - 1);
    const Pulse kind = pulse_of(o.type);
    auto inst = attach_or_exit(name);
    const uint64_t now = inst->now_ns();
    return inst->with_lock([&](vex::sim::State& s) {
        const uint32_t count = s.slot_count_code == 7 ? 8u : s.slot_count_code;
        if (slot >= count)
            vex::tools::fail(vex::tools::kExitFailed,
                             "slot " + o.slot + " does not exist: the controller has " + std::to_string(count) + " slots");
        const uint32_t before = s.irq.raised[slot];
        vex::sim::models::slot_line_pulse(s, static_cast<int>(slot), kind, now);
        const uint8_t bit = static_cast<uint8_t>(1u << slot);
        const bool latched = ((s.irq.latch[0] | s.irq.latch[1] | s.irq.latch[2]) & bit) != 0;
        std::printf("slot %u: interrupt line pulsed (%s)", slot, o.type.empty() ? "all trigger types" : o.type.c_str());
        if (s.irq.raised[slot] != before)
            std::printf("; interrupt %u raised\n", s.irq.raised[slot]);
        else if (!latched)
            std::printf("; not latched: no trigger type of the pulse is enabled for the slot\n");
        else if (!(s.irq.gate & bit))
            std::printf("; latched, held back by the slot gate (0x9044)\n");
        else
            std::printf("; latched, already pending (waits for its acknowledge)\n");
        return 0;
    });
}

}  // namespace vexsim_cmd_irq
}  // namespace

void show_interrupts(const vex::sim::State& s, uint64_t now) {
    using namespace vexsim_cmd_irq;
    const vex::sim::IrqState& q = s.irq;
    std::printf("  slot interrupts: enabled rising 0x%02X level 0x%02X falling 0x%02X, gate 0x%02X\n", q.enable[0],
                q.enable[1], q.enable[2], q.gate);
    std::printf("          latched rising 0x%02X level 0x%02X falling 0x%02X, in service 0x%02X, lines 0x%02X\n",
                q.latch[0], q.latch[1], q.latch[2], q.in_service, q.line);
    for (int n = 0; n < 3; ++n) {
        const vex::sim::BackplaneTimer& t = q.timers[n];
        if (!t.start_ns) {
            std::printf("  timer %d: stopped\n", n);
            continue;
        }
        std::printf("  timer %d: every %.1f us, %llu ticks (%llu merged)%s\n", n, static_cast<double>(t.period_ns) / 1e3,
                    static_cast<unsigned long long>(t.ticks), static_cast<unsigned long long>(t.merged),
                    n == 0 ? (vex::sim::models::timer0_output(s, now) ? ", output high" : ", output low") : "");
    }
    std::printf("  hot plug: %s, %s; ms counter %llu\n", q.control & 0x08 ? "enabled" : "disabled",
                q.status & 0x08 ? "event pending" : "nothing pending",
                static_cast<unsigned long long>((now - s.epoch_ns) / 1000000));
    for (const vex::sim::IrqBinding& b : q.bindings) {
        if (!b.token) continue;
        const int line = static_cast<int>(b.line);
        if (line < vex::sim::kSlots)
            std::printf("  bound: slot %d interrupt, process %d\n", line, b.pid);
        else if (line >= vex::sim::kIrqLineTimer0)
            std::printf("  bound: timer %d interrupt, process %d\n", line - vex::sim::kIrqLineTimer0, b.pid);
        else
            std::printf("  bound: single-slot interrupt, process %d\n", b.pid);
    }
}

void register_irq_commands(CLI::App& app) {
    using namespace vexsim_cmd_irq;
    static InstanceOption inst;
    static IrqOptions o;
    CLI::App* irq = app.add_subcommand("irq", "Pulse a slot's interrupt line, as its module would");
    inst.add_to(irq);
    irq->add_option("slot", o.slot, "Slot")->required();
    irq->add_option("-t,--type", o.type,
                    "Catch it only as this trigger type: rising, falling or level (default: any enabled)");
    irq->callback([] { std::exit(raise(inst.resolve(), o)); });
}
