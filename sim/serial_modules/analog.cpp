// Analog serial modules: inputs in engineering units or as counts, and
// outputs with their power-on and safe values.
//
// Inputs answer in the module's format. Engineering units: the value with
// its sign, "%+07.3f" ("+05.000"); a value below the kind's range answers
// "-0000", above it "+9999". Counts: four hexadecimal digits of a 16-bit
// two's complement scaled so that the larger end of the range is 0x7FFF
// (0x8000 the negative end of a symmetric range); below the range "8000",
// above it "7FFF". "#AA" reads every input at once, one value after the
// other.
//
// Outputs accept values within the kind's range ("?AA" otherwise), answer
// '>' and read back "!AA" + "%+07.3f". "$AA4N" (or "$AAS" on the kinds that
// use it) keeps the present output as power-on value, "~AA5N" as safe
// value; "$AA7N" / "~AA7N" and "~AA4N" read them (through an expansion unit
// the power-on value comes as a count, like an input in the count format). While the host watchdog
// has run out the outputs stay at their safe values and a write is refused
// with "!" alone.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "sim/serial_modules/module.h"

namespace vex::sim::serial {
namespace {

std::string engineering(float v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%+07.3f", static_cast<double>(v));
    return buf;
}

// A value as a 16-bit count: the larger end of the kind's range is 0x7FFF.
std::string count(float v, const catalogue::SerialKind& k) {
    const double full = std::max(std::fabs(static_cast<double>(k.range_low)), std::fabs(static_cast<double>(k.range_high)));
    const long n = std::lround(static_cast<double>(v) / full * 32767.0);
    char buf[8];
    std::snprintf(buf, sizeof buf, "%04X", static_cast<unsigned>(n) & 0xFFFFu);
    return buf;
}

std::string ai_value(const Exec& x, int channel) {
    const catalogue::SerialKind& k = x.kind;
    const float v = x.m.ai[channel];
    const bool under = v < k.range_low, over = v > k.range_high;
    if (x.m.format == static_cast<uint8_t>(SerialFormat::Hex)) {
        if (under) return "8000";
        if (over) return "7FFF";
        return count(v, k);
    }
    if (under) return "-0000";
    if (over) return "+9999";
    return engineering(v);
}

// The channel a request names: its own, or channel 0 of a one-channel kind.
int ao_channel(const Exec& x, const Request& r) {
    const int ch = r.channel < 0 ? (x.kind.ao_channels == 1 ? 0 : -1) : r.channel;
    return ch < x.kind.ao_channels ? ch : -1;
}

void save(Exec& x) { memory_save(x.state, x.index); }

}  // namespace

namespace handlers {

std::string ai_read(Exec& x, const Request& r) {
    const int ch = r.channel < 0 ? (x.kind.ai_channels == 1 ? 0 : -1) : r.channel;
    if (ch < 0 || ch >= x.kind.ai_channels) return refuse(x.echo);
    return ">" + ai_value(x, ch);
}

std::string ai_read_all(Exec& x, const Request&) {
    if (x.kind.ai_channels == 0) return refuse(x.echo);
    std::string out = ">";
    for (int i = 0; i < x.kind.ai_channels; ++i) out += ai_value(x, i);
    return out;
}

std::string ao_write(Exec& x, const Request& r) {
    const int ch = ao_channel(x, r);
    if (ch < 0 || r.analog < x.kind.range_low || r.analog > x.kind.range_high) return refuse(x.echo);
    if (x.m.wdt_expired) return "!";
    x.m.ao[ch] = r.analog;
    return ">";
}

std::string ao_read(Exec& x, const Request& r) {
    const int ch = ao_channel(x, r);
    return ch < 0 ? refuse(x.echo) : ack(x.echo) + engineering(x.m.ao[ch]);
}

std::string ao_power_on_read(Exec& x, const Request& r) {
    const int ch = ao_channel(x, r);
    const std::string_view name(x.m.name, strnlen(x.m.name, sizeof x.m.name));
    if (ch < 0 || x.kind.ao_power_on_read == catalogue::AoPowerOnRead::None ||
        !catalogue::has_variant_mark(name, x.kind.ao_power_on_variant))
        return refuse(x.echo);
    // Through an expansion unit the value comes as a count.
    return ack(x.echo) + (r.via_unit ? count(x.m.ao_power_on[ch], x.kind) : engineering(x.m.ao_power_on[ch]));
}

std::string ao_power_on_set(Exec& x, const Request& r) {
    const int ch = ao_channel(x, r);
    if (ch < 0) return refuse(x.echo);
    x.m.ao_power_on[ch] = x.m.ao[ch];
    save(x);
    return ack(x.echo);
}

std::string ao_safe_read(Exec& x, const Request& r) {
    const int ch = ao_channel(x, r);
    return ch < 0 || !x.kind.watchdog ? refuse(x.echo) : ack(x.echo) + engineering(x.m.ao_safe[ch]);
}

std::string ao_safe_set(Exec& x, const Request& r) {
    const int ch = ao_channel(x, r);
    if (ch < 0 || !x.kind.watchdog) return refuse(x.echo);
    x.m.ao_safe[ch] = x.m.ao[ch];
    save(x);
    return ack(x.echo);
}

}  // namespace handlers
}  // namespace vex::sim::serial
