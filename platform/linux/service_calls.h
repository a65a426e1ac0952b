// The operating-system calls of the controller services' Linux backends
// (link notifications, storage card, reboot), in one table that tests can
// change: set_call("mount", fake) makes the backends call `fake` instead,
// reset_call("mount") or reset_calls() put the real calls back (the common
// pattern of platform/linux/call_table.h). Nothing else in these backends
// calls the system directly.
//
// Thread safety: change the table only while no backend call runs (tests
// do it before attaching the library or between calls).
#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <cstdint>

#include "platform/linux/call_table.h"

namespace vex::plat::oscalls {

struct ServiceCalls {
    int (*socket)(int domain, int type, int protocol);
    int (*bind)(int fd, const sockaddr* addr, socklen_t len);
    ssize_t (*sendto)(int fd, const void* buf, size_t len, int flags, const sockaddr* to, socklen_t tolen);
    ssize_t (*recvfrom)(int fd, void* buf, size_t len, int flags, sockaddr* from, socklen_t* fromlen);
    int (*poll)(pollfd* fds, nfds_t n, int timeout_ms);
    int (*eventfd)(unsigned int initval, int flags);
    int (*inotify_init1)(int flags);
    int (*inotify_add_watch)(int fd, const char* path, uint32_t mask);
    ssize_t (*read)(int fd, void* buf, size_t len);
    ssize_t (*write)(int fd, const void* buf, size_t len);
    int (*open)(const char* path, int flags, mode_t mode);
    int (*close)(int fd);
    int (*mount)(const char* source, const char* target, const char* type, unsigned long flags, const void* data);
    int (*umount2)(const char* target, int flags);
    int (*mkdir)(const char* path, mode_t mode);
    int (*reboot)(int command);
    void (*sync)();
};

// The table the backends call through.
CallTable<ServiceCalls>& table();
ServiceCalls& calls();
// Replaces one call by name ("socket", "mount", "reboot", ...). False for a
// name the table does not have.
bool set_call(const char* name, void* fn);
bool reset_call(const char* name);
void reset_calls();

}  // namespace vex::plat::oscalls
