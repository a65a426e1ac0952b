#include "services/i2c_bus.h"

namespace vex::services::i2c {

void Master::set_scl(bool high) {
    if (!bus_error_) lines_.scl(high);
}

void Master::start() {
    lines_.sda_output(true);
    lines_.sda(true);
    set_scl(true);
    bus_error_ = false;
    lines_.delay();
    lines_.sda(false);
    set_scl(false);
}

void Master::stop() {
    lines_.sda(false);
    set_scl(true);
    lines_.sda(true);
}

void Master::send_byte(uint8_t byte) {
    for (int bit = 7; bit >= 0; --bit) {
        lines_.sda(((byte >> bit) & 1u) != 0);
        set_scl(true);
        set_scl(false);
    }
}

bool Master::check_ack() {
    lines_.sda_output(false);
    set_scl(true);
    lines_.delay();
    bus_error_ = lines_.sda_level();
    set_scl(false);
    lines_.sda_output(true);
    return bus_error_;
}

void Master::send_ack() {
    lines_.sda_output(true);
    lines_.sda(false);
    set_scl(true);
    lines_.delay();
    set_scl(false);
    lines_.sda_output(false);
}

uint8_t Master::receive_byte() {
    lines_.sda_output(false);
    uint8_t value = 0;
    for (int bit = 0; bit < 8; ++bit) {
        set_scl(true);
        value = static_cast<uint8_t>(value << 1);
        lines_.delay();
        if (lines_.sda_level()) value = static_cast<uint8_t>(value | 1u);
        set_scl(false);
    }
    lines_.sda_output(true);
    return value;
}

void Master::recover() {
    bus_error_ = false;
    lines_.scl(false);
    lines_.sda_output(true);
    lines_.sda(true);
    // Clock out whatever the chip still drives until SDA is free, then
    // make a start condition with SCL high.
    for (int clock = 0; clock < 10; ++clock) {
        lines_.scl(true);
        lines_.delay();
        if (lines_.sda_level()) {
            lines_.sda(false);
            lines_.delay();
            lines_.scl(false);
            break;
        }
        lines_.scl(false);
        lines_.delay();
    }
    stop();
}

}  // namespace vex::services::i2c
