// A mutex that knows which thread holds it, so that a function written to
// run with a lock held can say so in code: VEX_ASSERT_HELD(m) stops a debug
// build (and the sanitizer builds, which are debug builds) at once when the
// calling thread does not hold `m`; release builds check nothing.
//
// Otherwise a plain std::mutex: not recursive, constant-initialised (usable
// as a global that static destructors may still reach), and usable with
// std::lock_guard and std::unique_lock. It cannot serve a
// std::condition_variable; a structure that waits on its lock keeps a
// std::mutex and states its rules in words.
#pragma once

#include <atomic>
#include <cassert>
#include <mutex>

namespace vex::plat {

class CheckedMutex {
public:
    constexpr CheckedMutex() = default;
    CheckedMutex(const CheckedMutex&) = delete;
    CheckedMutex& operator=(const CheckedMutex&) = delete;

    void lock() {
        mutex_.lock();
        owner_.store(self(), std::memory_order_relaxed);
    }
    bool try_lock() {
        if (!mutex_.try_lock()) return false;
        owner_.store(self(), std::memory_order_relaxed);
        return true;
    }
    void unlock() {
        owner_.store(nullptr, std::memory_order_relaxed);
        mutex_.unlock();
    }
    // True when the calling thread holds the mutex. Only that thread can
    // have stored its own mark, so a relaxed load suffices.
    bool held() const { return owner_.load(std::memory_order_relaxed) == self(); }

private:
    // A mark unique to the calling thread: the address of one of its
    // thread-local objects.
    static const void* self() {
        static thread_local const char mark = 0;
        return &mark;
    }

    std::mutex mutex_;
    std::atomic<const void*> owner_{nullptr};
};

}  // namespace vex::plat

#define VEX_ASSERT_HELD(m) assert((m).held())
