// vexsim chips / fault / set battery / set rotary: the controller's memory
// chips and board facts, seen and driven from the board's side.
#include <cstdio>
#include <cstdlib>

#include "sim/far_side.h"
#include "tools/common/json.h"
#include "tools/vexsim/commands.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexsim_cmd_chips {

namespace far = vex::sim::far;
using far::Chip;

Chip parse_chip(const std::string& text) {
    if (text == "sram") return Chip::Sram;
    if (text == "eeprom") return Chip::Eeprom;
    if (text == "nvram") return Chip::Nvram;
    std::fprintf(stderr, "vexsim: the chip must be sram, eeprom or nvram, not '%s'\n", text.c_str());
    std::exit(2);
}

const char* kind_name(uint8_t kind) {
    switch (static_cast<vex::sim::ChipLogKind>(kind)) {
    case vex::sim::ChipLogKind::Write: return "write";
    case vex::sim::ChipLogKind::Read: return "read";
    case vex::sim::ChipLogKind::WriteRefused: return "write refused (protected)";
    case vex::sim::ChipLogKind::WriteAborted: return "write abandoned";
    }
    return "?";
}

void show_faults(const vex::sim::ChipFaults& f) {
    if (!f.no_ack && f.ack_budget < 0 && !f.stuck_mask) {
        std::printf("    faults: none\n");
        return;
    }
    std::printf("    faults:");
    if (f.no_ack) std::printf(" no acknowledge");
    if (f.ack_budget >= 0) std::printf(" acknowledges %d more bytes", f.ack_budget);
    if (f.stuck_mask) std::printf(" stuck bits 0x%02X at 0x%02X", f.stuck_mask, f.stuck_value & f.stuck_mask);
    std::printf("\n");
}

void show_chip(vex::sim::Instance& inst, Chip chip, const char* name, unsigned tail) {
    const uint32_t size = far::chip_size(inst, chip);
    std::printf("%s: %u bytes%s\n", name, size, size ? "" : " (none on this controller)");
    show_faults(far::faults(inst, chip));
    if (chip == Chip::Sram) return;
    uint32_t total = 0;
    const auto log = far::transactions(inst, chip, &total);
    std::printf("    transactions since power-up: %u", total);
    if (chip == Chip::Eeprom) std::printf(", device selects refused while busy: %u", far::eeprom_busy_refusals(inst));
    std::printf("\n");
    for (size_t i = log.size() > tail ? log.size() - tail : 0; i < log.size(); ++i) {
        const vex::sim::ChipLogEntry& e = log[i];
        if (chip == Chip::Nvram)
            std::printf("      %-26s byte %2u (command 0x%02X)\n", kind_name(e.kind), e.address, e.extra);
        else
            std::printf("      %-26s 0x%04X, %u bytes\n", kind_name(e.kind), e.address, e.length);
    }
}

// {name, size, faults {no_ack, ack_budget, stuck_mask, stuck_value},
// transactions, busy_refusals, log [{kind, address, length, extra}]}.
void json_chip(vex::tools::Json& j, vex::sim::Instance& inst, Chip chip, const char* name, unsigned tail) {
    const vex::sim::ChipFaults f = far::faults(inst, chip);
    j.open_object().field("chip", name).field("size", far::chip_size(inst, chip));
    j.key("faults").open_object().field("no_ack", f.no_ack != 0);
    if (f.ack_budget >= 0)
        j.field("ack_budget", static_cast<int64_t>(f.ack_budget));
    else
        j.key("ack_budget").null();
    j.field("stuck_mask", f.stuck_mask).field("stuck_value", f.stuck_value & f.stuck_mask).close();
    if (chip == Chip::Sram) {
        j.close();
        return;
    }
    uint32_t total = 0;
    const auto log = far::transactions(inst, chip, &total);
    j.field("transactions", total);
    if (chip == Chip::Eeprom)
        j.field("busy_refusals", far::eeprom_busy_refusals(inst));
    j.key("log").open_array();
    for (size_t i = log.size() > tail ? log.size() - tail : 0; i < log.size(); ++i) {
        const vex::sim::ChipLogEntry& e = log[i];
        j.open_object().field("kind", kind_name(e.kind)).field("address", e.address).field("length", e.length);
        j.field("extra", e.extra).close();
    }
    j.close().close();
}

}  // namespace vexsim_cmd_chips
}  // namespace

