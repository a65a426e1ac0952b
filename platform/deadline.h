// The one deadline helper of every blocking loop: a budget of milliseconds
// that starts now (or at a given instant), can be restarted, and tells what
// is left of it.
//
// Time is the monotonic clock in nanoseconds; every comparison works on the
// unsigned difference (now - start), so it stays right if the clock's
// counter wraps. A budget is honoured to the millisecond: expired() turns
// true once the whole budget has passed, never before, and wait_ms() rounds
// the rest up, so a poll() given it never returns before the deadline.
//
// Plain value type, no locks: each waiting thread keeps its own.
#pragma once

#include <climits>
#include <cstdint>

#include "platform/system.h"

namespace vex::plat {

class Deadline {
public:
    // No deadline at all: never expires, wait_ms() is -1 (wait without end).
    static Deadline never() { return Deadline(); }
    // `budget_ms` from now.
    static Deadline in_ms(uint32_t budget_ms) { return Deadline(budget_ms, monotonic_ns()); }

    // `budget_ms` from `start_ns` (for tests and for callers that already
    // read the clock).
    Deadline(uint32_t budget_ms, uint64_t start_ns)
        : start_ns_(start_ns), budget_ns_(static_cast<uint64_t>(budget_ms) * 1000000u), bounded_(true) {}

    bool bounded() const { return bounded_; }

    // Starts the same budget again from now / from `now_ns`.
    void restart() { restart(monotonic_ns()); }
    void restart(uint64_t now_ns) { start_ns_ = now_ns; }

    // Nanoseconds left (0 once expired); UINT64_MAX without a deadline.
    uint64_t remaining_ns(uint64_t now_ns) const {
        if (!bounded_) return UINT64_MAX;
        const uint64_t spent = now_ns - start_ns_;
        return spent >= budget_ns_ ? 0 : budget_ns_ - spent;
    }
    bool expired(uint64_t now_ns) const { return remaining_ns(now_ns) == 0; }
    bool expired() const { return expired(monotonic_ns()); }

    // What is left as a poll() time-out: milliseconds rounded up (so the
    // wait reaches the deadline), at most INT_MAX; -1 without a deadline.
    int wait_ms(uint64_t now_ns) const {
        if (!bounded_) return -1;
        const uint64_t left = remaining_ns(now_ns);
        const uint64_t ms = left / 1000000u + (left % 1000000u != 0 ? 1 : 0);
        return ms > static_cast<uint64_t>(INT_MAX) ? INT_MAX : static_cast<int>(ms);
    }
    int wait_ms() const { return wait_ms(monotonic_ns()); }

    // Milliseconds left, rounded up, for interfaces that take a 32-bit
    // millisecond bound (UINT32_MAX without a deadline).
    uint32_t remaining_ms(uint64_t now_ns) const {
        if (!bounded_) return UINT32_MAX;
        const int ms = wait_ms(now_ns);
        return static_cast<uint32_t>(ms);
    }
    uint32_t remaining_ms() const { return remaining_ms(monotonic_ns()); }

private:
    Deadline() = default;

    uint64_t start_ns_ = 0;
    uint64_t budget_ns_ = 0;
    bool bounded_ = false;
};

}  // namespace vex::plat
