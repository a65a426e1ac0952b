#include "platform/system_control.h"

#include "platform/target.h"
#include "sim/instance.h"
#include "sim/models/services.h"

namespace vex::plat {

bool reboot_hardware();  // platform/linux/reboot.cpp

void watchdog_notice(uint32_t code) {
    sim::Instance* inst = target().hardware ? nullptr : sim::current();
    if (!inst) return;
    const uint64_t now = inst->now_ns();
    inst->with_lock([&](sim::State& s) { sim::models::platform_notice(s, code, now); });
}

bool reboot_controller() {
    // Never the machine we run on unless the target is the hardware: a
    // virtual controller that could not attach reboots nothing.
    if (target().hardware) return reboot_hardware();
    sim::Instance* inst = sim::current();
    if (!inst) return false;
    std::string why;
    if (!inst->power_cycle(&why)) return false;
    const uint64_t now = inst->now_ns();
    inst->with_lock([&](sim::State& s) { sim::models::trace_event(s, sim::kTracePowerCycle, 0, 0, now); });
    return true;
}

}  // namespace vex::plat
