#include "platform/linux/physmem_calls.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace vex::plat {
namespace {

// Wrapped where the C library's declaration is variadic or carries
// attributes the table's plain types do not.
int real_open(const char* path, int flags) { return ::open(path, flags); }
int real_fstat(int fd, struct stat* st) { return ::fstat(fd, st); }
void* real_mmap(void* addr, size_t length, int prot, int flags, int fd, off_t offset) {
    return ::mmap(addr, length, prot, flags, fd, offset);
}
int real_munmap(void* addr, size_t length) { return ::munmap(addr, length); }
int real_close(int fd) { return ::close(fd); }

constexpr PhysmemCalls kReal = {real_open, real_fstat, real_mmap, real_munmap, real_close};

#define SLOT(m) VEX_CALL_SLOT(PhysmemCalls, m)
constexpr CallSlot kSlots[] = {SLOT(open), SLOT(fstat), SLOT(mmap), SLOT(munmap), SLOT(close)};
#undef SLOT

constinit CallTable<PhysmemCalls> g_table{kReal, kSlots};

}  // namespace

CallTable<PhysmemCalls>& physmem_table() { return g_table; }

}  // namespace vex::plat
