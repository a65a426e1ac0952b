// The operating-system calls of the shared-memory sections (the virtual
// controller's state, the per-session sections), in one table of the
// common pattern (platform/linux/call_table.h), so that tests can make a
// section that cannot be created, grown or mapped.
//
// Change the table only while no thread opens or closes a section.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include "platform/linux/call_table.h"

namespace vex::plat {

struct SectionCalls {
    int (*shm_open)(const char* name, int flags, mode_t mode);
    int (*fstat)(int fd, struct stat* st);
    int (*ftruncate)(int fd, off_t length);
    void* (*mmap)(void* addr, size_t length, int prot, int flags, int fd, off_t offset);
    int (*munmap)(void* addr, size_t length);
    int (*flock)(int fd, int operation);
    int (*close)(int fd);
    int (*shm_unlink)(const char* name);
};

CallTable<SectionCalls>& section_table();
inline SectionCalls& section_calls() { return section_table().now(); }

}  // namespace vex::plat
