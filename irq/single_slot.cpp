#include "irq/single_slot.h"

namespace vex::irq {

void rearm_single_slot_edges(int32_t) {}

}  // namespace vex::irq
