// Points the library at a target for a benchmark: the hardware path on a
// file standing in for physical memory, or a private virtual controller.
#pragma once

#include <cstdint>

namespace vex::bench {

// Hardware path: VEXSDK_TARGET=hw on a sparse file prepared as an 8-slot
// backplane with the default controller's modules' ID registers and all
// slots present. Returns the mapped window (for raw volatile accesses).
volatile uint8_t* use_hw();
// Virtual controller: a private instance with the built-in description.
void use_sim();
// Detaches and removes whatever the last use_* made (also run at exit).
void release();

}  // namespace vex::bench
