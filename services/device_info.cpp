// What controller this is: facts of the factory record in the EEPROM's
// system area, board registers, and the library's own version.
#include <cstdio>
#include <cstring>
#include <cwctype>

#include "frame/backplane.h"
#include "frame/errors.h"
#include "services/eeprom.h"
#include "vexsdk.h"

namespace vex::services {
namespace {

constexpr uint32_t kRecordAddress = 0x23800;  // system form of chip byte 0x3800
constexpr uint32_t kRecordSize = 56;
constexpr uint32_t kSerial = 0, kEbootVersion = 8, kOsVersion = 12, kMac1 = 16, kMac2 = 24;
constexpr uint32_t kEbootBuild = 32, kOsBuild = 44;

struct Record {
    uint8_t b[kRecordSize];
};

// An unreadable record formats as an erased one.
Record read_record() {
    Record r;
    std::memset(r.b, 0xFF, sizeof r.b);
    if (!vex_ReadMemory(kRecordAddress, r.b, kRecordSize, VEX_MEMORY_EEPROM)) std::memset(r.b, 0xFF, sizeof r.b);
    return r;
}

int32_t put(char* text, const char* value) {
    if (!text) return 0;
    const size_t n = std::strlen(value);
    std::memcpy(text, value, n + 1);
    return static_cast<int32_t>(n);
}

int32_t version_text(char* text, uint32_t at) {
    if (!text) return 0;
    const Record r = read_record();
    char out[VEX_DEVICE_TEXT_SIZE];
    std::snprintf(out, sizeof out, "%02d%02d%02d%02d", r.b[at], r.b[at + 1], r.b[at + 2], r.b[at + 3]);
    return put(text, out);
}

int32_t stamp_text(char* text, wchar_t* wide, uint32_t at) {
    if (!text && !wide) return 0;
    const Record r = read_record();
    unsigned v[6];
    for (uint32_t i = 0; i < 6; ++i) v[i] = r.b[at + 2 * i] | (static_cast<unsigned>(r.b[at + 2 * i + 1]) << 8);
    char out[VEX_DEVICE_TEXT_SIZE];
    const int n = std::snprintf(out, sizeof out, "%04u/%02u/%02u %02u:%02u:%02u", v[0], v[1], v[2], v[3], v[4], v[5]);
    if (text) std::memcpy(text, out, static_cast<size_t>(n) + 1);
    if (wide) vex_AnsiToWideString(out, wide);
    return n;
}

uint8_t crc8_maxim(const uint8_t* data, size_t n) {
    uint8_t crc = 0;
    for (size_t i = 0; i < n; ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            const bool mix = ((data[i] >> bit) ^ crc) & 1u;
            crc = static_cast<uint8_t>(crc >> 1);
            if (mix) crc ^= 0x8C;
        }
    }
    return crc;
}

// Twelve hexadecimal digits, nothing else.
bool parse_mac(const wchar_t* text, uint8_t out[6]) {
    if (!text) return false;
    for (int i = 0; i < 12; ++i) {
        if (!std::iswxdigit(static_cast<wint_t>(text[i]))) return false;
    }
    if (text[12] != L'\0') return false;
    for (int i = 0; i < 6; ++i) {
        const wchar_t pair[3] = {text[2 * i], text[2 * i + 1], 0};
        out[i] = static_cast<uint8_t>(std::wcstoul(pair, nullptr, 16));
    }
    return true;
}

bool single_slot() { return frame::controller_model() == frame::kModelSingleSlot; }
constexpr uint32_t kSingleSlotBoard = 0x8000;
constexpr uint32_t kBatteryStatus = 0x901C;

}  // namespace
}  // namespace vex::services

using namespace vex;
using namespace vex::services;

