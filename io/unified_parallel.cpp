// The unified calls on a parallel-bus module in a local slot: the digital
// calls and the stored digital output values run the register code of the
// slot; the bus has no analog, latch or counter path, so those are
// refused as an unknown module. Analog output values have nothing stored on
// the parallel bus: their reads give 0 and their writes do nothing, both
// successfully, so that a program written for mixed racks runs unchanged.
#include "io/digital_inputs.h"
#include "io/output_values.h"
#include "io/unified.h"
#include "vexsdk.h"

namespace vex::io::unified {
namespace {

bool read_di(Located at, int32_t count, uint32_t* value) {
    *value = read_inputs(at.slot(), count);
    return true;
}

bool read_do(Located at, int32_t count, uint32_t* value) {
    *value = _vex_ReadDO(at.slot(), count);
    return true;
}

// Outputs first, as the combined serial read answers them.
bool read_dio(Located at, int32_t di_count, int32_t do_count, uint32_t* di, uint32_t* do_) {
    *do_ = _vex_ReadDO(at.slot(), do_count);
    *di = read_inputs(at.slot(), di_count);
    return true;
}

// Refused without a code for a count the module has no latch layout for,
// or while its watchdog holds the outputs.
bool write_do(Located at, int32_t count, uint32_t value) { return _vex_WriteDO(at.slot(), count, value) != 0; }

// The bit write reports nothing: a refused write of the whole word inside
// it is not seen by the caller (the bit is then simply not driven).
bool write_do_bit(Located at, int32_t count, int32_t channel, int32_t value) {
    _vex_WriteDOBit(at.slot(), count, static_cast<uint32_t>(channel), value != 0 ? 1u : 0u);
    return true;
}

bool read_stored_do(Located at, int32_t, Stored which, uint32_t* value) {
    *value = which == Stored::PowerOn ? read_power_on_do(at.slot()) : read_safe_do(at.slot());
    return true;
}

bool store_do(Located at, int32_t, Stored which, uint32_t value) {
    if (which == Stored::PowerOn)
        write_power_on_do(at.slot(), value);
    else
        write_safe_do(at.slot(), value);
    return true;
}

bool read_ao_stored(Located, int32_t, int32_t, Stored, float* value) {
    *value = 0.0f;
    return true;
}

bool store_ao(Located, int32_t, int32_t, Stored, float) { return true; }

}  // namespace

const UnifiedOps kParallelOps = {
    read_di,
    read_do,
    read_dio,
    write_do,
    write_do_bit,
    read_stored_do,
    store_do,
    VEX_UNIFIED_REFUSED(read_latch),
    VEX_UNIFIED_REFUSED(clear_latch),
    VEX_UNIFIED_REFUSED(read_counter),
    VEX_UNIFIED_REFUSED(read_counter_single),
    VEX_UNIFIED_REFUSED(clear_counter),
    VEX_UNIFIED_REFUSED(read_counter_overflow),
    VEX_UNIFIED_REFUSED(read_ai),
    VEX_UNIFIED_REFUSED(read_ai_hex),
    VEX_UNIFIED_REFUSED(read_ai_all),
    VEX_UNIFIED_REFUSED(read_ai_all_hex),
    VEX_UNIFIED_REFUSED(write_ao),
    VEX_UNIFIED_REFUSED(read_ao),
    read_ao_stored,
    store_ao,
};

}  // namespace vex::io::unified
