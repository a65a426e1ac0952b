// The operating-system calls that start a host process for an instance,
// in a table of the common pattern (platform/linux/call_table.h), so that
// tests can make the start fail at each step and see the library host the
// controller in-process instead.
//
// Change the table only while no thread attaches the library.
#pragma once

#include <poll.h>
#include <spawn.h>
#include <sys/types.h>

#include "platform/linux/call_table.h"

namespace vex::sim {

struct HostCalls {
    int (*pipe2)(int fds[2], int flags);
    // Returns an error number, not -1 and errno.
    int (*posix_spawn)(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attr, char* const argv[], char* const envp[]);
    int (*poll)(pollfd* fds, nfds_t n, int timeout_ms);
    ssize_t (*read)(int fd, void* buf, size_t count);
};

plat::CallTable<HostCalls>& host_table();
inline HostCalls& host_calls() { return host_table().now(); }

}  // namespace vex::sim
