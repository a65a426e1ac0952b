#include "platform/session_section.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/linux/section_calls.h"

namespace vex::plat {
namespace {

int lock(int fd, int how) {
    int rc;
    do rc = section_calls().flock(fd, how);
    while (rc != 0 && errno == EINTR);
    return rc;
}

}  // namespace

std::unique_ptr<SessionSection> SessionSection::open(const std::string& name, size_t size) {
    if (size == 0) return nullptr;
    const int fd = section_calls().shm_open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return nullptr;
    struct stat st {};
    void* p = MAP_FAILED;
    if (section_calls().fstat(fd, &st) == 0 &&
        (static_cast<size_t>(st.st_size) >= size || section_calls().ftruncate(fd, static_cast<off_t>(size)) == 0))
        p = section_calls().mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (p == MAP_FAILED) {
        section_calls().close(fd);
        return nullptr;
    }
    // Alone with it: whatever it holds was left by processes that have
    // ended. Converting to the shared lock is not atomic, so a second
    // opener may clear it too, before either has used it; that is harmless.
    if (lock(fd, LOCK_EX | LOCK_NB) == 0) std::memset(p, 0, size);
    if (lock(fd, LOCK_SH) != 0) {
        section_calls().munmap(p, size);
        section_calls().close(fd);
        return nullptr;
    }
    return std::unique_ptr<SessionSection>(new SessionSection(fd, p, size));
}

SessionSection::~SessionSection() {
    section_calls().munmap(data_, size_);
    section_calls().close(fd_);  // drops the lock
}

}  // namespace vex::plat
