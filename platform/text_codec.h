// Conversions between wide text (wchar_t, UTF-32 on Linux) and the narrow
// "ANSI" code page, which on Linux is UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vex::plat {

// Encodes src as UTF-8 into dst (capacity bytes). Returns the bytes written
// including the terminating NUL, or 0 when dst is too small, an argument is
// null or src holds an invalid code point (dst then holds an empty string
// when capacity allows).
size_t wide_to_utf8(const wchar_t* src, char* dst, size_t capacity);
// Decodes UTF-8 src into dst (capacity wide characters); same contract.
// Invalid sequences decode to U+FFFD.
size_t utf8_to_wide(const char* src, wchar_t* dst, size_t capacity);

std::string to_utf8(std::wstring_view text);
std::wstring from_utf8(std::string_view text);

// printf into a string, cut at 255 characters (short value and status texts).
std::string format(const char* pattern, ...) __attribute__((format(printf, 1, 2)));

}  // namespace vex::plat
