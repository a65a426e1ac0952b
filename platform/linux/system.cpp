// Clocks, sleeps, the thread id, the program's path and the system log.
// None of these calls is in a call table, on purpose: CLOCK_MONOTONIC with
// a valid buffer, gettid and sched_yield cannot fail; nanosleep fails only
// with EINTR, which is retried; readlink of /proc/self/exe and syslog fail
// into an empty answer or a lost line, which no caller can act on. The
// clock is read on every deadline check and stays a direct call.
#include "platform/system.h"

#include <sched.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "platform/fork.h"

namespace vex::plat {

namespace {

// The calling thread's kernel id, asked once per thread: every export that
// records a result asks for it, and the system call would otherwise be a
// fifth of a serial exchange's calls. 0 (no thread's id) means not asked
// yet. A child made by fork() is its forking thread under a new id, so it
// forgets the inherited one.
thread_local uint32_t t_thread_id = 0;

void forget_thread_id() { t_thread_id = 0; }

}  // namespace

uint32_t current_thread_id() {
    if (t_thread_id == 0) [[unlikely]] {
        static const bool watching_fork = (on_fork(nullptr, nullptr, forget_thread_id), true);
        (void)watching_fork;
        t_thread_id = static_cast<uint32_t>(::syscall(SYS_gettid));
    }
    return t_thread_id;
}

uint64_t monotonic_ns() {
    timespec ts{};
    ::clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<uint64_t>(ts.tv_sec) * 1000000000ull + static_cast<uint64_t>(ts.tv_nsec);
}

uint32_t tick_count_ms() { return static_cast<uint32_t>(monotonic_ns() / 1000000ull); }

void sleep_ms(uint32_t ms) {
    timespec ts{static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000L};
    while (::nanosleep(&ts, &ts) != 0 && errno == EINTR) {
    }
}

void yield_thread() { ::sched_yield(); }

std::string executable_path() {
    std::vector<char> buf(256);
    for (;;) {
        const ssize_t n = ::readlink("/proc/self/exe", buf.data(), buf.size());
        if (n < 0) return {};
        if (static_cast<size_t>(n) < buf.size()) return std::string(buf.data(), static_cast<size_t>(n));
        if (buf.size() > 65536) return {};
        buf.resize(buf.size() * 2);
    }
}

std::string env(const char* name) {
    const char* v = std::getenv(name);
    return v ? std::string(v) : std::string();
}

void log_problem(const std::string& text) {
    // LOG_PID without openlog(): the process's own syslog identity stays as
    // the program set it.
    ::syslog(LOG_USER | LOG_WARNING, "vexsdk: %s", text.c_str());
}

}  // namespace vex::plat
