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

namespace detail {
Located resolve_slot_on_bus(uint32_t port, int32_t slot) {
    return resolve_slot(port, slot, [](uint32_t offset) { return plat::bus_read8(offset); });
}
}  // namespace detail

// A serial module in a local slot is `where` < 0x100, which the standard
// family takes as a local slot; a bus module is below 0x100000; the rest is
// a unit slot (resolve() only makes that for the calls with a unit form).
const modproto::SerialFamily& serial_family(Located at) {
    return at.where >= 0x100000 ? modproto::unit_family() : modproto::standard_family();
}

modproto::Target serial_target(Located at) {
    return at.where >= 0x100000 ? modproto::unit_slot(at.port, at.where) : modproto::remote_or_local(at.port, at.where);
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
