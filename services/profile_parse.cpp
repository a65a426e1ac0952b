// Decoding and parsing of profile files: bytes to characters to lines to
// sections.
#include <cstdint>

#include "services/profile.h"

namespace vex::profile {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kEnd = 0xFFFFFFFF;

enum class Encoding { Utf8, Utf16Le, Utf16Be };

// Characters of a file's bytes, in the file's encoding, with "\r\n" read
// as "\n".
class Decoder {
public:
    explicit Decoder(std::string_view bytes) : bytes_(bytes) {
        if (starts_with("\xEF\xBB\xBF")) {
            pos_ = 3;
        } else if (starts_with("\xFF\xFE")) {
            encoding_ = Encoding::Utf16Le;
            pos_ = 2;
        } else if (starts_with("\xFE\xFF")) {
            encoding_ = Encoding::Utf16Be;
            pos_ = 2;
        }
    }

    char32_t next() {
        char32_t c = raw();
        if (c == U'\r' && peek() == U'\n') c = raw();
        return c;
    }

private:
    bool starts_with(std::string_view mark) const { return bytes_.substr(0, mark.size()) == mark; }

    char32_t peek() {
        const size_t at = pos_;
        const char32_t c = raw();
        pos_ = at;
        return c;
    }

    char32_t raw() { return encoding_ == Encoding::Utf8 ? utf8() : utf16(); }

    uint8_t byte(size_t i) const { return static_cast<uint8_t>(bytes_[i]); }

    char32_t utf8() {
        if (pos_ >= bytes_.size()) return kEnd;
        const uint8_t lead = byte(pos_++);
        if (lead < 0x80) return lead;
        int more;
        char32_t c;
        char32_t least;
        if (lead >= 0xC2 && lead <= 0xDF) {
            more = 1, c = lead & 0x1Fu, least = 0x80;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            more = 2, c = lead & 0x0Fu, least = 0x800;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            more = 3, c = lead & 0x07u, least = 0x10000;
        } else {
            return kReplacement;  // a stray continuation byte or an impossible lead
        }
        size_t at = pos_;
        for (int i = 0; i < more; ++i, ++at) {
            if (at >= bytes_.size() || (byte(at) & 0xC0) != 0x80) return kReplacement;  // resync at `at`
            c = (c << 6) | (byte(at) & 0x3Fu);
        }
        if (c < least || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return kReplacement;
        pos_ = at;
        return c;
    }

    int unit() {
        if (pos_ >= bytes_.size()) return -1;
        if (pos_ + 1 >= bytes_.size()) {  // an odd last byte
            ++pos_;
            return 0xFFFD;
        }
        const uint8_t a = byte(pos_), b = byte(pos_ + 1);
        pos_ += 2;
        return encoding_ == Encoding::Utf16Le ? (b << 8 | a) : (a << 8 | b);
    }

    char32_t utf16() {
        const int u = unit();
        if (u < 0) return kEnd;
        if (u < 0xD800 || u > 0xDFFF) return static_cast<char32_t>(u);
        if (u > 0xDBFF) return kReplacement;  // a low surrogate alone
        const size_t at = pos_;
        const int low = unit();
        if (low < 0xDC00 || low > 0xDFFF) {
            pos_ = at;
            return kReplacement;
        }
        return 0x10000 + ((static_cast<char32_t>(u) - 0xD800) << 10) + (static_cast<char32_t>(low) - 0xDC00);
    }

    std::string_view bytes_;
    size_t pos_ = 0;
    Encoding encoding_ = Encoding::Utf8;
};

// The next line of at most kLineMax characters, with its line feed if one
// ended it; false at the end of the file.
bool read_line(Decoder& in, std::wstring& line) {
    line.clear();
    while (line.size() < kLineMax) {
        const char32_t c = in.next();
        if (c == kEnd) break;
        line.push_back(static_cast<wchar_t>(c));
        if (c == U'\n') break;
    }
    return !line.empty();
}

}  // namespace

std::optional<Profile> parse(std::string_view bytes) {
    Decoder in(bytes);
    Profile profile;
    std::wstring raw;
    while (read_line(in, raw)) {
        // The line as a C string: it ends at a NUL, then loses one line feed.
        std::wstring_view line(raw.c_str());
        if (!line.empty() && line.back() == L'\n') line.remove_suffix(1);
        if (line.empty() || line.front() == L';') continue;
        if (line.front() == L'[' && line.back() == L']' && line.size() >= 2) {
            profile.push_back(Section{std::wstring(line.substr(1, line.size() - 2).substr(0, kSectionMax)), {}});
            continue;
        }
        const size_t eq = line.find(L'=');
        if (eq == std::wstring_view::npos || eq == 0) return std::nullopt;
        if (profile.empty()) continue;  // entries before the first section
        profile.back().entries.push_back(
            Entry{std::wstring(line.substr(0, eq).substr(0, kKeyMax)), std::wstring(line.substr(eq + 1).substr(0, kValueMax))});
    }
    return profile;
}

}  // namespace vex::profile
