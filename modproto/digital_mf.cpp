// The exported digital calls of serial modules: the _MF family (port and
// I/O address from the caller) and the single-bit writes by slot
// (vexsund_) and by bus address (zed_).
#include "frame/backplane.h"
#include "modproto/ops.h"
#include "serial/port_table.h"
#include "vexsdk.h"

using namespace vex::modproto;

namespace {

VEX_BOOL result(bool ok) { return ok ? VEX_TRUE : VEX_FALSE; }

// @AADO: the output field in the width of the outputs, masked to them.
Command do_write_command(uint32_t address, int32_t do_count, uint32_t value) {
    const uint32_t v = value & channel_mask(do_count);
    switch (field_width_mf(do_count)) {
    case 2: return make_command(kLongCommand, "@%02XDO%02X", address, v);
    case 4: return make_command(kLongCommand, "@%02XDO%04X", address, v);
    case 6: return make_command(kLongCommand, "@%02XDO%06X", address, v);
    default: return make_command(kLongCommand, "@%02XDO%08X", address, v);
    }
}

bool read_dio(VEX_PORT port, int32_t address, int32_t di_count, int32_t do_count, uint32_t* di, uint32_t* do_) {
    if (!mf_checks(port, address)) return false;
    const Target t = remote_or_local(port, address);
    Reply r(kLongAnswer);
    if (!r.run(t, make_command(kLongCommand, "@%02XDI", t.address))) return false;
    if (!r.exchanged()) return settle(Answer::Unexpected);
    const auto p = parse_dio_mf(r.text(), di_count, do_count);
    if (!p) return settle(Answer::Unparsable);
    if (di) *di = p->di;
    if (do_) *do_ = p->do_;
    return true;
}

// The bit reads store the bit of whatever the read gave: 0 after a failure.
VEX_BOOL read_bit(bool ok, uint32_t value, int32_t count, int32_t bit, uint8_t* out) {
    if (!out) return result(ops::missing_output());
    *out = test_bit(ok ? value : 0, count, bit);
    return result(ok);
}

// The counter commands: "RE"/"CE" alone for a module with one counter,
// with the channel in one or two digits otherwise.
Command counter_command(uint32_t address, const char* op, int32_t channel, int32_t di_count) {
    if (di_count == 1) return make_command(kShortCommand, "@%02X%s", address, op);
    if (di_count > 16) return make_command(kShortCommand, "@%02X%sC%02X", address, op, channel);
    return make_command(kShortCommand, "@%02X%sC%01X", address, op, channel);
}

}  // namespace

VEXSDK_EXTERN_C_BEGIN

VEXSDK_API VEX_BOOL vex_WriteDO_MF(VEX_PORT port, int32_t address, int32_t do_count, uint32_t value) {
    if (!mf_checks(port, address)) return VEX_FALSE;
    const Target t = remote_or_local(port, address);
    Reply r(kLongAnswer);
    if (!r.run(t, do_write_command(t.address, do_count, value))) return VEX_FALSE;
    // Judged by the first character alone: '?' is the module refusing.
    return result(settle(r.first() == '!' ? Answer::Accepted : r.first() == '?' ? Answer::Refused : Answer::Unexpected));
}

VEXSDK_API VEX_BOOL vex_ReadDIO_MF(VEX_PORT port, int32_t address, int32_t di_count, int32_t do_count,
                                   uint32_t* di_value, uint32_t* do_value) {
    if (!di_value || !do_value) return result(ops::missing_output());
    return result(read_dio(port, address, di_count, do_count, di_value, do_value));
}

VEXSDK_API VEX_BOOL vex_ReadDI_MF(VEX_PORT port, int32_t address, int32_t di_count, uint32_t* di_value) {
    if (!di_value) return result(ops::missing_output());
    return result(read_dio(port, address, di_count, 0, di_value, nullptr));
}

VEXSDK_API VEX_BOOL vex_ReadDO_MF(VEX_PORT port, int32_t address, int32_t do_count, uint32_t* do_value) {
    if (!do_value) return result(ops::missing_output());
    return result(read_dio(port, address, 0, do_count, nullptr, do_value));
}

