// libFuzzer target for the profile reader: any bytes must parse into
// sections within the limits, or be rejected, and a parsed profile must
// read back the same after it is written out.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "services/profile.h"

namespace pr = vex::profile;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const auto profile = pr::parse(bytes);
    if (!profile) return 0;
    for (const pr::Section& s : *profile) {
        if (s.name.size() > pr::kSectionMax) std::abort();
        for (const pr::Entry& e : s.entries) {
            if (e.key.empty() || e.key.size() > pr::kKeyMax || e.value.size() > pr::kValueMax) std::abort();
            if (e.key.find(L'=') != std::wstring::npos) std::abort();
        }
    }
    // Rendering and parsing again keeps every section whose lines can be
    // written back (no line breaks inside names, keys or values).
    const auto again = pr::parse(pr::render(*profile));
    bool clean = true;
    for (const pr::Section& s : *profile) {
        clean &= s.name.find_first_of(L"\n\r") == std::wstring::npos;
        for (const pr::Entry& e : s.entries)
            clean &= e.key.find_first_of(L"\r;[") == std::wstring::npos && e.value.find(L'\r') == std::wstring::npos;
    }
    if (clean && (!again || again->size() != profile->size())) std::abort();
    (void)pr::to_int(bytes.empty() ? std::wstring() : std::wstring(1, static_cast<wchar_t>(data[0])));
    return 0;
}
