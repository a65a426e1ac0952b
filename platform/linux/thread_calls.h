// The thread-creation call of the platform, in a table of the common
// pattern (platform/linux/call_table.h), so that tests can refuse a thread
// (EAGAIN, as when the process is at its thread limit) at any start.
//
// Change the table only while no thread of the library is being started.
#pragma once

#include <functional>
#include <thread>

#include "platform/linux/call_table.h"

namespace vex::plat {

struct ThreadCalls {
    // 0 with `body` moved onto a new thread held by `out`, or -1 with errno
    // set and both untouched.
    int (*create)(std::thread* out, std::function<void()>* body);
};

CallTable<ThreadCalls>& thread_table();

}  // namespace vex::plat
