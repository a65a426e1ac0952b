#include "platform/shared_section.h"

#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "platform/linux/section_calls.h"

namespace vex::plat {

std::unique_ptr<SharedSection> SharedSection::open(const std::string& name, size_t size) {
    if (size == 0) return nullptr;
    bool created = true;
    int fd = section_calls().shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0 && errno == EEXIST) {
        created = false;
        fd = section_calls().shm_open(name.c_str(), O_RDWR | O_CLOEXEC, 0600);
    }
    if (fd < 0) return nullptr;
    // A new object is zero-filled by the kernel when it grows. An existing
    // one that is smaller (its creator has not grown it yet) grows too:
    // growing never loses data and both sides agree on the size.
    struct stat st {};
    if (section_calls().fstat(fd, &st) != 0 || (static_cast<size_t>(st.st_size) < size &&
                                  section_calls().ftruncate(fd, static_cast<off_t>(size)) != 0)) {
        section_calls().close(fd);
        return nullptr;
    }
    void* p = section_calls().mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    section_calls().close(fd);
    if (p == MAP_FAILED) return nullptr;
    return std::unique_ptr<SharedSection>(new SharedSection(p, size, created));
}

SharedSection::~SharedSection() { section_calls().munmap(data_, size_); }

bool SharedSection::remove(const std::string& name) { return section_calls().shm_unlink(name.c_str()) == 0; }

bool SharedSection::exists(const std::string& name) {
    const int fd = section_calls().shm_open(name.c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (fd < 0) return errno == EACCES;  // there, but not ours to read
    section_calls().close(fd);
    return true;
}

// The listing of /dev/shm is no call of the table: a listing that fails
// removes nothing, which is what the caller is told (0).
int remove_shared_objects(const std::string& prefix) {
    // POSIX shared memory objects are files of /dev/shm on Linux.
    if (prefix.size() < 2 || prefix[0] != '/') return 0;
    const std::string stem = prefix.substr(1);
    DIR* dir = ::opendir("/dev/shm");
    if (!dir) return 0;
    int removed = 0;
    while (dirent* e = ::readdir(dir)) {
        if (std::strncmp(e->d_name, stem.c_str(), stem.size()) == 0 &&
            section_calls().shm_unlink(("/" + std::string(e->d_name)).c_str()) == 0)
            ++removed;
    }
    ::closedir(dir);
    return removed;
}

// The last word of the storage tags the maker: "LK", the word size in bits
// and the size of the native lock.
constexpr size_t kTagAt = 60;
static_assert(sizeof(pthread_mutex_t) <= kTagAt, "ProcessMutex storage too small");
constexpr uint32_t kTagMark = 0x4C4B0000u;
constexpr uint32_t kOwnTag = kTagMark | uint32_t{sizeof(void*) * 8} << 8 | uint32_t{sizeof(pthread_mutex_t)};

static uint32_t read_tag(const unsigned char* storage) {
    uint32_t tag = 0;
    std::memcpy(&tag, storage + kTagAt, sizeof tag);
    return tag;
}

static pthread_mutex_t* native(unsigned char* storage) {
    return std::launder(reinterpret_cast<pthread_mutex_t*>(storage));
}

// The robust mutex's calls are not in a table: on memory the caller has
// mapped they fail only for a lock made by another word size, which the
// tag refuses before any of them runs, and for a kernel that cannot
// inherit priority, which init() answers in place with a plain lock.
void ProcessMutex::init() {
    pthread_mutexattr_t attr;
    ::pthread_mutexattr_init(&attr);
    ::pthread_mutexattr_setpshared(&attr, PTHREAD_PROCESS_SHARED);
    ::pthread_mutexattr_setrobust(&attr, PTHREAD_MUTEX_ROBUST);
    // Real-time service threads share this lock with normal threads of any
    // process (a program's main loop, the host, the tools): whoever holds it
    // runs at the priority of the highest waiter, or a busy machine would
    // keep a timer's service thread waiting behind a preempted holder.
    // A kernel without priority-inheriting futexes refuses such a mutex: it
    // gets a plain one.
    ::pthread_mutexattr_setprotocol(&attr, PTHREAD_PRIO_INHERIT);
    if (::pthread_mutex_init(new (storage_) pthread_mutex_t, &attr) != 0) {
        ::pthread_mutexattr_setprotocol(&attr, PTHREAD_PRIO_NONE);
        ::pthread_mutex_init(native(storage_), &attr);
    }
    ::pthread_mutexattr_destroy(&attr);
    std::memcpy(storage_ + kTagAt, &kOwnTag, sizeof kOwnTag);
}

bool ProcessMutex::compatible() const { return read_tag(storage_) == kOwnTag; }

std::string ProcessMutex::maker() const {
    const uint32_t tag = read_tag(storage_);
    if ((tag & 0xFFFF0000u) != kTagMark) return "an unknown process";
    return "a " + std::to_string(tag >> 8 & 0xFFu) + "-bit process";
}

void ProcessMutex::lock() {
    // A dead owner leaves the protected data as it was at its last store;
    // every structure kept under these locks stays usable from any state.
    if (::pthread_mutex_lock(native(storage_)) == EOWNERDEAD)
        ::pthread_mutex_consistent(native(storage_));
}

bool ProcessMutex::lock_recovering() {
    if (::pthread_mutex_lock(native(storage_)) != EOWNERDEAD) return false;
    ::pthread_mutex_consistent(native(storage_));
    return true;
}

bool ProcessMutex::try_lock() {
    const int rc = ::pthread_mutex_trylock(native(storage_));
    if (rc == EOWNERDEAD) ::pthread_mutex_consistent(native(storage_));
    return rc == 0 || rc == EOWNERDEAD;
}

void ProcessMutex::unlock() { ::pthread_mutex_unlock(native(storage_)); }

}  // namespace vex::plat
