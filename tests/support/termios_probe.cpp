// Reads a tty's settings with termios2, the only way to see a rate set by
// number (BOTHER). Kept apart: <asm/termbits.h> and <termios.h> clash.
#include <sys/ioctl.h>

#include "platform/linux/tty_settings.h"
#include "tests/support/pty.h"

namespace vex::test {

LineSettings read_line_settings(int fd) {
    termios2 t{};
    LineSettings s;
    auto call = [](int f, unsigned long request, void* arg) { return ::ioctl(f, request, arg); };
    if (!plat::tty_get(call, fd, t)) return s;
    const tcflag_t code = t.c_cflag & CBAUD;
    s.custom_rate = code == BOTHER;
    switch (code) {
    case B9600: s.baud = 9600; break;
    case B19200: s.baud = 19200; break;
    case B115200: s.baud = 115200; break;
    case BOTHER: s.baud = t.c_ospeed; break;
    default: s.baud = 0; break;
    }
    s.parodd = (t.c_cflag & PARODD) != 0;
    s.cmspar = (t.c_cflag & CMSPAR) != 0;
    s.cstopb = (t.c_cflag & CSTOPB) != 0;
    s.crtscts = (t.c_cflag & CRTSCTS) != 0;
    s.raw = !(t.c_lflag & (ECHO | ICANON)) && !(t.c_iflag & ICRNL) && !(t.c_oflag & OPOST);
    return s;
}

bool tty_takes_any_rate(int fd) {
    termios2 t{};
    return ::ioctl(fd, TCGETS2, &t) == 0;
}

}  // namespace vex::test