VEXSDK_API VEX_BOOL vex_ReadDIO_DIBit_MF(VEX_PORT port, int32_t address, int32_t bit, int32_t di_count,
                                         int32_t do_count, uint8_t* value) {
    uint32_t di = 0, do_ = 0;
    const bool ok = value && read_dio(port, address, di_count, do_count, &di, &do_);
    return read_bit(ok, di, di_count, bit, value);
}

VEXSDK_API VEX_BOOL vex_ReadDIO_DOBit_MF(VEX_PORT port, int32_t address, int32_t bit, int32_t di_count,
                                         int32_t do_count, uint8_t* value) {
    uint32_t di = 0, do_ = 0;
    const bool ok = value && read_dio(port, address, di_count, do_count, &di, &do_);
    return read_bit(ok, do_, do_count, bit, value);
}

VEXSDK_API VEX_BOOL vex_ReadDIBit_MF(VEX_PORT port, int32_t address, int32_t bit, int32_t di_count, uint8_t* value) {
    uint32_t di = 0;
    const bool ok = value && read_dio(port, address, di_count, 0, &di, nullptr);
    return read_bit(ok, di, di_count, bit, value);
}

VEXSDK_API VEX_BOOL vex_ReadDOBit_MF(VEX_PORT port, int32_t address, int32_t bit, int32_t do_count, uint8_t* value) {
    uint32_t do_ = 0;
    const bool ok = value && read_dio(port, address, 0, do_count, nullptr, &do_);
    return read_bit(ok, do_, do_count, bit, value);
}

VEXSDK_API VEX_BOOL vex_ReadDICNT_MF(VEX_PORT port, int32_t address, int32_t channel, int32_t di_count,
                                     uint32_t* count) {
    if (!count) return result(ops::missing_output());
    if (!mf_checks(port, address)) return VEX_FALSE;
    const Target t = remote_or_local(port, address);
    Reply r(kShortAnswer);
    if (!r.run(t, counter_command(t.address, "RE", channel, di_count))) return VEX_FALSE;
    if (!r.exchanged()) return result(settle(Answer::Unexpected));
    const auto v = parse_counter(r.text());
    if (!v) return result(settle(Answer::Unparsable));
    *count = *v;
    return VEX_TRUE;
}

VEXSDK_API VEX_BOOL vex_ClearDICNT_MF(VEX_PORT port, int32_t address, int32_t channel, int32_t di_count) {
    if (!mf_checks(port, address)) return VEX_FALSE;
    const Target t = remote_or_local(port, address);
    Reply r(kShortAnswer);
    if (!r.run(t, counter_command(t.address, "CE", channel, di_count))) return VEX_FALSE;
    return result(ops::accept_if(r.exchanged(), Answer::Unexpected));
}

VEXSDK_API VEX_BOOL vexsund_WriteDOBit(VEX_PORT port, uint32_t slot, int32_t bit, int32_t do_count, int32_t value) {
    if (!vex::frame::is_valid_slot(slot & 0xFF)) return VEX_FALSE;
    return result(ops::standard::write_do_bit(local_slot(port, slot), bit, do_count, value));
}

VEXSDK_API VEX_BOOL zed_WriteDOBit(VEX_PORT port, uint32_t module_address, int32_t bit, int32_t do_count,
                                   int32_t value) {
    if (vex::serial::rejected(port)) return result(settle(Answer::NoPort));
    const Target t = bus_module(port, module_address);
    // Beyond 32 outputs there is no group to write: the module gets an
    // empty command (and answers nothing useful).
    Command c = make_command(kShortCommand, "%s", "");
    if (do_count <= 32) {
        const BitGroup g = bit_group(bit, do_count);
        c = make_command(kShortCommand, "#%02X%c%01d%02d", t.address, g.group, g.bit, value);
    }
    Reply r(kShortAnswer);
    if (!r.run(t, c)) return VEX_FALSE;
    return result(settle(r.first() == '>' ? Answer::Accepted : Answer::Unexpected));
}

VEXSDK_EXTERN_C_END
