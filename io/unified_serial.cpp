// The unified calls on a serial module, wherever it sits: in a local slot
// (over the internal port after slot selection), on a bus, or in a slot of
// a remote expansion unit. Each operation checks the port handle (nothing
// goes on the line with 0 or all ones: VEX_ERR_UART_OPEN) and hands the
// call to the family the address resolved to.
#include "frame/errors.h"
#include "io/unified.h"
#include "serial/port_table.h"
#include "vexsdk.h"

namespace vex::io::unified {
namespace {

bool port_ok(Located at) {
    if (!serial::rejected(at.port)) return true;
    frame::set_last_error(VEX_ERR_UART_OPEN);
    return false;
}

// The families write their outputs only on success; the reads of one part
// go through locals so that the other part is never touched.
bool read_dio(Located at, int32_t di_count, int32_t do_count, uint32_t* di, uint32_t* do_) {
    return port_ok(at) && serial_family(at).read_dio(serial_target(at), di_count, do_count, di, do_);
}

bool read_di(Located at, int32_t count, uint32_t* value) {
    uint32_t di = 0, do_ = 0;
    if (!read_dio(at, count, 0, &di, &do_)) return false;
    *value = di;
    return true;
}

bool read_do(Located at, int32_t count, uint32_t* value) {
    uint32_t di = 0, do_ = 0;
    if (!read_dio(at, 0, count, &di, &do_)) return false;
    *value = do_;
    return true;
}

bool write_do(Located at, int32_t count, uint32_t value) {
    return port_ok(at) && serial_family(at).write_do(serial_target(at), count, value);
}

// The serial bit write takes the channel before the count.
bool write_do_bit(Located at, int32_t count, int32_t channel, int32_t value) {
    return port_ok(at) && serial_family(at).write_do_bit(serial_target(at), channel, count, value);
}

bool read_stored_do(Located at, int32_t count, Stored which, uint32_t* value) {
    return port_ok(at) && serial_family(at).read_stored_do(serial_target(at), count, which, value);
}

bool store_do(Located at, int32_t count, Stored which, uint32_t value) {
    return port_ok(at) && serial_family(at).store_do(serial_target(at), count, which, value);
}

bool read_latch(Located at, int32_t di_count, int32_t do_count, int32_t kind, uint32_t* di,
                uint32_t* do_) {
    return port_ok(at) && serial_family(at).read_latch(serial_target(at), di_count, do_count, kind, di, do_);
}

bool clear_latch(Located at) { return port_ok(at) && serial_family(at).clear_latch(serial_target(at)); }

bool read_counter(Located at, int32_t channel, int32_t di_count, uint32_t* value) {
    return port_ok(at) && serial_family(at).read_counter(serial_target(at), channel, di_count, value);
}

bool read_counter_single(Located at, int32_t channel, uint32_t* value) {
    return port_ok(at) && serial_family(at).read_counter_single(serial_target(at), channel, value);
}

bool clear_counter(Located at, int32_t channel, int32_t di_count) {
    return port_ok(at) && serial_family(at).clear_counter(serial_target(at), channel, di_count);
}

// The command set has no way to ask a module whether a counter went past
// its top (modules wrap silently), so no serial module can answer this.
bool read_counter_overflow(Located at, int32_t, uint32_t*) {
    if (!port_ok(at)) return false;
    frame::set_last_error(VEX_ERR_CARD_API_UNSUPPORTED);
    return false;
}

bool read_ai(Located at, int32_t channel, int32_t count, float* value) {
    return port_ok(at) && serial_family(at).read_ai(serial_target(at), channel, count, value);
}

bool read_ai_hex(Located at, int32_t channel, int32_t count, uint32_t* value) {
    return port_ok(at) && serial_family(at).read_ai_hex(serial_target(at), channel, count, value);
}

bool read_ai_all(Located at, float* values, size_t capacity, size_t* count) {
    return port_ok(at) && serial_family(at).read_ai_all(serial_target(at), values, capacity, count);
}

bool read_ai_all_hex(Located at, uint32_t* values, size_t capacity, size_t* count) {
    return port_ok(at) && serial_family(at).read_ai_all_hex(serial_target(at), values, capacity, count);
}

bool write_ao(Located at, int32_t channel, int32_t count, float value) {
    return port_ok(at) && serial_family(at).write_ao(serial_target(at), channel, count, value);
}

bool read_ao(Located at, int32_t channel, int32_t count, float* value) {
    return port_ok(at) && serial_family(at).read_ao(serial_target(at), channel, count, value);
}

bool read_ao_stored(Located at, int32_t channel, int32_t count, Stored which, float* value) {
    if (!port_ok(at)) return false;
    return which == Stored::PowerOn ? serial_family(at).read_ao_power_on(serial_target(at), channel, count, value)
                                    : serial_family(at).read_ao_safe(serial_target(at), channel, count, value);
}

bool store_ao(Located at, int32_t channel, int32_t count, Stored which, float value) {
    if (!port_ok(at)) return false;
    return which == Stored::PowerOn ? serial_family(at).set_ao_power_on(serial_target(at), channel, count, value)
                                    : serial_family(at).set_ao_safe(serial_target(at), channel, count, value);
}

}  // namespace

const UnifiedOps kSerialOps = {
    read_di,      read_do,         read_dio,        write_do,       write_do_bit,        read_stored_do,
    store_do,     read_latch,      clear_latch,     read_counter,   read_counter_single, clear_counter,
    read_counter_overflow,         read_ai,         read_ai_hex,    read_ai_all,         read_ai_all_hex,
    write_ao,     read_ao,         read_ao_stored,  store_ao,
};

}  // namespace vex::io::unified
