// The controller description: TOML read strictly into a Description.
#include "sim/description.h"

#include <cmath>
#include <fstream>
#include <sstream>

#include "platform/text_codec.h"
#include "sim/catalogue_module.h"
#include "sim/description_reader.h"
#include "sim/description_board.h"
#include "sim/services_description.h"

namespace vex::sim {
namespace detail {

void Reader::fail(const toml::source_region& where, const std::string& what) {
    if (ok_ && error_) {
        std::ostringstream os;
        os << source_ << ":" << where.begin.line << ":" << where.begin.column << ": " << what;
        *error_ = os.str();
    }
    ok_ = false;
}

void Reader::only(const toml::table& t, std::initializer_list<const char*> allowed, const std::string& what) {
    for (const auto& [key, node] : t) {
        bool known = false;
        for (const char* a : allowed) known = known || key.str() == a;
        if (!known) {
            std::string list;
            for (const char* a : allowed) list += std::string(list.empty() ? "" : ", ") + a;
            fail(key.source(), what + ": unknown key '" + std::string(key.str()) + "' (known: " + list + ")");
        }
    }
}

int64_t Reader::integer(const toml::table& t, const char* key, int64_t fallback, int64_t lo, int64_t hi,
                        const std::string& what) {
    const toml::node* n = t.get(key);
    if (!n) return fallback;
    const auto v = n->value_exact<int64_t>();
    if (!v || *v < lo || *v > hi) {
        fail(*n, what + ": '" + key + "' must be a whole number from " + std::to_string(lo) + " to " +
                     std::to_string(hi));
        return fallback;
    }
    return *v;
}

bool Reader::boolean(const toml::table& t, const char* key, bool fallback, const std::string& what) {
    const toml::node* n = t.get(key);
    if (!n) return fallback;
    const auto v = n->value_exact<bool>();
    if (!v) fail(*n, what + ": '" + key + "' must be true or false");
    return v.value_or(fallback);
}

std::string Reader::text(const toml::table& t, const char* key, const std::string& fallback, size_t max_len,
                         const std::string& what) {
    const toml::node* n = t.get(key);
    if (!n) return fallback;
    const auto v = n->value_exact<std::string>();
    if (!v || v->size() > max_len) {
        fail(*n, what + ": '" + key + "' must be a text of at most " + std::to_string(max_len) + " characters");
        return fallback;
    }
    return *v;
}

std::vector<float> Reader::numbers(const toml::table& t, const char* key, size_t max_items, double lo, double hi,
                                   const std::string& what) {
    std::vector<float> out;
    const toml::node* n = t.get(key);
    if (!n) return out;
    const toml::array* a = n->as_array();
    if (!a || a->size() > max_items) {
        fail(*n, what + ": '" + key + "' must be a list of at most " + std::to_string(max_items) + " numbers");
        return out;
    }
    for (const toml::node& item : *a) {
        const auto v = item.value<double>();
        if (!v || !(item.is_integer() || item.is_floating_point()) || !std::isfinite(*v) || *v < lo || *v > hi) {
            std::ostringstream os;
            os << what << ": '" << key << "' items must be numbers from " << lo << " to " << hi;
            fail(item, os.str());
            return {};
        }
        out.push_back(static_cast<float>(*v));
    }
    return out;
}

std::vector<const toml::table*> Reader::tables(const toml::table& t, const char* key, const std::string& what) {
    std::vector<const toml::table*> out;
    const toml::node* n = t.get(key);
    if (!n) return out;
    const toml::array* a = n->as_array();
    if (!a) {
        fail(*n, what + ": '" + key + "' must be an array of tables ([[" + key + "]])");
        return out;
    }
    for (const toml::node& item : *a) {
        if (const toml::table* tt = item.as_table())
            out.push_back(tt);
        else
            fail(item, what + ": every '" + key + "' must be a table");
    }
    return out;
}

const toml::table* Reader::table(const toml::table& t, const char* key, const std::string& what) {
    const toml::node* n = t.get(key);
    if (!n) return nullptr;
    if (const toml::table* tt = n->as_table()) return tt;
    fail(*n, what + ": '" + key + "' must be a table");
    return nullptr;
}

}  // namespace detail

namespace {

using detail::Reader;

void read_controller(Reader& r, const toml::table& t, Description& d) {
    const std::string what = "[controller]";
    r.only(t, {"hardware_id", "cpu_id", "backplane_version", "slots", "dip_switch", "board_version", "rotary",
              "battery1_low", "battery2_low"},
           what);
    d.hardware_id = r.text(t, "hardware_id", d.hardware_id, 63, what);
    d.cpu_id = r.small<uint8_t>(t, "cpu_id", d.cpu_id, 0, 7, what);
    d.backplane_version = r.small<uint8_t>(t, "backplane_version", d.backplane_version, 0, 255, what);
    d.slot_count = r.small<uint8_t>(t, "slots", d.slot_count, 0, 8, what);
    d.dip_switch = r.small<uint8_t>(t, "dip_switch", d.dip_switch, 0, 255, what);
}

bool valid_channel_count(int n) { return n == 0 || n == 4 || n == 8 || n == 16 || n == 32; }

// A module by its catalogue name: the catalogue gives what the raw keys
// would, so they may not be given beside it.
void read_catalogue_identity(Reader& r, const toml::table& t, const std::string& what, SlotDescription& s) {
    for (const char* key : {"id", "di_channels", "do_channels", "readback", "watchdog", "capability", "subtype"}) {
        if (t.get(key)) r.fail(*t.get(key), what + ": '" + key + "' comes from the catalogue with 'module'");
    }
    const std::string name = r.text(t, "module", "", 32, what);
    s.version = r.small<uint8_t>(t, "version", 0, 0, 31, what);
    std::string why;
    if (!describe_catalogue_module(name, s, &why)) r.fail(*t.get("module"), what + ": " + why);
}

void read_raw_identity(Reader& r, const toml::table& t, const std::string& what, SlotDescription& s) {
    s.kind = ModuleKind::Parallel;
    s.id = r.small<uint8_t>(t, "id", 0, 0, 254, what);
    s.di_channels = r.small<uint8_t>(t, "di_channels", 0, 0, 32, what);
    s.do_channels = r.small<uint8_t>(t, "do_channels", 0, 0, 32, what);
    if (!valid_channel_count(s.di_channels) || !valid_channel_count(s.do_channels))
        r.fail(t, what + ": channel counts must be 0, 4, 8, 16 or 32");
    s.readback = r.boolean(t, "readback", false, what);
    s.watchdog = r.boolean(t, "watchdog", s.readback, what);
    s.version = r.small<uint8_t>(t, "version", 0, 0, 31, what);
    if (t.get("capability")) s.capability = r.small<uint8_t>(t, "capability", 0, 0, 255, what);
    s.subtype = r.small<uint8_t>(t, "subtype", 0, 0, 255, what);
}

void read_parallel_slot(Reader& r, const toml::table& t, const std::string& what, SlotDescription& s) {
    r.only(t,
           {"slot", "type", "module", "id", "di_channels", "do_channels", "readback", "watchdog", "version",
            "capability", "subtype", "di", "interrupt_rising", "interrupt_falling", "power_on", "safe", "wdt_timeout"},
           what);
    s.kind = ModuleKind::Parallel;
    if (t.get("module"))
        read_catalogue_identity(r, t, what, s);
    else
        read_raw_identity(r, t, what, s);
    s.di = r.small<uint32_t>(t, "di", 0, 0, 0xFFFFFFFFLL, what);
    s.irq_rising = r.small<uint32_t>(t, "interrupt_rising", 0, 0, 0xFFFFFFFFLL, what);
    s.irq_falling = r.small<uint32_t>(t, "interrupt_falling", 0, 0, 0xFFFFFFFFLL, what);
    const uint32_t inputs = s.di_channels >= 32 ? 0xFFFFFFFFu : ((1u << s.di_channels) - 1u);
    if ((s.irq_rising | s.irq_falling) & ~inputs)
        r.fail(t, what + ": 'interrupt_rising' and 'interrupt_falling' name inputs the module does not have");
    s.power_on = r.small<uint32_t>(t, "power_on", 0, 0, 0xFFFFFFFFLL, what);
    s.safe = r.small<uint32_t>(t, "safe", 0, 0, 0xFFFFFFFFLL, what);
    s.wdt_timeout = r.small<uint8_t>(t, "wdt_timeout", s.wdt_timeout, 0, 255, what);
    if (!s.watchdog && (t.get("power_on") || t.get("safe") || t.get("wdt_timeout")))
        r.fail(t, what + ": 'power_on', 'safe' and 'wdt_timeout' need a module with a watchdog");
}

void read_slot(Reader& r, const toml::table& t, Description& d) {
    std::string what = "[[slot]]";
    const int index = r.small<int>(t, "slot", -1, 0, kSlots - 1, what);
    if (index < 0) {
        r.fail(t, what + ": every slot needs 'slot' = 0.." + std::to_string(kSlots - 1));
        return;
    }
    what = "[[slot]] " + std::to_string(index);
    SlotDescription s;
    const std::string type = r.text(t, "type", "parallel", 16, what);
    if (type == "parallel") {
        read_parallel_slot(r, t, what, s);
    } else if (type == "serial") {
        s.kind = ModuleKind::Serial;
        s.id = 0xFF;
        s.serial = detail::read_serial_module(r, t, what, {"slot", "type"});
    } else {
        r.fail(*t.get("type"), what + ": 'type' must be \"parallel\" or \"serial\"");
        return;
    }
    if (d.slots[static_cast<size_t>(index)].kind != ModuleKind::Empty) r.fail(t, what + ": slot described twice");
    d.slots[static_cast<size_t>(index)] = s;
}

void read_registry(Reader& r, const toml::table& t, Description& d) {
    for (const auto& [key, node] : t) {
        RegistryPreset preset;
        preset.path = plat::from_utf8(key.str());
        if (auto n = node.value_exact<int64_t>()) {
            if (*n < 0 || *n > 0xFFFFFFFFLL) {
                r.fail(node, "[registry] " + std::string(key.str()) + ": number out of 32-bit range");
                continue;
            }
            preset.is_number = true;
            preset.number = static_cast<uint32_t>(*n);
        } else if (auto s = node.value_exact<std::string>()) {
            preset.text = plat::from_utf8(*s);
        } else {
            r.fail(node, "[registry] " + std::string(key.str()) + ": value must be a text or a number");
            continue;
        }
        d.registry.push_back(std::move(preset));
    }
}

}  // namespace

std::optional<Description> parse_description(const std::string& text, std::string* error,
                                             const std::string& source) {
    toml::table root;
    try {
        root = toml::parse(text);
    } catch (const toml::parse_error& e) {
        if (error) {
            std::ostringstream os;
            os << source << ":" << e.source().begin.line << ":" << e.source().begin.column << ": "
               << e.description();
            *error = os.str();
        }
        return std::nullopt;
    }
    Description d;
    Reader r(source, error);
    r.only(root, {"controller", "slot", "port", "registry", "memory", "factory", "card", "link"}, "description");
    if (const toml::table* c = r.table(root, "controller", "description")) read_controller(r, *c, d);
    for (const toml::table* t : r.tables(root, "slot", "description")) read_slot(r, *t, d);
    for (const toml::table* t : r.tables(root, "port", "description")) detail::read_port(r, *t, d);
    if (const toml::table* reg = r.table(root, "registry", "description")) read_registry(r, *reg, d);
    for (size_t i = d.slot_count; i < d.slots.size(); ++i) {
        if (d.slots[i].kind != ModuleKind::Empty)
            r.fail(root, "[[slot]] " + std::to_string(i) + ": beyond the controller's slot count");
    }
    detail::check_serial(r, root, d);
    if (!r.ok()) return std::nullopt;
    // These readers give "line:column: what"; the file goes in front.
    if (!parse_board_description(root, d, error) || !read_services_description(root, d, error)) {
        if (error) *error = source + ":" + *error;
        return std::nullopt;
    }
    return d;
}

std::optional<Description> load_description_file(const std::string& path, std::string* error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        if (error) *error = "cannot read " + path;
        return std::nullopt;
    }
    // A description is a page or two of text; a file many times larger is
    // the wrong file, and is refused before it is read into memory.
    std::string text(kMaxDescriptionBytes + 1, '\0');
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (in.bad()) {
        if (error) *error = "cannot read " + path;
        return std::nullopt;
    }
    text.resize(static_cast<size_t>(in.gcount()));
    if (text.size() > kMaxDescriptionBytes) {
        if (error)
            *error = path + ": larger than " + std::to_string(kMaxDescriptionBytes / 1024) +
                     " KiB; not a controller description";
        return std::nullopt;
    }
    if (text.find('\0') != std::string::npos) {
        if (error) *error = path + ": binary data (a NUL byte); a description is TOML text";
        return std::nullopt;
    }
    return parse_description(text, error, path);
}

}  // namespace vex::sim
