// Direct access to the rising-edge slot interrupt registers, for programs
// that handle slot interrupts themselves. One register access each, on
// every controller model.
#include "frame/backplane.h"
#include "irq/slot_registers.h"
#include "vexsdk.h"

using namespace vex;
using namespace vex::irq;

extern "C" {

VEXSDK_API void vex_EnableRetrigger(uint8_t value) { plat::bus_write8(kRegRetrigger, value); }

VEXSDK_API void vex_EOI(void) { plat::bus_write8(kRegEndOfInterrupt, kEndOfInterrupt); }

VEXSDK_API void vex_EnableRisingEdgeIRQ(uint8_t mask, uint8_t enable) {
    const uint8_t v = plat::bus_read8(kRegRisingEnable);
    plat::bus_write8(kRegRisingEnable, static_cast<uint8_t>(enable ? (v | mask) : (v & ~mask)));
}

VEXSDK_API void vex_ClearRisingEdgeIRQ(uint8_t mask) { plat::bus_write8(kRegRisingLatch, mask); }

VEXSDK_API uint8_t vex_GetRisingEdgeEnableStatus(void) { return plat::bus_read8(kRegRisingEnable); }

VEXSDK_API uint8_t vex_GetRisingEdgeIRQStatus(void) { return plat::bus_read8(kRegRisingLatch); }

VEXSDK_API void vex_ResetSystemToDefault(void) { vex_ResetBackplane(); }

}  // extern "C"
