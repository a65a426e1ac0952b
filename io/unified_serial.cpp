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

bool port_ok(const Located& at) {
    if (!serial::rejected(at.target.port)) return true;
    frame::set_last_error(VEX_ERR_UART_OPEN);
    return false;
}

// The families write their outputs only on success; the reads of one part
// go through locals so that the other part is never touched.
bool read_dio(const Located& at, int32_t di_count, int32_t do_count, uint32_t* di, uint32_t* do_) {
    return port_ok(at) && at.family->read_dio(at.target, di_count, do_count, di, do_);
}

bool read_di(const Located& at, int32_t count, uint32_t* value) {
    uint32_t di = 0, do_ = 0;
    if (!read_dio(at, count, 0, &di, &do_)) return false;
    *value = di;
    return true;
}

bool read_do(const Located& at, int32_t count, uint32_t* value) {
    uint32_t di = 0, do_ = 0;
    if (!read_dio(at, 0, count, &di, &do_)) return false;
    *value = do_;
    return true;
}

bool write_do(const Located& at, int32_t count, uint32_t value) {
    return port_ok(at) && at.family->write_do(at.target, count, value);
}

// The serial bit write takes the channel before the count.
bool write_do_bit(const Located& at, int32_t count, int32_t channel, int32_t value) {
    return port_ok(at) && at.family->write_do_bit(at.target, channel, count, value);
}

bool read_stored_do(const Located& at, int32_t count, Stored which, uint32_t* value) {
    return port_ok(at) && at.family->read_stored_do(at.target, count, which, value);
}

bool store_do(const Located& at, int32_t count, Stored which, uint32_t value) {
    return port_ok(at) && at.family->store_do(at.target, count, which, value);
}

bool read_latch(const Located& at, int32_t di_count, int32_t do_count, int32_t kind, uint32_t* di,
                uint32_t* do_) {
    return port_ok(at) && at.family->read_latch(at.target, di_count, do_count, kind, di, do_);
}

bool clear_latch(const Located& at) { return port_ok(at) && at.family->clear_latch(at.target); }

bool read_counter(const Located& at, int32_t channel, int32_t di_count, uint32_t* value) {
    return port_ok(at) && at.family->read_counter(at.target, channel, di_count, value);
}

bool read_counter_single(const Located& at, int32_t channel, uint32_t* value) {
    return port_ok(at) && at.family->read_counter_single(at.target, channel, value);
}

bool clear_counter(const Located& at, int32_t channel, int32_t di_count) {
    return port_ok(at) && at.family->clear_counter(at.target, channel, di_count);
}

// The command set has no way to ask a module whether a counter went past
// its top (modules wrap silently), so no serial module can answer this.
bool read_counter_overflow(const Located& at, int32_t, uint32_t*) {
    if (!port_ok(at)) return false;
    frame::set_last_error(VEX_ERR_CARD_API_UNSUPPORTED);
    return false;
}

bool read_ai(const Located& at, int32_t channel, int32_t count, float* value) {
    return port_ok(at) && at.family->read_ai(at.target, channel, count, value);
}

bool read_ai_hex(const Located& at, int32_t channel, int32_t count, uint32_t* value) {
    return port_ok(at) && at.family->read_ai_hex(at.target, channel, count, value);
}

bool read_ai_all(const Located& at, float* values, size_t capacity, size_t* count) {
    return port_ok(at) && at.family->read_ai_all(at.target, values, capacity, count);
}

bool read_ai_all_hex(const Located& at, uint32_t* values, size_t capacity, size_t* count) {
    return port_ok(at) && at.family->read_ai_all_hex(at.target, values, capacity, count);
}

bool write_ao(const Located& at, int32_t channel, int32_t count, float value) {
    return port_ok(at) && at.family->write_ao(at.target, channel, count, value);
}

bool read_ao(const Located& at, int32_t channel, int32_t count, float* value) {
    return port_ok(at) && at.family->read_ao(at.target, channel, count, value);
}

bool read_ao_stored(const Located& at, int32_t channel, int32_t count, Stored which, float* value) {
    if (!port_ok(at)) return false;
    return which == Stored::PowerOn ? at.family->read_ao_power_on(at.target, channel, count, value)
                                    : at.family->read_ao_safe(at.target, channel, count, value);
}

bool store_ao(const Located& at, int32_t channel, int32_t count, Stored which, float value) {
    if (!port_ok(at)) return false;
    return which == Stored::PowerOn ? at.family->set_ao_power_on(at.target, channel, count, value)
                                    : at.family->set_ao_safe(at.target, channel, count, value);
}

}  // namespace

const UnifiedOps kSerialOps = {
    read_di,      read_do,         read_dio,        write_do,       write_do_bit,        read_stored_do,
    store_do,     read_latch,      clear_latch,     read_counter,   read_counter_single, clear_counter,
    read_counter_overflow,         read_ai,         read_ai_hex,    read_ai_all,         read_ai_all_hex,
    write_ao,     read_ao,         read_ao_stored,  store_ao,
};

}  // namespace vex::io::unified
