// The operating-system calls of the event, interrupt and real-time thread
// backends, in one table. The backends call through it only, so that tests
// can make any one of them fail on purpose (a countdown shim that fails the
// Nth call with a chosen errno) and check that the failure is reported and
// nothing leaks. Filled with the real calls; irq_table() changes or
// restores one by name, reset_irq_calls() restores them all.
//
// Not thread-safe to change while the library runs threads that use it:
// tests set it before they start what they test.
#pragma once

#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <sys/types.h>

#include "platform/linux/call_table.h"

namespace vex::plat {

struct IrqCalls {
    int (*eventfd)(unsigned int initval, int flags);
    ssize_t (*read)(int fd, void* buf, size_t count);
    ssize_t (*write)(int fd, const void* buf, size_t count);
    int (*close)(int fd);
    int (*poll)(pollfd* fds, nfds_t nfds, int timeout);
    int (*open)(const char* path, int flags);
    int (*fcntl)(int fd, int cmd, ...);
    int (*socket)(int domain, int type, int protocol);
    int (*bind)(int fd, const sockaddr* addr, socklen_t len);
    ssize_t (*sendto)(int fd, const void* buf, size_t len, int flags, const sockaddr* addr, socklen_t alen);
    ssize_t (*recv)(int fd, void* buf, size_t len, int flags);
    int (*timerfd_create)(int clockid, int flags);
    int (*timerfd_settime)(int fd, int flags, const itimerspec* value, itimerspec* old);
    int (*epoll_create1)(int flags);
    int (*epoll_ctl)(int epfd, int op, int fd, epoll_event* event);
    int (*pthread_setschedparam)(pthread_t thread, int policy, const sched_param* param);
    int (*fstat)(int fd, struct stat* st);
    ssize_t (*readlink)(const char* path, char* buf, size_t size);
};

// The table, by name ("eventfd", "timerfd_create", ...).
CallTable<IrqCalls>& irq_table();
// The calls in use.
IrqCalls& irq_calls();
// Back to the real calls.
void reset_irq_calls();

}  // namespace vex::plat