extern "C" {

VEXSDK_API int32_t vex_GetCPUVersion(char* text) {
    if (!text) return 0;
    const uint32_t v = single_slot() ? plat::bus_read8(kSingleSlotBoard) >> 4 : plat::bus_read8(1) >> 2;
    char out[VEX_DEVICE_TEXT_SIZE];
    std::snprintf(out, sizeof out, "1.0.%u.0", v);
    return put(text, out);
}

VEXSDK_API int32_t vex_GetOSVersion(char* text) { return version_text(text, kOsVersion); }
VEXSDK_API int32_t vex_GetEbootVersion(char* text) { return version_text(text, kEbootVersion); }

VEXSDK_API int32_t vex_GetOSBuild_DATE_TIME(char* text, wchar_t* wideText) {
    return stamp_text(text, wideText, kOsBuild);
}
VEXSDK_API int32_t vex_GetEbootBuild_DATE_TIME(char* text, wchar_t* wideText) {
    return stamp_text(text, wideText, kEbootBuild);
}

VEXSDK_API int32_t vex_GetSerialNumber(char* text) {
    if (!text) return 0;
    const Record r = read_record();
    const uint8_t* s = r.b + kSerial;
    if (crc8_maxim(s, 7) != s[7]) return put(text, "5A5A5A5A5A5A5A5A");
    char out[VEX_DEVICE_TEXT_SIZE];
    std::snprintf(out, sizeof out, "%02X%02X%02X%02X%02X%02X%02X%02X", s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7]);
    return put(text, out);
}

VEXSDK_API int32_t vex_GetMacAddress(uint8_t index, char* text) {
    if (index != 1 && index != 2) {
        // Index 0 passes the controller library's check but names no
        // adapter; it is refused like any other.
        frame::set_last_error(VEX_ERR_INVALID_MAC);
        return put(text, "FFFFFFFFFFFF");
    }
    if (!text) return 0;
    const Record r = read_record();
    const uint8_t* m = r.b + (index == 1 ? kMac1 : kMac2);
    char out[VEX_DEVICE_TEXT_SIZE];
    std::snprintf(out, sizeof out, "%02X%02X%02X%02X%02X%02X", m[0], m[1], m[2], m[3], m[4], m[5]);
    return put(text, out);
}

VEXSDK_API VEX_BOOL _vex_set_mac_address(uint8_t index, const wchar_t* mac) {
    uint8_t bytes[6];
    if ((index != 1 && index != 2) || !parse_mac(mac, bytes)) {
        frame::set_last_error(VEX_ERR_INVALID_MAC);
        return VEX_FALSE;
    }
    Record r;
    const uint32_t at = index == 1 ? kMac1 : kMac2;
    // The record's chip address: the system form minus its base.
    switch (eeprom::update(kRecordAddress - 0x20000, r.b, kRecordSize,
                           [&](uint8_t* rec) { std::memcpy(rec + at, bytes, 6); })) {
    case eeprom::UpdateResult::Ok: return VEX_TRUE;
    case eeprom::UpdateResult::ReadFailed: frame::set_last_error(VEX_ERR_EEPROM_READ); return VEX_FALSE;
    case eeprom::UpdateResult::WriteFailed: break;
    }
    frame::set_last_error(VEX_ERR_EEPROM_WRITE);
    return VEX_FALSE;
}

VEXSDK_API char* vex_GetSDKVersion(char* text) {
    if (text) put(text, VEX_SDK_VERSION_TEXT);
    return text;
}

VEXSDK_API VEX_BOOL vex_CheckSDKVersion(uint32_t version) {
    return version <= VEX_SDK_VERSION ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API int32_t vex_GetRotaryID(void) {
    const uint32_t reg = single_slot() ? plat::bus_read8(kSingleSlotBoard) : plat::bus_read8(0);
    return static_cast<int32_t>(15 - (reg & 15));
}

VEXSDK_API int32_t vex_GetBatteryLevel(uint32_t index) {
    if (single_slot()) {
        frame::set_last_error(VEX_ERR_NOT_SUPPORTED);
        return 0;
    }
    if (index != 1 && index != 2) return 0;
    return (plat::bus_read8(kBatteryStatus) >> index) & 1u ? 0 : 1;
}

}  // extern "C"
