// The module identification exports: presence, type class, name, version.
#include <cstdio>

#include "frame/backplane.h"
#include "frame/errors.h"
#include "frame/identify.h"
#include "platform/text_codec.h"
#include "vexsdk.h"

namespace vex::frame {
namespace {

// Module registers exist for slots 0..7 only: the page "slot 8" would have
// is the backplane's own register block, and beyond it the window ends.
constexpr uint32_t kModuleSlots = 8;

uint8_t module_register(uint32_t slot, uint32_t offset) {
    return slot < kModuleSlots ? slot_read8(slot, offset) : 0xFF;
}

void put(char* out, const char* text) { std::snprintf(out, VEX_MODULE_NAME_SIZE, "%s", text); }

// Names a resolved module that the catalogue does not name: the name
// file's ModuleName, else "Unknow" for an unknown module, else the name
// file's default for a ModuleName that is missing.
void fallback_name(bool expansion_board, uint32_t id, const Resolution& r, char* out) {
    if (name_from_file(expansion_board, id, out, VEX_MODULE_NAME_SIZE)) return;
    put(out, r.series == catalogue::kUnknownSeries ? "Unknow" : "ERROR");
}

// The single-slot controller: its expansion board, by the board ID.
void board_name(char* out) {
    const uint32_t id = plat::bus_read8(kRegBoardId);
    const Resolution r = resolve_board(id);
    remember(0, r);
    if (!r.board || catalogue::format_expansion_name(*r.board, out, VEX_MODULE_NAME_SIZE) == 0)
        fallback_name(true, id, r, out);
}

// A slot of a multi-slot controller that passed the slot check. False for
// an empty slot or a serial module that gave no name.
bool slot_name(uint32_t slot, char* out) {
    out[0] = '\0';
    if (!slot_present(slot)) return false;
    const uint32_t id = module_register(slot, kRegModuleId);
    if (id == kSerialModuleId) {
        if (serial_module_name(slot, out, VEX_MODULE_NAME_SIZE)) return true;
        put(out, "Sund Module");
        return false;
    }
    const Resolution r = resolve_module(slot, id);
    remember(slot, r);
    if (!r.parallel.kind || catalogue::format_parallel_name(r.parallel, out, VEX_MODULE_NAME_SIZE) == 0)
        fallback_name(false, id, r, out);
    return true;
}

}  // namespace

Resolution resolve_module(uint32_t slot, uint32_t id) {
    const catalogue::ParallelKind* kind =
        id >= 1 && id <= kLastCatalogueId ? catalogue::find_parallel_kind(id) : nullptr;
    if (!kind) return resolve_from_file(false, id);
    catalogue::RuleRegisters regs;
    regs.r06 = module_register(slot, 0x06);
    regs.r08 = module_register(slot, 0x08);
    regs.r0e = module_register(slot, 0x0E);
    regs.r10 = module_register(slot, 0x10);
    Resolution r;
    r.parallel = catalogue::resolve_parallel(*kind, regs);
    r.series = r.parallel.series;
    r.type_class = r.parallel.type_class;
    return r;
}

Resolution resolve_board(uint32_t id) {
    const catalogue::ExpansionBoard* board =
        id >= 1 && id <= kLastBoardId ? catalogue::find_expansion_board(id) : nullptr;
    if (!board) return resolve_from_file(true, id);
    Resolution r;
    r.board = board;
    r.series = board->number;
    r.type_class = board->type_class;
    return r;
}

}  // namespace vex::frame

using namespace vex;
using namespace vex::frame;

VEXSDK_EXTERN_C_BEGIN

VEXSDK_API VEX_BOOL vex_ModuleExists(VEX_PORT port, int32_t address) {
    (void)port;  // the bus branch lies beyond the slot check: never reached
    if (address < 0 || static_cast<uint32_t>(address) >= slot_count()) return reject_slot();
    return slot_present(static_cast<uint32_t>(address)) ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API uint8_t vex_GetModuleType(uint32_t slot) {
    if (controller_model() == kModelSingleSlot) return remembered_class(0);
    slot &= 0xFF;
    if (!is_valid_slot(slot) || !slot_present(slot)) return 0;
    const Resolution r = resolve_module(slot, module_register(slot, kRegModuleId));
    remember(slot, r);
    return r.type_class;
}

VEXSDK_API uint32_t vex_GetModuleName(uint32_t slot, char* buffer) {
    if (!buffer) {
        set_last_error(VEX_ERR_MEMORY_ARGUMENT);
        return VEX_FALSE;
    }
    if (controller_model() == kModelSingleSlot) {
        board_name(buffer);
        return VEX_TRUE;
    }
    slot &= 0xFF;
    if (!is_valid_slot(slot)) {
        put(buffer, "Invalid slot");
        return VEX_FALSE;
    }
    return slot_name(slot, buffer) ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API uint32_t vex_GetModuleName_DOTNET(uint32_t slot, wchar_t* buffer) {
    if (!buffer) {
        set_last_error(VEX_ERR_MEMORY_ARGUMENT);
        return VEX_FALSE;
    }
    char name[VEX_MODULE_NAME_SIZE] = {};
    const uint32_t result = vex_GetModuleName(slot, name);
    // The name is at most 63 bytes, so it always fits 64 wide characters.
    if (plat::utf8_to_wide(name, buffer, VEX_MODULE_NAME_SIZE) == 0) buffer[0] = L'\0';
    return result;
}

VEXSDK_API uint32_t vex_GetModuleVersion(uint32_t slot) {
    if (controller_model() == kModelSingleSlot) return plat::bus_read8(kRegBoardVersion);
    slot &= 0xFF;
    if (!is_valid_slot(slot)) return 0;
    const uint32_t capability = module_register(slot, kRegCapability);
    return capability > 31 ? (capability & 0x1F) : 0;
}

VEXSDK_API int32_t vex_NordRModuleInitial(uint32_t slot) {
    slot &= 0xFF;
    if (module_register(slot, kRegModuleId) != 0x2F) return -1;
    const uint32_t capability = module_register(slot, kRegCapability);
    return capability >= 32 && (capability & 0x20) ? 0 : -1;
}

VEXSDK_EXTERN_C_END
