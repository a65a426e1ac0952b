// The profile reader: small INI-style files of sections and key=value
// lines, as the module-name file beside the program uses.
//
// Every call reads the whole file, acts on it and forgets it: nothing is
// cached, so a file edited between two calls is seen at once.
//
// File rules (the reader is strict and keeps everything literally):
//   - A line is at most 255 characters; a longer one is read on as the
//     next line. One final line feed is removed; nothing is trimmed, so
//     spaces around names, keys and values are part of them. A line ends
//     at a NUL character.
//   - An empty line or one starting with ';' is a comment.
//   - "[name]" (first character '[', last ']') starts a section; the name
//     keeps at most 30 characters.
//   - "key=value" with at least one character before the first '=' is an
//     entry of the current section (key at most 50 characters, value at
//     most 200); entries before the first section are ignored.
//   - Any other line rejects the whole file: every lookup answers its
//     default, a write starts from an empty profile.
//   - Duplicate sections and keys are kept; lookups see the first.
//   - Names and keys compare exactly, case-sensitive.
// Encoding: UTF-8 (an initial byte-order mark is skipped), or UTF-16 of
// either byte order when the file starts with its byte-order mark. Invalid
// sequences read as U+FFFD. "\r\n" reads as "\n", as text files written on
// other systems have it. Writes produce UTF-8 without a byte-order mark.
//
// Failures are results, never an exit: a missing, unreadable or rejected
// file and a failed allocation make a lookup answer its default and a
// write return false. No last-error code is recorded.
//
// Thread safety: any thread; calls share no state. Two writers of one file
// at once can lose one write (read, change, rewrite), as with any such file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vex::profile {

inline constexpr size_t kLineMax = 255;
inline constexpr size_t kSectionMax = 30;
inline constexpr size_t kKeyMax = 50;
inline constexpr size_t kValueMax = 200;
// ProfileGetInt fetches the value into a buffer of ten characters: at most
// nine characters of a longer stored value are converted.
inline constexpr size_t kIntMax = 9;

struct Entry {
    std::wstring key;
    std::wstring value;
};
struct Section {
    std::wstring name;
    std::vector<Entry> entries;
};
// Sections in file order.
using Profile = std::vector<Section>;

// Parses the bytes of a file; nothing when the file is rejected. Throws
// std::bad_alloc only.
std::optional<Profile> parse(std::string_view bytes);
// Reads and parses a file; nothing when it is missing, unreadable,
// rejected or memory ran out.
std::optional<Profile> load(const std::string& path);
// The file text of a profile (UTF-8): sections separated by blank lines.
std::string render(const Profile& profile);

// The first value of key in the first section of that name. On a miss
// (or any failure) *out receives the default and the result is false.
bool get_string(const std::string& path, std::wstring_view section, std::wstring_view key,
                std::wstring_view default_value, std::wstring* out);
// The value as a decimal number (leading white space, optional sign,
// digits; stops at the first other character; no digits give 0), or the
// default on a miss.
int32_t get_int(const std::string& path, std::wstring_view section, std::wstring_view key, int32_t default_value);

// Sets key in section and rewrites the file (a rejected file is replaced
// by the new entry; one that exists but cannot be read is refused): the
// first entry of that key is overwritten; a new key goes in front of the
// section's entries, a new section in front of the file. Names, keys and values are cut to their
// limits. Refused (false, file untouched): an empty key, a key with '=',
// a key starting with ';' or '[', any line break or NUL character, or a
// file that cannot be written.
bool write_string(const std::string& path, std::wstring_view section, std::wstring_view key,
                  std::wstring_view value);
bool write_int(const std::string& path, std::wstring_view section, std::wstring_view key, int32_t value);
// Clamps to -9.99e21 .. 9.99e21, prints "%.6f" and drops trailing zeros
// one by one (the point stays: 1.0 is stored as "1."). NaN is refused.
bool write_float(const std::string& path, std::wstring_view section, std::wstring_view key, double value);

// The decimal conversion get_int applies to a stored value.
int32_t to_int(std::wstring_view text);
// The text write_float stores for a value.
std::string float_text(double value);

}  // namespace vex::profile
