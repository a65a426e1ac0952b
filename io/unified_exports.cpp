// The unified I/O exports: each resolves its address once and calls the
// operation of the target's table. Null outputs are refused first, the
// same way for every kind of module.
#include "frame/errors.h"
#include "io/digital_inputs.h"
#include "io/unified.h"
#include "vexsdk.h"

using namespace vex::io::unified;

namespace {

VEX_BOOL result(bool ok) { return ok ? VEX_TRUE : VEX_FALSE; }

VEX_BOOL null_output() {
    vex::frame::set_last_error(VEX_ERR_UART_BUFFER_OVERFLOW);
    return VEX_FALSE;
}

size_t capacity_of(int32_t capacity) { return capacity > 0 ? static_cast<size_t>(capacity) : 0; }

// The all-inputs reads with a bound: the count is stored whenever the
// module was asked, as the readings are.
template <typename T, typename Op>
VEX_BOOL read_all_bounded(VEX_PORT port, int32_t address, T* values, int32_t capacity, int32_t* count, Op op) {
    const size_t room = capacity_of(capacity);
    if (!count || (!values && room > 0)) return null_output();
    size_t n = 0;
    const bool ok = op(resolve(port, address), values, room, &n);
    if (ok || n > 0) *count = n > INT32_MAX ? INT32_MAX : static_cast<int32_t>(n);
    return result(ok);
}

}  // namespace

VEXSDK_EXTERN_C_BEGIN

// The call control loops make most: a parallel-bus module's inputs are
// read here, inline after the address checks, instead of through the
// table (which does the same for every other caller).
VEXSDK_API VEX_BOOL vex_ReadDI(VEX_PORT port, int32_t address, int32_t di_count, uint32_t* value) {
    if (!value) return null_output();
    const Located at = resolve(port, address);
    if (at.ops == &kParallelOps) [[likely]] {
        *value = vex::io::read_inputs(at.slot(), di_count);
        return VEX_TRUE;
    }
    return result(at.ops->read_di(at, di_count, value));
}

VEXSDK_API VEX_BOOL vex_ReadDO(VEX_PORT port, int32_t address, int32_t do_count, uint32_t* value) {
    if (!value) return null_output();
    const Located at = resolve(port, address);
    return result(at.ops->read_do(at, do_count, value));
}

VEXSDK_API VEX_BOOL vex_ReadDIO(VEX_PORT port, int32_t address, int32_t di_count, int32_t do_count,
                                uint32_t* di_value, uint32_t* do_value) {
    if (!di_value || !do_value) return null_output();
    const Located at = resolve(port, address);
    return result(at.ops->read_dio(at, di_count, do_count, di_value, do_value));
}

VEXSDK_API VEX_BOOL vex_WriteDO(VEX_PORT port, int32_t address, int32_t do_count, uint32_t value) {
    const Located at = resolve(port, address);
    return result(at.ops->write_do(at, do_count, value));
}

VEXSDK_API VEX_BOOL vex_WriteDOBit(VEX_PORT port, int32_t address, int32_t do_count, int32_t channel, int32_t value) {
    const Located at = resolve(port, address);
    return result(at.ops->write_do_bit(at, do_count, channel, value));
}

VEXSDK_API VEX_BOOL vex_ReadModulePowerOnValueDO(VEX_PORT port, int32_t address, int32_t do_count, uint32_t* value) {
    if (!value) return null_output();
    const Located at = resolve(port, address);
    return result(at.ops->read_stored_do(at, do_count, Stored::PowerOn, value));
}

VEXSDK_API VEX_BOOL vex_ReadModuleSafeValueDO(VEX_PORT port, int32_t address, int32_t do_count, uint32_t* value) {
    if (!value) return null_output();
    const Located at = resolve(port, address);
    return result(at.ops->read_stored_do(at, do_count, Stored::Safe, value));
}

VEXSDK_API VEX_BOOL vex_WriteModulePowerOnValueDO(VEX_PORT port, int32_t address, int32_t do_count, uint32_t value) {
    const Located at = resolve(port, address);
    return result(at.ops->store_do(at, do_count, Stored::PowerOn, value));
}

VEXSDK_API VEX_BOOL vex_WriteModuleSafeValueDO(VEX_PORT port, int32_t address, int32_t do_count, uint32_t value) {
    const Located at = resolve(port, address);
    return result(at.ops->store_do(at, do_count, Stored::Safe, value));
}

VEXSDK_API VEX_BOOL vex_ReadDILatch(VEX_PORT port, int32_t address, int32_t di_count, int32_t latch, uint32_t* value) {
    if (!value) return null_output();
    const Located at = resolve(port, address);
    uint32_t di = 0, do_ = 0;
    if (!at.ops->read_latch(at, di_count, 0, latch, &di, &do_)) return VEX_FALSE;
    *value = di;
    return VEX_TRUE;
}

VEXSDK_API VEX_BOOL vex_ReadDIOLatch(VEX_PORT port, int32_t address, int32_t di_count, int32_t do_count, int32_t latch,
                                     uint32_t* di_latch, uint32_t* do_latch) {
    if (!di_latch || !do_latch) return null_output();
    const Located at = resolve(port, address);
    return result(at.ops->read_latch(at, di_count, do_count, latch, di_latch, do_latch));
}

VEXSDK_API VEX_BOOL vex_ClearDILatch(VEX_PORT port, int32_t address) {
    const Located at = resolve(port, address);
    return result(at.ops->clear_latch(at));
}

