// vexsim set / plug / unplug.
#include <cstdio>

#include "frame/catalogue.h"
#include "sim/catalogue_module.h"
#include "sim/serial_ports.h"
#include "tools/common/cli.h"
#include "tools/vexsim/commands.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexsim_cmd_control {

struct PlugOptions {
    std::string id = "0";
    unsigned di = 0;
    unsigned dout = 0;
    bool readback = false;
    bool watchdog = false;
    unsigned version = 1;
    std::string serial;
    std::string module;
};

bool valid_channels(unsigned n) { return n == 0 || n == 4 || n == 8 || n == 16 || n == 32; }

// What a slot holds now: its kind, and a bus module's input channels
// (-1 when the slot does not exist on this controller).
struct SlotFacts {
    int kind = -1;
    int di_channels = 0;
};

SlotFacts slot_facts(vex::sim::Instance& i, unsigned slot) {
    return i.with_lock([&](vex::sim::State& s) {
        SlotFacts f;
        const unsigned count = s.slot_count_code == 7 ? 8u : s.slot_count_code;
        if (slot >= count || slot >= static_cast<unsigned>(vex::sim::kSlots)) return f;
        f.kind = s.slots[slot].kind;
        f.di_channels = s.slots[slot].parallel.di_channels;
        return f;
    });
}

constexpr int kEmpty = static_cast<int>(vex::sim::ModuleKind::Empty);
constexpr int kParallel = static_cast<int>(vex::sim::ModuleKind::Parallel);

}  // namespace vexsim_cmd_control
}  // namespace

