// Shared locks refuse processes of another word size: a 32-bit and a 64-bit
// program on one PC would otherwise read each other's lock fields wrongly.
// The other word size is forged here by rewriting the maker's tag; the
// armhf suite also meets a real one (tests/cross_arch_test.sh).
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "platform/named_mutex.h"
#include "platform/shared_section.h"

namespace {

using vex::plat::NamedMutex;
using vex::plat::ProcessMutex;

constexpr size_t kTagAt = 60;  // the maker's tag: last word of the lock's storage
const std::string kOwnBits = std::to_string(sizeof(void*) * 8);
const std::string kOtherBits = sizeof(void*) == 8 ? "32" : "64";

// Rewrites the word-size byte of a tag, as a process of the other size
// would have written it.
void forge_other_word_size(unsigned char* lock_storage) {
    lock_storage[kTagAt + 1] = sizeof(void*) == 8 ? 32 : 64;
}

TEST(WordSize, ALockKnowsItsMaker) {
    alignas(8) unsigned char raw[sizeof(ProcessMutex)] = {};
    auto* lock = reinterpret_cast<ProcessMutex*>(raw);
    EXPECT_FALSE(lock->compatible()) << "storage nobody initialised";
    EXPECT_EQ(lock->maker(), "an unknown process");

    lock->init();
    EXPECT_TRUE(lock->compatible());
    EXPECT_EQ(lock->maker(), "a " + kOwnBits + "-bit process");
    lock->lock();
    lock->unlock();

    forge_other_word_size(raw);
    EXPECT_FALSE(lock->compatible());
    EXPECT_EQ(lock->maker(), "a " + kOtherBits + "-bit process");
}

TEST(WordSize, ANamedMutexOfTheOtherWordSizeIsRefusedWithItsMaker) {
    const std::string name = "/vexsdk-test-wordsize." + std::to_string(::getpid());
    std::string error;
    ASSERT_TRUE(NamedMutex::open(name, &error)) << error;

    const int fd = ::shm_open(name.c_str(), O_RDWR, 0);
    ASSERT_GE(fd, 0);
    void* p = ::mmap(nullptr, 72, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    ::close(fd);
    ASSERT_NE(p, MAP_FAILED);
    forge_other_word_size(static_cast<unsigned char*>(p) + 8);

    EXPECT_FALSE(NamedMutex::open(name, &error));
    EXPECT_NE(error.find(name), std::string::npos) << error;
    EXPECT_NE(error.find("a " + kOtherBits + "-bit process"), std::string::npos) << error;

    // Refused, not re-made: the other process's lock is left as it was.
    EXPECT_EQ(static_cast<unsigned char*>(p)[8 + kTagAt + 1], sizeof(void*) == 8 ? 32 : 64);
    ::munmap(p, 72);
    NamedMutex::remove(name);
}

}  // namespace
