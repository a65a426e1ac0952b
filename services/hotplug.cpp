// Hot-plug notification. A registration is only a registry record under
// HKEY_LOCAL_MACHINE\VORLAN\HotPlug: one volatile key per window, named
// "HWND" and the window handle in upper-case hexadecimal, holding the
// values "HWND" and "MSGID". The component that posts the messages reads
// them; the keys vanish when the controller restarts. Registry failures are
// ignored and record nothing.
#include "services/hotplug.h"

#include <cwchar>

#include "frame/backplane.h"
#include "platform/registry_store.h"
#include "vexsdk.h"

namespace vex::services::hotplug {
namespace {

namespace reg = plat::registry;
constexpr reg::Root kRoot = reg::Root::LocalMachine;

std::wstring window_key(uint32_t window) {
    wchar_t name[16];
    std::swprintf(name, sizeof name / sizeof name[0], L"HWND%X", window);
    return std::wstring(kHotPlugKey) + L"\\" + name;
}

void set_bit(uint32_t reg, bool on) {
    const uint8_t v = plat::bus_read8(reg);
    plat::bus_write8(reg, static_cast<uint8_t>(on ? (v | kHotPlugBit) : (v & ~kHotPlugBit)));
}

}  // namespace

std::vector<Registration> registrations() {
    std::vector<Registration> out;
    auto store = reg::current_store();
    uint32_t count = 0;
    if (store->count_subkeys(kRoot, kHotPlugKey, count) != 0) return out;
    for (uint32_t i = 0; i < count; ++i) {
        Registration r;
        if (store->subkey_name(kRoot, kHotPlugKey, i, r.key) != 0) continue;
        const std::wstring key = std::wstring(kHotPlugKey) + L"\\" + r.key;
        reg::Value v;
        if (store->get_value(kRoot, key, L"HWND", v) == 0) r.window = v.number;
        if (store->get_value(kRoot, key, L"MSGID", v) == 0) r.message = v.number;
        out.push_back(std::move(r));
    }
    return out;
}

}  // namespace vex::services::hotplug

using namespace vex;
using namespace vex::services::hotplug;

extern "C" {

VEXSDK_API void vex_RegistryHotPlug(uint32_t window, uint32_t message) {
    try {
        auto store = plat::registry::current_store();
        if (store->create_key(kRoot, kHotPlugKey) != 0) return;
        const std::wstring key = window_key(window);
        if (store->create_key(kRoot, key, true) != 0) return;
        if (store->set_value(kRoot, key, L"HWND", plat::registry::Value::dword(window)) != 0) return;
        if (store->set_value(kRoot, key, L"MSGID", plat::registry::Value::dword(message)) != 0) return;
    } catch (...) {
        // Registry failures are not reported; nor is running out of memory.
    }
}

VEXSDK_API void vex_UnregistryHotPlug(uint32_t window) {
    try {
        if (plat::registry::current_store()->delete_key(kRoot, window_key(window)) != 0) return;
    } catch (...) {
        // As above: not reported.
    }
}

VEXSDK_API void vex_EnableHotPlug(VEX_BOOL32 enable) { set_bit(kRegControl, (enable & 0xFF) != 0); }

VEXSDK_API VEX_BOOL32 vex_GetHotPlugStatus(void) {
    return (plat::bus_read8(kRegControl) & kHotPlugBit) ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API void vex_ClearHotPlug(void) { set_bit(kRegStatus, true); }

VEXSDK_API VEX_BOOL32 vex_GetHotPlugIRQState(void) {
    return (plat::bus_read8(kRegStatus) & kHotPlugBit) ? VEX_TRUE : VEX_FALSE;
}

}  // extern "C"
