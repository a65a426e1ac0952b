// Places and control operations on serial modules (see control.h).
#include <cstring>

#include "sim/models/models.h"
#include "sim/serial_modules/control.h"
#include "sim/serial_modules/module.h"

namespace vex::sim::serial {
namespace {

std::string_view text_of(const char* field, size_t size) { return {field, strnlen(field, size)}; }

bool fail(std::string* error, const std::string& why) {
    if (error) *error = why;
    return false;
}

bool parse_uint(std::string_view text, int base, uint32_t max, uint32_t& out) {
    if (text.empty() || text.size() > 8) return false;
    uint64_t v = 0;
    for (char c : text) {
        int d = -1;
        if (c >= '0' && c <= '9') d = c - '0';
        if (base == 16 && c >= 'a' && c <= 'f') d = c - 'a' + 10;
        if (base == 16 && c >= 'A' && c <= 'F') d = c - 'A' + 10;
        if (d < 0) return false;
        v = v * static_cast<uint64_t>(base) + static_cast<uint64_t>(d);
    }
    if (v > max) return false;
    out = static_cast<uint32_t>(v);
    return true;
}

// What sits on a port, for messages: "01, 02, unit 10".
std::string listing(const State& s, int port) {
    std::string out;
    auto add = [&](const std::string& item) { out += (out.empty() ? "" : ", ") + item; };
    for (const SerialModuleState& m : s.serial.modules) {
        if (m.site == static_cast<uint8_t>(SerialSite::Bus) && m.port == port) add(hex2(m.address));
    }
    for (const SerialUnitState& u : s.serial.units) {
        if (u.used && u.port == port) add("unit " + hex2(u.address));
    }
    return out.empty() ? "nothing" : out;
}

const catalogue::SerialKind* module_kind(const State& s, int module) {
    if (module < 0 || module >= kSerialModules) return nullptr;
    return kind_of(s.serial.modules[module]);
}

struct FaultName {
    SerialFaultKind kind;
    const char* name;
};
constexpr FaultName kFaultNames[] = {
    {SerialFaultKind::None, "none"},       {SerialFaultKind::Silent, "silent"},
    {SerialFaultKind::Garbage, "garbage"}, {SerialFaultKind::BadChecksum, "bad-checksum"},
    {SerialFaultKind::Cut, "cut"},         {SerialFaultKind::Dribble, "dribble"},
    {SerialFaultKind::Refuse, "refuse"},   {SerialFaultKind::Removed, "removed"},
};

}  // namespace

const char* fault_name(SerialFaultKind kind) {
    for (const FaultName& f : kFaultNames) {
        if (f.kind == kind) return f.name;
    }
    return "?";
}

bool fault_from_name(std::string_view name, SerialFaultKind& out) {
    for (const FaultName& f : kFaultNames) {
        if (name == f.name) {
            out = f.kind;
            return true;
        }
    }
    return false;
}

bool find_place(const State& s, std::string_view text, Place& out, std::string* error) {
    uint32_t n = 0;
    const std::string_view slot_text = text.substr(0, 4) == "slot" ? text.substr(4) : text;
    if (parse_uint(slot_text, 10, kSlots - 1, n)) {
        for (int i = 0; i < kSerialModules; ++i) {
            const SerialModuleState& m = s.serial.modules[i];
            if (m.site == static_cast<uint8_t>(SerialSite::Slot) && m.slot == n) {
                out = Place{Place::What::Module, i};
                return true;
            }
        }
        return fail(error, "slot " + std::to_string(n) + " holds no serial module");
    }
    const size_t colon = text.find(':');
    const std::string port_name = std::string(text.substr(0, colon)) + ":";
    const int port = [&] {
        for (int i = 0; i < kSerialBusPorts; ++i) {
            if (s.serial.ports[i].name[0] && text_of(s.serial.ports[i].name, sizeof s.serial.ports[i].name) == port_name)
                return i;
        }
        return -1;
    }();
    if (port < 0) {
        std::string ports;
        for (const SerialBusPort& p : s.serial.ports) {
            if (p.name[0]) ports += (ports.empty() ? "" : ", ") + std::string(text_of(p.name, sizeof p.name));
        }
        return fail(error, "'" + std::string(text) + "' is no place: give a slot (3, slot3) or a port (" + ports +
                               ") with an address (COM1:01, COM1:10/1 for a unit's slot)");
    }
    const std::string_view rest = colon == std::string_view::npos ? std::string_view() : text.substr(colon + 1);
    if (rest.empty()) {
        out = Place{Place::What::Port, port};
        return true;
    }
    const size_t slash = rest.find('/');
    uint32_t address = 0, unit_slot = 0;
    if (!parse_uint(rest.substr(0, slash), 16, 0xFF, address) ||
        (slash != std::string_view::npos && !parse_uint(rest.substr(slash + 1), 10, kUnitSlots - 1, unit_slot)))
        return fail(error, "'" + std::string(rest) + "': an address is two hexadecimal digits, a unit slot 0.." +
                               std::to_string(kUnitSlots - 1));
    const SerialSite site = slash == std::string_view::npos ? SerialSite::Bus : SerialSite::Unit;
    for (int i = 0; i < kSerialModules; ++i) {
        const SerialModuleState& m = s.serial.modules[i];
        if (m.site == static_cast<uint8_t>(site) && m.port == port && m.address == address &&
            (site == SerialSite::Bus || m.slot == unit_slot)) {
            out = Place{Place::What::Module, i};
            return true;
        }
    }
    for (int i = 0; i < kSerialUnits && site == SerialSite::Bus; ++i) {
        const SerialUnitState& u = s.serial.units[i];
        if (u.used && u.port == port && u.address == address) {
            out = Place{Place::What::Unit, i};
            return true;
        }
    }
    return fail(error, "no module at " + std::string(text) + " (" + port_name + " has " + listing(s, port) + ")");
}

bool set_inputs(State& s, int module, uint32_t lines, std::string* error) {
    const catalogue::SerialKind* k = module_kind(s, module);
    if (!k || k->di_channels == 0) return fail(error, "the module has no digital inputs");
    if (lines & ~channel_mask(k->di_channels))
        return fail(error, "the module has " + std::to_string(k->di_channels) + " inputs");
    module_set_inputs(s.serial.modules[module], *k, lines);
    return true;
}

bool set_analog_input(State& s, int module, int channel, float value, std::string* error) {
    const catalogue::SerialKind* k = module_kind(s, module);
    if (!k || k->ai_channels == 0) return fail(error, "the module has no analog inputs");
    if (channel < 0 || channel >= k->ai_channels)
        return fail(error, "the module's analog inputs are 0.." + std::to_string(k->ai_channels - 1));
    s.serial.modules[module].ai[channel] = value;
    return true;
}

bool add_pulses(State& s, int module, int channel, uint32_t pulses, std::string* error) {
    const catalogue::SerialKind* k = module_kind(s, module);
    if (!k || k->counters == 0) return fail(error, "the module has no counters");
    if (channel < 0 || channel >= k->counters)
        return fail(error, "the module's counters are 0.." + std::to_string(k->counters - 1));
    module_pulse(s.serial.modules[module], *k, channel, pulses);
    return true;
}

bool set_format(State& s, int module, SerialFormat format, std::string* error) {
    const catalogue::SerialKind* k = module_kind(s, module);
    if (!k || k->ai_channels == 0) return fail(error, "only analog input modules have a number format");
    s.serial.modules[module].format = static_cast<uint8_t>(format);
    return true;
}

bool set_fault(State& s, const Place& place, const FaultDescription& fault, uint64_t now, std::string* error) {
    SerialFault f{};
    f.kind = static_cast<uint8_t>(fault.kind);
    f.param = fault.param;
    f.remaining = fault.kind == SerialFaultKind::Removed ? 0 : fault.count;
    switch (place.what) {
    case Place::What::Port:
        if (fault.kind == SerialFaultKind::Removed) return fail(error, "a port cannot be removed (try silent)");
        s.serial.ports[place.index].fault = f;
        return true;
    case Place::What::Unit: {
        SerialUnitState& u = s.serial.units[place.index];
        const bool was_in = u.present != 0;
        u.fault = f;
        u.present = fault.kind == SerialFaultKind::Removed ? 0 : 1;
        for (int i = 0; i < kSerialModules && u.present && !was_in; ++i) {
            const SerialModuleState& m = s.serial.modules[i];
            if (m.site == static_cast<uint8_t>(SerialSite::Unit) && m.port == u.port && m.address == u.address)
                module_power_up(s, i, now);  // the unit is back: its modules start afresh
        }
        return true;
    }
    case Place::What::Module:
        break;
    }
    SerialModuleState& m = s.serial.modules[place.index];
    const bool was_in = m.present != 0;
    m.fault = f;
    m.present = fault.kind == SerialFaultKind::Removed ? 0 : 1;
    if (m.present && !was_in) module_power_up(s, place.index, now);  // re-inserted: a fresh start
    if (m.site == static_cast<uint8_t>(SerialSite::Slot)) models::backplane_update_presence(s);
    return true;
}

}  // namespace vex::sim::serial
