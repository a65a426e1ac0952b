// vex_ReadMemory / vex_WriteMemory: one dispatch by memory type over the
// three backends, with the address forms and codes of the controller's
// library (see include/vexsdk/memory.h).
#include "services/memory.h"

#include "frame/backplane.h"
#include "frame/errors.h"
#include "services/eeprom.h"
#include "services/nvram.h"
#include "services/sram.h"
#include "vexsdk.h"

namespace vex::services {
namespace {

using frame::set_last_error;

constexpr uint64_t kSramSize = 0x80000;
constexpr uint64_t kSramSystemBase = 0x1000000;
constexpr uint64_t kSramUserOffset = 0x10000;
constexpr uint64_t kEepromSystemBase = 0x20000;
constexpr uint64_t kNvramLimit = 30;

bool single_slot() {
    const int model = frame::controller_model();
    return model == frame::kModelSingleSlot || model == frame::kModelSingleSlotLargeEeprom;
}
bool large_eeprom() { return frame::controller_model() == frame::kModelSingleSlotLargeEeprom; }
uint64_t eeprom_chip_size() { return large_eeprom() ? 0x10000 : 0x4000; }

// One direction of the transfer: the backends and the EEPROM's codes.
struct Direction {
    bool writing;
    uint8_t* read_buf;
    const uint8_t* write_buf;
    const void* buffer() const { return writing ? static_cast<const void*>(write_buf) : read_buf; }
};

bool buffer_ok(const Direction& d, uint32_t length) {
    if (d.buffer() || length == 0) return true;
    set_last_error(VEX_ERR_MEMORY_ARGUMENT);
    return false;
}

bool sram(const Direction& d, uint32_t address, uint32_t length) {
    if (single_slot()) return false;
    uint64_t at;
    if (address + kSramUserOffset + length <= kSramSize) {
        at = address + kSramUserOffset;
    } else {
        set_last_error(VEX_ERR_SRAM_ADDRESS);
        if (address < kSramSystemBase || address - kSramSystemBase + length > kSramSize) return false;
        at = address - kSramSystemBase;
    }
    if (!buffer_ok(d, length)) return false;
    if (d.writing)
        sram::write(static_cast<uint32_t>(at), d.write_buf, length);
    else
        sram::read(static_cast<uint32_t>(at), d.read_buf, length);
    return true;
}

bool eeprom(const Direction& d, uint32_t address, uint32_t length) {
    const uint64_t limit = large_eeprom() ? 0xE000 : 0x2000;
    uint64_t at;
    if (address <= limit && address + uint64_t{length} <= limit) {
        at = address + (large_eeprom() ? 0x2000u : 0u);
    } else {
        set_last_error(VEX_ERR_EEPROM_ADDRESS);
        if (address < kEepromSystemBase || address - kEepromSystemBase + length > eeprom_chip_size()) return false;
        at = address - kEepromSystemBase;
    }
    if (!buffer_ok(d, length)) return false;
    if (!d.writing) {
        if (eeprom::read(static_cast<uint32_t>(at), d.read_buf, length)) return true;
        set_last_error(VEX_ERR_EEPROM_READ);
        return false;
    }
    switch (eeprom::write(static_cast<uint32_t>(at), d.write_buf, length)) {
    case eeprom::WriteResult::Ok: return true;
    case eeprom::WriteResult::WriteProtected: set_last_error(VEX_ERR_EEPROM_WRITE_PROTECTED); return false;
    case eeprom::WriteResult::Failed: break;
    }
    set_last_error(VEX_ERR_EEPROM_WRITE);
    return false;
}

bool nvram(const Direction& d, uint32_t address, uint32_t length) {
    if (address > kNvramLimit || address + uint64_t{length} > kNvramLimit) {
        set_last_error(VEX_ERR_NVRAM_ADDRESS);
        return false;
    }
    if (!buffer_ok(d, length)) return false;
    if (d.writing)
        nvram::write(address, d.write_buf, length);
    else
        nvram::read(address, d.read_buf, length);
    return true;
}

using Backend = bool (*)(const Direction&, uint32_t, uint32_t);
constexpr Backend kBackends[] = {sram, eeprom, nvram};  // by memory type

VEX_BOOL dispatch(const Direction& d, uint32_t address, uint32_t length, uint32_t type) {
    if (length == 0) set_last_error(VEX_ERR_MEMORY_ARGUMENT);  // and carry on
    if (type >= std::size(kBackends)) {
        set_last_error(VEX_ERR_MEMORY_TYPE);
        return VEX_FALSE;
    }
    return kBackends[type](d, address, length) ? VEX_TRUE : VEX_FALSE;
}

}  // namespace

std::string attach_memory() { return eeprom::attach(); }
void detach_memory() { eeprom::detach(); }

}  // namespace vex::services

using namespace vex;
using namespace vex::services;

extern "C" {

VEXSDK_API VEX_BOOL vex_ReadMemory(uint32_t address, uint8_t* buffer, uint32_t length, uint32_t memType) {
    return dispatch(Direction{false, buffer, nullptr}, address, length, memType);
}

VEXSDK_API VEX_BOOL vex_WriteMemory(uint32_t address, const uint8_t* buffer, uint32_t length, uint32_t memType) {
    return dispatch(Direction{true, nullptr, buffer}, address, length, memType);
}

VEXSDK_API uint32_t vex_GetMemorySize(uint32_t memType) {
    switch (memType) {
    case VEX_MEMORY_SRAM: return single_slot() ? 0 : 0x70000;
    case VEX_MEMORY_EEPROM: return 8192;
    case VEX_MEMORY_NVRAM: return 31;
    default: frame::set_last_error(VEX_ERR_MEMORY_TYPE); return 0;
    }
}

VEXSDK_API VEX_BOOL vex_EnableEEPROM(uint32_t enable) {
    eeprom::set_write_protect((enable & 0xFF) == 0);
    return VEX_TRUE;
}

}  // extern "C"
