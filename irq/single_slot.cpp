#include "irq/single_slot.h"

#include "platform/gpio.h"

namespace vex::irq {

void rearm_single_slot_edges(int32_t type) {
    if (type == 0 || type == 1) {
        plat::gpio::set_rising_edge(kSlotGpio, true);
        plat::gpio::set_falling_edge(kSlotGpio, false);
    } else if (type == 2) {
        plat::gpio::set_falling_edge(kSlotGpio, true);
        plat::gpio::set_rising_edge(kSlotGpio, false);
    }
}

}  // namespace vex::irq
