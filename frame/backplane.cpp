// Backplane access: the mapped window, its accessors, slots and the
// controller model code.
#include "frame/backplane.h"

#include <cstdio>
#include <cwchar>
#include <cwctype>

#include "frame/errors.h"
#include "platform/os_timer.h"
#include "platform/registry_store.h"
#include "vexsdk.h"

namespace vex::frame {
namespace {

// Base of the window as _vex_map hands it out; kept after unmapping. Both
// are written by the load and unload sequence only, which run while no
// export does; exports read them without a lock.
volatile uint8_t* g_base = nullptr;
bool g_mapped = false;

bool prefix_nocase(const wchar_t* text, const wchar_t* prefix) {
    for (; *prefix; ++text, ++prefix) {
        if (std::towupper(*text) != std::towupper(*prefix)) return false;
    }
    return true;
}

bool single_slot() { return g_controller_model == kModelSingleSlot; }

}  // namespace

int g_controller_model = kModelUnknown;

int model_from_hardware_id(const wchar_t* id) {
    if (!id || !*id) return kModelUnknown;
    if (prefix_nocase(id, L"LT4")) return prefix_nocase(id, L"LT44") ? kModelSingleSlotLargeEeprom : kModelSingleSlot;
    if (prefix_nocase(id, L"DM3")) return kModelDisplay;
    if (prefix_nocase(id, L"HR4")) return kModelMultiSlot;
    return kModelUnknown;
}

void load_controller_model() {
    namespace reg = plat::registry;
    reg::Value v;
    const bool found = reg::get_value_at_load(reg::Root::LocalMachine, L"HARDWARE\\MODULETYPE", L"HWID", v) ==
                           VEX_REG_SUCCESS &&
                       (v.type == reg::kTypeSz || v.type == reg::kTypeExpandSz);
    // An ID of 128 characters or more counts as none, as it would when read
    // into the 128-character buffer the registry call takes.
    if (!found || v.text.size() >= 128) v.text.clear();
    g_controller_model = model_from_hardware_id(v.text.c_str());
}

bool slot_present(uint32_t slot) {
    // Active low; slots 8 and above have no bit and always read present.
    const uint32_t s = slot & 0xFF;
    if (s >= 8) return true;
    return ((plat::bus_read8(kRegSlotPresence) >> s) & 1u) == 0;
}

bool reject_slot() {
    set_last_error(VEX_ERR_INVALID_SLOT);
    return false;
}

void forget_backplane_base() { g_base = nullptr; }

}  // namespace vex::frame

using namespace vex;
using namespace vex::frame;

