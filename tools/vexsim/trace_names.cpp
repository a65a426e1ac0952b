#include "tools/vexsim/trace_names.h"

#include <cstdio>

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexsim_trace_names {

// The write side of a parallel-bus module's registers (the read side of
// the same offsets is other registers).
const char* parallel_write_name(uint32_t reg) {
    switch (reg) {
    case 0x00: return "DO0";
    case 0x02: return "DO1";
    case 0x04: return "DO2";
    case 0x06: return "DO3";
    case 0x16: return "PARAM_MODE";
    case 0x18: return "PARAM_INDEX";
    case 0x1A: return "PARAM_VALUE";
    case 0x1C: return "WDT_ENABLE";
    case 0x1E: return "WDT_TIMEOUT";
    case 0x22: return "WDT_IRQ";
    case 0x24: return "WDT_REFRESH";
    default: return nullptr;
    }
}

const char* backplane_name(uint32_t offset) {
    switch (offset) {
    case 0x9000: return "VERSION";
    case 0x9002: return "DIP";
    case 0x9004: return "SLOT_SELECT";
    case 0x9006: return "EOI";
    case 0x9008: return "PRESENCE";
    case 0x9046: return "SLOT_COUNT";
    default: return nullptr;
    }
}

std::string hex(uint32_t v, int digits) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%0*X", digits, v);
    return buf;
}

}  // namespace vexsim_trace_names
}  // namespace

std::string register_name(const vex::sim::State& s, uint32_t offset) {
    using namespace vexsim_trace_names;
    if (offset >= 0x1000 && offset < 0x9000) {
        const uint32_t slot = offset / 0x1000 - 1;
        const uint32_t reg = offset & 0xFFF;
        const std::string head = "slot " + std::to_string(slot) + " ";
        if (s.slots[slot].kind == static_cast<uint8_t>(vex::sim::ModuleKind::Parallel))
            if (const char* name = parallel_write_name(reg)) return head + name;
        return head + hex(reg, 3);
    }
    if (offset >= 0x9000 && offset < 0x9100) {
        const char* name = backplane_name(offset);
        return std::string("backplane ") + (name ? name : hex(offset, 4).c_str());
    }
    return hex(offset, 4);
}
