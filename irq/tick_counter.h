// Reading the backplane's 32-bit millisecond counter, which the bus
// delivers one byte at a time (most significant first), so that a carry
// between two byte reads tears the value. Two equal reads in a row are
// trusted at once; otherwise a third read settles it when it equals the
// second, and failing that a fourth read is returned as it is.
#pragma once

#include <cstdint>

namespace vex::irq {

inline constexpr uint32_t kRegMsCounter = 0x9028;  // bytes at 0x9028, 0x902A, 0x902C, 0x902E
inline constexpr uint32_t kRegUsCounter = 0x9040;

// `read_byte(offset)` reads one byte register.
template <typename ReadByte>
uint32_t read_ms_counter_once(ReadByte&& read_byte) {
    uint32_t v = 0;
    for (int i = 3; i >= 0; --i) v |= static_cast<uint32_t>(read_byte(kRegMsCounter + 2u * static_cast<uint32_t>(i))) << (8 * i);
    return v;
}

template <typename ReadByte>
uint32_t read_ms_counter(ReadByte&& read_byte) {
    const uint32_t a = read_ms_counter_once(read_byte);
    const uint32_t b = read_ms_counter_once(read_byte);
    if (a == b) return b;
    const uint32_t c = read_ms_counter_once(read_byte);
    if (c == b) return b;
    return read_ms_counter_once(read_byte);
}

}  // namespace vex::irq
