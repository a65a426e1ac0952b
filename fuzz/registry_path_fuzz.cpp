// libFuzzer target for the registry path cutter: any wide text must cut
// into parts that stay within their bounds and agree with each other.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <vector>

#include "services/registry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using vex::services::registry::cut_path;
    using vex::services::registry::kMaxPartLength;

    // Every 4 input bytes make one wide character; a NUL ends the path early.
    std::vector<wchar_t> path(size / sizeof(wchar_t) + 1, L'\0');
    std::memcpy(path.data(), data, size / sizeof(wchar_t) * sizeof(wchar_t));

    const auto parts = cut_path(path.data());
    if (parts.key_path.size() > kMaxPartLength || parts.value_key.size() > kMaxPartLength ||
        parts.value_name.size() > kMaxPartLength)
        std::abort();
    // The value key is the key path's start, and never longer.
    if (parts.key_path.compare(0, parts.value_key.size(), parts.value_key) != 0) std::abort();
    if (parts.value_name.find(L'\\') != std::wstring::npos) std::abort();
    if (!parts.has_root && std::wcsstr(path.data(), L"HKEY_USERS")) std::abort();
    return 0;
}
