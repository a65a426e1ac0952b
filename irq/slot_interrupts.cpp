// Slot interrupts: registration with a callback served by a service thread,
// and the lower-level calls for programs that wait on the event themselves.
#include "frame/backplane.h"
#include "frame/errors.h"
#include "irq/masks.h"
#include "irq/service_thread.h"
#include "irq/slot_registers.h"
#include "irq/slot_table.h"
#include "platform/interrupt.h"
#include "vexsdk.h"

using namespace vex;
using namespace vex::irq;

namespace {

constexpr int32_t kServicePriority = 100;

bool single_slot() { return frame::controller_model() == frame::kModelSingleSlot; }

// The slot check of calls that the single-slot controller answers for any
// slot (it has one interrupt, whatever the slot says).
bool slot_accepted(uint32_t slot) { return single_slot() || frame::is_valid_slot(slot); }

}  // namespace

extern "C" {

VEXSDK_API VEX_BOOL32 vex_InterruptInitialize(uint32_t slot) {
    const uint32_t s = slot & 0xFF;
    // The event comes first, even for a slot that then proves invalid.
    const int event = renew_slot_event(s);
    if (event < 0) {
        if (s >= kIrqSlots) frame::set_last_error(VEX_ERR_INVALID_SLOT);
        return VEX_FALSE;
    }
    uint32_t id = plat::kIrqSingleSlot;
    if (!single_slot()) {
        if (!frame::is_valid_slot(s)) return VEX_FALSE;
        id = plat::kIrqSlot0 + s;
    }
    return plat::bind_interrupt(id, event) ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API VEX_BOOL32 vex_RegisterSlotInterrupt(uint32_t slot, VEX_IRQ_CALLBACK callback) {
    const uint32_t s = slot & 0xFF;
    if (mask_has(shared_mask(Mask::SlotInterrupts), s)) {
        frame::set_last_error(VEX_ERR_SLOT_IN_USE);
        return VEX_FALSE;
    }
    if (!callback) return VEX_FALSE;  // nothing to serve with
    switch (claim_slot(s, callback)) {
    case Claim::AlreadyHeld:
        frame::set_last_error(VEX_ERR_SLOT_REGISTERED);
        return VEX_FALSE;
    case Claim::NoEntry:
        frame::set_last_error(VEX_ERR_INVALID_SLOT);
        return VEX_FALSE;
    case Claim::Claimed:
        break;
    }
    // From here a failure keeps the callback stored: a later attempt in this
    // process then fails as already registered until it unregisters.
    if (!vex_InterruptInitialize(s)) return VEX_FALSE;
    if (!start_slot_thread(s)) return VEX_FALSE;
    vex_SetSlotInterruptPriority(s, kServicePriority);  // without real-time rights it runs at normal priority
    change_mask(Mask::SlotInterrupts, s, true);
    return VEX_TRUE;
}

VEXSDK_API VEX_BOOL32 vex_UnregisterSlotInterrupt(uint8_t slot) {
    const uint16_t mask = shared_mask(Mask::SlotInterrupts);
    if (!mask_has(mask, slot)) {
        // Not registered anywhere; but a registration of this process that
        // failed half-way left its callback (and maybe its binding) here.
        // Letting them go is what makes the slot registrable again.
        if (holds_slot(slot)) {
            release_slot(slot);
            if (single_slot() || frame::is_valid_slot(slot))
                plat::unbind_interrupt(single_slot() ? plat::kIrqSingleSlot : plat::kIrqSlot0 + slot);
        }
        return VEX_FALSE;
    }
    if (mask != mask_copy(Mask::SlotInterrupts) || !holds_slot(slot)) {
        frame::set_last_error(VEX_ERR_SLOT_NOT_REGISTERED);
        return VEX_FALSE;
    }
    if (!single_slot() && !frame::is_valid_slot(slot)) return VEX_FALSE;
    const uint32_t id = single_slot() ? plat::kIrqSingleSlot : plat::kIrqSlot0 + slot;
    vex_EnableSlotInterrupt(slot, 0);
    change_mask(Mask::SlotInterrupts, slot, false);
    release_slot(slot);
    plat::unbind_interrupt(id);
    return VEX_TRUE;
}

VEXSDK_API void vex_EnableSlotInterrupt(uint32_t slot, uint8_t enable) {
    const uint32_t s = slot & 0xFF;
    if (single_slot()) {
        // This model cannot switch its interrupt off here: it re-arms.
        acknowledge_slot(s);
        return;
    }
    if (!frame::is_valid_slot(s)) return;
    set_slot_interrupt_enabled(s, slot_trigger_type(s), enable != 0);
}

VEXSDK_API void vex_SetTriggerType(uint32_t slot, int32_t type) {
    const uint32_t s = slot & 0xFF;
    if (single_slot()) {
        store_slot_trigger_type(s, type == kTriggerFalling ? kTriggerFalling : kTriggerRising);
        return;
    }
    if (!frame::is_valid_slot(s)) return;
    store_slot_trigger_type(s, type >= kTriggerRising && type <= kTriggerFalling ? type : kTriggerRising);
}

VEXSDK_API void vex_InterruptDone(uint32_t slot) {
    const uint32_t s = slot & 0xFF;
    if (slot_accepted(s)) acknowledge_slot(s);
}

VEXSDK_API VEX_EVENT vex_GetSlotInterruptEvent(uint32_t slot) {
    const uint32_t s = slot & 0xFF;
    if (!frame::is_valid_slot(s)) return 0;
    const int event = slot_event(s);
    return event > 0 ? event : 0;
}

VEXSDK_API void vex_SetSlotInterruptEvent(uint32_t slot, VEX_EVENT event) { store_slot_event(slot & 0xFF, event); }

VEXSDK_API uint32_t vex_GetSlotInterruptID(uint32_t slot) {
    if (single_slot()) return plat::kIrqSingleSlot;
    const uint32_t s = slot & 0xFF;
    return frame::is_valid_slot(s) ? plat::kIrqSlot0 + s : 0;
}

VEXSDK_API VEX_BOOL32 vex_SetSlotInterruptPriority(uint32_t slot, int32_t priority) {
    const uint32_t s = slot & 0xFF;
    if (!slot_accepted(s)) return VEX_FALSE;
    return set_slot_thread_priority(s, priority) ? VEX_TRUE : VEX_FALSE;
}

}  // extern "C"
