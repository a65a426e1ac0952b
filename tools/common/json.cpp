#include "tools/common/json.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace vex::tools {
namespace {

// Length of the valid UTF-8 sequence at s[i], or 0 when it is not one
// (overlong forms, surrogates and code points above U+10FFFF included).
size_t utf8_length(std::string_view s, size_t i) {
    const auto b = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned char c = b(i);
    size_t n;
    uint32_t cp;
    if (c < 0x80) return 1;
    if (c >= 0xC2 && c <= 0xDF) {
        n = 2;
        cp = c & 0x1Fu;
    } else if (c >= 0xE0 && c <= 0xEF) {
        n = 3;
        cp = c & 0x0Fu;
    } else if (c >= 0xF0 && c <= 0xF4) {
        n = 4;
        cp = c & 0x07u;
    } else {
        return 0;
    }
    if (i + n > s.size()) return 0;
    for (size_t k = 1; k < n; ++k) {
        if ((b(i + k) & 0xC0) != 0x80) return 0;
        cp = (cp << 6) | (b(i + k) & 0x3Fu);
    }
    if ((n == 3 && cp < 0x800) || (n == 4 && cp < 0x10000) || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return 0;
    return n;
}

}  // namespace

std::string Json::quote(std::string_view text) {
    std::string out = "\"";
    for (size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const size_t n = utf8_length(text, i);
        if (n == 0) {
            out += "\\ufffd";
            ++i;
            continue;
        }
        if (n > 1) {
            out.append(text.substr(i, n));
            i += n;
            continue;
        }
        ++i;
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20 || c == 0x7F) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out += static_cast<char>(c);
            }
        }
    }
    return out + "\"";
}

void Json::before_value() {
    if (after_key_) {
        after_key_ = false;
        return;
    }
    if (!stack_.empty() && stack_.back() == '{') {
        std::fprintf(stderr, "json: a value in an object needs a key\n");
        std::abort();
    }
    if (!first_) out_ += ',';
    first_ = false;
}

Json& Json::open_object() {
    before_value();
    out_ += '{';
    stack_.push_back('{');
    first_ = true;
    return *this;
}

Json& Json::open_array() {
    before_value();
    out_ += '[';
    stack_.push_back('[');
    first_ = true;
    return *this;
}

Json& Json::close() {
    if (stack_.empty() || after_key_) {
        std::fprintf(stderr, "json: close() without an open container\n");
        std::abort();
    }
    out_ += stack_.back() == '{' ? '}' : ']';
    stack_.pop_back();
    first_ = false;
    return *this;
}

Json& Json::key(std::string_view name) {
    if (stack_.empty() || stack_.back() != '{' || after_key_) {
        std::fprintf(stderr, "json: key() outside an object\n");
        std::abort();
    }
    if (!first_) out_ += ',';
    first_ = false;
    out_ += quote(name);
    out_ += ':';
    after_key_ = true;
    return *this;
}

Json& Json::value(std::string_view text) {
    before_value();
    out_ += quote(text);
    return *this;
}

Json& Json::value(int64_t number) {
    before_value();
    out_ += std::to_string(number);
    return *this;
}

Json& Json::value(uint64_t number) {
    before_value();
    out_ += std::to_string(number);
    return *this;
}

Json& Json::value(double number) {
    before_value();
    if (!std::isfinite(number)) {
        out_ += "null";
        return *this;
    }
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.9g", number);
    out_ += buf;
    return *this;
}

Json& Json::value(bool flag) {
    before_value();
    out_ += flag ? "true" : "false";
    return *this;
}

Json& Json::null() {
    before_value();
    out_ += "null";
    return *this;
}

void Json::print() const {
    if (!stack_.empty() || out_.empty()) {
        std::fprintf(stderr, "json: unbalanced document\n");
        std::abort();
    }
    std::fwrite(out_.data(), 1, out_.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

bool& json_output() {
    static bool on = false;
    return on;
}

}  // namespace vex::tools
