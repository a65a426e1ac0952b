// The host watchdog of a serial module, its power-on and safe output values,
// and what a module does at power-up.
//
// "~AA3<e><tt>" enables (e = 1) or disables the watchdog with a time-out of
// tt (hexadecimal) tenths of a second; 0 never runs out. Enabling arms it;
// "~**" (heard by every module on the bus) re-arms every armed module. When
// it runs out the module drives its outputs to their safe values and holds
// them: output writes are refused until "~AA1" clears the time-out state
// (the outputs then stay at their safe values until written). "~AA0"
// answers "!AA" + the status as two hexadecimal digits: bit 2 the time-out
// state, bit 7 the watchdog enabled. "~AA2" answers "!AA" + the enable digit
// + the time-out as two hexadecimal digits.
//
// Digital power-on and safe values: "~AA4" answers both fields (power-on
// first), "~AA4P" / "~AA4S" one of them; each field has 2, 4, 6 or 8 digits
// by the module's output count (up to 8, 16, 24, 32). "~AA5<p><s>" sets
// both, "~AA5P" / "~AA5S" keep the present outputs as one of them. "~AAD"
// answers the output count in decimal.
#include "sim/serial_modules/module.h"

namespace vex::sim::serial {
namespace {

int field_digits(int outputs) { return outputs < 9 ? 2 : outputs < 17 ? 4 : outputs < 25 ? 6 : 8; }

std::string field(uint32_t value, int digits) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string out(static_cast<size_t>(digits), '0');
    for (int i = digits - 1; i >= 0; --i, value >>= 4) out[static_cast<size_t>(i)] = kHex[value & 0xF];
    return out;
}

void arm(SerialModuleState& m, uint64_t now) { m.wdt_deadline_ns = now + m.wdt_timeout * kWatchdogTickNs; }

}  // namespace

void module_advance(SerialModuleState& m, const catalogue::SerialKind& k, uint64_t now) {
    if (!k.watchdog || !m.wdt_enabled || m.wdt_expired || m.wdt_timeout == 0 || now < m.wdt_deadline_ns) return;
    m.wdt_expired = 1;
    module_drive(m, k, m.do_safe);
    for (int i = 0; i < k.ao_channels && i < kSerialChannels; ++i) m.ao[i] = m.ao_safe[i];
}

void module_refresh(SerialModuleState& m, const catalogue::SerialKind& k, uint64_t now) {
    module_advance(m, k, now);
    if (k.watchdog && m.wdt_enabled && !m.wdt_expired) arm(m, now);
}

void module_power_up(State& s, int index, uint64_t now) {
    SerialModuleState& m = s.serial.modules[index];
    const catalogue::SerialKind* k = kind_of(m);
    if (!k) return;
    m.do_value = m.do_power_on & channel_mask(k->do_channels);
    for (int i = 0; i < kSerialChannels; ++i) {
        m.ao[i] = i < k->ao_channels ? m.ao_power_on[i] : 0.0f;
        m.counter[i] = 0;
        m.overflow[i] = 0;
    }
    m.di_latch[0] = m.di_latch[1] = m.do_latch[0] = m.do_latch[1] = 0;
    m.wdt_expired = 0;
    m.wdt_deadline_ns = 0;
    if (k->watchdog && m.wdt_enabled) arm(m, now);
}

namespace handlers {

std::string wdt_status(Exec& x, const Request&) {
    const unsigned status = (x.m.wdt_expired ? 0x04u : 0u) | (x.m.wdt_enabled ? 0x80u : 0u);
    return ack(x.echo) + hex2(status);
}

std::string wdt_reset(Exec& x, const Request&) {
    x.m.wdt_expired = 0;
    if (x.m.wdt_enabled) arm(x.m, x.now);
    return ack(x.echo);
}

std::string wdt_config_read(Exec& x, const Request&) {
    return ack(x.echo) + (x.m.wdt_enabled ? "1" : "0") + hex2(x.m.wdt_timeout);
}

std::string wdt_config_set(Exec& x, const Request& r) {
    x.m.wdt_enabled = r.enable ? 1 : 0;
    x.m.wdt_timeout = r.timeout;
    if (r.enable) arm(x.m, x.now);
    memory_save(x.state, x.index);
    return ack(x.echo);
}

std::string do_values_read(Exec& x, const Request& r) {
    const int digits = field_digits(x.kind.do_channels);
    std::string out = ack(x.echo);
    if (r.which != 'S') out += field(x.m.do_power_on, digits);
    if (r.which != 'P') out += field(x.m.do_safe, digits);
    return out;
}

std::string do_values_write(Exec& x, const Request& r) {
    const uint32_t mask = channel_mask(x.kind.do_channels);
    x.m.do_power_on = r.value & mask;
    x.m.do_safe = r.value2 & mask;
    memory_save(x.state, x.index);
    return ack(x.echo);
}

std::string do_value_store(Exec& x, const Request& r) {
    (r.which == 'P' ? x.m.do_power_on : x.m.do_safe) = x.m.do_value;
    memory_save(x.state, x.index);
    return ack(x.echo);
}

}  // namespace handlers
}  // namespace vex::sim::serial