VEXSDK_API VEX_BOOL vex_ClearDIOLatch(VEX_PORT port, int32_t address) {
    const Located at = resolve(port, address);
    return result(at.ops->clear_latch(at));
}

VEXSDK_API VEX_BOOL vex_ReadDICNT(VEX_PORT port, int32_t address, int32_t channel, int32_t di_count, uint32_t* count) {
    if (!count) return null_output();
    const Located at = resolve(port, address);
    return result(at.ops->read_counter(at, channel, di_count, count));
}

VEXSDK_API VEX_BOOL vex_ClearDICNT(VEX_PORT port, int32_t address, int32_t channel, int32_t di_count) {
    const Located at = resolve(port, address);
    return result(at.ops->clear_counter(at, channel, di_count));
}

VEXSDK_API VEX_BOOL vex_ReadCNT(VEX_PORT port, int32_t address, int32_t channel, uint32_t* count) {
    if (!count) return null_output();
    const Located at = resolve(port, address);
    return result(at.ops->read_counter_single(at, channel, count));
}

// One digit of channel: the clear of a module with up to 16 inputs.
VEXSDK_API VEX_BOOL vex_ClearCNT(VEX_PORT port, int32_t address, int32_t channel) {
    const Located at = resolve(port, address);
    return result(at.ops->clear_counter(at, channel, 0));
}

VEXSDK_API VEX_BOOL vex_ReadCNTOverflow(VEX_PORT port, int32_t address, int32_t channel, uint32_t* overflow) {
    if (!overflow) return null_output();
    const Located at = resolve(port, address);
    return result(at.ops->read_counter_overflow(at, channel, overflow));
}

VEXSDK_API VEX_BOOL vex_ReadAI(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count, float* value) {
    if (!value) return null_output();
    const Located at = resolve(port, address);
    return result(at.ops->read_ai(at, channel, channel_count, value));
}

VEXSDK_API VEX_BOOL vex_ReadAIHex(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count,
                                  uint32_t* value) {
    if (!value) return null_output();
    const Located at = resolve(port, address);
    return result(at.ops->read_ai_hex(at, channel, channel_count, value));
}

VEXSDK_API VEX_BOOL vex_ReadAIAll(VEX_PORT port, int32_t address, float* values) {
    if (!values) return null_output();
    const Located at = resolve(port, address);
    size_t n = 0;
    return result(at.ops->read_ai_all(at, values, kAiAllMax, &n));
}

VEXSDK_API VEX_BOOL vex_ReadAIAllHex(VEX_PORT port, int32_t address, uint32_t* values) {
    if (!values) return null_output();
    const Located at = resolve(port, address);
    size_t n = 0;
    return result(at.ops->read_ai_all_hex(at, values, kAiAllMax, &n));
}

VEXSDK_API VEX_BOOL vex_ReadAIAllExt(VEX_PORT port, int32_t address, float* values, int32_t capacity, int32_t* count) {
    return read_all_bounded(port, address, values, capacity, count,
                            [](Located at, float* v, size_t room, size_t* n) {
                                return at.ops->read_ai_all(at, v, room, n);
                            });
}

VEXSDK_API VEX_BOOL vex_ReadAIAllHexExt(VEX_PORT port, int32_t address, uint32_t* values, int32_t capacity,
                                        int32_t* count) {
    return read_all_bounded(port, address, values, capacity, count,
                            [](Located at, uint32_t* v, size_t room, size_t* n) {
                                return at.ops->read_ai_all_hex(at, v, room, n);
                            });
}

VEXSDK_API VEX_BOOL vex_WriteAO(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count, float value) {
    const Located at = resolve(port, address);
    return result(at.ops->write_ao(at, channel, channel_count, value));
}

VEXSDK_API VEX_BOOL vex_ReadAO(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count, float* value) {
    if (!value) return null_output();
    const Located at = resolve(port, address);
    return result(at.ops->read_ao(at, channel, channel_count, value));
}

// Three of the four analog output value calls have no unit-slot form: an
// address of 0x100000 and above is the local slot of its low byte.
VEXSDK_API VEX_BOOL vex_ReadModulePowerOnValueAO(VEX_PORT port, int32_t address, int32_t channel,
                                                 int32_t channel_count, float* value) {
    if (!value) return null_output();
    const Located at = resolve(port, address, UnitForm::LocalSlot);
    return result(at.ops->read_ao_stored(at, channel, channel_count, Stored::PowerOn, value));
}

VEXSDK_API VEX_BOOL vex_ReadModuleSafeValueAO(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count,
                                              float* value) {
    if (!value) return null_output();
    const Located at = resolve(port, address, UnitForm::LocalSlot);
    return result(at.ops->read_ao_stored(at, channel, channel_count, Stored::Safe, value));
}

VEXSDK_API VEX_BOOL vex_WriteModulePowerOnValueAO(VEX_PORT port, int32_t address, int32_t channel,
                                                  int32_t channel_count, float value) {
    const Located at = resolve(port, address);
    return result(at.ops->store_ao(at, channel, channel_count, Stored::PowerOn, value));
}

VEXSDK_API VEX_BOOL vex_WriteModuleSafeValueAO(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count,
                                               float value) {
    const Located at = resolve(port, address, UnitForm::LocalSlot);
    return result(at.ops->store_ao(at, channel, channel_count, Stored::Safe, value));
}

VEXSDK_EXTERN_C_END
