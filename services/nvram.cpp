#include "services/nvram.h"

#include <mutex>

#include "platform/backplane_bus.h"
#include "platform/os_timer.h"

namespace vex::services::nvram {
namespace {

constexpr uint8_t kEnable = 0x01, kClock = 0x02, kDirection = 0x04, kData = 0x08;

// Guards the shadow and the port within this process.
std::mutex g_mutex;
uint8_t g_shadow = 0;

void set_bit(uint8_t bit, bool on) {
    g_shadow = static_cast<uint8_t>(on ? (g_shadow | bit) : (g_shadow & ~bit));
    plat::bus_write8(kPort, g_shadow);
}

void clock_pulse() {
    set_bit(kClock, true);
    // Holds the clock high until the counter has passed entry + 1; a timer
    // that does not run ends the wait (the chip then sees a short pulse).
    (void)plat::os_timer_wait(1);
    set_bit(kClock, false);
}

void send_byte(uint8_t byte) {
    for (int bit = 0; bit < 8; ++bit) {
        set_bit(kData, ((byte >> bit) & 1u) != 0);
        clock_pulse();
    }
}

uint8_t read_byte(uint32_t index) {
    set_bit(kClock, false);
    set_bit(kEnable, true);
    send_byte(static_cast<uint8_t>(0xC1 + 2 * index));
    set_bit(kDirection, true);
    uint8_t value = 0;
    for (int bit = 0; bit < 8; ++bit) {
        if (plat::bus_read8(kPort) & 1u) value = static_cast<uint8_t>(value | (1u << bit));
        clock_pulse();
    }
    set_bit(kEnable, false);
    set_bit(kDirection, false);
    return value;
}

void write_byte(uint32_t index, uint8_t value) {
    set_bit(kClock, false);
    set_bit(kEnable, true);
    send_byte(static_cast<uint8_t>(0xC0 + 2 * index));
    send_byte(value);
    set_bit(kEnable, false);
}

}  // namespace

void read(uint32_t index, uint8_t* buf, uint32_t n) {
    std::lock_guard<std::mutex> lock(g_mutex);
    for (uint32_t i = 0; i < n; ++i) buf[i] = read_byte(index + i);
}

void write(uint32_t index, const uint8_t* data, uint32_t n) {
    std::lock_guard<std::mutex> lock(g_mutex);
    for (uint32_t i = 0; i < n; ++i) write_byte(index + i, data[i]);
}

}  // namespace vex::services::nvram
