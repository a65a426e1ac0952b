// Module watchdog of slot modules: configuration, refresh, reset, status
// and last output source. Parallel-bus modules are driven through their
// registers here; serial modules (remote, or ID 255 in a local slot) are
// handed to the host-watchdog calls of the serial module protocol (zed_ by
// bus address, vexsund_ by slot), whose codes they leave.
#include "io/module_watchdog.h"

#include <atomic>

#include "frame/backplane.h"
#include "frame/errors.h"
#include "platform/system.h"
#include "vexsdk.h"

namespace vex::io {
namespace {

// What this process last asked of each slot's watchdog. Any thread may
// call in, so each field is atomic; no lock, as each stands alone.
std::atomic<uint8_t> g_enable[kModuleSlots];
std::atomic<int32_t> g_overwrite[kModuleSlots] = {VEX_TRUE, VEX_TRUE, VEX_TRUE, VEX_TRUE,
                                                  VEX_TRUE, VEX_TRUE, VEX_TRUE, VEX_TRUE};
std::atomic<int16_t> g_interrupt_status[kModuleSlots];

}  // namespace

void reset_watchdog_state() {
    for (uint32_t i = 0; i < kModuleSlots; ++i) {
        g_enable[i].store(0, std::memory_order_relaxed);
        g_overwrite[i].store(VEX_TRUE, std::memory_order_relaxed);
        g_interrupt_status[i].store(0, std::memory_order_relaxed);
    }
}

bool overwrite_permitted(uint32_t slot) {
    return slot >= kModuleSlots || g_overwrite[slot].load(std::memory_order_relaxed) != 0;
}
void set_overwrite_permitted(uint32_t slot, bool permitted) {
    if (slot < kModuleSlots) g_overwrite[slot].store(permitted ? VEX_TRUE : VEX_FALSE, std::memory_order_relaxed);
}
uint8_t watchdog_enable_flag(uint32_t slot) {
    return slot < kModuleSlots ? g_enable[slot].load(std::memory_order_relaxed) : 0;
}
void set_watchdog_enable_flag(uint32_t slot, uint8_t enabled) {
    if (slot < kModuleSlots) g_enable[slot].store(enabled, std::memory_order_relaxed);
}
int16_t watchdog_interrupt_status(uint32_t slot) {
    return slot < kModuleSlots ? g_interrupt_status[slot].load(std::memory_order_relaxed) : 0;
}
void set_watchdog_interrupt_status(uint32_t slot, int16_t status) {
    if (slot < kModuleSlots) g_interrupt_status[slot].store(status, std::memory_order_relaxed);
}

bool read_back_outputs_held(uint32_t slot) {
    if (module_read8(slot, kRegId) != kReadBackModuleId) return false;
    if (overwrite_permitted(slot)) return false;
    return (module_read8(slot, kRegWdtStatus) & kStatusExpired) != 0;
}

}  // namespace vex::io

using namespace vex;
using namespace vex::io;

namespace {

// Where a module address leads. These calls know only two forms: 0x1000
// and above is a serial module on a bus, anything below (negative values
// included) a local slot by its low 8 bits.
enum class Module { Remote, Empty, SerialInSlot, Parallel };

struct Located {
    Module kind;
    uint32_t slot;
};

Located locate(int32_t address, bool check_presence) {
    if (address >= 0x1000) return {Module::Remote, 0};
    const uint32_t slot = static_cast<uint32_t>(address) & 0xFF;
    // Slots 8 and above have no presence bit and count as present; their
    // ID reads the floating bus, 0xFF, like a serial module.
    if (check_presence && slot < kModuleSlots && !frame::slot_present(slot)) return {Module::Empty, slot};
    if (module_read8(slot, kRegId) == kSerialModuleId) return {Module::SerialInSlot, slot};
    return {Module::Parallel, slot};
}

// The bus address of a remote module (address >= 0x1000; no unit form
// here, so the whole rest is the address, as the module's commands print it).
uint32_t bus_of(int32_t address) { return static_cast<uint32_t>(address) - 0x1000u; }

// Watchdog status of a serial module: the call's result, status in *s.
bool serial_status(VEX_PORT port, int32_t address, const Located& m, uint16_t* s) {
    return (m.kind == Module::Remote ? zed_GetModuleWDTStatus(port, bus_of(address), s)
                                     : vexsund_GetModuleWDTStatus(port, m.slot, s)) != 0;
}

void refresh(uint32_t slot) {
    module_write8(slot, kRegWdtRefresh, kWdtRefreshKey);
    plat::sleep_ms(5);
}

VEX_BOOL expired(uint32_t slot) {
    return (module_read8(slot, kRegWdtStatus) & kStatusExpired) ? VEX_TRUE : VEX_FALSE;
}

}  // namespace

