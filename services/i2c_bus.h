// The two-wire (I2C) bus master the EEPROM is driven with, bit by bit, over
// a small line interface: drive SCL, drive SDA, switch SDA between driven
// and released, sense SDA, wait one bit delay. The lines are the
// processor's GPIO pins (services/i2c_lines.h); tests may give others.
//
// The primitives are the controller's own, step for step, including the
// bus-error flag: a missing acknowledge sets it, and while it is set every
// attempt to change SCL is skipped, until the next start condition clears
// it. Not thread-safe: the EEPROM's users hold "VEX_EEP" around a transfer.
#pragma once

#include <cstdint>

namespace vex::services::i2c {

class Lines {
public:
    virtual ~Lines() = default;
    virtual void scl(bool high) = 0;
    virtual void sda(bool high) = 0;          // the level driven while SDA is an output
    virtual void sda_output(bool driven) = 0; // false: released, the far side may drive
    virtual bool sda_level() = 0;
    virtual void delay() = 0;                 // one bit delay unit
};

class Master {
public:
    explicit Master(Lines& lines) : lines_(lines) {}

    void start();
    void stop();
    void send_byte(uint8_t byte);             // most significant bit first
    bool check_ack();                         // true (and the flag set) when no acknowledge came
    void send_ack();
    uint8_t receive_byte();

    bool bus_error() const { return bus_error_; }
    void clear_bus_error() { bus_error_ = false; }

    // Brings the bus back after a master died in the middle of a transfer,
    // without ever letting SDA rise while SCL is high before a start
    // condition: a stop would make the chip commit the dead master's half
    // page, a start makes it drop it. Then a stop leaves the bus idle.
    void recover();

private:
    void set_scl(bool high);
    Lines& lines_;
    bool bus_error_ = false;
};

}  // namespace vex::services::i2c
