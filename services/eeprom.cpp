#include "services/eeprom.h"

#include <memory>

#include "platform/gpio.h"
#include "platform/named_mutex.h"
#include "platform/target.h"
#include "services/i2c_bus.h"
#include "services/i2c_lines.h"

namespace vex::services::eeprom {
namespace {

namespace gpio = plat::gpio;
constexpr uint8_t kDeviceWrite = 0xA0;  // 1010 000 W: the chip's address pins are tied low
constexpr uint8_t kDeviceRead = 0xA1;

// Lock rules: g_lock is written by attach() and detach() only, from the
// load and unload sequences while no export runs. The bus, its lines and
// g_poll_count are used only by a thread that holds "VEX_EEP" (g_lock,
// through Hold), which also keeps other processes off the same lines.
// Without the lock (it could not be made) transfers fail before any bus
// cycle; the pins are still set up and write protect still driven.
plat::NamedMutex* g_lock = nullptr;
i2c::GpioLines g_lines(kPinScl, kPinSda);
i2c::Master g_bus(g_lines);
uint32_t g_poll_count = 0;
// Set at load on hardware: the bit delay is calibrated by the first
// transfer (a few milliseconds of spinning that loading the library, and a
// program that never touches the EEPROM, should not pay). Written at load
// and under "VEX_EEP" only.
bool g_pacing_due = false;

void setup_pin(uint32_t pin);

// Holds "VEX_EEP" with the lines set up and the bus usable.
class Hold {
public:
    Hold() : held_(g_lock != nullptr) {
        const bool owner_died = held_ && g_lock->lock();
        // A controller reset (a virtual one's power cycle) under a running
        // program leaves the pins as inputs: set them up again.
        for (const uint32_t pin : {kPinWriteProtect, kPinSda, kPinScl}) setup_pin(pin);
        if (owner_died) g_bus.recover();  // it died in the middle of a transfer
    }
    ~Hold() {
        if (held_) g_lock->unlock();
    }
    bool held() const { return held_; }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

private:
    bool held_;
};

// Chip size code 128: the device byte stays 0xA0 and two address bytes
// follow, high first.
bool address_phase(uint32_t address) {
    bool acked = false;
    for (int pass = 0; pass < kAckPollPasses && !acked; ++pass) {
        if (g_bus.bus_error()) continue;  // a pass that finds the flag set does nothing
        uint32_t n = 0;
        while (n < kAckPollLimit && !acked) {
            g_bus.start();
            g_bus.send_byte(kDeviceWrite);
            ++n;
            acked = !g_bus.check_ack();
        }
        g_poll_count = n;
    }
    if (!acked) return false;
    for (const uint8_t byte : {static_cast<uint8_t>((address >> 8) & 0xFF), static_cast<uint8_t>(address & 0xFF)}) {
        g_bus.send_byte(byte);
        if (g_bus.check_ack()) {
            g_bus.stop();
            return false;
        }
    }
    return true;
}

bool page_write(uint32_t address, const uint8_t* data, uint32_t n) {
    if (!address_phase(address)) return false;
    for (uint32_t i = 0; i < n; ++i) {
        g_bus.send_byte(data[i]);
        if (g_bus.check_ack()) break;
    }
    g_bus.stop();
    return !g_bus.bus_error();
}

// Each transfer starts with a clear flag: one that a failed transfer left
// set would make every later address phase of the process fail.
bool read_held(uint32_t address, uint8_t* buf, uint32_t n) {
    g_bus.clear_bus_error();
    if (!address_phase(address)) return false;
    g_bus.start();
    g_bus.send_byte(kDeviceRead);
    if (!g_bus.check_ack()) {
        buf[0] = g_bus.receive_byte();
        for (uint32_t i = 1; i < n; ++i) {
            g_bus.send_ack();
            buf[i] = g_bus.receive_byte();
        }
    }
    g_bus.stop();
    return !g_bus.bus_error();
}

bool write_held(uint32_t address, const uint8_t* data, uint32_t n) {
    g_bus.clear_bus_error();
    uint32_t low = address & 0xFF, high = address >> 8;
    while (n > kPageSize - low % kPageSize) {
        const uint32_t chunk = kPageSize - low % kPageSize;
        if (!page_write((high << 8) | low, data, chunk)) return false;
        data += chunk;
        n -= chunk;
        low += chunk;
        if (low >= 256) {
            low -= 256;
            high += 1;
        }
    }
    return page_write((high << 8) | low, data, n);
}

// Caller holds "VEX_EEP".
void ensure_pacing() {
    if (!g_pacing_due) return;
    g_lines.set_pacing(i2c::calibrate_delay_loops(i2c::kDelayUnitNs));
    g_pacing_due = false;
}

void setup_pin(uint32_t pin) {
    if (gpio::function_of(pin) == 0 && gpio::is_output(pin)) return;
    gpio::select_function(pin, 0);
    gpio::make_output(pin);
    gpio::set(pin);
}

}  // namespace

std::string attach() {
    if (g_lock) return "";
    std::string why;
    g_lock = plat::NamedMutex::open(plat::shared_object_name("VEX_EEP"), &why).release();
    g_lines.set_pacing(0);
    g_pacing_due = plat::target().hardware;
    Hold hold;
    for (const uint32_t pin : {kPinWriteProtect, kPinSda, kPinScl}) setup_pin(pin);
    return g_lock ? "" : "EEPROM lock: " + why;
}

void detach() {
    delete g_lock;
    g_lock = nullptr;
}

bool read(uint32_t address, uint8_t* buf, uint32_t n) {
    if (n == 0) return true;
    Hold hold;
    if (!hold.held()) return false;
    ensure_pacing();
    return read_held(address, buf, n);
}

WriteResult write(uint32_t address, const uint8_t* data, uint32_t n) {
    Hold hold;
    if (!hold.held()) return WriteResult::Failed;
    if (gpio::level(kPinWriteProtect)) return WriteResult::WriteProtected;
    ensure_pacing();
    return write_held(address, data, n) ? WriteResult::Ok : WriteResult::Failed;
}

UpdateResult update(uint32_t address, uint8_t* buf, uint32_t n, const std::function<void(uint8_t*)>& change) {
    Hold hold;
    if (!hold.held()) return UpdateResult::ReadFailed;
    ensure_pacing();
    if (!read_held(address, buf, n)) return UpdateResult::ReadFailed;
    change(buf);
    gpio::clear(kPinWriteProtect);
    const bool written = write_held(address, buf, n);
    gpio::set(kPinWriteProtect);
    return written ? UpdateResult::Ok : UpdateResult::WriteFailed;
}

void set_write_protect(bool protect) {
    Hold hold;
    protect ? gpio::set(kPinWriteProtect) : gpio::clear(kPinWriteProtect);
}

uint32_t last_poll_count() { return g_poll_count; }
uint32_t delay_loops() {
    Hold hold;
    if (!hold.held()) return 0;
    ensure_pacing();
    return g_lines.pacing();
}

}  // namespace vex::services::eeprom