extern "C" {

VEXSDK_API VEX_BOOL vex_GetModuleWDTStatus(VEX_PORT port, int32_t address) {
    const Located m = locate(address, true);
    switch (m.kind) {
    case Module::Parallel: return expired(m.slot);
    case Module::Empty: return VEX_FALSE;
    case Module::Remote:
    case Module::SerialInSlot: break;
    }
    uint16_t status = 0;
    return serial_status(port, address, m, &status) && status != 0 ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API VEX_BOOL vex_GetModuleWDTStatusEX(VEX_PORT port, int32_t address, uint16_t* status) {
    const Located m = locate(address, true);
    switch (m.kind) {
    case Module::Parallel: return expired(m.slot);  // the status word is the serial modules'
    case Module::Empty: return VEX_FALSE;
    case Module::Remote:
    case Module::SerialInSlot: break;
    }
    return serial_status(port, address, m, status) ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API VEX_BOOL vex_RefreshModuleWDT(VEX_PORT port, int32_t address) {
    const Located m = locate(address, true);
    switch (m.kind) {
    case Module::Parallel: refresh(m.slot); return VEX_TRUE;
    case Module::Empty: return VEX_TRUE;
    case Module::Remote: return zed_RefreshModuleWDT(port);  // heard by every module on the port
    case Module::SerialInSlot: return vexsund_RefreshModuleWDT(port);
    }
    return VEX_FALSE;
}

VEXSDK_API VEX_BOOL vex_ResetModuleWDT(VEX_PORT port, int32_t address) {
    const Located m = locate(address, true);
    switch (m.kind) {
    case Module::Parallel:
        // Enabling re-arms an expired watchdog.
        module_write8(m.slot, kRegWdtEnable, 1);
        plat::sleep_ms(5);
        return VEX_TRUE;
    case Module::Empty: return VEX_TRUE;
    case Module::Remote: return zed_ResetModuleWDT(port, bus_of(address));
    case Module::SerialInSlot: return vexsund_ResetModuleWDT(port, m.slot);
    }
    return VEX_FALSE;
}

VEXSDK_API VEX_BOOL vex_SetModuleWDTConfig(VEX_PORT port, int32_t address, int16_t enable, uint32_t timeout,
                                           VEX_BOOL32 overwrite) {
    const Located m = locate(address, true);
    switch (m.kind) {
    case Module::Parallel: {
        set_overwrite_permitted(m.slot, overwrite != 0);
        // The module counts half-seconds in one byte: large timeouts wrap.
        uint32_t half_seconds = timeout * 2u;
        if (half_seconds < 1) half_seconds = 1;
        module_write8(m.slot, kRegWdtTimeout, static_cast<uint8_t>(half_seconds & 0xFF));
        const uint8_t on = enable != 0 ? 1 : 0;
        set_watchdog_enable_flag(m.slot, on);
        module_write8(m.slot, kRegWdtEnable, on);
        refresh(m.slot);
        return VEX_TRUE;
    }
    case Module::Empty: return VEX_TRUE;
    case Module::Remote: return zed_SetModuleWDTConfig(port, bus_of(address), enable, timeout);
    case Module::SerialInSlot: return vexsund_SetModuleWDTConfig(port, m.slot, enable, timeout);
    }
    return VEX_FALSE;
}

VEXSDK_API VEX_BOOL vex_GetModuleWDTConfig(VEX_PORT port, int32_t address, int16_t* enable, uint32_t* timeout,
                                           VEX_BOOL32* overwrite) {
    const Located m = locate(address, true);
    switch (m.kind) {
    case Module::Parallel:
        if (enable) *enable = watchdog_enable_flag(m.slot);
        if (timeout) *timeout = module_read8(m.slot, kRegWdtTimeout) / 2u;
        if (overwrite) *overwrite = overwrite_permitted(m.slot) ? VEX_TRUE : VEX_FALSE;
        return VEX_TRUE;
    case Module::Empty: return VEX_TRUE;
    case Module::Remote:
    case Module::SerialInSlot: break;
    }
    // The module's answer, written only when the call succeeds; the
    // overwrite permission is a parallel-bus notion and is left as it is.
    uint16_t on = 0;
    uint32_t seconds = 0;
    const VEX_BOOL ok = m.kind == Module::Remote ? zed_GetModuleWDTConfig(port, bus_of(address), &on, &seconds)
                                                 : vexsund_GetModuleWDTConfig(port, m.slot, &on, &seconds);
    if (!ok) return VEX_FALSE;
    if (enable) *enable = static_cast<int16_t>(on);
    if (timeout) *timeout = seconds;
    return VEX_TRUE;
}

VEXSDK_API int16_t vex_GetModuleLastOutputSource(VEX_PORT port, int32_t address) {
    const Located m = locate(address, false);
    if (m.kind != Module::Parallel) {
        // A serial module only says whether its watchdog ran out: a remote
        // one reports the safe value (2) then, else the host (0); one in a
        // local slot is reported as driven by its safe value whenever it
        // answers.
        uint16_t status = 0;
        if (!serial_status(port, address, m, &status)) return -1;
        return m.kind == Module::SerialInSlot || status == 1 ? 2 : 0;
    }
    return static_cast<int16_t>(module_read8(m.slot, kRegWdtStatus) & 0x0F);
}

}  // extern "C"
