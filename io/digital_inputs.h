// The input registers of a parallel-bus digital module, read as one value:
// shared by _vex_ReadDI and the unified read of a parallel-bus module, and
// inline in both, so that the unified call pays no second call for it.
//
// Inputs are active low: a set register bit is an open input. The channel
// count picks how many of the four input registers (8 channels each) are
// read; below 9 only the first, and only its low nibble for 1..4.
#pragma once

#include <cstdint>

#include "io/module_registers.h"

namespace vex::io {

namespace detail {
// The value of `total` channels from input register i = 0..3 read by `in`.
template <typename In>
inline uint32_t decode_inputs(int32_t total, In in) {
    if (total >= 1 && total <= 4) return ~in(0) & 0x0Fu;
    if (total >= 5 && total <= 8) return ~in(0) & 0xFFu;
    if (total >= 9 && total <= 16) {
        const uint32_t lo = in(0);
        return ~((in(1) << 8) | lo) & 0xFFFFu;
    }
    const uint32_t b0 = in(0);
    const uint32_t b1 = in(1);
    const uint32_t b2 = in(2);
    const uint32_t b3 = in(3);
    return ~((b3 << 24) | (b2 << 16) | (b1 << 8) | b0);
}
}  // namespace detail

// `slot` is the low 8 bits of the caller's slot; outside 0..7 every
// register reads all ones, that is every input open (0). On hardware the
// window is looked up once for all four registers: plain loads, nothing
// kept across a call.
VEXSDK_DEVICE_ACCESS inline uint32_t read_inputs(uint32_t slot, int32_t total) {
    if (volatile uint8_t* base = plat::g_backplane_direct; base && slot < kModuleSlots) [[likely]] {
        volatile uint8_t* page = base + frame::slot_page(slot) + kRegInput0;
        return detail::decode_inputs(total, [page](uint32_t i) -> uint32_t { return page[2 * i]; });
    }
    return detail::decode_inputs(total, [slot](uint32_t i) -> uint32_t { return module_read8(slot, kRegInput0 + 2 * i); });
}

}  // namespace vex::io
