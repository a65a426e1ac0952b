#include "services/sram.h"

#include <mutex>

#include "platform/backplane_bus.h"
#include "platform/os_timer.h"

namespace vex::services::sram {
namespace {
std::mutex g_mutex;  // the memory access critical section of the load sequence

uint32_t window(uint32_t address) { return kWindow + 2 * (address % kPageSize); }
uint8_t page(uint32_t address) { return static_cast<uint8_t>(address / kPageSize); }
}  // namespace

void read(uint32_t address, uint8_t* buf, uint32_t n) {
    std::lock_guard<std::mutex> lock(g_mutex);
    for (uint32_t i = 0; i < n; ++i) {
        plat::bus_write8(kPageRegister, page(address + i));
        buf[i] = plat::bus_read8(window(address + i));
    }
}

void write(uint32_t address, const uint8_t* data, uint32_t n) {
    std::lock_guard<std::mutex> lock(g_mutex);
    for (uint32_t i = 0; i < n; ++i) {
        plat::bus_write8(kPageRegister, page(address + i));
        plat::bus_write8(window(address + i), data[i]);
        (void)plat::os_timer_count();  // a bus delay, as _vex_refresh_screen
    }
}

}  // namespace vex::services::sram
