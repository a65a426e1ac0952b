// Reboot of the hardware controller through the kernel.
#include <sys/reboot.h>

#include "platform/linux/service_calls.h"

namespace vex::plat {

bool reboot_hardware() {
    oscalls::calls().sync();
    // Returns only on failure (EPERM without CAP_SYS_BOOT).
    return oscalls::calls().reboot(RB_AUTOBOOT) == 0;
}

}  // namespace vex::plat
