#include "sim/services_description.h"

#include <initializer_list>
#include <set>

#include "sim/services_state.h"

namespace vex::sim {
namespace {

struct Check {
    std::string* error;
    bool ok = true;

    // "line:column: what"; the caller puts the file name in front.
    void fail(const toml::node& at, const std::string& what) {
        if (ok && error)
            *error = std::to_string(at.source().begin.line) + ":" + std::to_string(at.source().begin.column) + ": " +
                     what;
        ok = false;
    }

    void only_keys(const toml::table& t, std::initializer_list<const char*> keys, const std::string& where) {
        for (const auto& [key, node] : t) {
            bool known = false;
            for (const char* k : keys) known = known || key.str() == k;
            if (!known) fail(node, where + ": unknown key '" + std::string(key.str()) + "'");
        }
    }

    // An absent key yields the fallback, or an error when it is required.
    std::string text(const toml::table& t, const char* key, const std::string& fallback, size_t min_len,
                     size_t max_len, const std::string& where, bool required = false) {
        const toml::node* n = t.get(key);
        if (!n) {
            if (required) fail(t, where + ": '" + key + "' is required");
            return fallback;
        }
        auto v = n->value_exact<std::string>();
        if (!v || v->size() < min_len || v->size() > max_len) {
            fail(*n, where + ": '" + key + "' must be a text of " + std::to_string(min_len) + " to " +
                 std::to_string(max_len) + " characters");
            return fallback;
        }
        return *v;
    }

    bool boolean(const toml::table& t, const char* key, bool fallback, const std::string& where) {
        const toml::node* n = t.get(key);
        if (!n) return fallback;
        auto v = n->value_exact<bool>();
        if (!v) fail(*n, where + ": '" + key + "' must be true or false");
        return v.value_or(fallback);
    }
};

bool plain_name(const std::string& s) {
    if (s == "." || s == "..") return false;
    for (char c : s) {
        if (c == '/' || c == ' ' || c == '\t' || c == '\n' || c == '\0') return false;
    }
    return true;
}

void read_card(Check& c, const toml::table& t, Description& d) {
    const std::string where = "[card]";
    c.only_keys(t, {"present", "partition"}, where);
    d.card.present = c.boolean(t, "present", false, where);
    const toml::node* parts = t.get("partition");
    if (!parts) return;
    const toml::array* list = parts->as_array();
    if (!list) {
        c.fail(*parts, where + ": 'partition' must be an array of tables ([[card.partition]])");
        return;
    }
    std::set<std::string> names;
    for (const toml::node& n : *list) {
        const toml::table* p = n.as_table();
        const std::string pw = "[[card.partition]] " + std::to_string(d.card.partitions.size() + 1);
        if (!p) {
            c.fail(n, pw + ": must be a table");
            return;
        }
        c.only_keys(*p, {"name", "file_system", "label", "contents"}, pw);
        CardPartitionDescription part;
        part.name = c.text(*p, "name", "", 1, kCardText - 1, pw, true);
        if (!part.name.empty() && !plain_name(part.name)) c.fail(*p, pw + ": 'name' must not contain '/' or spaces");
        if (!names.insert(part.name).second) c.fail(*p, pw + ": partition '" + part.name + "' described twice");
        part.file_system = c.text(*p, "file_system", "", 0, kCardText - 1, pw);
        part.label = c.text(*p, "label", "", 0, kCardText - 1, pw);
        part.contents = c.text(*p, "contents", "card-" + part.name, 1, kCardPath - 1, pw);
        d.card.partitions.push_back(part);
    }
    if (d.card.partitions.size() > static_cast<size_t>(kCardPartitions))
        c.fail(*parts, where + ": at most " + std::to_string(kCardPartitions) + " partitions");
}

void read_links(Check& c, const toml::array& list, Description& d) {
    std::set<std::string> names;
    for (const toml::node& n : list) {
        const std::string where = "[[link]] " + std::to_string(d.links.size() + 1);
        const toml::table* t = n.as_table();
        if (!t) {
            c.fail(n, where + ": must be a table");
            return;
        }
        c.only_keys(*t, {"interface", "up"}, where);
        LinkDescription l;
        l.interface = c.text(*t, "interface", "", 1, kLinkName - 1, where, true);
        if (!l.interface.empty() && !plain_name(l.interface))
            c.fail(*t, where + ": 'interface' must not contain '/' or spaces");
        if (!names.insert(l.interface).second) c.fail(*t, where + ": interface '" + l.interface + "' described twice");
        l.up = c.boolean(*t, "up", false, where);
        d.links.push_back(l);
    }
    if (d.links.size() > static_cast<size_t>(kLinks)) c.fail(list, "[[link]]: at most " + std::to_string(kLinks) + " adapters");
}

}  // namespace

bool read_services_description(const toml::table& root, Description& d, std::string* error) {
    Check c{error};
    if (const toml::node* card = root.get("card")) {
        if (const toml::table* t = card->as_table())
            read_card(c, *t, d);
        else
            c.fail(*card, "[card] must be a table");
    }
    if (const toml::node* links = root.get("link")) {
        if (const toml::array* list = links->as_array())
            read_links(c, *list, d);
        else
            c.fail(*links, "'link' must be an array of tables ([[link]])");
    }
    return c.ok;
}

}  // namespace vex::sim
