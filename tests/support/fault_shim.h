// A countdown shim over the platform's call tables: makes one system call
// of one backend fail on purpose, so that a test can walk an operation
// through every failure it can meet.
//
//   Fault<&ComCalls::ioctl> f(com_table());   // installs itself
//   f.fail_nth(3, EIO);                       // the 3rd ioctl from now fails
//   ... operation ...
//   f.fired();                                // did it reach the 3rd call?
//
// fail_nth(n, e, Persist::FromThenOn) fails the nth call and every one after
// it; short_transfer(k) lets read/write-shaped calls move at most k bytes.
// The destructor puts back the entry that was there before. A call that is
// not failed goes to that entry. The counters are atomic, so a call made on
// a library thread is counted too; arm and disarm between operations.
//
// fail_each_call() is the loop the shim exists for: N = 1, 2, ... until the
// operation no longer reaches the Nth call, checking at each N the code the
// operation reports, that no descriptor or thread was left behind, and
// that the same operation works again at once with nothing failing.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>

#include "platform/linux/call_table.h"

namespace vex::test {

enum class Persist { Once, FromThenOn };

// What a failed call returns: -1 for the number-returning calls, (void*)-1
// (MAP_FAILED) for mmap.
template <typename R>
R failure_value() {
    if constexpr (std::is_pointer_v<R>)
        return reinterpret_cast<R>(static_cast<intptr_t>(-1));
    else if constexpr (std::is_void_v<R>)
        return;
    else
        return static_cast<R>(-1);
}

template <auto Member>
class Fault;

template <typename Table, typename R, typename... A, R (*Table::*Member)(A...)>
class Fault<Member> {
public:
    explicit Fault(plat::CallTable<Table>& table) : table_(table) {
        original_ = table_.now().*Member;
        disarm();
        table_.now().*Member = &trampoline;
    }
    ~Fault() { table_.now().*Member = original_; }
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    // Counts from zero again: the nth call from now fails with `err`.
    void fail_nth(long n, int err, Persist persist = Persist::Once) {
        calls_ = 0;
        failed_ = 0;
        nth_ = n;
        err_ = err;
        persist_ = persist == Persist::FromThenOn;
        short_to_ = SIZE_MAX;
    }
    // What a failed call returns, where -1 (or MAP_FAILED) is not it:
    // posix_spawn returns its error number.
    void returning(R value) { fail_value_ = value; }
    // Calls shaped like read and write move at most `bytes` each.
    void short_transfer(size_t bytes) {
        calls_ = 0;
        failed_ = 0;
        nth_ = 0;
        short_to_ = bytes;
    }
    void disarm() {
        nth_ = 0;
        short_to_ = SIZE_MAX;
    }
    long calls() const { return calls_; }
    // Calls failed since arming.
    long failed() const { return failed_; }
    bool fired() const { return failed_ > 0; }

private:
    static R trampoline(A... args) {
        const long n = ++calls_;
        const long nth = nth_;
        if (nth > 0 && (n == nth || (persist_ && n > nth))) {
            ++failed_;
            errno = err_;
            return fail_value_;
        }
        if constexpr (sizeof...(A) == 3) {
            return shortened(args...);
        } else {
            return original_(args...);
        }
    }

    template <typename B>
    static R shortened(int fd, B buf, size_t count)
        requires std::is_pointer_v<B>
    {
        const size_t limit = short_to_;
        return original_(fd, buf, count < limit ? count : limit);
    }
    template <typename... B>
    static R shortened(B... args) {
        return original_(args...);
    }

    plat::CallTable<Table>& table_;
    static inline R (*original_)(A...) = nullptr;
    static inline R fail_value_ = failure_value<R>();  // set before arming
    static inline std::atomic<long> calls_{0};
    static inline std::atomic<long> failed_{0};
    static inline std::atomic<long> nth_{0};
    static inline std::atomic<int> err_{0};
    static inline std::atomic<bool> persist_{false};
    static inline std::atomic<size_t> short_to_{SIZE_MAX};
};

// What a process holds, to find what an operation left behind.
struct Holdings {
    int descriptors = 0;
    int threads = 0;
    bool operator==(const Holdings&) const = default;
    // Holds no more of either than `o`. A failure may well let go of
    // something (a store closes its files and opens them again later).
    bool within(const Holdings& o) const { return descriptors <= o.descriptors && threads <= o.threads; }
};
Holdings holdings();
std::string describe(const Holdings& h);
// The descriptors open now and what they are, for a failure's message.
std::string open_files();
// What the process holds once it holds no more than `limit`, or after two
// seconds: threads that the library stops without waiting take a moment to
// end.
Holdings settled_holdings(const Holdings& limit);

// Runs `attempt` with the Nth call of `fault` failing (errno `err`), for N
// = 1, 2, ... until an attempt no longer reaches the Nth call. `attempt`
// does the operation, undoes whatever succeeded, and returns true when the
// operation succeeded. `check(n, ok)` asserts what the operation reported at
// N (its result and the code it recorded). After each N the process holds
// what it held before, and the operation works again with nothing failing.
// Returns the number of calls the successful attempt made.
template <typename F>
long fail_each_call(F& fault, int err, const std::function<bool()>& attempt,
                    const std::function<void(long n, bool ok)>& check) {
    const Holdings before = holdings();
    long n = 1;
    for (;; ++n) {
        fault.fail_nth(n, err);
        const bool ok = attempt();
        const bool fired = fault.fired();
        const long made = fault.calls();
        fault.disarm();
        if (!fired) {
            EXPECT_TRUE(ok) << "the operation fails with nothing failing";
            const Holdings after = settled_holdings(before);
            EXPECT_TRUE(after.within(before)) << describe(after) << " after the clean run, " << describe(before)
                                              << " before; open: " << open_files();
            return made;
        }
        check(n, ok);
        const Holdings after = settled_holdings(before);
        EXPECT_TRUE(after.within(before)) << describe(after) << " when call " << n << " failed, " << describe(before)
                                          << " before; open: " << open_files();
        EXPECT_TRUE(attempt()) << "the operation does not work again after call " << n << " failed";
        if (::testing::Test::HasFailure() || n > 1000) return n;
    }
}

}  // namespace vex::test
