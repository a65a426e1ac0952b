// The operating-system calls of the named-mutex backend, in one table, so
// that tests can make any one of them fail on purpose and check that the
// failure is reported (naming the call) and nothing leaks. Filled with the
// real calls; named_mutex_table() changes or restores one by name,
// reset_named_mutex_calls() restores them all. Not to be changed
// while other threads open named mutexes.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include "platform/linux/call_table.h"

namespace vex::plat {

struct NamedMutexCalls {
    int (*shm_open)(const char* name, int flags, mode_t mode);
    int (*flock)(int fd, int operation);
    int (*fstat)(int fd, struct stat* st);
    int (*ftruncate)(int fd, off_t length);
    void* (*mmap)(void* addr, size_t length, int prot, int flags, int fd, off_t offset);
    int (*close)(int fd);
    int (*munmap)(void* addr, size_t length);
    int (*shm_unlink)(const char* name);
};

CallTable<NamedMutexCalls>& named_mutex_table();
NamedMutexCalls& named_mutex_calls();
void reset_named_mutex_calls();

}  // namespace vex::plat
