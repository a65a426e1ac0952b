#include "sim/description.h"

#include <fstream>
#include <sstream>

#include <toml++/toml.h>

#include "platform/text_codec.h"
#include "sim/services_description.h"

namespace vex::sim {
namespace {

struct Reader {
    std::string* error;
    bool ok = true;

    void fail(const std::string& what) {
        if (ok && error) *error = what;
        ok = false;
    }

    template <typename T>
    T integer(const toml::table& t, const char* key, T fallback, int64_t lo, int64_t hi,
              const std::string& where) {
        const toml::node* n = t.get(key);
        if (!n) return fallback;
        auto v = n->value<int64_t>();
        if (!v || *v < lo || *v > hi) {
            fail(where + ": '" + key + "' must be a whole number from " + std::to_string(lo) +
                 " to " + std::to_string(hi));
            return fallback;
        }
        return static_cast<T>(*v);
    }

    bool boolean(const toml::table& t, const char* key, bool fallback, const std::string& where) {
        const toml::node* n = t.get(key);
        if (!n) return fallback;
        auto v = n->value<bool>();
        if (!v) fail(where + ": '" + key + "' must be true or false");
        return v.value_or(fallback);
    }

    std::string text(const toml::table& t, const char* key, const std::string& fallback,
                     size_t max_len, const std::string& where) {
        const toml::node* n = t.get(key);
        if (!n) return fallback;
        auto v = n->value<std::string>();
        if (!v || v->size() > max_len) {
            fail(where + ": '" + key + "' must be a text of at most " + std::to_string(max_len) +
                 " characters");
            return fallback;
        }
        return *v;
    }
};

void read_controller(Reader& r, const toml::table& t, Description& d) {
    const std::string where = "[controller]";
    d.hardware_id = r.text(t, "hardware_id", d.hardware_id, 63, where);
    d.cpu_id = r.integer<uint8_t>(t, "cpu_id", d.cpu_id, 0, 7, where);
    d.backplane_version = r.integer<uint8_t>(t, "backplane_version", d.backplane_version, 0, 255, where);
    d.slot_count = r.integer<uint8_t>(t, "slots", d.slot_count, 0, 8, where);
    d.dip_switch = r.integer<uint8_t>(t, "dip_switch", d.dip_switch, 0, 255, where);
}

bool valid_channel_count(int n) { return n == 0 || n == 4 || n == 8 || n == 16 || n == 32; }

void read_slot(Reader& r, const toml::table& t, Description& d) {
    std::string where = "[[slot]]";
    int index = r.integer<int>(t, "slot", -1, 0, kSlots - 1, where);
    if (index < 0) {
        r.fail(where + ": every slot needs 'slot' = 0.." + std::to_string(kSlots - 1));
        return;
    }
    where = "[[slot]] " + std::to_string(index);
    SlotDescription s;
    std::string type = r.text(t, "type", "parallel", 16, where);
    if (type == "parallel") {
        s.kind = ModuleKind::Parallel;
        s.id = r.integer<uint8_t>(t, "id", 0, 0, 254, where);
        s.di_channels = r.integer<uint8_t>(t, "di_channels", 0, 0, 32, where);
        s.do_channels = r.integer<uint8_t>(t, "do_channels", 0, 0, 32, where);
        if (!valid_channel_count(s.di_channels) || !valid_channel_count(s.do_channels))
            r.fail(where + ": channel counts must be 0, 4, 8, 16 or 32");
        s.readback = r.boolean(t, "readback", false, where);
        s.watchdog = r.boolean(t, "watchdog", s.readback, where);
        s.version = r.integer<uint8_t>(t, "version", 0, 0, 31, where);
        if (t.get("capability"))
            s.capability = r.integer<uint8_t>(t, "capability", 0, 0, 255, where);
        s.subtype = r.integer<uint8_t>(t, "subtype", 0, 0, 255, where);
        s.di = r.integer<uint32_t>(t, "di", 0, 0, 0xFFFFFFFFLL, where);
        s.irq_rising = r.integer<uint32_t>(t, "interrupt_rising", 0, 0, 0xFFFFFFFFLL, where);
        s.irq_falling = r.integer<uint32_t>(t, "interrupt_falling", 0, 0, 0xFFFFFFFFLL, where);
        const uint32_t inputs = s.di_channels >= 32 ? 0xFFFFFFFFu : ((1u << s.di_channels) - 1u);
        if ((s.irq_rising | s.irq_falling) & ~inputs)
            r.fail(where + ": 'interrupt_rising' and 'interrupt_falling' name inputs the module does not have");
        s.power_on = r.integer<uint32_t>(t, "power_on", 0, 0, 0xFFFFFFFFLL, where);
        s.safe = r.integer<uint32_t>(t, "safe", 0, 0, 0xFFFFFFFFLL, where);
        s.wdt_timeout = r.integer<uint8_t>(t, "wdt_timeout", s.wdt_timeout, 0, 255, where);
        if (!s.watchdog && (t.get("power_on") || t.get("safe") || t.get("wdt_timeout")))
            r.fail(where + ": 'power_on', 'safe' and 'wdt_timeout' need a module with a watchdog");
    } else if (type == "serial") {
        s.kind = ModuleKind::Serial;
        s.id = 0xFF;
        s.serial_kind = r.text(t, "kind", "dio", 23, where);
        s.address = r.integer<uint8_t>(t, "address", 0, 0, 255, where);
        s.di_channels = r.integer<uint8_t>(t, "di_channels", 0, 0, 32, where);
        s.do_channels = r.integer<uint8_t>(t, "do_channels", 0, 0, 32, where);
        s.ai_channels = r.integer<uint8_t>(t, "ai_channels", 0, 0, 32, where);
        s.ao_channels = r.integer<uint8_t>(t, "ao_channels", 0, 0, 32, where);
        s.di = r.integer<uint32_t>(t, "di", 0, 0, 0xFFFFFFFFLL, where);
    } else {
        r.fail(where + ": 'type' must be \"parallel\" or \"serial\"");
        return;
    }
    if (d.slots[static_cast<size_t>(index)].kind != ModuleKind::Empty)
        r.fail(where + ": slot described twice");
    d.slots[static_cast<size_t>(index)] = s;
}

void read_port(Reader& r, const toml::table& t, Description& d) {
    PortDescription p;
    p.name = r.text(t, "name", "", 18, "[[port]]");
    if (p.name.empty()) r.fail("[[port]]: every port needs a 'name' such as \"COM1:\"");
    p.modem_loopback = r.boolean(t, "modem_loopback", true, "[[port]] " + p.name);
    d.ports.push_back(p);
}

void read_registry(Reader& r, const toml::table& t, Description& d) {
    for (const auto& [key, node] : t) {
        RegistryPreset preset;
        preset.path = plat::from_utf8(key.str());
        if (auto n = node.value<int64_t>(); n && node.is_integer()) {
            if (*n < 0 || *n > 0xFFFFFFFFLL) {
                r.fail("[registry] " + std::string(key.str()) + ": number out of 32-bit range");
                continue;
            }
            preset.is_number = true;
            preset.number = static_cast<uint32_t>(*n);
        } else if (auto s = node.value<std::string>(); s && node.is_string()) {
            preset.text = plat::from_utf8(*s);
        } else {
            r.fail("[registry] " + std::string(key.str()) + ": value must be a text or a number");
            continue;
        }
        d.registry.push_back(std::move(preset));
    }
}

}  // namespace

std::optional<Description> parse_description(const std::string& text, std::string* error) {
    toml::table root;
    try {
        root = toml::parse(text);
    } catch (const toml::parse_error& e) {
        if (error) {
            std::ostringstream os;
            os << "line " << e.source().begin.line << ": " << e.description();
            *error = os.str();
        }
        return std::nullopt;
    }
    Description d;
    Reader r{error};
    if (const toml::table* c = root["controller"].as_table()) read_controller(r, *c, d);
    if (const toml::array* slots = root["slot"].as_array()) {
        for (const toml::node& n : *slots) {
            if (const toml::table* t = n.as_table()) read_slot(r, *t, d);
        }
    }
    if (const toml::array* ports = root["port"].as_array()) {
        for (const toml::node& n : *ports) {
            if (const toml::table* t = n.as_table()) read_port(r, *t, d);
        }
    }
    if (const toml::table* reg = root["registry"].as_table()) read_registry(r, *reg, d);
    if (r.ok && !read_services_description(root, d, error)) r.ok = false;
    for (size_t i = d.slot_count; i < d.slots.size(); ++i) {
        if (d.slots[i].kind != ModuleKind::Empty)
            r.fail("[[slot]] " + std::to_string(i) + ": beyond the controller's slot count");
    }
    if (!r.ok) return std::nullopt;
    return d;
}

std::optional<Description> load_description_file(const std::string& path, std::string* error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        if (error) *error = "cannot read " + path;
        return std::nullopt;
    }
    std::ostringstream buf;
    buf << in.rdbuf();
    std::string inner;
    auto d = parse_description(buf.str(), &inner);
    if (!d && error) *error = path + ": " + inner;
    return d;
}

}  // namespace vex::sim
