// Power-on and safe values of serial output modules, _MF family: digital
// (both values in one command) and analog.
#include "modproto/ops.h"
#include "vexsdk.h"

using namespace vex::modproto;

namespace {

VEX_BOOL result(bool ok) { return ok ? VEX_TRUE : VEX_FALSE; }

// "~AA4": both stored digital values, power-on first.
bool read_both(const Target& t, int32_t do_count, uint32_t* power_on, uint32_t* safe) {
    Reply r(kLongAnswer);
    if (!r.run(t, make_command(kLongCommand, "~%02X4", t.address))) return false;
    if (!r.exchanged()) return settle(Answer::Unexpected);
    const auto p = parse_stored_do(r.text(), do_count, Stored::PowerOn);
    const auto s = parse_stored_do(r.text(), do_count, Stored::Safe);
    if ((power_on && !p) || (safe && !s)) return settle(Answer::Unparsable);
    if (power_on) *power_on = *p;
    if (safe) *safe = *s;
    return true;
}

bool read_do(VEX_PORT port, int32_t address, int32_t do_count, Stored which, uint32_t* value) {
    if (!value) return ops::missing_output();
    if (!mf_checks(port, address)) return false;
    const Target t = remote_or_local(port, address);
    return which == Stored::PowerOn ? read_both(t, do_count, value, nullptr) : read_both(t, do_count, nullptr, value);
}

// Drives the outputs to the value, then stores the value in its field and
// what the module holds in the other.
bool write_do(VEX_PORT port, int32_t address, int32_t do_count, Stored which, uint32_t value) {
    if (!vex_WriteDO_MF(port, address, do_count, value)) return false;
    ops::settle_pause();
    const Target t = remote_or_local(port, address);
    uint32_t power_on = 0, safe = 0;
    if (!read_both(t, do_count, &power_on, &safe)) return false;
    const int w = field_width_mf(do_count);
    const uint32_t masked = w >= 8 ? value : value & ((1u << (4 * w)) - 1u);
    (which == Stored::PowerOn ? power_on : safe) = masked;
    Reply r(kLongAnswer);
    if (!r.run(t, make_command(kLongCommand, "~%02X5%0*X%0*X", t.address, w, power_on, w, safe))) return false;
    return ops::accept_if(r.exchanged(), Answer::Unexpected);
}

template <typename Op>
bool analog(VEX_PORT port, int32_t address, Op op) {
    if (!mf_checks(port, address)) return false;
    return op(remote_or_local(port, address));
}

}  // namespace

VEXSDK_EXTERN_C_BEGIN

VEXSDK_API VEX_BOOL vex_ReadModulePowerOnValueDO_MF(VEX_PORT port, int32_t address, int32_t do_count,
                                                    uint32_t* value) {
    return result(read_do(port, address, do_count, Stored::PowerOn, value));
}
VEXSDK_API VEX_BOOL vex_ReadModuleSafeValueDO_MF(VEX_PORT port, int32_t address, int32_t do_count, uint32_t* value) {
    return result(read_do(port, address, do_count, Stored::Safe, value));
}
VEXSDK_API VEX_BOOL vex_WriteModulePowerOnValueDO_MF(VEX_PORT port, int32_t address, int32_t do_count,
                                                     uint32_t value) {
    return result(write_do(port, address, do_count, Stored::PowerOn, value));
}
VEXSDK_API VEX_BOOL vex_WriteModuleSafeValueDO_MF(VEX_PORT port, int32_t address, int32_t do_count, uint32_t value) {
    return result(write_do(port, address, do_count, Stored::Safe, value));
}

VEXSDK_API VEX_BOOL vex_WriteAO_MF(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count,
                                   float value) {
    return result(analog(port, address, [&](const Target& t) {
        return ops::standard::write_ao(t, channel, channel_count, value);
    }));
}
VEXSDK_API VEX_BOOL vex_ReadAO_MF(VEX_PORT port, int32_t address, int32_t channel, int32_t channel_count,
                                  float* value) {
    if (!value) return result(ops::missing_output());
    return result(analog(port, address, [&](const Target& t) {
        return ops::standard::read_ao(t, channel, channel_count, value);
    }));
}
VEXSDK_API VEX_BOOL vex_WriteModulePowerOnValueAO_MF(VEX_PORT port, int32_t address, int32_t channel,
                                                     int32_t channel_count, float value) {
    return result(analog(port, address, [&](const Target& t) {
        return ops::standard::set_ao_power_on(t, channel, channel_count, value);
    }));
}
VEXSDK_API VEX_BOOL vex_WriteModuleSafeValueAO_MF(VEX_PORT port, int32_t address, int32_t channel,
                                                  int32_t channel_count, float value) {
    return result(analog(port, address, [&](const Target& t) {
        return ops::standard::set_ao_safe(t, channel, channel_count, value);
    }));
}
VEXSDK_API VEX_BOOL vex_ReadModulePowerOnValueAO_MF(VEX_PORT port, int32_t address, int32_t channel,
                                                    int32_t channel_count, float* value) {
    if (!value) return result(ops::missing_output());
    return result(analog(port, address, [&](const Target& t) {
        return ops::standard::read_ao_power_on(t, channel, channel_count, value);
    }));
}
VEXSDK_API VEX_BOOL vex_ReadModuleSafeValueAO_MF(VEX_PORT port, int32_t address, int32_t channel,
                                                 int32_t channel_count, float* value) {
    if (!value) return result(ops::missing_output());
    return result(analog(port, address, [&](const Target& t) {
        return ops::standard::read_ao_safe(t, channel, channel_count, value);
    }));
}

VEXSDK_EXTERN_C_END
