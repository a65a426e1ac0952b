// Starting a thread of the library: every service thread (interrupt
// dispatch, interrupt and timer services, the buzzer, line-status monitors)
// is started here, so that a system out of threads is one failure the
// caller reports, not an exception, and so that tests can make it happen.
//
// start_thread() runs `body` on a new thread held by `out` (which must not
// hold a running thread) and returns true; or starts nothing, leaves `out`
// and `body` as they were and returns false (errno says why). Thread-safe.
#pragma once

#include <functional>
#include <thread>

namespace vex::plat {

bool start_thread(std::thread& out, std::function<void()>& body);

// For a body written in place.
template <typename F>
bool start_thread(std::thread& out, F&& f) {
    std::function<void()> body(std::forward<F>(f));
    return start_thread(out, body);
}

}  // namespace vex::plat
