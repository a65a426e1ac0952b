// The character time of a tty's line settings, read as termios2 (which
// carries any baud rate; <asm/termbits.h> cannot meet <termios.h> in one
// file, hence a file of its own).
#include <sys/ioctl.h>

#include "platform/linux/tty_settings.h"
#include "sim/serial_ports.h"

namespace vex::sim {

uint64_t tty_char_time_ns(int fd) {
    termios2 t{};
    auto call = [](int f, unsigned long request, void* arg) { return ::ioctl(f, request, arg); };
    if (fd < 0 || !plat::tty_get(call, fd, t) || t.c_ospeed == 0) return 0;
    // Start bit, data bits, parity bit, stop bits.
    static const unsigned kDataBits[] = {5, 6, 7, 8};
    const unsigned bits = 1 + kDataBits[(t.c_cflag & CSIZE) >> 4] + ((t.c_cflag & PARENB) ? 1 : 0) +
                          ((t.c_cflag & CSTOPB) ? 2 : 1);
    return static_cast<uint64_t>(bits) * 1000000000ull / t.c_ospeed;
}

}  // namespace vex::sim
