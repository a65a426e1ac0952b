#include "platform/named_mutex.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "platform/linux/named_mutex_calls.h"
#include "platform/shared_section.h"

namespace vex::plat {

struct NamedMutex::Shared {
    uint32_t magic;  // kReady once the mutex is initialised
    uint32_t pad;
    ProcessMutex mutex;
};

namespace {
constexpr uint32_t kReady = 0x4D555432;  // "MUT2": the lock carries its maker's tag

int real_fstat(int fd, struct stat* st) { return ::fstat(fd, st); }
int real_close(int fd) { return ::close(fd); }
int real_munmap(void* addr, size_t length) { return ::munmap(addr, length); }
void* real_mmap(void* addr, size_t length, int prot, int flags, int fd, off_t offset) {
    return ::mmap(addr, length, prot, flags, fd, offset);
}
constexpr NamedMutexCalls kRealCalls = {::shm_open, ::flock,     real_fstat,  ::ftruncate,
                                            real_mmap,  real_close, real_munmap, ::shm_unlink};
constexpr CallSlot kSlots[] = {
    VEX_CALL_SLOT(NamedMutexCalls, shm_open),  VEX_CALL_SLOT(NamedMutexCalls, flock),
    VEX_CALL_SLOT(NamedMutexCalls, fstat),     VEX_CALL_SLOT(NamedMutexCalls, ftruncate),
    VEX_CALL_SLOT(NamedMutexCalls, mmap),      VEX_CALL_SLOT(NamedMutexCalls, close),
    VEX_CALL_SLOT(NamedMutexCalls, munmap),    VEX_CALL_SLOT(NamedMutexCalls, shm_unlink),
};
constinit CallTable<NamedMutexCalls> g_table{kRealCalls, kSlots};

std::string os_error(const char* call, const std::string& name) {
    return std::string(call) + "(" + name + "): " + std::strerror(errno);
}
}  // namespace

CallTable<NamedMutexCalls>& named_mutex_table() { return g_table; }
NamedMutexCalls& named_mutex_calls() { return g_table.now(); }
void reset_named_mutex_calls() { g_table.reset_all(); }

std::unique_ptr<NamedMutex> NamedMutex::open(const std::string& name, std::string* error) {
    static_assert(sizeof(Shared) == 72 && offsetof(Shared, mutex) == 8, "one layout for 32- and 64-bit processes");
    const NamedMutexCalls& c = g_table.now();
    const int fd = c.shm_open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        if (error) *error = os_error("shm_open", name);
        return nullptr;
    }
    // Whoever holds the flock either finds a ready mutex or makes it.
    Shared* shared = nullptr;
    std::string why;
    if (c.flock(fd, LOCK_EX) != 0) {
        why = os_error("flock", name);
    } else {
        struct stat st {};
        if (c.fstat(fd, &st) != 0) {
            why = os_error("fstat", name);
        } else if (static_cast<size_t>(st.st_size) < sizeof(Shared) &&
                   c.ftruncate(fd, static_cast<off_t>(sizeof(Shared))) != 0) {
            why = os_error("ftruncate", name);
        } else {
            void* p = c.mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
            if (p == MAP_FAILED) {
                why = os_error("mmap", name);
            } else {
                shared = static_cast<Shared*>(p);
                if (__atomic_load_n(&shared->magic, __ATOMIC_ACQUIRE) != kReady) {
                    shared->mutex.init();
                    __atomic_store_n(&shared->magic, kReady, __ATOMIC_RELEASE);
                } else if (!shared->mutex.compatible()) {
                    why = "mutex " + name + " was made by " + shared->mutex.maker() +
                          "; a process of another word size cannot share it";
                    c.munmap(shared, sizeof(Shared));
                    shared = nullptr;
                }
            }
        }
        // Unlock explicitly: the mapping keeps the open file alive, and
        // with it the flock, after the descriptor is closed. A lock that
        // stays would block every later opener: give the mapping up.
        if (c.flock(fd, LOCK_UN) != 0 && shared) {
            why = os_error("flock", name);
            c.munmap(shared, sizeof(Shared));
            shared = nullptr;
        }
    }
    c.close(fd);
    if (!shared) {
        if (error) *error = why;
        return nullptr;
    }
    return std::unique_ptr<NamedMutex>(new NamedMutex(shared));
}

bool NamedMutex::remove(const std::string& name) { return named_mutex_calls().shm_unlink(name.c_str()) == 0; }

NamedMutex::~NamedMutex() { named_mutex_calls().munmap(shared_, sizeof(Shared)); }

bool NamedMutex::lock() { return shared_->mutex.lock_recovering(); }

void NamedMutex::unlock() { shared_->mutex.unlock(); }

}  // namespace vex::plat
