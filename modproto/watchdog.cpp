// The host watchdog of serial modules: by local slot (vexsund_) and by bus
// address (zed_). The two families differ on purpose where their answers
// are read: the configuration's time-out comes back hexadecimal by slot and
// decimal by address, and only the reset judges the answer's length.
#include "modproto/ops.h"
#include "serial/port_table.h"
#include "vexsdk.h"

using namespace vex::modproto;

namespace {

VEX_BOOL result(bool ok) { return ok ? VEX_TRUE : VEX_FALSE; }

// The slot family leaves the port check to the slot exchange; the address
// family checks first.
bool port_ok(VEX_PORT port) { return !vex::serial::rejected(port) || settle(Answer::NoPort); }

bool set_config(const Target& t, int16_t enable, uint32_t timeout) {
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kWatchdogCommand, "~%02X3%01X%02X", t.address, enable > 0 ? 1u : 0u, timeout & 0xFFu)))
        return false;
    return settle(r.first() == '!' ? Answer::Accepted : Answer::Unexpected);
}

bool get_status(const Target& t, uint16_t* status) {
    if (!status) return ops::missing_output();
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kWatchdogCommand, "~%02X0", t.address))) return false;
    if (r.first() != '!') return settle(Answer::Unexpected);
    const auto s = parse_wdt_status(r.text());
    if (!s) return settle(Answer::Unparsable);
    *status = *s;
    return true;
}

bool get_config(const Target& t, bool hex, uint16_t* enabled, uint32_t* timeout) {
    if (!enabled || !timeout) return ops::missing_output();
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kWatchdogCommand, "~%02X2", t.address))) return false;
    if (r.first() != '!' || r.text().size() != 6) return settle(Answer::Unexpected);
    const auto c = parse_wdt_config(r.text(), hex);
    if (!c) return settle(Answer::Unparsable);
    *enabled = c->enabled;
    *timeout = c->timeout;
    return true;
}

// '!' with the echoed address and nothing else clears the state; a longer
// or shorter '!' answer fails without a code of its own.
bool reset(const Target& t) {
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kWatchdogCommand, "~%02X1", t.address))) return false;
    if (r.first() != '!') return settle(Answer::Unexpected);
    return settle(r.text().size() == 3 ? Answer::Accepted : Answer::Quiet);
}

// "~**" is heard by every module on the line; nobody answers it.
VEX_BOOL refresh(VEX_PORT port) { return uart_Send(port, "~**") ? VEX_TRUE : VEX_FALSE; }

}  // namespace

VEXSDK_EXTERN_C_BEGIN

VEXSDK_API VEX_BOOL vexsund_SetModuleWDTConfig(VEX_PORT port, uint32_t slot, int16_t enable, uint32_t timeout) {
    return result(set_config(local_slot(port, slot), enable, timeout));
}
VEXSDK_API VEX_BOOL vexsund_GetModuleWDTStatus(VEX_PORT port, uint32_t slot, uint16_t* status) {
    return result(get_status(local_slot(port, slot), status));
}
VEXSDK_API VEX_BOOL vexsund_GetModuleWDTConfig(VEX_PORT port, uint32_t slot, uint16_t* enabled, uint32_t* timeout) {
    return result(get_config(local_slot(port, slot), true, enabled, timeout));
}
VEXSDK_API VEX_BOOL vexsund_ResetModuleWDT(VEX_PORT port, uint32_t slot) { return result(reset(local_slot(port, slot))); }
VEXSDK_API VEX_BOOL vexsund_RefreshModuleWDT(VEX_PORT port) { return refresh(port); }

VEXSDK_API VEX_BOOL zed_SetModuleWDTConfig(VEX_PORT port, uint32_t module_address, int16_t enable, uint32_t timeout) {
    return result(port_ok(port) && set_config(bus_module(port, module_address), enable, timeout));
}
VEXSDK_API VEX_BOOL zed_GetModuleWDTStatus(VEX_PORT port, uint32_t module_address, uint16_t* status) {
    return result(port_ok(port) && get_status(bus_module(port, module_address), status));
}
VEXSDK_API VEX_BOOL zed_GetModuleWDTConfig(VEX_PORT port, uint32_t module_address, uint16_t* enabled,
                                           uint32_t* timeout) {
    return result(port_ok(port) && get_config(bus_module(port, module_address), false, enabled, timeout));
}
VEXSDK_API VEX_BOOL zed_ResetModuleWDT(VEX_PORT port, uint32_t module_address) {
    return result(port_ok(port) && reset(bus_module(port, module_address)));
}
VEXSDK_API VEX_BOOL zed_RefreshModuleWDT(VEX_PORT port) { return port_ok(port) ? refresh(port) : VEX_FALSE; }

VEXSDK_EXTERN_C_END
