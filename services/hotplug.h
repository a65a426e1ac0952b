// Hot-plug notification: registrations of program windows (volatile
// registry keys that the component posting the messages reads) and the
// backplane's hot-plug enable and pending bits.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vex::services::hotplug {

// Registry key (below HKEY_LOCAL_MACHINE) that holds the registrations.
inline constexpr const wchar_t* kHotPlugKey = L"VORLAN\\HotPlug";
inline constexpr uint32_t kRegControl = 0x900A;  // bit 3: hot-plug interrupt enable
inline constexpr uint32_t kRegStatus = 0x900E;   // bit 3: a hot-plug event is pending
inline constexpr uint8_t kHotPlugBit = 0x08;

struct Registration {
    std::wstring key;      // "HWND1A2B"
    uint32_t window = 0;   // value "HWND"
    uint32_t message = 0;  // value "MSGID"
};

// The registrations as the registry holds them now (for vexctl).
std::vector<Registration> registrations();

}  // namespace vex::services::hotplug
