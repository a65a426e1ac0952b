// The operating-system calls of the physical memory windows (/dev/mem, or
// the file standing in for it), in one table of the common pattern
// (platform/linux/call_table.h), so that tests can make a window that
// cannot be opened, examined or mapped.
//
// Change the table only while no window is mapped or unmapped (the load
// and unload sequences and map_backplane() are the only callers).
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include "platform/linux/call_table.h"

namespace vex::plat {

struct PhysmemCalls {
    int (*open)(const char* path, int flags);
    int (*fstat)(int fd, struct stat* st);
    void* (*mmap)(void* addr, size_t length, int prot, int flags, int fd, off_t offset);
    int (*munmap)(void* addr, size_t length);
    int (*close)(int fd);
};

CallTable<PhysmemCalls>& physmem_table();
inline PhysmemCalls& physmem_calls() { return physmem_table().now(); }

}  // namespace vex::plat
