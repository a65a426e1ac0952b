// Text conversions, the executable's directory and message pumping.
#include <cstring>
#include <string>

#include "platform/system.h"
#include "platform/text_codec.h"
#include "vexsdk.h"

namespace {

constexpr size_t kConversionSize = 2048;  // destination size of the conversions

}  // namespace

using namespace vex;

extern "C" {

VEXSDK_API int32_t vex_WideToAnsiString(const wchar_t* src, char* dst) {
    return static_cast<int32_t>(plat::wide_to_utf8(src, dst, kConversionSize));
}

VEXSDK_API int32_t vex_WideStringToAnsi(const wchar_t* src, char* dst) {
    return static_cast<int32_t>(plat::wide_to_utf8(src, dst, kConversionSize));
}

VEXSDK_API int32_t vex_AnsiToWideString(const char* src, wchar_t* dst) {
    return static_cast<int32_t>(plat::utf8_to_wide(src, dst, kConversionSize));
}

// The directory is the executable's, with its trailing '/'. A buffer too
// small for it receives an empty string and the call fails.
VEXSDK_API VEX_BOOL vex_GetCurrentDirectoryW(wchar_t* buffer, uint32_t size) {
    if (!buffer || size == 0) return VEX_FALSE;
    std::string path = plat::executable_path();
    const size_t cut = path.rfind('/');
    if (cut != std::string::npos) path.resize(cut + 1);
    const std::wstring wide = plat::from_utf8(path);
    if (wide.empty() || wide.size() + 1 > size) {
        buffer[0] = L'\0';
        return VEX_FALSE;
    }
    std::memcpy(buffer, wide.c_str(), (wide.size() + 1) * sizeof(wchar_t));
    return VEX_TRUE;
}

VEXSDK_API VEX_BOOL vex_GetCurrentDirectory(char* buffer, uint32_t size) {
    if (!buffer || size == 0) return VEX_FALSE;
    wchar_t wide[1024];
    if (!vex_GetCurrentDirectoryW(wide, 1024)) {
        buffer[0] = '\0';
        return VEX_FALSE;
    }
    return plat::wide_to_utf8(wide, buffer, size) != 0 ? VEX_TRUE : VEX_FALSE;
}

// Linux threads have no window message queue, so there is never a message
// to dispatch: the result is that of an empty peek, 0.
VEXSDK_API int32_t vex_DoEvent(void) { return 0; }
VEXSDK_API int32_t vex_DoEvents(void) { return 0; }

}  // extern "C"
