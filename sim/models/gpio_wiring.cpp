// What the board wires to the processor's GPIO pins. A device listed here
// hears of every change of the pins it watches and answers by pulling pins
// low or letting them go (models::gpio_pull). Pins nothing watches (the
// single-slot controller's slot interrupt on 3, the LED on 84, the
// backlight on 52) are read by whoever needs them through gpio_pin_high.
#include "platform/gpio.h"
#include "sim/models/memory.h"
#include "sim/models/peripherals.h"

namespace vex::sim::models {
namespace {

struct Wire {
    uint32_t pin;
    void (*changed)(State& s, uint64_t now);
};

// One entry per watched pin; a device watching several pins (entries kept
// together) is called once per change round however many of them moved.
constexpr Wire kWires[] = {
    {12, eeprom_lines_changed},  // EEPROM clock (SCL)
    {22, eeprom_lines_changed},  // EEPROM data (SDA)
    {4, eeprom_lines_changed},   // EEPROM write protect (WP)
};

}  // namespace

void gpio_wiring_changed(State& s, const uint32_t changed[kGpioBanks], uint64_t now) {
    void (*last)(State&, uint64_t) = nullptr;
    for (const Wire& w : kWires) {
        if (!w.changed || w.pin >= plat::gpio::kPins) continue;
        if (!(changed[w.pin >> 5] & plat::gpio::bit(w.pin)) || w.changed == last) continue;
        last = w.changed;
        w.changed(s, now);
    }
}

}  // namespace vex::sim::models
