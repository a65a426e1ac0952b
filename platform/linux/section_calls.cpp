#include "platform/linux/section_calls.h"

#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

namespace vex::plat {
namespace {

// Wrapped where the C library's declaration carries attributes or
// overloads the table's type does not.
int real_fstat(int fd, struct stat* st) { return ::fstat(fd, st); }
int real_close(int fd) { return ::close(fd); }
void* real_mmap(void* addr, size_t length, int prot, int flags, int fd, off_t offset) {
    return ::mmap(addr, length, prot, flags, fd, offset);
}
int real_munmap(void* addr, size_t length) { return ::munmap(addr, length); }

constexpr SectionCalls kReal = {::shm_open, real_fstat, ::ftruncate, real_mmap,
                            real_munmap, ::flock,    real_close,  ::shm_unlink};

#define SLOT(m) VEX_CALL_SLOT(SectionCalls, m)
constexpr CallSlot kSlots[] = {SLOT(shm_open), SLOT(fstat), SLOT(ftruncate), SLOT(mmap),
                               SLOT(munmap),   SLOT(flock), SLOT(close),     SLOT(shm_unlink)};
#undef SLOT

constinit CallTable<SectionCalls> g_table{kReal, kSlots};

}  // namespace

CallTable<SectionCalls>& section_table() { return g_table; }

}  // namespace vex::plat
