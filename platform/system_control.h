// Kernel control requests of the system watchdog and reboot.
//
// Watchdog notices: the library tells the platform after it enabled the
// backplane watchdog (kNoticeWatchdogEnabled) and before it disables it
// (kNoticeWatchdogDisabling), as the controller's own kernel expects. On
// Linux no kernel component refreshes or watches the backplane watchdog, so
// on hardware the notices have nothing to do and do nothing; the virtual
// controller counts them and records them in its trace.
//
// Reboot: on hardware, sync(2) then reboot(2) with RB_AUTOBOOT: the kernel
// restarts the controller at once (file systems are synced, programs are
// not asked to end). That needs CAP_SYS_BOOT (root); without it the call
// returns false and nothing happens. On the virtual controller the instance
// power-cycles from its description and the call returns true.
#pragma once

#include <cstdint>

namespace vex::plat {

inline constexpr uint32_t kNoticeWatchdogEnabled = 0x01012010;
inline constexpr uint32_t kNoticeWatchdogDisabling = 0x01012014;

void watchdog_notice(uint32_t code);
bool reboot_controller();

}  // namespace vex::plat
