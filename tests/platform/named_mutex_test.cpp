// Named robust mutexes between real processes.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <cerrno>
#include <unistd.h>

#include "platform/linux/named_mutex_calls.h"
#include "platform/named_mutex.h"
#include "tests/support/robust_futex.h"

namespace {

using vex::plat::NamedMutex;

std::string unique_name() { return "/vexsdk-test-mutex." + std::to_string(::getpid()); }

TEST(NamedMutex, AProcessThatDiesHoldingItDoesNotWedgeTheOthers) {
    VEXSDK_SKIP_WITHOUT_DEAD_OWNER_REPORTS();
    const std::string name = unique_name();
    std::string error;
    auto mine = NamedMutex::open(name, &error);
    ASSERT_TRUE(mine) << error;

    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        auto theirs = NamedMutex::open(name, nullptr);
        if (!theirs) ::_exit(2);
        theirs->lock();
        ::_exit(0);  // dies holding it
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

    EXPECT_TRUE(mine->lock()) << "the next owner learns that the previous one died";
    mine->unlock();
    EXPECT_FALSE(mine->lock()) << "and only once";
    mine->unlock();
    EXPECT_TRUE(NamedMutex::remove(name));
}

TEST(NamedMutex, ExcludesAcrossProcesses) {
    const std::string name = unique_name() + "x";
    auto mine = NamedMutex::open(name, nullptr);
    ASSERT_TRUE(mine);
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    mine->lock();
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        auto theirs = NamedMutex::open(name, nullptr);
        char c = 1;
        if (!theirs || ::write(ready[1], &c, 1) != 1) ::_exit(2);
        theirs->lock();  // blocks until the parent lets go
        c = 2;
        ::_exit(::write(ready[1], &c, 1) == 1 ? 0 : 3);
    }
    char c = 0;
    ASSERT_EQ(::read(ready[0], &c, 1), 1);
    pollfd p{ready[0], POLLIN, 0};
    EXPECT_EQ(::poll(&p, 1, 100), 0) << "the child got the mutex while this process held it";
    ::close(ready[1]);
    mine->unlock();
    ASSERT_EQ(::read(ready[0], &c, 1), 1);
    EXPECT_EQ(c, 2);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    ::close(ready[0]);
    NamedMutex::remove(name);
}

TEST(NamedMutex, BadNameIsAClearError) {
    std::string error;
    EXPECT_EQ(NamedMutex::open("no-leading-slash/x", &error), nullptr);
    EXPECT_NE(error.find("shm_open"), std::string::npos) << error;
}


// Fails the Nth call through the table (counting every call), with EIO.
struct Countdown {
    static inline int left = 0;
    static bool fail_now() { return --left == 0 ? (errno = EIO, true) : false; }
};

int open_fds() {
    int n = 0;
    for (int fd = 0; fd < 1024; ++fd) n += ::fcntl(fd, F_GETFD) != -1;
    return n;
}

TEST(NamedMutexFailures, EachFailingCallIsNamedAndLeaksNothing) {
    using vex::plat::named_mutex_calls;
    auto& c = named_mutex_calls();
    c.shm_open = [](const char* n, int f, mode_t m) { return Countdown::fail_now() ? -1 : ::shm_open(n, f, m); };
    c.flock = [](int fd, int op) { return Countdown::fail_now() ? -1 : ::flock(fd, op); };
    c.fstat = [](int fd, struct stat* st) { return Countdown::fail_now() ? -1 : ::fstat(fd, st); };
    c.ftruncate = [](int fd, off_t len) { return Countdown::fail_now() ? -1 : ::ftruncate(fd, len); };
    c.mmap = [](void* a, size_t l, int p, int f, int fd, off_t o) {
        return Countdown::fail_now() ? MAP_FAILED : ::mmap(a, l, p, f, fd, o);
    };
    const std::string name = unique_name() + "f";
    const int fds = open_fds();
    const char* calls[] = {"shm_open", "flock", "fstat", "ftruncate", "mmap", "flock"};
    for (int n = 1;; ++n) {
        NamedMutex::remove(name);
        Countdown::left = n;
        std::string error;
        auto m = NamedMutex::open(name, &error);
        if (m) {
            EXPECT_EQ(n, 7) << "every call of a fresh open was failed once";
            m->lock();
            m->unlock();
            break;
        }
        ASSERT_LE(n, 6);
        EXPECT_EQ(error.rfind(calls[n - 1], 0), 0u) << "call " << n << ": " << error;
        EXPECT_NE(error.find(name), std::string::npos) << error;
        EXPECT_EQ(open_fds(), fds) << "call " << n;
    }
    vex::plat::reset_named_mutex_calls();
    // A failed unlock gave its mapping up: nothing stays locked.
    auto again = NamedMutex::open(name, nullptr);
    EXPECT_TRUE(again);
    NamedMutex::remove(name);
}

}  // namespace
