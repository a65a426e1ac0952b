// libFuzzer target for the virtual controller's serial modules: any bytes on
// a line, cut into commands at the terminator, decoded for every module kind
// and answered by a module in a slot, on a bus and in a unit, must give a
// bounded answer and never touch memory outside the module.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "frame/catalogue.h"
#include "sim/description.h"
#include "sim/serial_modules/bus.h"
#include "sim/serial_modules/command.h"
#include "sim/serial_modules/control.h"
#include "sim/serial_modules/framing.h"

namespace {

// A state with one module of every kind on COM1: at addresses 1.., and a
// unit at 0x80 with the first kinds in its slots. No instance directory:
// module memory is not kept.
vex::sim::State& state() {
    static std::unique_ptr<vex::sim::State> s = [] {
        // Module memory goes nowhere: no instance directory.
        ::setenv("VEXSDK_SIM_DIR", "/nonexistent/vexsdk-fuzz", 1);
        auto st = std::make_unique<vex::sim::State>();
        std::snprintf(st->instance, sizeof st->instance, "fuzz");
        vex::sim::Description d;
        vex::sim::PortDescription p;
        p.name = "COM1:";
        uint8_t address = 1;
        for (const auto& k : vex::catalogue::serial_kinds()) {
            vex::sim::SerialModuleDescription m;
            m.kind = k.name;
            m.address = address++;
            p.modules.push_back(m);
        }
        vex::sim::UnitDescription u;
        u.address = 0x80;
        for (uint8_t slot = 0; slot < 4; ++slot) {
            vex::sim::SerialModuleDescription m;
            m.kind = vex::catalogue::serial_kinds()[slot].name;
            m.address = u.address;
            u.modules.emplace_back(slot, m);
        }
        p.units.push_back(u);
        d.ports.push_back(p);
        vex::sim::serial::power_up(*st, d, 0);
        return st;
    }();
    return *s;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vex::sim::serial::CommandAssembler assembler;
    assembler.set_terminator(size > 0 && data[0] == 'T' ? "\r\n" : "\r");
    uint64_t now = 0;
    for (size_t i = 0; i < size; ++i) {
        if (!assembler.feed(data[i])) continue;
        const std::string& command = assembler.command();
        if (command.size() > vex::sim::serial::CommandAssembler::kMaxCommand) std::abort();
        for (const auto& k : vex::catalogue::serial_kinds()) {
            if (const auto a = vex::sim::serial::split_address(command))
                (void)vex::sim::serial::decode(a->prefix, a->body, vex::sim::serial::shape_of(k));
        }
        const vex::sim::serial::Answer a = vex::sim::serial::answer_command(state(), 1, command, now += 1000000);
        if (a.bytes.size() > 512) std::abort();
    }
    return 0;
}