void register_chip_commands(CLI::App& app) {
    using namespace vexsim_cmd_chips;
    static InstanceOption inst;
    static unsigned tail = 8;
    CLI::App* chips = app.add_subcommand("chips", "Show the memory chips: sizes, faults, latest transactions");
    inst.add_to(chips);
    chips->add_option("-n,--tail", tail, "Transactions to list per chip (default 8)");
    chips->footer("With --json: {chips: [{chip, size, faults {no_ack, ack_budget, stuck_mask, stuck_value},\n"
                  "transactions, busy_refusals (eeprom), log [{kind, address, length, extra}]}]} (sram: no log).");
    chips->callback([] {
        auto i = attach_or_exit(inst.resolve());
        if (vex::tools::json_output()) {
            vex::tools::Json j;
            j.open_object().key("chips").open_array();
            json_chip(j, *i, Chip::Sram, "sram", tail);
            json_chip(j, *i, Chip::Eeprom, "eeprom", tail);
            json_chip(j, *i, Chip::Nvram, "nvram", tail);
            j.close().close().print();
            std::exit(0);
        }
        show_chip(*i, Chip::Sram, "SRAM", tail);
        show_chip(*i, Chip::Eeprom, "EEPROM", tail);
        show_chip(*i, Chip::Nvram, "NVRAM (timekeeping chip RAM)", tail);
        std::exit(0);
    });

    static std::string chip_name, stuck, budget, cycle;
    static bool no_ack = false, clear = false;
    CLI::App* fault = app.add_subcommand("chip-fault", "Make a memory chip misbehave (until --clear or power-up)");
    inst.add_to(fault);
    fault->add_option("chip", chip_name, "sram, eeprom or nvram")->required();
    fault->add_flag("--no-ack", no_ack, "EEPROM: acknowledge nothing, as if absent");
    fault->add_option("--ack-budget", budget, "EEPROM: acknowledge this many more bytes, then stop");
    fault->add_option("--stuck-bit", stuck, "BIT=VALUE: that bit of every byte the chip sends reads VALUE (e.g. 3=1)");
    fault->add_option("--write-cycle-us", cycle, "EEPROM: internal write time of a page (default 5000)");
    fault->add_flag("--clear", clear, "Remove the chip's faults first");
    fault->callback([] {
        const Chip chip = parse_chip(chip_name);
        if (chip != Chip::Eeprom && (no_ack || !budget.empty() || !cycle.empty())) {
            std::fprintf(stderr, "vexsim: --no-ack, --ack-budget and --write-cycle-us are the EEPROM's\n");
            std::exit(2);
        }
        auto i = attach_or_exit(inst.resolve());
        vex::sim::ChipFaults f = clear ? vex::sim::ChipFaults{0, 0, 0, 0, -1} : far::faults(*i, chip);
        if (no_ack) f.no_ack = 1;
        if (!budget.empty()) f.ack_budget = static_cast<int32_t>(parse_number_or_exit(budget, "--ack-budget", 0x7FFFFFFF));
        if (!stuck.empty()) {
            const size_t eq = stuck.find('=');
            if (eq == std::string::npos) {
                std::fprintf(stderr, "vexsim: --stuck-bit takes BIT=VALUE, e.g. 3=1\n");
                std::exit(2);
            }
            const uint32_t bit = parse_number_or_exit(stuck.substr(0, eq), "the stuck bit", 7);
            const uint32_t value = parse_number_or_exit(stuck.substr(eq + 1), "the stuck value", 1);
            f.stuck_mask = static_cast<uint8_t>(f.stuck_mask | (1u << bit));
            f.stuck_value = static_cast<uint8_t>((f.stuck_value & ~(1u << bit)) | (value << bit));
        }
        far::set_faults(*i, chip, f);
        if (!cycle.empty()) far::set_eeprom_write_cycle_us(*i, parse_number_or_exit(cycle, "--write-cycle-us", 10000000));
        std::exit(0);
    });

    CLI::App* set = app.get_subcommand("set");
    static std::string battery, level;
    CLI::App* sb = set->add_subcommand("battery", "Set a backup battery's low signal");
    inst.add_to(sb);
    sb->add_option("battery", battery, "1 or 2")->required();
    sb->add_option("level", level, "low or ok")->required();
    sb->callback([] {
        const uint32_t which = parse_number_or_exit(battery, "the battery", 2);
        if (which == 0 || (level != "low" && level != "ok")) {
            std::fprintf(stderr, "vexsim: give battery 1 or 2 and low or ok\n");
            std::exit(2);
        }
        auto i = attach_or_exit(inst.resolve());
        far::set_battery_low(*i, static_cast<int>(which), level == "low");
        std::exit(0);
    });

    static std::string rotary;
    CLI::App* sr = set->add_subcommand("rotary", "Turn the rotary switch (0..15)");
    inst.add_to(sr);
    sr->add_option("position", rotary, "0..15")->required();
    sr->callback([] {
        const uint32_t position = parse_number_or_exit(rotary, "the rotary switch", 15);
        auto i = attach_or_exit(inst.resolve());
        far::set_rotary(*i, static_cast<uint8_t>(position));
        std::exit(0);
    });
}
