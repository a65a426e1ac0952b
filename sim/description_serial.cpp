// Serial parts of the controller description: serial modules (in slots, on
// buses, in expansion units), bus ports with their settings, and faults.
// Module kinds come from the product catalogue, so a described module can
// only be what the product knows, with the channels its kind has.
#include <cmath>
#include <set>

#include "frame/catalogue.h"
#include "sim/description_reader.h"

namespace vex::sim::detail {
namespace {

uint32_t mask_of(int channels) { return channels >= 32 ? 0xFFFFFFFFu : ((1u << channels) - 1u); }

std::string known_kinds() {
    std::string list;
    for (const catalogue::SerialKind& k : catalogue::serial_kinds())
        list += std::string(list.empty() ? "" : ", ") + k.name;
    return list;
}

std::string hex2(unsigned v) {
    static const char digits[] = "0123456789ABCDEF";
    return {digits[(v >> 4) & 0xF], digits[v & 0xF]};
}

// Values of a module that only some kinds have: refused on the others.
void need(Reader& r, const toml::table& t, const char* key, bool has, const std::string& what,
          const char* missing) {
    if (t.get(key) && !has) r.fail(*t.get(key), what + ": '" + key + "' needs a kind with " + missing);
}

}  // namespace

FaultDescription read_fault(Reader& r, const toml::table& t, bool module, const std::string& what_in) {
    const std::string what = what_in + " fault";
    FaultDescription f;
    r.only(t, {"kind", "bytes", "chars", "ms", "count"}, what);
    const toml::node* kn = t.get("kind");
    const std::string kind = r.text(t, "kind", "", 16, what);
    struct Known {
        const char* name;
        SerialFaultKind kind;
        const char* param;
        uint32_t fallback, lo, hi;
    } static const known[] = {
        {"silent", SerialFaultKind::Silent, nullptr, 0, 0, 0},
        {"garbage", SerialFaultKind::Garbage, "bytes", 4, 1, 64},
        {"bad-checksum", SerialFaultKind::BadChecksum, nullptr, 0, 0, 0},
        {"cut", SerialFaultKind::Cut, "chars", 1, 0, 64},
        {"dribble", SerialFaultKind::Dribble, "ms", 50, 1, 10000},
        {"refuse", SerialFaultKind::Refuse, nullptr, 0, 0, 0},
        {"removed", SerialFaultKind::Removed, nullptr, 0, 0, 0},
    };
    const Known* k = nullptr;
    for (const Known& c : known) k = kind == c.name ? &c : k;
    if (!k || (k->kind == SerialFaultKind::Removed && !module)) {
        r.fail(kn ? *kn : static_cast<const toml::node&>(t),
               what + ": 'kind' must be silent, garbage, bad-checksum, cut, dribble, refuse" +
                   (module ? ", removed" : " (a port cannot be removed)"));
        return f;
    }
    f.kind = k->kind;
    for (const char* p : {"bytes", "chars", "ms"}) {
        if (t.get(p) && (!k->param || std::string(p) != k->param))
            r.fail(*t.get(p), what + ": '" + p + "' does not go with a " + kind + " fault");
    }
    if (k->param) f.param = r.small<uint32_t>(t, k->param, k->fallback, k->lo, k->hi, what);
    if (k->kind == SerialFaultKind::Removed && t.get("count"))
        r.fail(*t.get("count"), what + ": a removed module stays out until the fault is cleared");
    f.count = r.small<uint32_t>(t, "count", 0, 0, 1000000, what);
    return f;
}

SerialModuleDescription read_serial_module(Reader& r, const toml::table& t, const std::string& what,
                                           std::initializer_list<const char*> extra_keys) {
    std::vector<const char*> allowed{"kind",        "address", "checksum",    "format",      "di",
                                     "ai",          "power_on", "safe",       "ao_power_on", "ao_safe",
                                     "wdt_enabled", "wdt_timeout", "fault"};
    allowed.insert(allowed.end(), extra_keys.begin(), extra_keys.end());
    SerialModuleDescription m;
    for (const auto& [key, node] : t) {
        bool known = false;
        for (const char* a : allowed) known = known || key.str() == a;
        if (!known) {
            r.fail(key.source(), what + ": unknown key '" + std::string(key.str()) +
                                     "' (serial modules take kind, address, checksum, format, di, ai, power_on, "
                                     "safe, ao_power_on, ao_safe, wdt_enabled, wdt_timeout, fault)");
        }
    }
    const toml::node* kn = t.get("kind");
    m.kind = r.text(t, "kind", "", 15, what);
    const catalogue::SerialKind* k = catalogue::find_serial_kind(m.kind);
    if (!k) {
        r.fail(kn ? *kn : static_cast<const toml::node&>(t),
               what + ": 'kind' must name a serial module kind of the catalogue (" + known_kinds() + ")");
        return m;
    }
    m.address = r.small<uint8_t>(t, "address", 0, 0, 255, what);
    if (t.get("checksum")) m.checksum = r.boolean(t, "checksum", false, what);
    const bool ai = k->ai_channels > 0, ao = k->ao_channels > 0;
    need(r, t, "format", ai, what, "analog inputs");
    const std::string format = r.text(t, "format", "engineering", 16, what);
    if (format == "hex")
        m.format = SerialFormat::Hex;
    else if (format != "engineering")
        r.fail(*t.get("format"), what + ": 'format' must be \"engineering\" or \"hex\"");
    need(r, t, "di", k->di_channels > 0, what, "digital inputs");
    m.di = r.small<uint32_t>(t, "di", 0, 0, mask_of(k->di_channels), what);
    need(r, t, "ai", ai, what, "analog inputs");
    m.ai = r.numbers(t, "ai", k->ai_channels, -99999.0, 99999.0, what);
    need(r, t, "power_on", k->do_channels > 0, what, "digital outputs");
    need(r, t, "safe", k->do_channels > 0 && k->watchdog, what, "digital outputs and a watchdog");
    m.power_on = r.small<uint32_t>(t, "power_on", 0, 0, mask_of(k->do_channels), what);
    m.safe = r.small<uint32_t>(t, "safe", 0, 0, mask_of(k->do_channels), what);
    need(r, t, "ao_power_on", ao, what, "analog outputs");
    need(r, t, "ao_safe", ao && k->watchdog, what, "analog outputs and a watchdog");
    m.ao_power_on = r.numbers(t, "ao_power_on", k->ao_channels, k->range_low, k->range_high, what);
    m.ao_safe = r.numbers(t, "ao_safe", k->ao_channels, k->range_low, k->range_high, what);
    need(r, t, "wdt_enabled", k->watchdog, what, "a host watchdog");
    need(r, t, "wdt_timeout", k->watchdog, what, "a host watchdog");
    m.wdt_enabled = r.boolean(t, "wdt_enabled", false, what);
    m.wdt_timeout = r.small<uint8_t>(t, "wdt_timeout", 0, 0, 255, what);
    if (const toml::table* f = r.table(t, "fault", what)) m.fault = read_fault(r, *f, true, what);
    return m;
}

namespace {

// Modules and units share one address space per bus.
struct BusAddresses {
    std::set<unsigned> used;
    void take(Reader& r, const toml::table& t, unsigned address, const std::string& what) {
        if (!used.insert(address).second)
            r.fail(t, what + ": address " + hex2(address) + " is already taken on this bus");
    }
};

UnitDescription read_unit(Reader& r, const toml::table& t, const std::string& port, BusAddresses& bus) {
    std::string what = "[[port]] " + port + " unit";
    r.only(t, {"address", "name", "slots", "fault", "slot"}, what);
    UnitDescription u;
    if (!t.get("address")) r.fail(t, what + ": every unit needs an 'address'");
    u.address = r.small<uint8_t>(t, "address", 0, 0, 255, what);
    what += " " + hex2(u.address);
    bus.take(r, t, u.address, what);
    u.slots = r.small<uint8_t>(t, "slots", 8, 1, 16, what);
    u.name = r.text(t, "name", "RU" + std::to_string(u.slots), 15, what);
    if (const toml::table* f = r.table(t, "fault", what)) u.fault = read_fault(r, *f, true, what);
    std::set<int> slots;
    for (const toml::table* st : r.tables(t, "slot", what)) {
        const int slot = r.small<int>(*st, "slot", -1, 0, u.slots - 1, what);
        if (slot < 0 || !st->get("slot")) {
            r.fail(*st, what + ": every unit slot needs 'slot' = 0.." + std::to_string(u.slots - 1));
            continue;
        }
        const std::string where = what + " slot " + std::to_string(slot);
        if (!slots.insert(slot).second) r.fail(*st, where + ": slot described twice");
        if (st->get("address")) r.fail(*st->get("address"), where + ": a unit's modules are reached through its address");
        u.modules.emplace_back(static_cast<uint8_t>(slot), read_serial_module(r, *st, where, {"slot"}));
        u.modules.back().second.address = u.address;
    }
    return u;
}

}  // namespace

void read_port(Reader& r, const toml::table& t, Description& d) {
    PortDescription p;
    p.name = r.text(t, "name", "", 18, "[[port]]");
    const std::string what = "[[port]] " + p.name;
    if (p.name.empty()) {
        r.fail(t, "[[port]]: every port needs a 'name' such as \"COM1:\"");
        return;
    }
    r.only(t, {"name", "modem_loopback", "checksum", "terminator", "pacing", "turnaround_ms", "fault", "module", "unit"},
           what);
    for (const PortDescription& other : d.ports) {
        if (other.name == p.name) r.fail(t, what + ": port described twice");
    }
    p.modem_loopback = r.boolean(t, "modem_loopback", true, what);
    p.checksum = r.boolean(t, "checksum", false, what);
    p.terminator = r.text(t, "terminator", p.terminator, 7, what);
    if (p.terminator.empty()) r.fail(*t.get("terminator"), what + ": 'terminator' must not be empty");
    p.pacing = r.boolean(t, "pacing", false, what);
    p.turnaround_ms = r.small<uint16_t>(t, "turnaround_ms", 0, 0, 10000, what);
    if (const toml::table* f = r.table(t, "fault", what)) p.fault = read_fault(r, *f, false, what);
    const bool internal = p.name == "COM0:";
    BusAddresses bus;
    for (const toml::table* mt : r.tables(t, "module", what)) {
        if (internal) r.fail(*mt, what + ": the internal port's modules sit in slots ([[slot]] type = \"serial\")");
        if (!mt->get("address")) r.fail(*mt, what + " module: every bus module needs an 'address'");
        SerialModuleDescription m = read_serial_module(r, *mt, what + " module", {});
        bus.take(r, *mt, m.address, what + " module " + hex2(m.address));
        p.modules.push_back(std::move(m));
    }
    for (const toml::table* ut : r.tables(t, "unit", what)) {
        if (internal) r.fail(*ut, what + ": the internal port carries no expansion units");
        p.units.push_back(read_unit(r, *ut, p.name, bus));
    }
    d.ports.push_back(std::move(p));
}

void check_serial(Reader& r, const toml::table& root, Description& d) {
    bool internal_checksum = false;
    size_t modules = 0, units = 0, ports = 1;  // COM0: always exists
    for (const PortDescription& p : d.ports) {
        if (p.name == "COM0:")
            internal_checksum = p.checksum;
        else
            ++ports;
    }
    for (SlotDescription& s : d.slots) {
        if (s.kind != ModuleKind::Serial) continue;
        ++modules;
        if (!s.serial.checksum) s.serial.checksum = internal_checksum;
    }
    for (PortDescription& p : d.ports) {
        for (SerialModuleDescription& m : p.modules) {
            ++modules;
            if (!m.checksum) m.checksum = p.checksum;
        }
        for (UnitDescription& u : p.units) {
            ++units;
            for (auto& [slot, m] : u.modules) {
                ++modules;
                if (!m.checksum) m.checksum = p.checksum;
            }
        }
    }
    if (modules > static_cast<size_t>(kSerialModules))
        r.fail(root, "description: at most " + std::to_string(kSerialModules) + " serial modules");
    if (units > static_cast<size_t>(kSerialUnits))
        r.fail(root, "description: at most " + std::to_string(kSerialUnits) + " expansion units");
    if (ports > static_cast<size_t>(kSerialBusPorts))
        r.fail(root, "description: at most " + std::to_string(kSerialBusPorts) + " COM ports, COM0: included");
}

}  // namespace vex::sim::detail
