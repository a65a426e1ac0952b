// The module watchdog's interrupt: a module whose watchdog runs out raises
// its slot's interrupt line (while 2 is written at 0x22). The library serves
// it with a fixed handler per slot that switches the module's watchdog off,
// which drops the line, and then calls the program's callback with the slot.
#include <atomic>
#include <utility>

#include "io/module_registers.h"
#include "io/module_watchdog.h"
#include "vexsdk.h"

using namespace vex;
using namespace vex::io;

namespace {

constexpr uint32_t kRegWdtInterrupt = 0x22;
constexpr uint8_t kWdtInterruptOn = 2;
constexpr uint8_t kCapabilityWdtInterrupt = 1;  // capability bits 5..7 = 001
constexpr int32_t kTriggerLevel = 1;
constexpr int32_t kHandlerPriority = 50;

// The program's callback per slot: stored by the registering export on any
// thread, read by the handler on its service thread. Atomic, no lock: a
// handler sees the old callback or the new one, never a torn one.
std::atomic<VEX_SLOT_CALLBACK> g_callbacks[kModuleSlots];

template <uint32_t Slot>
int32_t handler() {
    module_write8(Slot, kRegWdtEnable, 0);
    if (VEX_SLOT_CALLBACK cb = g_callbacks[Slot].load(std::memory_order_acquire)) cb(Slot);
    return 0;  // acknowledged: the line is down now
}

template <uint32_t... Slots>
constexpr VEX_IRQ_CALLBACK handler_of(uint32_t slot, std::integer_sequence<uint32_t, Slots...>) {
    constexpr VEX_IRQ_CALLBACK table[] = {handler<Slots>...};
    return table[slot];
}

}  // namespace

namespace vex::io {

void reset_wdt_interrupt_callbacks() {
    for (auto& cb : g_callbacks) cb.store(nullptr, std::memory_order_relaxed);
}

}  // namespace vex::io

extern "C" {

VEXSDK_API VEX_BOOL vex_InitModuleWDTInterrupt(uint32_t slot, VEX_SLOT_CALLBACK callback) {
    const uint32_t s = slot & 0xFF;
    // Only parallel-bus modules that carry the watchdog interrupt; slots
    // beyond the eight module slots hold none.
    if (s >= kModuleSlots || module_read8(s, kRegId) == kSerialModuleId ||
        (module_read8(s, kRegCapability) >> 5) != kCapabilityWdtInterrupt)
        return VEX_FALSE;
    vex_SetTriggerType(s, kTriggerLevel);
    g_callbacks[s].store(callback, std::memory_order_release);
    // A slot registered already keeps its registration (and this callback);
    // the result says whether this call registered it.
    const VEX_BOOL32 registered = vex_RegisterSlotInterrupt(s, handler_of(s, std::make_integer_sequence<uint32_t, kModuleSlots>{}));
    vex_SetSlotInterruptPriority(s, kHandlerPriority);  // without real-time rights: normal priority
    return registered ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API VEX_BOOL vex_SetModuleWDTInterruptStatus(uint32_t slot, int16_t status) {
    const uint32_t s = slot & 0xFF;
    set_watchdog_interrupt_status(s, status);
    if (status != 0) {
        module_write8(s, kRegWdtInterrupt, kWdtInterruptOn);
        vex_EnableSlotInterrupt(s, 1);
    } else {
        module_write8(s, kRegWdtInterrupt, 0);
        vex_EnableSlotInterrupt(s, 0);
        vex_UnregisterSlotInterrupt(static_cast<uint8_t>(s));  // not registered (here): nothing to undo
    }
    return VEX_TRUE;
}

VEXSDK_API int16_t vex_GetModuleWDTInterruptStatus(uint32_t slot) { return watchdog_interrupt_status(slot & 0xFF); }

}  // extern "C"
