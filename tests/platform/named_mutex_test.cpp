// Named robust mutexes between real processes.
#include <gtest/gtest.h>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/named_mutex.h"

namespace {

using vex::plat::NamedMutex;

std::string unique_name() { return "/vexsdk-test-mutex." + std::to_string(::getpid()); }

TEST(NamedMutex, AProcessThatDiesHoldingItDoesNotWedgeTheOthers) {
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

}  // namespace
