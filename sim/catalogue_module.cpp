// Catalogue names to virtual parallel-bus modules.
#include "sim/catalogue_module.h"

#include <algorithm>
#include <vector>

#include "frame/catalogue.h"
#include "platform/edit_distance.h"

namespace vex::sim {
namespace {


// The capability register a virtual module shows without a raw value.
uint8_t default_capability(const SlotDescription& s) {
    return static_cast<uint8_t>(((s.readback || s.watchdog) ? 0x20 : 0) | (s.version & 0x1F));
}

}  // namespace

bool describe_catalogue_module(const std::string& name, SlotDescription& slot, std::string* why) {
    const catalogue::ParallelKind* kind = nullptr;
    const catalogue::ParallelRule* rule = nullptr;
    if (!catalogue::find_parallel_name(name, &kind, &rule)) {
        *why = "'" + name + "' is no parallel-bus module of the catalogue (close: " + close_module_names(name) + ")";
        return false;
    }
    SlotDescription s = slot;
    s.kind = ModuleKind::Parallel;
    s.id = kind->id;
    s.di_channels = kind->di_channels;
    s.do_channels = kind->do_channels;
    s.readback = kind->readback;
    s.watchdog = kind->watchdog;
    s.subtype = 0;
    s.capability.reset();
    if (rule && (rule->reg == 0x06 || rule->reg == 0x08)) {
        *why = "'" + name + "' is told by input straps the virtual controller does not model";
        return false;
    }
    if (rule && rule->reg == 0x10) s.subtype = rule->equals;
    if (rule && rule->reg == 0x0E)
        s.capability = static_cast<uint8_t>((default_capability(s) & ~rule->mask) | rule->equals);
    // The registers as the virtual module will read them: straps and the
    // inputs beyond 16 float high, 0x10 is the sub-type.
    catalogue::RuleRegisters regs;
    regs.r0e = s.capability ? *s.capability : default_capability(s);
    regs.r10 = s.subtype;
    char printed[32];
    if (catalogue::format_parallel_name(catalogue::resolve_parallel(*kind, regs), printed, sizeof printed) == 0 ||
        name != printed) {
        *why = "'" + name + "' cannot be modelled: a module made for it reads as '" + printed + "'";
        return false;
    }
    slot = s;
    return true;
}

std::string catalogue_name(const Slot& slot) {
    const catalogue::ParallelKind* kind = catalogue::find_parallel_kind(slot.id);
    if (!kind) return "";
    const ParallelModule& m = slot.parallel;
    // Inputs read active low; lines beyond the module's width float high.
    const uint32_t lines = m.di_channels >= 32 ? m.di : m.di & ((1u << m.di_channels) - 1u);
    catalogue::RuleRegisters regs;
    regs.r06 = static_cast<uint8_t>(~(lines >> 16));
    regs.r08 = static_cast<uint8_t>(~(lines >> 24));
    regs.r0e = m.capability;
    regs.r10 = m.readback ? static_cast<uint8_t>(m.do_latch) : m.subtype;
    char printed[32];
    return catalogue::format_parallel_name(catalogue::resolve_parallel(*kind, regs), printed, sizeof printed)
               ? printed
               : "";
}

std::string close_module_names(const std::string& name) {
    const std::vector<std::string> names = catalogue::parallel_names();
    auto list = [&](auto&& similar) {
        std::string out;
        for (const std::string& n : names) {
            if (similar(n)) out += (out.empty() ? "" : ", ") + n;
        }
        return out;
    };
    std::string close = list([&](const std::string& n) { return plat::edit_distance(n, name) <= 2; });
    if (close.empty()) close = list([&](const std::string& n) { return n.compare(0, 3, name, 0, 3) == 0; });
    if (close.empty()) close = list([](const std::string&) { return true; });
    return close;
}

}  // namespace vex::sim
