// The backplane window as the rest of the library sees it: slot pages,
// model code, slot count and the slot check.
#pragma once

#include <cstdint>

#include "platform/backplane_bus.h"

namespace vex::frame {

// Controller model codes, from the hardware ID at load.
inline constexpr int kModelUnknown = 0;
inline constexpr int kModelMultiSlot = 4;
inline constexpr int kModelSingleSlot = 5;   // no backplane register block
inline constexpr int kModelDisplay = 6;
inline constexpr int kModelSingleSlotLargeEeprom = 52;

// Backplane register offsets in the window.
inline constexpr uint32_t kRegVersion = 0x9000;
inline constexpr uint32_t kRegDipSwitch = 0x9002;
inline constexpr uint32_t kRegSlotSelect = 0x9004;
inline constexpr uint32_t kRegEndOfInterrupt = 0x9006;
inline constexpr uint32_t kRegSlotPresence = 0x9008;
inline constexpr uint32_t kRegSlotCount = 0x9046;

// Fixed at load, before any export can run; read on every hot path, so
// the accessors below are inline.
extern int g_controller_model;
inline int controller_model() { return g_controller_model; }
// Derives the model code from a hardware ID text (prefix match, any case).
int model_from_hardware_id(const wchar_t* hardware_id);
// Reads the hardware ID from the registry and fixes the model code.
void load_controller_model();

// Offset of a slot's 4 KiB page: slot 0 at 0x1000, slot 7 at 0x8000.
constexpr uint32_t slot_page(uint32_t slot) { return ((slot & 0xFF) + 1) * 0x1000; }

inline uint8_t slot_read8(uint32_t slot, uint32_t offset) { return plat::bus_read8(slot_page(slot) + offset); }
inline void slot_write8(uint32_t slot, uint32_t offset, uint8_t value) {
    plat::bus_write8(slot_page(slot) + offset, value);
}

inline uint32_t slot_count() {
    if (controller_model() == kModelSingleSlot) return 1;
    const uint32_t code = plat::bus_read8(kRegSlotCount) & 0x07u;
    return code == 7 ? 8 : code;
}
// True when the slot (low 8 bits) is present in the presence register.
bool slot_present(uint32_t slot);
// Records VEX_ERR_INVALID_SLOT and returns false.
bool reject_slot();
// 0 <= slot < slot count; otherwise records VEX_ERR_INVALID_SLOT.
inline bool is_valid_slot(uint32_t slot) { return slot < slot_count() || reject_slot(); }

// Load and unload of the window mapping (the load sequence's member).
void forget_backplane_base();

}  // namespace vex::frame
