#include "serial/config_string.h"

#include <cstring>

namespace vex::serial {
namespace {

void set_field(char (&dst)[kFieldSize], const char* src, size_t length) {
    const size_t n = length < kFieldSize - 1 ? length : kFieldSize - 1;
    std::memcpy(dst, src, n);
    dst[n] = '\0';
}

}  // namespace

ConfigFields split_config(const char* text, const char* default_port) {
    ConfigFields f{};
    static const char* const kPresets[kFieldCount] = {nullptr, "115200", "N", "8", "1"};
    set_field(f.field[kPort], default_port, std::strlen(default_port));
    for (int i = 1; i < kFieldCount; ++i) set_field(f.field[i], kPresets[i], std::strlen(kPresets[i]));

    // strtok without its hidden state: skip separators, take a token.
    const char* p = text;
    for (int i = 0; i < kFieldCount; ++i) {
        while (*p == ',') ++p;
        if (*p == '\0') break;
        const char* start = p;
        while (*p != '\0' && *p != ',') ++p;
        set_field(f.field[i], start, static_cast<size_t>(p - start));
    }
    return f;
}

int32_t decimal_value(const char* text) {
    const char* p = text;
    while (*p == ' ' || (*p >= '\t' && *p <= '\r')) ++p;
    bool negative = false;
    if (*p == '+' || *p == '-') negative = *p++ == '-';
    uint32_t value = 0;
    for (; *p >= '0' && *p <= '9'; ++p) value = value * 10u + static_cast<uint32_t>(*p - '0');
    if (negative) value = 0u - value;
    return static_cast<int32_t>(value);
}

void apply_config(const ConfigFields& f, plat::ComSettings& s) {
    s.baud = static_cast<uint32_t>(decimal_value(f[kBaud]));
    s.data_bits = static_cast<uint8_t>(decimal_value(f[kDataBits]) & 0xFF);

    switch (f[kParity][0]) {
    case 'E': s.parity = plat::Parity::Even; break;
    case 'M': s.parity = plat::Parity::Mark; break;
    case 'N': s.parity = plat::Parity::None; break;
    case 'O': s.parity = plat::Parity::Odd; break;
    case 'S': s.parity = plat::Parity::Space; break;
    default: break;
    }

    const char* stop = f[kStopBits];
    if (std::strcmp(stop, "1") == 0)
        s.stop_bits = plat::StopBits::One;
    else if (std::strcmp(stop, "2") == 0)
        s.stop_bits = plat::StopBits::Two;
    else if (std::strcmp(stop, "1.5") == 0)
        s.stop_bits = plat::StopBits::OneAndHalf;

    // Modules answer on a plain three-wire line: no flow control of any
    // kind may hold a command back. DTR/RTS control stays as the driver had
    // it.
    s.parity_check = false;
    s.cts_flow = false;
    s.dsr_flow = false;
    s.dsr_sensitivity = false;
    s.tx_continue_on_xoff = false;
    s.xon_out = false;
    s.xon_in = false;
}

PortName port_name(const char* field) {
    PortName n;
    size_t length = 0;
    while (length < kFieldSize && field[length] != '\0') ++length;
    if (length >= 5 && field[4] == ':') {
        n.record_name.assign(field, length);
        n.device = n.record_name;
    } else {
        n.record_name.assign(field, length < 5 ? length : 5);
        n.device = "$device\\" + n.record_name;
    }
    n.mapping = n.record_name.substr(0, n.record_name.find(':'));
    return n;
}

}  // namespace vex::serial
