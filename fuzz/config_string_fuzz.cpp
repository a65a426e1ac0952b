// libFuzzer target for the COM port configuration string: any text must
// split into five terminated fields of at most 19 characters, without a
// separator in them, and read into a control block without trouble.
//
// Build with the fuzz preset (clang): build/fuzz/fuzz/config_string_fuzz
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "serial/config_string.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace vex::serial;
    // The input up to its first NUL is the string, as a C caller hands it.
    const std::string text(reinterpret_cast<const char*>(data), size);
    const ConfigFields f = split_config(text.c_str(), "COM0:");
    for (int i = 0; i < kFieldCount; ++i) {
        const void* end = std::memchr(f.field[i], '\0', kFieldSize);
        if (!end) std::abort();
        if (std::strchr(f.field[i], ',')) std::abort();
        if (f.field[i][0] == '\0') std::abort();  // empty tokens vanish; presets are not empty
    }
    vex::plat::ComSettings settings;
    apply_config(f, settings);
    if (settings.cts_flow || settings.xon_in || settings.xon_out || settings.parity_check) std::abort();
    const PortName name = port_name(f[kPort]);
    if (name.record_name.size() >= kFieldSize || name.mapping.find(':') != std::string::npos) std::abort();
    return 0;
}
