// The EEPROM bus's lines on the processor's GPIO pins, and its timing.
//
// Timing on the controller (I2C standard mode, 100 kHz at most): one delay
// unit is a busy loop calibrated to last at least 5 microseconds,
// and the lines hold every change for one unit before the next one. So SCL
// stays low at least 5 us (tLOW >= 4.7), high at least 5 us (tHIGH >= 4.0),
// a start condition is held 5 us (tHD;STA >= 4.0), a repeated start and a
// stop are set up 5 us (>= 4.7 / 4.0), and the bus is free 5 us between a
// stop and a start (tBUF >= 4.7). Calibration, at the first transfer of the
// process (not at load, where it would cost every program a few
// milliseconds): after a 2 ms warm-up spin,
// the loop is timed five times over 20000 iterations against the monotonic
// clock; the fastest run sets the count, so a processor that later runs
// slower only lengthens the unit. The count is never below 28, the
// controller library's fixed loop.
//
// On the virtual controller the chip decodes the lines by their edges, not
// their timing, so there is no delay at all (pacing 0).
#pragma once

#include <cstdint>

#include "services/i2c_bus.h"

namespace vex::services::i2c {

inline constexpr uint32_t kDelayUnitNs = 5000;
inline constexpr uint32_t kMinDelayLoops = 28;

// Spins `loops` iterations of the delay loop.
void spin(uint32_t loops);
// Loop count for `unit_ns` on this processor (see above).
uint32_t calibrate_delay_loops(uint32_t unit_ns);

class GpioLines final : public Lines {
public:
    GpioLines(uint32_t scl_pin, uint32_t sda_pin) : scl_pin_(scl_pin), sda_pin_(sda_pin) {}
    // Loops of one delay unit; 0 = no delays.
    void set_pacing(uint32_t loops) { loops_ = loops; }
    uint32_t pacing() const { return loops_; }

    void scl(bool high) override;
    void sda(bool high) override;
    void sda_output(bool driven) override;
    bool sda_level() override;
    void delay() override { spin(loops_); }

private:
    uint32_t scl_pin_;
    uint32_t sda_pin_;
    uint32_t loops_ = 0;
};

}  // namespace vex::services::i2c
