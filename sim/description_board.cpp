#include "sim/description_board.h"

#include <cctype>
#include <set>

namespace vex::sim {
namespace {

struct Parser {
    std::string* error;
    bool ok = true;

    // "line:column: what"; the caller puts the file name in front.
    bool fail(const toml::node& at, const std::string& what) {
        if (ok && error)
            *error = std::to_string(at.source().begin.line) + ":" + std::to_string(at.source().begin.column) + ": " +
                     what;
        ok = false;
        return false;
    }

    void only_known(const toml::table& t, const char* where, const std::set<std::string>& known) {
        for (const auto& [key, node] : t) {
            if (!known.count(std::string(key.str())))
                fail(node, std::string(where) + ": unknown key '" + std::string(key.str()) + "'");
        }
    }

    template <typename T>
    bool integer(const toml::table& t, const char* key, T& out, int64_t lo, int64_t hi, const char* where) {
        const toml::node* n = t.get(key);
        if (!n) return false;
        auto v = n->value<int64_t>();
        if (!n->is_integer() || !v || *v < lo || *v > hi)
            return fail(*n, std::string(where) + ": '" + key + "' must be a whole number from " + std::to_string(lo) +
                        " to " + std::to_string(hi));
        out = static_cast<T>(*v);
        return true;
    }

    bool boolean(const toml::table& t, const char* key, bool& out, const char* where) {
        const toml::node* n = t.get(key);
        if (!n) return false;
        if (!n->is_boolean()) return fail(*n, std::string(where) + ": '" + key + "' must be true or false");
        out = *n->value<bool>();
        return true;
    }

    // "0011AA..." (2n hex digits), with ':' or '-' allowed between bytes.
    template <size_t N>
    void hex_bytes(const toml::table& t, const char* key, std::array<uint8_t, N>& out, const char* where) {
        const toml::node* n = t.get(key);
        if (!n) return;
        const auto text = n->value<std::string>();
        std::string digits;
        bool good = n->is_string() && text;
        for (char c : text.value_or("")) {
            if (std::isxdigit(static_cast<unsigned char>(c)))
                digits += c;
            else if (c != ':' && c != '-')
                good = false;
        }
        if (!good || digits.size() != 2 * N) {
            fail(*n, std::string(where) + ": '" + key + "' must be " + std::to_string(N) + " bytes in hexadecimal");
            return;
        }
        for (size_t i = 0; i < N; ++i) out[i] = static_cast<uint8_t>(std::stoul(digits.substr(2 * i, 2), nullptr, 16));
    }

    void version(const toml::table& t, const char* key, std::array<uint8_t, 4>& out, const char* where) {
        const toml::node* n = t.get(key);
        if (!n) return;
        const std::string text = n->value<std::string>().value_or("");
        unsigned v[4];
        char tail = 0;
        if (!n->is_string() || std::sscanf(text.c_str(), "%u.%u.%u.%u%c", &v[0], &v[1], &v[2], &v[3], &tail) != 4 ||
            v[0] > 99 || v[1] > 99 || v[2] > 99 || v[3] > 99) {
            fail(*n, std::string(where) + ": '" + key + "' must be four numbers 0..99, as \"1.2.0.5\"");
            return;
        }
        for (int i = 0; i < 4; ++i) out[static_cast<size_t>(i)] = static_cast<uint8_t>(v[i]);
    }

    void stamp(const toml::table& t, const char* key, std::array<uint16_t, 6>& out, const char* where) {
        const toml::node* n = t.get(key);
        if (!n) return;
        const auto* dt = n->as_date_time();
        if (!dt || dt->get().offset) {
            fail(*n, std::string(where) + ": '" + key + "' must be a local date and time, as 2024-02-01 14:05:59");
            return;
        }
        const toml::date_time& v = dt->get();
        out = {v.date.year, v.date.month, v.date.day, v.time.hour, v.time.minute, v.time.second};
    }
};

void read_controller(Parser& p, const toml::table& t, Description& d) {
    const char* where = "[controller]";
    p.integer(t, "rotary", d.board.rotary, 0, 15, where);
    p.boolean(t, "battery1_low", d.board.battery1_low, where);
    p.boolean(t, "battery2_low", d.board.battery2_low, where);
    if (p.integer(t, "board_version", d.board.board_version, 0, 63, where) && t.get("cpu_id") &&
        (d.board.board_version >> 3) != d.cpu_id)
        p.fail(*t.get("board_version"), "[controller]: the top three bits of 'board_version' are the CPU ID, which 'cpu_id' contradicts");
    if (d.board.board_version >= 0) d.cpu_id = static_cast<uint8_t>(d.board.board_version >> 3);
}

void read_memory(Parser& p, const toml::table& t, Description& d) {
    const char* where = "[memory]";
    p.only_known(t, where, {"eeprom_kbit", "sram_kib", "eeprom_write_cycle_us"});
    if (p.integer(t, "eeprom_kbit", d.board.eeprom_kbit, 0, 1024, where) && d.board.eeprom_kbit != 128 &&
        d.board.eeprom_kbit != 512)
        p.fail(*t.get("eeprom_kbit"), "[memory]: 'eeprom_kbit' must be 128 or 512");
    p.integer(t, "sram_kib", d.board.sram_kib, 0, 512, where);
    p.integer(t, "eeprom_write_cycle_us", d.board.eeprom_write_cycle_us, 0, 1000000, where);
}

void read_factory(Parser& p, const toml::table& t, Description& d) {
    const char* where = "[factory]";
    p.only_known(t, where,
                 {"serial", "serial_crc", "eboot_version", "os_version", "mac1", "mac2", "eboot_build", "os_build"});
    FactoryDescription& f = d.factory;
    f.present = true;
    p.hex_bytes(t, "serial", f.serial, where);
    if (const toml::node* n = t.get("serial_crc")) {
        const auto text = n->value<std::string>();
        if (n->is_string() && text == "valid") {
            f.crc = FactoryDescription::Crc::Valid;
        } else if (n->is_string() && text == "invalid") {
            f.crc = FactoryDescription::Crc::Invalid;
        } else if (p.integer(t, "serial_crc", f.crc_byte, 0, 255, where)) {
            f.crc = FactoryDescription::Crc::Explicit;
        } else if (p.ok) {
            p.fail(*n, "[factory]: 'serial_crc' must be \"valid\", \"invalid\" or a byte value");
        }
    }
    p.version(t, "eboot_version", f.eboot_version, where);
    p.version(t, "os_version", f.os_version, where);
    p.hex_bytes(t, "mac1", f.mac1, where);
    p.hex_bytes(t, "mac2", f.mac2, where);
    p.stamp(t, "eboot_build", f.eboot_build, where);
    p.stamp(t, "os_build", f.os_build, where);
}

}  // namespace

bool parse_board_description(const toml::table& root, Description& d, std::string* error) {
    Parser p{error};
    if (const toml::table* c = root["controller"].as_table()) read_controller(p, *c, d);
    if (const toml::node* m = root.get("memory")) {
        if (const toml::table* t = m->as_table())
            read_memory(p, *t, d);
        else
            p.fail(*m, "[memory] must be a table");
    }
    if (const toml::node* f = root.get("factory")) {
        if (const toml::table* t = f->as_table())
            read_factory(p, *t, d);
        else
            p.fail(*f, "[factory] must be a table");
    }
    if (d.board.board_version < 0) d.board.board_version = static_cast<int16_t>(d.cpu_id << 3);
    return p.ok;
}

}  // namespace vex::sim
