// Address resolution of the unified I/O calls, and the table of an empty
// local slot.
#include "frame/errors.h"
#include "io/unified.h"
#include "vexsdk.h"

namespace vex::io::unified {

bool refuse() {
    frame::set_last_error(VEX_ERR_UNKNOWN_MODULE);
    return false;
}

Located resolve_bus(uint32_t port, int32_t address, UnitForm unit) {
    if (address >= 0x100000 && unit == UnitForm::UnitSlot)
        return Located{&kSerialOps, 0, &modproto::unit_family(), modproto::unit_slot(port, address)};
    return Located{&kSerialOps, 0, &modproto::standard_family(), modproto::remote_or_local(port, address)};
}

Located resolve_serial_slot(uint32_t port, uint32_t slot) {
    return Located{&kSerialOps, slot, &modproto::standard_family(), modproto::local_slot(port, slot)};
}

const UnifiedOps kEmptyOps = {
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

}  // namespace vex::io::unified
