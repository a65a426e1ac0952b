// Look-ups in the generated catalogue table.
#include "frame/catalogue.h"

namespace vex::catalogue {
namespace {

size_t digit_count(std::string_view name) {
    size_t n = 0;
    while (n < name.size() && name[n] >= '0' && name[n] <= '9') ++n;
    return n;
}

// True when `mark` is one of the comma-separated marks of `list`.
bool listed(std::string_view list, std::string_view mark) {
    while (!list.empty()) {
        const size_t comma = list.find(',');
        if (list.substr(0, comma) == mark) return true;
        if (comma == std::string_view::npos) break;
        list.remove_prefix(comma + 1);
    }
    return false;
}

}  // namespace

std::span<const SerialKind> serial_kinds() { return {data::kSerialKinds, data::kSerialKindCount}; }

const SerialKind* find_serial_kind(std::string_view name) {
    for (const SerialKind& k : serial_kinds()) {
        const std::string_view base = k.name;
        if (name == base) return &k;
        if (name.size() > base.size() && name.substr(0, base.size()) == base &&
            listed(k.variants, name.substr(base.size())))
            return &k;
    }
    return nullptr;
}

const SerialKind* find_serial_kind_by_number(int number) {
    for (const SerialKind& k : serial_kinds()) {
        if (k.number == number) return &k;
    }
    return nullptr;
}

int name_number(std::string_view name) {
    const size_t digits = digit_count(name);
    if (digits == 0) return -1;
    int value = 0;
    for (size_t i = 0; i < digits && i < 9; ++i) value = value * 10 + (name[i] - '0');
    return value;
}

bool has_variant_mark(std::string_view name, std::string_view mark) {
    if (mark.empty()) return true;
    const size_t digits = digit_count(name);
    if (digits == 0) return false;  // no number, so nothing follows it
    const std::string_view rest = name.substr(digits);
    return rest.substr(0, mark.size()) == mark;
}

}  // namespace vex::catalogue
