#include "platform/linux/tty_settings.h"

#include <sys/ioctl.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace vex::plat {
namespace {

struct Speed {
    uint32_t baud;
    tcflag_t code;
};

// The rates a tty knows by code. Others go by BOTHER and the number itself.
constexpr Speed kSpeeds[] = {
    {50, B50},         {75, B75},         {110, B110},       {134, B134},       {150, B150},
    {200, B200},       {300, B300},       {600, B600},       {1200, B1200},     {1800, B1800},
    {2400, B2400},     {4800, B4800},     {9600, B9600},     {19200, B19200},   {38400, B38400},
    {57600, B57600},   {115200, B115200}, {230400, B230400}, {460800, B460800}, {500000, B500000},
    {576000, B576000}, {921600, B921600}, {1000000, B1000000}, {1152000, B1152000}, {1500000, B1500000},
    {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000}, {3500000, B3500000}, {4000000, B4000000},
};

// termios2 is termios with the two speeds appended: the classic calls fill
// and take its head.
static_assert(offsetof(termios2, c_cc) == offsetof(termios, c_cc));
static_assert(sizeof(termios2) == sizeof(termios) + 2 * sizeof(speed_t));

// The answers of a system without termios2 (ENOSYS: not implemented at all;
// EINVAL: the driver does not know the request).
bool lacks_termios2(int error) { return error == ENOSYS || error == EINVAL; }

}  // namespace

uint32_t tty_rate_of_code(tcflag_t code) {
    for (const Speed& s : kSpeeds) {
        if (s.code == code) return s.baud;
    }
    return 0;
}

tcflag_t tty_code_of_rate(uint32_t baud) {
    for (const Speed& s : kSpeeds) {
        if (s.baud == baud) return s.code;
    }
    return BOTHER;
}

bool tty_get(TtyIoctl call, int fd, termios2& out) {
    if (call(fd, TCGETS2, &out) == 0) return true;
    if (!lacks_termios2(errno)) return false;
    termios classic{};
    if (call(fd, TCGETS, &classic) != 0) return false;
    out = termios2{};
    std::memcpy(&out, &classic, sizeof classic);
    out.c_ispeed = out.c_ospeed = tty_rate_of_code(classic.c_cflag & CBAUD);
    return true;
}

bool tty_set(TtyIoctl call, int fd, const termios2& t) {
    if (call(fd, TCSETS2, const_cast<termios2*>(&t)) == 0) return true;
    if (!lacks_termios2(errno)) return false;
    if ((t.c_cflag & CBAUD) == BOTHER) {
        errno = EINVAL;
        return false;
    }
    termios classic{};
    std::memcpy(&classic, &t, sizeof classic);
    return call(fd, TCSETS, &classic) == 0;
}

}  // namespace vex::plat