extern "C" {

VEXSDK_API int32_t pub_Orvale_Init(void) {
    if (g_base) return 0;
    g_base = plat::map_backplane();
    g_mapped = g_base != nullptr;
    return g_mapped ? 1 : 0;
}

VEXSDK_API void pub_Orvale_Deinit(void) {
    if (!g_mapped) return;
    plat::unmap_backplane(g_base);
    g_mapped = false;  // the stored base stays, so Init does not map again
}

VEXSDK_API int32_t pub_VEX_Init(void) { return 0; }
VEXSDK_API void pub_VEX_Deinit(void) {}

VEXSDK_API volatile uint8_t* _vex_map(uint32_t offset) { return g_base ? g_base + offset : nullptr; }
VEXSDK_API volatile uint16_t* _vex_get_base_address(void) {
    return reinterpret_cast<volatile uint16_t*>(g_base);
}
VEXSDK_API uint32_t _vex_get_slot_offset(uint32_t slot) { return slot_page(slot); }
VEXSDK_API uint32_t _vex_slot_map(uint32_t slot, uint32_t offset) { return slot_page(slot) + offset; }

VEXSDK_API uint32_t _vex_inp(uint32_t offset) { return plat::bus_read8(offset); }
VEXSDK_API void _vex_outp(uint32_t offset, uint32_t value) {
    plat::bus_write8(offset, static_cast<uint8_t>(value));
}
VEXSDK_API uint32_t _vex_inpw(uint32_t offset) { return plat::bus_read16(offset); }
VEXSDK_API void _vex_outpw(uint32_t offset, uint32_t value) {
    plat::bus_write16(offset, static_cast<uint16_t>(value));
}
VEXSDK_API uint32_t _vex_slot_inp(uint32_t slot, uint32_t offset) {
    return plat::bus_read8(slot_page(slot) + offset);
}
VEXSDK_API void _vex_slot_outp(uint32_t slot, uint32_t offset, uint32_t value) {
    plat::bus_write8(slot_page(slot) + offset, static_cast<uint8_t>(value));
}
VEXSDK_API uint32_t _vex_slot_inpw(uint32_t slot, uint32_t offset) {
    return plat::bus_read16(slot_page(slot) + offset);
}
VEXSDK_API void _vex_slot_outpw(uint32_t slot, uint32_t offset, uint32_t value) {
    plat::bus_write16(slot_page(slot) + offset, static_cast<uint16_t>(value));
}

VEXSDK_API uint32_t _vex_slot_addr(uint32_t) {
    set_last_error(VEX_ERR_NOT_SUPPORTED);
    return 0;
}

VEXSDK_API VEX_BOOL _vex_slot_exists(uint32_t slot) { return slot_present(slot) ? VEX_TRUE : VEX_FALSE; }

VEXSDK_API uint32_t _vex_oscr0(void) { return plat::os_timer_count(); }
VEXSDK_API void _vex_refresh_screen(void) { (void)plat::os_timer_count(); }

VEXSDK_API uint32_t _vex_get_CPUtype(void) {
    set_last_error(VEX_ERR_NOT_SUPPORTED);
    return 0;
}

VEXSDK_API uint32_t vex_GetCPUID(void) { return plat::bus_read16(0) >> 13; }

VEXSDK_API uint32_t vex_GetSlotCount(void) { return slot_count(); }

VEXSDK_API int32_t vex_GetBackplaneID(char* buffer) {
    if (!buffer) return 0;
    if (single_slot()) {
        set_last_error(VEX_ERR_NOT_SUPPORTED);
        buffer[0] = '\0';
        return 0;
    }
    // "1.0.255.0" is the longest text: 9 characters and the NUL.
    return std::snprintf(buffer, 10, "1.0.%d.0", static_cast<int>(plat::bus_read8(kRegVersion)));
}

VEXSDK_API int32_t vex_GetDIPSwitch(void) {
    if (single_slot()) {
        set_last_error(VEX_ERR_NOT_SUPPORTED);
        return -1;
    }
    return static_cast<int32_t>(~plat::bus_read8(kRegDipSwitch) & 0xFFu);
}

VEXSDK_API void vex_ResetBackplane(void) {
    // Disable every slot interrupt, clear everything pending, re-arm.
    plat::bus_write8(0x9010, 0);
    plat::bus_write8(0x9014, 0);
    plat::bus_write8(0x9018, 0);
    plat::bus_write8(0x9044, 0);
    plat::bus_write8(0x9012, 0xFF);
    plat::bus_write8(0x9016, 0xFF);
    plat::bus_write8(0x901A, 0xFF);
    plat::bus_write8(kRegEndOfInterrupt, 0xFF);
    plat::bus_write8(kRegDipSwitch, 0xFF);
}

VEXSDK_API void vex_ChangeSlot(uint32_t slot) {
    if (single_slot()) {
        set_last_error(VEX_ERR_NOT_SUPPORTED);
        return;
    }
    // A short bus delay before the select, as the backplane needs.
    _vex_refresh_screen();
    const uint32_t s = slot & 0xFF;
    const uint32_t bit = s < 8 ? (1u << s) : 0u;  // slot 8 and above selects none
    plat::bus_write8(kRegSlotSelect, static_cast<uint8_t>(~bit & 0xFF));
}

}  // extern "C"
