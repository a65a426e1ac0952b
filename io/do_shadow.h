// Output shadows: the last value written to the outputs of each slot, kept
// in memory shared by every process of the controller, because most
// modules' output latches cannot be read back.
#pragma once

#include <atomic>
#include <cstdint>

namespace vex::io {

// Three shadows of eight words (slots 0..7), chosen by the channel count of
// the write: 96 bytes in all, the same layout on every platform.
enum class Shadow : uint32_t { Ch8 = 0, Ch16 = 1, Ch32 = 2 };

struct DoShadowBlock {
    uint32_t words[3][8];  // [Shadow][slot]
};
static_assert(sizeof(DoShadowBlock) == 96, "the shared shadow block is 96 bytes");

// Maps the controller's shadow block ("SHARED" of the current target),
// creating it zero-filled if no process has it yet. Without shared memory
// the shadows fall back to this process alone (reported with VEXSDK_DEBUG).
void attach_shadows();
void detach_shadows();

// The mapped block, or a block private to this process while none is
// mapped (never null). Changed only by attach and detach, while no export
// runs; read without a lock.
extern DoShadowBlock* g_shadow_block;

// Other processes touch the words at any time, so every access is atomic.
// Relaxed order is enough (each word stands alone) and is one plain
// aligned 32-bit load or store on the processors we build for.
// Slots 8 and above have no shadow: loads yield 0, stores do nothing.
inline uint32_t shadow_load(Shadow which, uint32_t slot) {
    if (slot >= 8) return 0;
    return std::atomic_ref<uint32_t>(g_shadow_block->words[static_cast<uint32_t>(which)][slot])
        .load(std::memory_order_relaxed);
}
inline void shadow_store(Shadow which, uint32_t slot, uint32_t value) {
    if (slot >= 8) return;
    std::atomic_ref<uint32_t>(g_shadow_block->words[static_cast<uint32_t>(which)][slot])
        .store(value, std::memory_order_relaxed);
}

}  // namespace vex::io
