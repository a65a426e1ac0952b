// Digital serial modules: inputs, outputs, latches and counters.
//
// Outputs are written whole ("@AADO<hex>", "@AA<hex>") or bit by bit
// ("#AA<group><bit><value>": groups A..D hold bits 0-7, 8-15, 16-23,
// 24-31). While the host watchdog has run out the outputs stay at their
// safe values and writes are refused.
//
// Latches remember edges since they were last cleared ("$AAC"): latch 1
// the lines that went on, latch 0 those that went off, for inputs and
// outputs alike. A latch read answers "!" + the output latch and the input
// latch in fields as wide as the wider part needs (a module without outputs
// sends the input latch alone), padded with zeros to six digits.
//
// Counters count rising edges of the first inputs. A 16-bit counter is read
// as five decimal digits, a 32-bit one as eight hexadecimal digits; each
// wraps to 0 past its top and remembers that it did (overflow) until it is
// cleared.
#include <algorithm>
#include <cstdio>

#include "sim/serial_modules/module.h"

namespace vex::sim::serial {
namespace {

int bytes_of(int channels) { return (channels + 7) / 8; }

std::string hex_field(uint32_t value, int digits) {
    if (digits <= 0) return {};
    char buf[16];
    std::snprintf(buf, sizeof buf, "%0*X", digits, static_cast<unsigned>(value));
    return buf;
}

void count(SerialModuleState& m, const catalogue::SerialKind& k, int channel, uint64_t pulses) {
    const uint64_t top = k.counter_bits == 16 ? 0x10000ull : 0x100000000ull;
    const uint64_t sum = m.counter[channel] + pulses;
    if (sum >= top) m.overflow[channel] = 1;
    m.counter[channel] = static_cast<uint32_t>(sum % top);
}

bool refused_by_watchdog(const Exec& x) { return x.m.wdt_expired != 0; }

}  // namespace

void module_drive(SerialModuleState& m, const catalogue::SerialKind& k, uint32_t outputs) {
    outputs &= channel_mask(k.do_channels);
    m.do_latch[1] |= outputs & ~m.do_value;
    m.do_latch[0] |= m.do_value & ~outputs;
    m.do_value = outputs;
}

void module_set_inputs(SerialModuleState& m, const catalogue::SerialKind& k, uint32_t lines) {
    lines &= channel_mask(k.di_channels);
    const uint32_t rose = lines & ~m.di, fell = m.di & ~lines;
    m.di_latch[1] |= rose;
    m.di_latch[0] |= fell;
    for (int i = 0; i < k.counters; ++i) {
        if (rose & (1u << i)) count(m, k, i, 1);
    }
    m.di = lines;
}

void module_pulse(SerialModuleState& m, const catalogue::SerialKind& k, int channel, uint32_t pulses) {
    if (channel < 0 || channel >= k.counters || pulses == 0) return;
    count(m, k, channel, pulses);
    m.di_latch[0] |= 1u << channel;
    m.di_latch[1] |= 1u << channel;
}

namespace handlers {

std::string dio_read(Exec& x, const Request& r) {
    const catalogue::SerialKind& k = x.kind;
    if (k.di_channels == 0 && k.do_channels == 0) return refuse(x.echo);
    const std::string data =
        hex_field(x.m.do_value, 2 * bytes_of(k.do_channels)) + hex_field(x.m.di, 2 * bytes_of(k.di_channels));
    return (r.dialect == Dialect::Plain ? std::string(">") : ack(x.echo)) + data;
}

std::string do_write(Exec& x, const Request& r) {
    const bool mf = r.dialect == Dialect::Mf;
    if (x.kind.do_channels == 0) return refuse(x.echo);
    if (refused_by_watchdog(x)) return mf ? refuse(x.echo) : ack(x.echo);
    module_drive(x.m, x.kind, r.value);
    return mf ? ack(x.echo) : ">";
}

std::string do_bit(Exec& x, const Request& r) {
    if (r.channel < 0 || r.channel >= x.kind.do_channels) return refuse(x.echo);
    if (refused_by_watchdog(x)) return ack(x.echo);
    const uint32_t bit = 1u << r.channel;
    module_drive(x.m, x.kind, r.value ? (x.m.do_value | bit) : (x.m.do_value & ~bit));
    return ">";
}

std::string latch_read(Exec& x, const Request& r) {
    const catalogue::SerialKind& k = x.kind;
    const int i = r.which == '1' ? 1 : 0;
    std::string data;
    if (k.do_channels > 0) {
        const int width = 2 * std::max(bytes_of(k.di_channels), bytes_of(k.do_channels));
        data = hex_field(x.m.do_latch[i], width) + hex_field(x.m.di_latch[i], width);
    } else {
        data = hex_field(x.m.di_latch[i], 2 * bytes_of(k.di_channels));
    }
    if (data.size() < 6) data.append(6 - data.size(), '0');
    return "!" + data;
}

std::string latch_clear(Exec& x, const Request&) {
    x.m.di_latch[0] = x.m.di_latch[1] = 0;
    x.m.do_latch[0] = x.m.do_latch[1] = 0;
    return ack(x.echo);
}

std::string counter_read(Exec& x, const Request& r) {
    if (r.channel < 0 || r.channel >= x.kind.counters) return refuse(x.echo);
    char buf[16];
    const unsigned v = x.m.counter[r.channel];
    std::snprintf(buf, sizeof buf, x.kind.counter_bits == 16 ? "%05u" : "%08X", v);
    return ack(x.echo) + buf;
}

std::string counter_clear(Exec& x, const Request& r) {
    if (r.channel < 0 || r.channel >= x.kind.counters) return refuse(x.echo);
    x.m.counter[r.channel] = 0;
    x.m.overflow[r.channel] = 0;
    return ack(x.echo);
}

std::string output_width(Exec& x, const Request&) {
    if (x.kind.do_channels == 0) return refuse(x.echo);
    return ack(x.echo) + std::to_string(x.kind.do_channels);
}

}  // namespace handlers
}  // namespace vex::sim::serial
