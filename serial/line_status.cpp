// Modem lines, queue counts and port numbering.
//
// Input lines are watched by one monitor thread per port, started by the
// first uart_GetLineStatus and ended by uart_Close; the call itself only
// reads the state the monitor keeps.

#include "frame/errors.h"
#include "platform/system.h"
#include "platform/thread_start.h"
#include "serial/port_table.h"
#include "vexsdk.h"

namespace vex::serial {
namespace {

// Line-driving results.
constexpr int kDriveOk = 0;
constexpr int kDriveRefused = -2;
constexpr int kDriveBadState = -4;
constexpr int kDriveRtsHandshake = -14;
constexpr int kDriveDtrHandshake = -15;

int drive_dtr(PortRecord& r, uint32_t state) {
    if (state > 3) return kDriveBadState;
    plat::ComSettings last = last_comm_state();
    if (last.dtr_control == plat::kDtrHandshake) return kDriveDtrHandshake;
    const bool on = (state & 1) != 0;
    if (!r.port->set_line(plat::ModemLine::Dtr, on)) return kDriveRefused;
    last = last_comm_state();
    last.dtr_control = on ? plat::kDtrEnable : plat::kDtrDisable;
    set_last_comm_state(last);
    return kDriveOk;
}

int drive_rts(PortRecord& r, uint32_t state) {
    if (state > 3) return kDriveBadState;
    plat::ComSettings last = last_comm_state();
    if (last.rts_control == plat::kRtsHandshake || last.rts_control == plat::kRtsToggle)
        return kDriveRtsHandshake;
    const bool on = (state & 1) != 0;
    if (!r.port->set_line(plat::ModemLine::Rts, on)) return kDriveRefused;
    last = last_comm_state();
    last.rts_control = on ? plat::kRtsEnable : plat::kRtsDisable;
    set_last_comm_state(last);
    return kDriveOk;
}

void monitor(PortRecord* r) {
    r->port->set_event_mask(plat::kEventModemLines);
    uint32_t status = 0;
    if (r->port->modem_status(status)) r->modem_status = status;
    while (!r->monitor_stop) {
        uint32_t events = 0;
        if (r->port->wait_event(events) && (events & plat::kEventModemLines) &&
            r->port->modem_status(status))
            r->modem_status = status;
        plat::sleep_ms(1);
    }
    r->monitor_running = false;
}

void start_monitor(PortRecord& r) {
    std::lock_guard lock(r.line_lock);
    if (r.monitor_thread.joinable()) return;
    // Read the lines once here, so that the first caller already sees them
    // rather than the record's initial 0.
    uint32_t status = 0;
    if (r.port->modem_status(status)) r.modem_status = status;
    r.monitor_stop = false;
    r.monitor_running = true;
    if (!plat::start_thread(r.monitor_thread, [p = &r] { monitor(p); }))
        r.monitor_running = false;  // no thread: the state read above stays
}

VEX_BOOL32 fail(uint32_t code) {
    frame::set_last_error(code);
    return VEX_FALSE;
}

}  // namespace

void stop_monitor(PortRecord& r) {
    std::lock_guard lock(r.line_lock);
    if (!r.monitor_thread.joinable()) return;
    r.monitor_stop = true;
    // A new event mask ends the monitor's wait.
    r.port->set_event_mask(0);
    r.monitor_thread.join();
}

}  // namespace vex::serial

using namespace vex::serial;

VEXSDK_EXTERN_C_BEGIN

VEX_BOOL32 uart_SetLineStatus(VEX_PORT handle, uint32_t line, uint32_t state) {
    if (handle == kInvalidHandle) return fail(VEX_ERR_UART_OPEN);
    PortPtr r = find_port(handle);
    uint32_t status = 0;
    if (!r || !r->port->modem_status(status)) return fail(VEX_ERR_UART_MODEM_STATUS);
    // The control block of the port opened last, whatever port this is:
    // that is how the lines have always been driven.
    r->port->set_settings(last_comm_state());
    int result = 0;
    switch (line) {
    case VEX_LINE_DTR:
        if (state <= 1) result = drive_dtr(*r, state);
        break;
    case VEX_LINE_RTS:
        if (state <= 1) result = drive_rts(*r, state);
        break;
    case VEX_LINE_DTR_RTS:
        result = drive_dtr(*r, state != 0 ? 1 : 0);
        if (result == 0) result = drive_rts(*r, state != 0 ? 1 : 0);
        break;
    default: return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    }
    if (result != 0) return fail(result == kDriveRefused ? VEX_ERR_UART_MODEM_STATUS : VEX_ERR_UART_BUFFER_OVERFLOW);
    return VEX_TRUE;
}

int32_t uart_GetLineStatus(VEX_PORT handle, uint32_t line) {
    static constexpr uint32_t kBits[4] = {vex::plat::kModemCts, vex::plat::kModemDsr, vex::plat::kModemRing,
                                          vex::plat::kModemRlsd};
    if (rejected(handle) || line > 3) return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    PortPtr r = find_port(handle);
    if (!r) return fail(VEX_ERR_UART_OPEN);
    start_monitor(*r);
    return (r->modem_status.load() & kBits[line]) != 0 ? 1 : 0;
}

int32_t uart_GetOutputLineStatus(void) { return 0; }

uint32_t uart_GetDataSize(VEX_PORT handle, uint32_t queue) {
    if (queue > 1) {
        vex::frame::set_last_error(VEX_ERR_UART_BUFFER_OVERFLOW);
        return 0;
    }
    PortPtr r = find_port(handle);
    uint32_t input = 0, output = 0;
    if (!r || !r->port->queue_counts(input, output)) {
        vex::frame::set_last_error(VEX_ERR_UART_MODEM_STATUS);
        return 0;
    }
    return queue == 0 ? input : output;
}

int32_t vex_GetComMapping(int32_t port) {
    static constexpr int32_t kCurrent[5] = {1, 2, 5, 3, 4};
    if (port >= 5) {
        vex::frame::set_last_error(VEX_ERR_INVALID_COM_PORT);
        return -1;
    }
    if (vex_BackwardCompatible() && port >= 0) return kCurrent[port];
    return port;
}

VEXSDK_EXTERN_C_END
