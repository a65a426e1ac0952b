// Reading and writing a tty's line settings as termios2, on kernels and
// emulators that lack it too.
//
// termios2 carries any baud rate (BOTHER and the number itself); every ARM
// and x86 kernel this library runs on has it. User-mode emulators (qemu-arm,
// which runs the armhf build's tests) and some older kernels answer ENOSYS
// or EINVAL to it: then the settings go through the classic termios, which
// has the same fields but for the two speeds, and the rates that have a
// code. A rate without a code cannot be set that way: writing one fails
// with EINVAL.
//
// <asm/termbits.h> cannot meet <termios.h> in one file: include this
// header only where <termios.h> is not.
#pragma once

#include <asm/termbits.h>

#include <cstdint>

namespace vex::plat {

// The ioctl to use (the serial backend passes its call table's entry, the
// virtual controller the system's own).
using TtyIoctl = int (*)(int fd, unsigned long request, void* arg);

// The settings of `fd`; false with errno set when neither call works.
bool tty_get(TtyIoctl call, int fd, termios2& out);
// Applies `t` at once; false with errno set.
bool tty_set(TtyIoctl call, int fd, const termios2& t);

// The baud rate of a speed code (B9600 -> 9600), 0 for BOTHER or unknown.
uint32_t tty_rate_of_code(tcflag_t code);
// The code of a baud rate, BOTHER when it has none.
tcflag_t tty_code_of_rate(uint32_t baud);

}  // namespace vex::plat
