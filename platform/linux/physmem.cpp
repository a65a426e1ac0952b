// Physical memory windows on a real controller, mapped through /dev/mem
// (or the file named by VEXSDK_PHYSMEM, which lets the hardware path run on
// a plain file for tests and benchmarks). Every call goes through the
// physmem table; sysconf(_SC_PAGESIZE) is not in it, as it cannot fail on
// Linux and answers from the process's auxiliary vector.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/controller.h"
#include "platform/linux/physmem_calls.h"
#include "platform/system.h"

namespace vex::plat {

volatile void* map_physical(uint64_t physical, size_t size) {
    PhysmemCalls& c = physmem_calls();
    std::string device = env("VEXSDK_PHYSMEM");
    if (device.empty()) device = "/dev/mem";
    // O_SYNC makes /dev/mem mappings uncached.
    const int fd = c.open(device.c_str(), O_RDWR | O_SYNC | O_CLOEXEC);
    if (fd < 0) return nullptr;
    const long page = ::sysconf(_SC_PAGESIZE);
    const uint64_t base = physical & ~static_cast<uint64_t>(page - 1);
    const size_t lead = static_cast<size_t>(physical - base);
    // A plain file standing in for physical memory must cover the range:
    // touching a mapping past its end would kill the process (SIGBUS).
    struct stat st {};
    if (c.fstat(fd, &st) != 0 ||
        (S_ISREG(st.st_mode) && static_cast<uint64_t>(st.st_size) < physical + size)) {
        c.close(fd);
        return nullptr;
    }
    void* p = c.mmap(nullptr, size + lead, PROT_READ | PROT_WRITE, MAP_SHARED, fd, static_cast<off_t>(base));
    // The mapping holds the memory on its own; a failed close loses nothing.
    c.close(fd);
    if (p == MAP_FAILED) return nullptr;
    return static_cast<volatile unsigned char*>(p) + lead;
}

void unmap_physical(volatile void* address, size_t size) {
    if (!address) return;
    const long page = ::sysconf(_SC_PAGESIZE);
    const auto addr = reinterpret_cast<uintptr_t>(address);
    const uintptr_t base = addr & ~static_cast<uintptr_t>(page - 1);
    // Fails only for a range that is not mapped, which ours always is.
    physmem_calls().munmap(reinterpret_cast<void*>(base), size + (addr - base));
}

}  // namespace vex::plat