void register_control_commands(CLI::App& app) {
    using namespace vexsim_cmd_control;
    static InstanceOption inst;
    CLI::App* set = app.add_subcommand("set", "Set switches and inputs");
    set->require_subcommand(1);

    static std::string dip;
    CLI::App* sd = set->add_subcommand("dip", "Set the DIP switch positions (bit set = on)");
    inst.add_to(sd);
    sd->add_option("value", dip, "Positions, e.g. 0x05")->required();
    sd->callback([] {
        auto i = attach_or_exit(inst.resolve());
        i->set_dip_switch(static_cast<uint8_t>(parse_number_or_exit(dip, "the DIP switch", 0xFF)));
        std::exit(0);
    });

    static unsigned slot = 0;
    static std::string lines;
    CLI::App* si = set->add_subcommand("inputs", "Set a module's input lines (bit n = channel n on)");
    inst.add_to(si);
    si->add_option("slot", slot, "Slot")->required();
    si->add_option("value", lines, "Input lines, e.g. 0x8001")->required();
    si->callback([] {
        const uint32_t value = parse_number_or_exit(lines, "the inputs", 0xFFFFFFFF);
        auto i = attach_or_exit(inst.resolve());
        const SlotFacts f = slot_facts(*i, slot);
        if (f.kind == kParallel && f.di_channels > 0 && f.di_channels < 32 && (value >> f.di_channels) != 0) {
            std::fprintf(stderr, "vexsim: 0x%X is wider than the %d input channels of the module in slot %u\n", value,
                         f.di_channels, slot);
            std::exit(2);
        }
        if (!i->set_inputs(static_cast<int>(slot), value)) {
            std::fprintf(stderr, "vexsim: slot %u holds no module with inputs\n", slot);
            std::exit(1);
        }
        std::exit(0);
    });

    static std::string line_port;
    static bool cts = false, dsr = false, ring = false, dcd = false;
    CLI::App* sl = set->add_subcommand("lines", "Set the far end's modem lines of a COM port (omitted = off)");
    inst.add_to(sl);
    sl->add_option("port", line_port, "Port, e.g. COM1:")->required();
    sl->add_flag("--cts", cts, "Clear to send");
    sl->add_flag("--dsr", dsr, "Data set ready");
    sl->add_flag("--ring", ring, "Ring indicator");
    sl->add_flag("--dcd", dcd, "Carrier detect");
    sl->callback([] {
        auto i = attach_or_exit(inst.resolve());
        std::string name = line_port;
        if (!name.empty() && name.back() != ':') name += ':';
        const bool ok = i->with_lock([&](vex::sim::State& s) {
            const int index = vex::sim::serial_port_by_name(s, name.c_str());
            if (index < 0) return false;
            vex::sim::serial_port_set_far_lines(
                s, index, (cts ? 0x10u : 0u) | (dsr ? 0x20u : 0u) | (ring ? 0x40u : 0u) | (dcd ? 0x80u : 0u));
            return true;
        });
        if (!ok) {
            std::fprintf(stderr, "vexsim: the controller has no port %s (is its host running?)\n", name.c_str());
            std::exit(1);
        }
        std::exit(0);
    });

    static PlugOptions plug;
    static unsigned plug_slot = 0;
    static bool replace = false;
    CLI::App* p = app.add_subcommand("plug", "Plug a module into a slot");
    inst.add_to(p);
    p->add_option("slot", plug_slot, "Slot")->required();
    p->add_option("--id", plug.id, "Module ID of a bus module (0..254)");
    p->add_option("--di", plug.di, "Input channels (0, 4, 8, 16, 32)");
    p->add_option("--do", plug.dout, "Output channels (0, 4, 8, 16, 32)");
    p->add_flag("--readback", plug.readback, "Outputs can be read back (with module watchdog)");
    p->add_flag("--watchdog", plug.watchdog, "Module carries a watchdog");
    p->add_option("--version", plug.version, "Hardware version (0..31)");
    p->add_option("--serial", plug.serial, "Plug a serial module of this catalogue kind instead (e.g. 4308, 4504P)");
    p->add_option("--module", plug.module, "Plug the parallel-bus module the catalogue names so (e.g. 8016H)")
        ->excludes("--serial")
        ->excludes("--id")
        ->excludes("--di")
        ->excludes("--do")
        ->excludes("--readback")
        ->excludes("--watchdog");
    p->add_flag("--replace", replace, "Replace the module the slot holds (without it an occupied slot is refused)");
    p->callback([] {
        if (!valid_channels(plug.di) || !valid_channels(plug.dout) || plug.version > 31) {
            std::fprintf(stderr, "vexsim: channel counts are 0, 4, 8, 16 or 32; versions 0..31\n");
            std::exit(2);
        }
        vex::sim::SlotDescription d;
        d.di_channels = static_cast<uint8_t>(plug.di);
        d.do_channels = static_cast<uint8_t>(plug.dout);
        if (!plug.module.empty()) {
            d.version = static_cast<uint8_t>(plug.version);
            std::string why;
            if (!vex::sim::describe_catalogue_module(plug.module, d, &why)) vex::tools::fail(vex::tools::kExitUsage, why);
        } else if (!plug.serial.empty()) {
            if (!vex::catalogue::find_serial_kind(plug.serial)) {
                std::string kinds;
                for (const auto& k : vex::catalogue::serial_kinds()) kinds += std::string(kinds.empty() ? "" : ", ") + k.name;
                std::fprintf(stderr, "vexsim: '%s' is no serial module kind (%s)\n", plug.serial.c_str(), kinds.c_str());
                std::exit(2);
            }
            if (plug.di || plug.dout) {
                std::fprintf(stderr, "vexsim: a serial module's channels come from its kind; drop --di and --do\n");
                std::exit(2);
            }
            d.kind = vex::sim::ModuleKind::Serial;
            d.id = 0xFF;
            d.serial.kind = plug.serial;
        } else {
            d.kind = vex::sim::ModuleKind::Parallel;
            d.id = static_cast<uint8_t>(parse_number_or_exit(plug.id, "the module ID", 254));
            d.readback = plug.readback;
            d.watchdog = plug.watchdog || plug.readback;
            d.version = static_cast<uint8_t>(plug.version);
        }
        auto i = attach_or_exit(inst.resolve());
        const SlotFacts f = slot_facts(*i, plug_slot);
        if (f.kind != kEmpty && f.kind >= 0 && !replace) {
            std::fprintf(stderr, "vexsim: slot %u already holds a module; unplug it first or give --replace\n",
                         plug_slot);
            std::exit(1);
        }
        if (!i->plug(static_cast<int>(plug_slot), d)) {
            std::fprintf(stderr, "vexsim: slot %u does not exist on this controller\n", plug_slot);
            std::exit(1);
        }
        std::exit(0);
    });

    static unsigned unplug_slot = 0;
    CLI::App* u = app.add_subcommand("unplug", "Remove the module from a slot");
    inst.add_to(u);
    u->add_option("slot", unplug_slot, "Slot")->required();
    u->callback([] {
        auto i = attach_or_exit(inst.resolve());
        if (slot_facts(*i, unplug_slot).kind == kEmpty) {
            std::fprintf(stderr, "vexsim: slot %u is empty; nothing to unplug\n", unplug_slot);
            std::exit(1);
        }
        if (!i->unplug(static_cast<int>(unplug_slot))) {
            std::fprintf(stderr, "vexsim: no slot %u\n", unplug_slot);
            std::exit(1);
        }
        std::exit(0);
    });
}
