// Register-level digital I/O of parallel-bus modules: inputs read straight
// from the slot page (active low), outputs written to the latches and kept
// in the shared shadows. These run in control loops: a handful of bus
// accesses, no lock and no system call.
#include "frame/backplane.h"
#include "frame/errors.h"
#include "io/digital_inputs.h"
#include "io/do_shadow.h"
#include "io/module_registers.h"
#include "io/module_watchdog.h"
#include "vexsdk.h"

using namespace vex;
using namespace vex::io;

namespace {

uint8_t byte_of(uint32_t value, int i) { return static_cast<uint8_t>(value >> (8 * i)); }

// The output widths a write accepts, by shadow; anything else (7 among
// them) is refused.
bool accepted_count(int32_t total) { return total == 32 || total == 16 || (total >= 4 && total <= 8 && total != 7); }

}  // namespace

extern "C" {

VEXSDK_API VEX_BOOL _vex_WriteDO(uint32_t slot_arg, int32_t total, uint32_t value) {
    const uint32_t slot = slot_arg & 0xFF;
    if (outputs_held_by_watchdog(slot)) return VEX_FALSE;
    const bool single_slot = frame::controller_model() == frame::kModelSingleSlot;
    if (!single_slot) {
        if (!frame::is_valid_slot(slot)) return VEX_FALSE;
    } else if (total == 32 && slot >= kModuleSlots) {
        // The single-slot controller skips the slot check, but a 32-channel
        // write goes to the slot's own page, and there is none up there.
        frame::set_last_error(VEX_ERR_INVALID_SLOT);
        return VEX_FALSE;
    }
    if (!accepted_count(total)) return VEX_FALSE;

    if (total == 32) {
        shadow_store(Shadow::Ch32, slot, value);
        for (int i = 0; i < 4; ++i) module_write8(slot, kRegOutput0 + 2u * static_cast<uint32_t>(i), byte_of(value, i));
        return VEX_TRUE;
    }
    // The single-slot controller has one module page (slot 0's) and its
    // 16- and 8-channel modules are reached there whatever the slot says.
    const uint32_t page = single_slot ? 0 : slot;
    if (total == 16) {
        shadow_store(Shadow::Ch16, slot, value);
        module_write8(page, kRegOutput0, byte_of(value, 0));
        module_write8(page, kRegOutput0 + 2, byte_of(value, 1));
        return VEX_TRUE;
    }
    shadow_store(Shadow::Ch8, slot, value);
    module_write8(page, kRegOutput0, byte_of(value, 0));
    return VEX_TRUE;
}

VEXSDK_API uint32_t _vex_ReadDO(uint32_t slot_arg, int32_t total) {
    const uint32_t slot = slot_arg & 0xFF;
    if (total <= 8) return shadow_load(Shadow::Ch8, slot);
    if (total <= 16) return shadow_load(Shadow::Ch16, slot);
    if (!is_read_back_module(slot)) return shadow_load(Shadow::Ch32, slot);
    uint32_t value = 0;
    for (uint32_t i = 0; i < 4; ++i) value |= static_cast<uint32_t>(module_read8(slot, kRegReadBack0 + 2 * i)) << (8 * i);
    return value;
}

VEXSDK_API void _vex_WriteDOBit(uint32_t slot, int32_t total, uint32_t channel, uint32_t bit) {
    // 7 passes here and is refused by the write, as any caller of
    // _vex_WriteDO with 7 channels would be.
    if (total != 32 && total != 16 && !(total >= 4 && total <= 8)) return;
    const uint32_t current = _vex_ReadDO(slot, total);
    const uint32_t index = channel & 0xFF;
    const uint32_t mask = index < 32 ? (1u << index) : 0u;
    _vex_WriteDO(slot, total, (bit & 0xFF) != 0 ? (current | mask) : (current & ~mask));
}

VEXSDK_API uint32_t _vex_ReadDI(uint32_t slot, int32_t total) { return read_inputs(slot & 0xFF, total); }

}  // extern "C"
