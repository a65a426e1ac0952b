// The registry over a store whose file I/O or memory fails: SQLite's own
// system-call table for its Unix files is given a countdown, and its heap a
// hard limit. Every failure must surface as the documented result code, and
// the store must work again as soon as the fault is gone.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "platform/target.h"
#include "tests/support/fault_shim.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

// A countdown over entries of SQLite's Unix system-call table that share a
// purpose (all the ways it writes, say): the Nth call to any of them, and
// every one after, fails with the errno given. The same interface as
// Fault<>, so fail_each_call() drives it.
class SqliteFault {
public:
    explicit SqliteFault(std::initializer_list<std::string> names) : vfs_(sqlite3_vfs_find("unix")) {
        for (const std::string& name : names) {
            for (size_t i = 0; i < std::size(kShims); ++i) {
                if (name != kShims[i].name) continue;
                real_[i] = vfs_->xGetSystemCall(vfs_, kShims[i].name);
                if (!real_[i]) continue;  // not used by this build of SQLite
                vfs_->xSetSystemCall(vfs_, kShims[i].name, kShims[i].shim);
                installed_.push_back(kShims[i].name);
            }
        }
        disarm();
    }
    ~SqliteFault() {
        for (const char* name : installed_) vfs_->xSetSystemCall(vfs_, name, nullptr);
    }
    bool any() const { return !installed_.empty(); }

    void fail_nth(long n, int err) {
        calls_ = 0;
        failed_ = 0;
        err_ = err;
        nth_ = n;
    }
    void disarm() { nth_ = 0; }
    long calls() const { return calls_; }
    bool fired() const { return failed_ > 0; }

private:
    static bool failing() {
        const long n = ++calls_;
        const long nth = nth_;
        if (nth == 0 || n < nth) return false;
        ++failed_;
        errno = err_;
        return true;
    }
    template <int I, typename R, typename... A>
    static R shim(A... a) {
        return failing() ? R(-1) : reinterpret_cast<R (*)(A...)>(real_[I])(a...);
    }
    struct Entry {
        const char* name;
        sqlite3_syscall_ptr shim;
    };
    static inline const Entry kShims[] = {
        {"open", reinterpret_cast<sqlite3_syscall_ptr>(shim<0, int, const char*, int, int>)},
        {"write", reinterpret_cast<sqlite3_syscall_ptr>(shim<1, ssize_t, int, const void*, size_t>)},
        {"pwrite", reinterpret_cast<sqlite3_syscall_ptr>(shim<2, ssize_t, int, const void*, size_t, off_t>)},
        {"pwrite64", reinterpret_cast<sqlite3_syscall_ptr>(shim<3, ssize_t, int, const void*, size_t, off64_t>)},
    };
    static inline sqlite3_syscall_ptr real_[std::size(kShims)] = {};

    sqlite3_vfs* vfs_;
    std::vector<const char*> installed_;
    static inline std::atomic<long> calls_{0};
    static inline std::atomic<long> failed_{0};
    static inline std::atomic<long> nth_{0};
    static inline std::atomic<int> err_{0};
};

using RegistryFaults = SimFixture;

constexpr const wchar_t* kValue = L"HKEY_LOCAL_MACHINE\\Faults\\Value";

// Writes a number and reads it back; true when both worked.
bool write_and_read(uint32_t number) {
    if (!vex_RegSetDWORD(kValue, number)) return false;
    return vex_RegGetDWORD(kValue) == number && vex_GetLastError() == VEX_REG_SUCCESS;
}

TEST_F(RegistryFaults, AStoreThatCannotWriteReportsIoFailureAndRecovers) {
    ASSERT_TRUE(write_and_read(1));
    SqliteFault f({"write", "pwrite", "pwrite64"});
    ASSERT_TRUE(f.any()) << "SQLite writes through none of the calls it lets us replace";
    uint32_t round = 2;
    fail_each_call(
        f, EIO, [&] { return write_and_read(round++); },
        [](long, bool ok) {
            EXPECT_FALSE(ok);
            EXPECT_EQ(vex_GetLastError(), VEX_REG_IO_FAILED);
        });
    // A full disk is an I/O failure too, and loses nothing written before.
    const uint32_t kept = vex_RegGetDWORD(kValue);
    f.fail_nth(1, ENOSPC);
    EXPECT_FALSE(vex_RegSetDWORD(kValue, 12345));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_IO_FAILED);
    f.disarm();
    EXPECT_EQ(vex_RegGetDWORD(kValue), kept);
}

TEST_F(RegistryFaults, AStoreThatCannotBeOpenedIsDeniedUntilItCan) {
    // The store in use keeps its files open until another takes its place:
    // open it first, so that the counts before and after a clean run (which
    // swaps it for the new one) compare like with like. Loading the library
    // does not open it.
    ASSERT_TRUE(write_and_read(1));
    // A store not opened yet: the next call opens it (and its journal).
    ::setenv("VEXSDK_REGISTRY", (base_dir() + "/fresh/registry.db").c_str(), 1);
    plat::reload_target();
    SqliteFault f({"open"});
    ASSERT_TRUE(f.any());
    uint32_t round = 1;
    fail_each_call(
        f, EACCES, [&] { return write_and_read(round++); },
        [](long n, bool ok) {
            EXPECT_FALSE(ok);
            const uint32_t code = vex_GetLastError();
            if (n == 1) {
                EXPECT_EQ(code, VEX_REG_ACCESS_DENIED) << "the database file itself";
            } else {
                EXPECT_TRUE(code == VEX_REG_ACCESS_DENIED || code == VEX_REG_IO_FAILED) << code;
            }
        });
    ::unsetenv("VEXSDK_REGISTRY");
    plat::reload_target();
}

TEST_F(RegistryFaults, OutOfMemoryAtAnyPointIsReportedAsSuch) {
    ASSERT_TRUE(write_and_read(1));
    if (sqlite3_memory_used() == 0) GTEST_SKIP() << "this SQLite keeps no memory statistics";
    // Allow a little more memory each round, until the call fits.
    struct HeapLimit {
        long allowance = 0;
        bool hit = false;
        void fail_nth(long n, int) {
            allowance = (n - 1) * 256;
            hit = false;
            sqlite3_hard_heap_limit64(sqlite3_memory_used() + allowance);
        }
        void disarm() { sqlite3_hard_heap_limit64(0); }
        bool fired() const { return hit; }
        long calls() const { return allowance; }
    } limit;
    uint32_t round = 2;
    long failures = 0;
    fail_each_call(
        limit, 0,
        [&] {
            const bool ok = write_and_read(round++);
            // Only an attempt that failed ran into the limit; a success
            // means the allowance sufficed and the loop is done.
            limit.hit = !ok;
            return ok;
        },
        [&](long, bool) {
            ++failures;
            EXPECT_EQ(vex_GetLastError(), VEX_REG_OUTOFMEMORY);
        });
    EXPECT_GE(failures, 1);
}

}  // namespace
}  // namespace vex::test
