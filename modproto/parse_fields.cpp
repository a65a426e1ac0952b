// Field readers and the digital answers.
#include <charconv>

#include "modproto/command.h"
#include "modproto/parse.h"

namespace vex::modproto {
namespace {

bool is_hex(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

// The `length` characters from `from`, or nothing when the text is shorter.
std::optional<std::string_view> exact(std::string_view text, size_t from, size_t length) {
    if (from > text.size() || text.size() - from < length) return std::nullopt;
    return text.substr(from, length);
}

// A part of `bytes` bytes (two hex digits each); an empty part reads 0.
std::optional<uint32_t> part(std::optional<std::string_view> field, int32_t bytes) {
    if (bytes <= 0) return 0u;
    if (!field) return std::nullopt;
    return hex_field(*field);
}

std::string_view strip_cr(std::string_view s) {
    if (!s.empty() && s.back() == '\r') s.remove_suffix(1);
    return s;
}

// The last `length` characters, or nothing when the text is shorter.
std::optional<std::string_view> last(std::string_view text, size_t length) {
    if (text.size() < length) return std::nullopt;
    return text.substr(text.size() - length);
}

size_t chars_of(int32_t bytes) { return bytes <= 0 ? 0 : static_cast<size_t>(bytes) * 2; }

// Steps shared by the @AADI and @AA reads once the data start is known.
std::optional<DigitalPair> split_dio(std::string_view data, int32_t di_count, int32_t do_count, bool di_from_end) {
    const int32_t do_bytes = part_bytes(do_count), di_bytes = part_bytes(di_count);
    DigitalPair p;
    if (do_count >= 32 && di_count == 0) {
        auto v = hex_field(data.substr(0, 8));
        if (!v) return std::nullopt;
        p.do_ = *v;
        return p;
    }
    if (di_count >= 32 && do_count == 0) {
        auto v = part(last(strip_cr(data), chars_of(di_bytes)), di_bytes);
        if (!v) return std::nullopt;
        p.di = *v;
        return p;
    }
    auto d = part(exact(data, 0, chars_of(do_bytes)), do_bytes);
    const std::string_view stripped = strip_cr(data);
    auto i = part(di_from_end ? last(stripped, chars_of(di_bytes)) : exact(stripped, chars_of(do_bytes), chars_of(di_bytes)),
                  di_bytes);
    if (!d || !i) return std::nullopt;
    p.do_ = mask_to_bytes(*d, do_bytes);
    p.di = mask_to_bytes(*i, di_bytes);
    return p;
}

}  // namespace

std::optional<uint32_t> hex_field(std::string_view field) {
    if (field.empty() || field.size() > 8) return std::nullopt;
    for (char c : field) {
        if (!is_hex(c)) return std::nullopt;
    }
    uint32_t v = 0;
    std::from_chars(field.data(), field.data() + field.size(), v, 16);
    return v;
}

std::optional<uint32_t> decimal_field(std::string_view field) {
    if (field.empty() || field.size() > 10) return std::nullopt;
    for (char c : field) {
        if (!is_digit(c)) return std::nullopt;
    }
    uint32_t v = 0;
    const auto r = std::from_chars(field.data(), field.data() + field.size(), v, 10);
    if (r.ec != std::errc()) return std::nullopt;  // above 4294967295
    return v;
}

std::optional<float> float_field(std::string_view field) {
    bool negative = false;
    if (!field.empty() && (field[0] == '+' || field[0] == '-')) {
        negative = field[0] == '-';
        field.remove_prefix(1);
    }
    size_t digits = 0, points = 0;
    for (char c : field) {
        if (is_digit(c))
            ++digits;
        else if (c == '.')
            ++points;
        else
            return std::nullopt;
    }
    if (digits == 0 || points > 1) return std::nullopt;
    float v = 0;
    const auto r = std::from_chars(field.data(), field.data() + field.size(), v, std::chars_format::fixed);
    if (r.ec != std::errc() || r.ptr != field.data() + field.size()) return std::nullopt;
    return negative ? -v : v;
}

std::string_view rest(std::string_view answer, size_t skip) {
    return skip >= answer.size() ? std::string_view() : answer.substr(skip);
}

uint32_t mask_to_bytes(uint32_t value, int32_t bytes) {
    switch (bytes) {
    case 1: return value & 0xFFu;
    case 2: return value & 0xFFFFu;
    case 3: return value & 0xFFFFFFu;
    default: return value;
    }
}

std::optional<DigitalPair> parse_dio_mf(std::string_view answer, int32_t di_count, int32_t do_count) {
    const size_t start = (answer.size() % 2 == 1 && answer.size() >= 5) ? 3 : 4;
    return split_dio(rest(answer, start), di_count, do_count, true);
}

std::optional<DigitalPair> parse_dio_unified(std::string_view answer, int32_t di_count, int32_t do_count) {
    return split_dio(rest(answer, 1), di_count, do_count, di_count > 8);
}

std::optional<DigitalPair> parse_dio_unit(std::string_view answer, int32_t di_count, int32_t do_count) {
    const std::string_view data = rest(answer, 3);
    const int32_t do_bytes = part_bytes(do_count), di_bytes = part_bytes(di_count);
    auto d = part(exact(data, 0, chars_of(do_bytes)), do_bytes);
    auto i = part(exact(data, chars_of(do_bytes), chars_of(di_bytes)), di_bytes);
    if (!d || !i) return std::nullopt;
    auto mask = [](uint32_t v, int32_t bytes) { return bytes == 2 ? v & 0xFFFFu : v & 0xFFu; };
    return DigitalPair{mask(*i, di_bytes), mask(*d, do_bytes)};
}

std::optional<DigitalPair> parse_latch(std::string_view answer, int32_t di_count, int32_t do_count) {
    const std::string_view data = rest(answer, 1);
    DigitalPair p;
    if (di_count >= 1 && do_count < 1) {
        auto v = hex_field(data);
        if (!v) return std::nullopt;
        p.di = *v;
        if (data.size() < 8 && di_count < 17) p.di >>= di_count > 8 ? 8 : 16;
        return p;
    }
    if (do_count < 1) return p;  // nothing asked for
    size_t w = 8;
    const int32_t di = di_count < 1 ? 0 : di_count;
    if (di <= 8 && do_count < 9)
        w = 2;
    else if (di < 17 && do_count < 17)
        w = 4;
    else if (di < 25 && do_count < 25)
        w = 6;
    auto d = exact(data, 0, w);
    if (!d || !hex_field(*d)) return std::nullopt;
    p.do_ = *hex_field(*d);
    if (di_count >= 1) {
        auto i = exact(data, w, w);
        if (!i || !hex_field(*i)) return std::nullopt;
        p.di = *hex_field(*i);
    }
    return p;
}

std::optional<DigitalPair> parse_latch_unit(std::string_view answer, int32_t di_count, int32_t do_count) {
    const std::string_view data = rest(answer, 1);
    DigitalPair p;
    if (di_count >= 1 && do_count < 1) {
        auto v = hex_field(data);
        if (!v) return std::nullopt;
        p.di = *v;
        if (data.size() < 8) p.di >>= di_count > 8 ? 8 : 16;
        return p;
    }
    if (di_count < 1 && do_count < 1) return p;
    const int64_t sum = static_cast<int64_t>(di_count) + do_count;
    std::optional<uint32_t> d, i;
    if (sum <= 8) {
        auto f = [&](size_t at) { auto c = exact(data, at, 1); return c ? hex_field(*c) : std::nullopt; };
        d = f(1);
        i = f(3);
    } else if (sum <= 16) {
        auto f = [&](size_t at) { auto c = exact(data, at, 2); return c ? hex_field(*c) : std::nullopt; };
        d = f(0);
        i = f(2);
    } else {
        auto c = exact(data, 1, 8);
        auto v = c ? hex_field(*c) : std::nullopt;
        if (v) {
            d = *v >> 16;
            i = *v & 0xFFFFu;
        }
    }
    if (!d || !i) return std::nullopt;
    p.do_ = *d;
    p.di = *i;
    return p;
}

std::optional<uint32_t> parse_counter(std::string_view answer) {
    const std::string_view data = rest(answer, 3);
    return answer.size() == 8 ? decimal_field(data) : hex_field(data);
}

std::optional<uint32_t> parse_counter_single(std::string_view answer) {
    std::string_view data = rest(answer, 1);
    if (answer.size() == 12 || (answer.size() > 1 && answer[1] == '+')) {
        if (!data.empty() && data[0] == '+') data.remove_prefix(1);
        return decimal_field(data);
    }
    return hex_field(data);
}

std::optional<uint32_t> parse_stored_do(std::string_view answer, int32_t do_count, Stored which) {
    const size_t w = static_cast<size_t>(field_width_mf(do_count));
    auto field = exact(answer, 3 + (which == Stored::Safe ? w : 0), w);
    return field ? hex_field(*field) : std::nullopt;
}

std::optional<int> parse_name_number(std::string_view answer) {
    const std::string_view data = rest(answer, 3);
    size_t n = 0;
    while (n < data.size() && n < 9 && is_digit(data[n])) ++n;
    if (n == 0) return std::nullopt;
    int v = 0;
    for (size_t k = 0; k < n; ++k) v = v * 10 + (data[k] - '0');
    return v;
}

std::optional<uint16_t> parse_wdt_status(std::string_view answer) {
    if (answer.empty() || answer[0] != '!') return std::nullopt;
    if (answer.size() != 5) return uint16_t{0};
    auto n = decimal_field(answer.substr(3, 2));
    if (!n) return std::nullopt;
    return static_cast<uint16_t>((*n >> 2) & 1u);
}

std::optional<WatchdogConfig> parse_wdt_config(std::string_view answer, bool hex) {
    if (answer.size() != 6 || answer[0] != '!') return std::nullopt;
    auto enabled = decimal_field(answer.substr(3, 1));
    auto timeout = hex ? hex_field(answer.substr(4, 2)) : decimal_field(answer.substr(4, 2));
    if (!enabled || !timeout) return std::nullopt;
    return WatchdogConfig{static_cast<uint16_t>(*enabled & 1u), *timeout & 0xFFu};
}

}  // namespace vex::modproto
