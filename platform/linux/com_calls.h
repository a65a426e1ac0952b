// The operating-system calls of the COM port backend (ttys, USB serial
// adapters, pseudo-terminals), in one table of the common pattern
// (platform/linux/call_table.h). Line settings, queue counts, purges and
// modem lines all go through `ioctl` (termios2, TIOCM*, TCFLSH), so a test
// that fails the Nth ioctl fails each step of a configuration in turn.
//
// Change the table only while no port is open.
#pragma once

#include <poll.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>

#include "platform/linux/call_table.h"

namespace vex::plat {

struct ComCalls {
    int (*open)(const char* path, int flags);
    int (*close)(int fd);
    ssize_t (*read)(int fd, void* buf, size_t count);
    ssize_t (*write)(int fd, const void* buf, size_t count);
    // `arg` is the request's pointer, or its integer value cast to one.
    int (*ioctl)(int fd, unsigned long request, void* arg);
    int (*poll)(pollfd* fds, nfds_t n, int timeout_ms);
    int (*flock)(int fd, int operation);
    int (*eventfd)(unsigned int initval, int flags);
    int (*fstat)(int fd, struct stat* st);
};

CallTable<ComCalls>& com_table();
inline ComCalls& com_calls() { return com_table().now(); }

// An integer ioctl argument in the table's pointer slot.
inline void* ioctl_int(uintptr_t value) { return reinterpret_cast<void*>(value); }

}  // namespace vex::plat
