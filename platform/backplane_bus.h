// Register access to the 64 KiB backplane window.
//
// On hardware the window is an uncached mapping of physical 0x17000000 and
// every access is one volatile load or store. On the virtual controller the
// direct pointer is null and accesses go to its device models. The branch
// on the direct pointer is the only cost the hardware path pays for that.
#pragma once

#include <cstdint>

namespace vex::plat {

inline constexpr uint32_t kBackplaneWindowSize = 0x10000;
inline constexpr uint32_t kBackplanePhysical = 0x17000000;

// Register accesses are device I/O: threads and processes touch the same
// registers without a lock by design, so ThreadSanitizer must not count
// them as races between threads (it cannot see the device behind them).
#define VEXSDK_DEVICE_ACCESS __attribute__((no_sanitize("thread")))

// Non-null while the hardware window is mapped.
extern volatile uint8_t* g_backplane_direct;

namespace detail {
uint8_t sim_read8(uint32_t offset);
void sim_write8(uint32_t offset, uint8_t value);
uint16_t sim_read16(uint32_t offset);
void sim_write16(uint32_t offset, uint16_t value);
}  // namespace detail

VEXSDK_DEVICE_ACCESS inline uint8_t bus_read8(uint32_t offset) {
    if (volatile uint8_t* base = g_backplane_direct) [[likely]]
        return base[offset];
    return detail::sim_read8(offset);
}

VEXSDK_DEVICE_ACCESS inline void bus_write8(uint32_t offset, uint8_t value) {
    if (volatile uint8_t* base = g_backplane_direct) [[likely]] {
        base[offset] = value;
        return;
    }
    detail::sim_write8(offset, value);
}

VEXSDK_DEVICE_ACCESS inline uint16_t bus_read16(uint32_t offset) {
    if (volatile uint8_t* base = g_backplane_direct) [[likely]]
        return *reinterpret_cast<volatile uint16_t*>(base + offset);
    return detail::sim_read16(offset);
}

VEXSDK_DEVICE_ACCESS inline void bus_write16(uint32_t offset, uint16_t value) {
    if (volatile uint8_t* base = g_backplane_direct) [[likely]] {
        *reinterpret_cast<volatile uint16_t*>(base + offset) = value;
        return;
    }
    detail::sim_write16(offset, value);
}

// Maps the window for the current target. Returns the base that
// _vex_map hands out (on the virtual controller: its register image, where
// plain loads see register contents without device side effects), or null.
volatile uint8_t* map_backplane();
// Unmaps what map_backplane mapped.
void unmap_backplane(volatile uint8_t* base);

}  // namespace vex::plat
