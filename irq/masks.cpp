#include "irq/masks.h"

#include <atomic>
#include <cstdio>

#include "platform/session_section.h"
#include "platform/system.h"
#include "platform/target.h"

namespace vex::irq {
namespace {

struct MaskBlock {
    uint16_t mask;
    uint16_t reserved;
};
static_assert(sizeof(MaskBlock) == 4, "one layout for every process");

struct MaskState {
    const char* section_name;
    MaskBlock private_block;              // while no section is mapped
    MaskBlock* block;
    plat::SessionSection* section;        // plain pointer: see detach_masks
    std::atomic<uint16_t> copy;
};

// Constant-initialised: the library attaches from its constructor.
// Lock rules: `block` and `section` are written only by attach_masks() and
// detach_masks(), from the load and unload sequences while no export runs;
// exports and service threads read them without a lock. The block's words
// are shared with every process and changed only with atomic operations;
// `copy` is this process's atomic view of them.
MaskState g_masks[2] = {
    {"INTSHARE", {0, 0}, nullptr, nullptr, {0}},
    {"BPSHARED", {0, 0}, nullptr, nullptr, {0}},
};

MaskState& state(Mask which) { return g_masks[which == Mask::SlotInterrupts ? 0 : 1]; }

MaskBlock* block(Mask which) {
    MaskState& m = state(which);
    return m.block ? m.block : &m.private_block;
}

}  // namespace

void attach_masks() {
    for (MaskState& m : g_masks) {
        if (m.section) continue;
        m.section = plat::SessionSection::open(plat::shared_object_name(m.section_name), sizeof(MaskBlock)).release();
        m.block = m.section ? static_cast<MaskBlock*>(m.section->data()) : nullptr;
        if (!m.section && !plat::env("VEXSDK_DEBUG").empty())
            std::fprintf(stderr, "vexsdk: cannot map %s; registrations are private to this process\n", m.section_name);
        m.copy.store(0, std::memory_order_relaxed);
    }
}

void detach_masks() {
    for (MaskState& m : g_masks) {
        m.block = nullptr;
        delete m.section;
        m.section = nullptr;
        m.private_block = MaskBlock{};
    }
}

uint16_t shared_mask(Mask which) {
    return std::atomic_ref<uint16_t>(block(which)->mask).load(std::memory_order_relaxed);
}

uint16_t mask_copy(Mask which) { return state(which).copy.load(std::memory_order_relaxed); }

void change_mask(Mask which, uint32_t bit, bool set) {
    if (bit >= 16) return;
    std::atomic_ref<uint16_t> shared(block(which)->mask);
    const uint16_t b = static_cast<uint16_t>(1u << bit);
    const uint16_t now = set ? static_cast<uint16_t>(shared.load(std::memory_order_relaxed) | b)
                             : static_cast<uint16_t>(shared.load(std::memory_order_relaxed) & ~b);
    shared.store(now, std::memory_order_relaxed);
    state(which).copy.store(now, std::memory_order_relaxed);
}

}  // namespace vex::irq
