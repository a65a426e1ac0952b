#include "platform/text_codec.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace vex::plat {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool valid_code_point(uint32_t c) { return c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF); }

// Encodes one code point; returns the byte count (0 if invalid).
size_t encode(uint32_t c, char out[4]) {
    if (!valid_code_point(c)) return 0;
    if (c < 0x80) {
        out[0] = static_cast<char>(c);
        return 1;
    }
    if (c < 0x800) {
        out[0] = static_cast<char>(0xC0 | (c >> 6));
        out[1] = static_cast<char>(0x80 | (c & 0x3F));
        return 2;
    }
    if (c < 0x10000) {
        out[0] = static_cast<char>(0xE0 | (c >> 12));
        out[1] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out[2] = static_cast<char>(0x80 | (c & 0x3F));
        return 3;
    }
    out[0] = static_cast<char>(0xF0 | (c >> 18));
    out[1] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out[2] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out[3] = static_cast<char>(0x80 | (c & 0x3F));
    return 4;
}

// Decodes one code point from s (NUL-terminated or bounded by end);
// advances s. Malformed input yields U+FFFD and consumes one byte.
uint32_t decode(const unsigned char*& s, const unsigned char* end) {
    const unsigned char b = *s++;
    if (b < 0x80) return b;
    int extra;
    uint32_t c;
    if ((b & 0xE0) == 0xC0) {
        extra = 1;
        c = b & 0x1F;
    } else if ((b & 0xF0) == 0xE0) {
        extra = 2;
        c = b & 0x0F;
    } else if ((b & 0xF8) == 0xF0) {
        extra = 3;
        c = b & 0x07;
    } else {
        return kReplacement;
    }
    const unsigned char* p = s;
    for (int i = 0; i < extra; ++i) {
        if ((end && p >= end) || (*p & 0xC0) != 0x80) return kReplacement;
        c = (c << 6) | (*p++ & 0x3F);
    }
    static constexpr uint32_t kMin[] = {0, 0x80, 0x800, 0x10000};
    if (c < kMin[extra] || !valid_code_point(c)) return kReplacement;
    s = p;
    return c;
}

}  // namespace

size_t wide_to_utf8(const wchar_t* src, char* dst, size_t capacity) {
    if (!src || !dst || capacity == 0) return 0;
    size_t n = 0;
    for (const wchar_t* p = src; *p; ++p) {
        char buf[4];
        const size_t len = encode(static_cast<uint32_t>(*p), buf);
        if (len == 0 || n + len + 1 > capacity) {
            dst[0] = '\0';
            return 0;
        }
        for (size_t i = 0; i < len; ++i) dst[n++] = buf[i];
    }
    dst[n] = '\0';
    return n + 1;
}

size_t utf8_to_wide(const char* src, wchar_t* dst, size_t capacity) {
    if (!src || !dst || capacity == 0) return 0;
    size_t n = 0;
    const auto* s = reinterpret_cast<const unsigned char*>(src);
    while (*s) {
        if (n + 2 > capacity) {
            dst[0] = L'\0';
            return 0;
        }
        dst[n++] = static_cast<wchar_t>(decode(s, nullptr));
    }
    dst[n] = L'\0';
    return n + 1;
}

std::string to_utf8(std::wstring_view text) {
    std::string out;
    out.reserve(text.size());
    for (wchar_t w : text) {
        char buf[4];
        size_t len = encode(static_cast<uint32_t>(w), buf);
        if (len == 0) len = encode(kReplacement, buf);
        out.append(buf, len);
    }
    return out;
}

std::wstring from_utf8(std::string_view text) {
    std::wstring out;
    out.reserve(text.size());
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    const auto* end = s + text.size();
    while (s < end) out.push_back(static_cast<wchar_t>(decode(s, end)));
    return out;
}

std::string format(const char* pattern, ...) {
    char buf[256];
    va_list args;
    va_start(args, pattern);
    std::vsnprintf(buf, sizeof buf, pattern, args);
    va_end(args);
    return buf;
}

}  // namespace vex::plat
