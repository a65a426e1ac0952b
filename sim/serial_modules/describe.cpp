// Serial modules as text for people (see describe.h).
#include "sim/serial_modules/describe.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "platform/text_codec.h"
#include "sim/serial_modules/control.h"
#include "sim/serial_modules/module.h"

namespace vex::sim::serial {
namespace {

std::string_view text_of(const char* field, size_t size) { return {field, strnlen(field, size)}; }

using plat::format;

std::string hex_value(uint32_t v, int channels) {
    return format("0x%0*X", std::max(1, (channels + 3) / 4), static_cast<unsigned>(v));
}

std::string values(const float* v, int n) {
    std::string out;
    for (int i = 0; i < n; ++i) out += format("%s%.3f", i ? " " : "", static_cast<double>(v[i]));
    return out;
}

}  // namespace

std::string escape_bytes(const char* data, size_t size) {
    std::string out;
    for (size_t i = 0; i < size; ++i) {
        const unsigned char c = static_cast<unsigned char>(data[i]);
        switch (c) {
        case '\r': out += "\\r"; break;
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        case '\\': out += "\\\\"; break;
        default:
            if (c >= 0x20 && c < 0x7F)
                out += static_cast<char>(c);
            else
                out += format("\\x%02X", c);
        }
    }
    return out;
}

std::string describe_fault(const SerialFault& f) {
    const auto kind = static_cast<SerialFaultKind>(f.kind);
    std::string out = fault_name(kind);
    switch (kind) {
    case SerialFaultKind::Garbage: out += format(" %u bytes", f.param); break;
    case SerialFaultKind::Cut: out += format(" after %u characters", f.param); break;
    case SerialFaultKind::Dribble: out += format(" %u ms a character", f.param); break;
    default: break;
    }
    if (f.remaining > 0) out += format(" (%u more exchange%s)", f.remaining, f.remaining == 1 ? "" : "s");
    return out;
}

std::string describe_port_settings(const State& s, int port) {
    const SerialBusPort& p = s.serial.ports[port];
    std::string out = "terminator \"" + escape_bytes(p.terminator, strnlen(p.terminator, sizeof p.terminator)) +
                      "\", checksum " + (p.checksum ? "on" : "off");
    out += p.pacing ? format(", paced at the line's rate, turnaround %u ms", p.turnaround_ms) : ", not paced";
    if (p.fault.kind) out += ", fault: " + describe_fault(p.fault);
    return out;
}

std::string describe_unit(const State& s, int index, int indent) {
    const SerialUnitState& u = s.serial.units[index];
    const SerialBusPort& p = s.serial.ports[u.port];
    std::string out = format("%*s%s%s  expansion unit '%s', %u slots", indent, "",
                             std::string(text_of(p.name, sizeof p.name)).c_str(), hex2(u.address).c_str(),
                             std::string(text_of(u.name, sizeof u.name)).c_str(), u.slots);
    if (!u.present) out += ", REMOVED";
    if (u.fault.kind && u.fault.kind != static_cast<uint8_t>(SerialFaultKind::Removed))
        out += ", fault: " + describe_fault(u.fault);
    return out + "\n";
}

std::string describe_module(const State& s, int index, int indent) {
    const SerialModuleState& m = s.serial.modules[index];
    const catalogue::SerialKind* k = kind_of(m);
    const std::string pad(static_cast<size_t>(indent), ' ');
    std::string out = pad + place_of(s, index) + "  " + std::string(text_of(m.name, sizeof m.name));
    if (!k) return out + " (unknown kind)\n";
    out += format(" at address %s: %s", hex2(m.address).c_str(), k->description);
    if (m.checksum) out += ", checksum";
    if (!m.present) out += ", REMOVED";
    out += "\n";
    const std::string more = pad + "    ";
    if (k->di_channels) {
        out += more + "inputs  " + hex_value(m.di, k->di_channels);
        if (k->latches)
            out += "  latched on " + hex_value(m.di_latch[1], k->di_channels) + " off " +
                   hex_value(m.di_latch[0], k->di_channels);
        out += "\n";
    }
    if (k->counters) {
        out += more + "counters";
        for (int i = 0; i < k->counters; ++i)
            out += format(" %u%s", m.counter[i], m.overflow[i] ? "(overflowed)" : "");
        out += "\n";
    }
    if (k->do_channels) {
        out += more + "outputs " + hex_value(m.do_value, k->do_channels) + "  power-on " +
               hex_value(m.do_power_on, k->do_channels);
        if (k->watchdog) out += "  safe " + hex_value(m.do_safe, k->do_channels);
        out += "\n";
    }
    if (k->ai_channels)
        out += more + "analog inputs (" + k->unit + ", answered " +
               (m.format == static_cast<uint8_t>(SerialFormat::Hex) ? "as counts" : "in engineering units") +
               "): " + values(m.ai, k->ai_channels) + "\n";
    if (k->ao_channels) {
        out += more + "analog outputs (" + k->unit + "): " + values(m.ao, k->ao_channels) + "\n";
        out += more + "    power-on " + values(m.ao_power_on, k->ao_channels);
        if (k->watchdog) out += "  safe " + values(m.ao_safe, k->ao_channels);
        out += "\n";
    }
    if (k->watchdog) {
        out += more + format("host watchdog %s, time-out %.1f s", m.wdt_enabled ? "enabled" : "disabled",
                             m.wdt_timeout / 10.0);
        if (m.wdt_expired) out += ", RUN OUT (outputs held at their safe values)";
        out += "\n";
    }
    if (m.fault.kind && m.fault.kind != static_cast<uint8_t>(SerialFaultKind::Removed))
        out += more + "fault: " + describe_fault(m.fault) + "\n";
    return out;
}

std::string describe_exchange(const State& s, const SerialTraceEntry& e) {
    const SerialBusPort& p = s.serial.ports[e.port < kSerialBusPorts ? e.port : 0];
    std::string out = format("%-6s ", std::string(text_of(p.name, sizeof p.name)).c_str());
    out += escape_bytes(e.command, e.command_len);
    if (e.flags & kTraceCommandCut) out += "...";
    out += "  ->  ";
    if (e.flags & kTraceNoAnswer) return out + "(no answer)";
    out += escape_bytes(e.answer, e.answer_len);
    if (e.flags & kTraceAnswerCut) out += "...";
    if (e.flags & kTraceFault) out += "  (fault)";
    return out;
}

}  // namespace vex::sim::serial
