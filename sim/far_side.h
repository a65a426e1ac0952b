// The far side of the virtual controller's processor pins and chips: what
// a device on the board sees and does. vexsim and tests observe and drive
// the controller through these, never through raw State fields.
#pragma once

#include <cstdint>

#include "sim/instance.h"

namespace vex::sim::far {

// The level of a GPIO pin as the board sees it (true = high).
bool pin_high(Instance& inst, uint32_t pin);
// Holds a GPIO pin low from outside the processor, or lets it go (the
// board's pull-up then raises it unless the processor drives it low).
void hold_pin_low(Instance& inst, uint32_t pin, bool low);

}  // namespace vex::sim::far
