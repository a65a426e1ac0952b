#include "modproto/command.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace vex::modproto {

Command make_command(uint32_t size, const char* format, ...) {
    Command c;
    c.size = size;
    if (size == 0 || size > sizeof c.text) return c;
    va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(c.text, size, format, args);
    va_end(args);
    c.fits = n >= 0 && static_cast<uint32_t>(n) < size;
    if (!c.fits) c.text[0] = '\0';
    return c;
}

uint32_t channel_mask(int32_t count) {
    if (count <= 0) return 0;
    if (count >= 32) return 0xFFFFFFFFu;
    return (1u << count) - 1u;
}

int32_t part_bytes(int32_t count) { return count < 1 ? 0 : static_cast<int32_t>((static_cast<int64_t>(count) + 7) / 8); }

int field_width_mf(int32_t do_count) {
    if (do_count < 9) return 2;
    if (do_count < 17) return 4;
    if (do_count > 24) return 8;
    return 6;
}

int field_width_unified(int32_t do_count) {
    if (do_count < 5) return 1;
    if (do_count < 9) return 2;
    if (do_count < 17) return 4;
    if (do_count > 24) return 8;
    return 6;
}

BitGroup bit_group(int32_t bit, int32_t do_count) {
    if (do_count < 9) return {'A', bit};
    if (do_count <= 16) return bit > 7 ? BitGroup{'B', bit - 8} : BitGroup{'A', bit};
    if (bit < 8) return {'A', bit};
    if (bit < 16) return {'B', bit - 8};
    if (bit < 24) return {'C', bit - 16};
    return {'D', static_cast<int32_t>(static_cast<int64_t>(bit) - 24)};
}

bool format_ao_value(float value, bool plus, char* out, size_t size) {
    if (!std::isfinite(value) || size == 0) return false;
    const char* sign = std::signbit(value) && value != 0.0f ? "-" : (plus ? "+" : "");
    const int n = std::snprintf(out, size, "%s%06.3f", sign, static_cast<double>(std::fabs(value)));
    return n >= 0 && static_cast<size_t>(n) < size;
}

}  // namespace vex::modproto
