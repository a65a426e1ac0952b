// Address resolution of the unified I/O calls, and the table of an empty
// local slot.
#include "frame/backplane.h"
#include "frame/errors.h"
#include "io/module_registers.h"
#include "io/unified.h"
#include "vexsdk.h"

namespace vex::io::unified {

bool refuse() {
    frame::set_last_error(VEX_ERR_UNKNOWN_MODULE);
    return false;
}

namespace {

Located serial_at(const modproto::SerialFamily& family, const modproto::Target& target, uint32_t slot) {
    return Located{&serial_ops(), slot, &family, target};
}

}  // namespace

Located resolve(uint32_t port, int32_t address, UnitForm unit) {
    if (address >= 0x100000 && unit == UnitForm::UnitSlot)
        return serial_at(modproto::unit_family(), modproto::unit_slot(port, address), 0);
    if (address >= 0x1000 && address < 0x100000)
        return serial_at(modproto::standard_family(), modproto::remote_or_local(port, address), 0);
    const uint32_t slot = static_cast<uint32_t>(address) & 0xFF;
    // The presence bit is active low; slots 8 and above have none and no
    // page either, so they are nobody's.
    if (slot >= kModuleSlots || !frame::slot_present(slot)) return Located{&empty_ops(), slot, nullptr, {}};
    if (module_read8(slot, kRegId) == kSerialModuleId)
        return serial_at(modproto::standard_family(), modproto::local_slot(port, slot), slot);
    return Located{&parallel_ops(), slot, nullptr, {}};
}

const UnifiedOps& empty_ops() {
    static constexpr UnifiedOps kOps = {
        VEX_UNIFIED_REFUSED(read_di),         VEX_UNIFIED_REFUSED(read_do),
        VEX_UNIFIED_REFUSED(read_dio),        VEX_UNIFIED_REFUSED(write_do),
        VEX_UNIFIED_REFUSED(write_do_bit),    VEX_UNIFIED_REFUSED(read_stored_do),
        VEX_UNIFIED_REFUSED(store_do),        VEX_UNIFIED_REFUSED(read_latch),
        VEX_UNIFIED_REFUSED(clear_latch),     VEX_UNIFIED_REFUSED(read_counter),
        VEX_UNIFIED_REFUSED(read_counter_single), VEX_UNIFIED_REFUSED(clear_counter),
        VEX_UNIFIED_REFUSED(read_counter_overflow), VEX_UNIFIED_REFUSED(read_ai),
        VEX_UNIFIED_REFUSED(read_ai_hex),     VEX_UNIFIED_REFUSED(read_ai_all),
        VEX_UNIFIED_REFUSED(read_ai_all_hex), VEX_UNIFIED_REFUSED(write_ao),
        VEX_UNIFIED_REFUSED(read_ao),         VEX_UNIFIED_REFUSED(read_ao_stored),
        VEX_UNIFIED_REFUSED(store_ao),
    };
    return kOps;
}

}  // namespace vex::io::unified
