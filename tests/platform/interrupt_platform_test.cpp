// The platform's interrupt services: real-time priorities, UIO devices on
// the hardware target (a FIFO standing in), and failing system calls.
#include <fcntl.h>
#include <linux/capability.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <thread>
#include <utility>

#include "frame/library.h"
#include "irq/service_thread.h"
#include "platform/interrupt.h"
#include "platform/linux/irq_calls.h"
#include "platform/system.h"
#include "platform/thread_priority.h"
#include "sim/models/models.h"
#include "tests/support/fault_shim.h"
#include "tests/support/physmem_file.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

std::atomic<int> g_calls{0};
int32_t count_and_acknowledge() {
    g_calls.fetch_add(1);
    return 0;
}

bool wait_calls(int n) {
    for (int i = 0; i < 5000 && g_calls.load() < n; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return g_calls.load() >= n;
}

TEST(Priority, ControllerScaleMapsOntoSchedFifo) {
    // The scale's ends and middle, the normal range, and values off it.
    const std::pair<int, int> scale[] = {{0, 99}, {50, 80}, {100, 60}, {247, 1}, {248, 0}, {255, 0}, {256, -1}, {-1, -1}};
    for (const auto& [level, fifo] : scale) EXPECT_EQ(plat::sched_fifo_priority(level), fifo) << level;
}

// ---- Without real-time rights (run in a child process of its own) -------

class NoRealtime : public SimFixture {};

TEST_F(NoRealtime, ChildWithoutRightsIsServedAtNormalPriority) {
    if (plat::env("VEXSDK_TEST_NO_RT").empty()) GTEST_SKIP() << "runs as the child of Priority.WithoutRealtimeRights";
    rlimit none{0, 0};
    ASSERT_EQ(::setrlimit(RLIMIT_RTPRIO, &none), 0);
    __user_cap_header_struct head{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct caps[2] = {};
    ASSERT_EQ(::syscall(SYS_capget, &head, caps), 0);
    caps[0].effective &= ~(1u << CAP_SYS_NICE);
    caps[0].permitted &= ~(1u << CAP_SYS_NICE);
    ASSERT_EQ(::syscall(SYS_capset, &head, caps), 0);

    ASSERT_TRUE(vex_RegisterSlotInterrupt(1, count_and_acknowledge));
    EXPECT_FALSE(vex_SetSlotInterruptPriority(1, 100));
    EXPECT_TRUE(vex_SetSlotInterruptPriority(1, 250));
    vex_EnableSlotInterrupt(1, 1);
    const uint64_t now = sim().now_ns();
    sim().with_lock([now](sim::State& s) {
        sim::models::slot_line_pulse(s, 1, sim::models::Pulse::Full, now);
        return 0;
    });
    EXPECT_TRUE(wait_calls(1));
}

TEST(Priority, WithoutRealtimeRights) {
    ::setenv("VEXSDK_TEST_NO_RT", "1", 1);
    const ProcessResult r = run_process({plat::executable_path(), "--gtest_filter=NoRealtime.*"});
    ::unsetenv("VEXSDK_TEST_NO_RT");
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_NE(r.output.find("[  PASSED  ] 1 test"), std::string::npos) << r.output;
}

// ---- The hardware target's UIO devices -----------------------------------

constexpr uint64_t kWindow = 0x17000000;

class Uio : public ::testing::Test {
protected:
    void SetUp() override {
        mem.poke8(kWindow + 0x9046, 0x07);  // eight slots
        ASSERT_EQ(::mkfifo((mem.dir() + "/vex-slot2").c_str(), 0600), 0);
        ::setenv("VEXSDK_UIO", mem.dir().c_str(), 1);
        mem.attach_library();
    }
    void TearDown() override {
        mem.detach_library();
        ::unsetenv("VEXSDK_UIO");
    }
    PhysMemFile mem;
};

TEST_F(Uio, InterruptsArriveThroughTheDeviceAndAreAcknowledgedOnTheBus) {
    g_calls = 0;
    ASSERT_TRUE(vex_RegisterSlotInterrupt(2, count_and_acknowledge));
    vex_EnableSlotInterrupt(2, 1);
    EXPECT_EQ(mem.peek8(kWindow + 0x9010), 0x04);
    const int device = ::open((mem.dir() + "/vex-slot2").c_str(), O_WRONLY | O_NONBLOCK);
    ASSERT_GE(device, 0);
    const uint32_t count = 1;
    ASSERT_EQ(::write(device, &count, 4), 4);
    ASSERT_TRUE(wait_calls(1));
    for (int i = 0; i < 5000 && mem.peek8(kWindow + 0x9006) != 0xFF; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(mem.peek8(kWindow + 0x9012), 0x04) << "the latch bit written";
    EXPECT_EQ(mem.peek8(kWindow + 0x9006), 0xFF) << "then the end of interrupt";
    ::close(device);
    EXPECT_TRUE(vex_UnregisterSlotInterrupt(2));
}

// A code no call of the library records, to see that none was recorded.
constexpr uint32_t kUntouched = 0x5EED;

// Registers slot 2; a failed registration is undone by the program too (it
// was never registered, so unregistering says FALSE). Service threads are
// joined later, holding their event until then.
bool register_slot(uint32_t& code) {
    vex_SetLastError(kUntouched);
    const bool ok = vex_RegisterSlotInterrupt(2, count_and_acknowledge);
    if (!ok) code = vex_GetLastError();
    EXPECT_EQ(vex_UnregisterSlotInterrupt(2), ok ? VEX_TRUE : VEX_FALSE);
    EXPECT_EQ(irq::settle_service_threads(5000), 0);
    return ok;
}

TEST_F(Uio, ADeviceMissingOrThatCannotBeOpenedFailsTheRegistrationAndNothingElse) {
    EXPECT_FALSE(vex_RegisterSlotInterrupt(3, count_and_acknowledge)) << "no vex-slot3";
    std::string why;
    const int event = ::eventfd(0, 0);
    EXPECT_FALSE(plat::bind_interrupt(plat::kIrqSlot0 + 3, event, &why));
    EXPECT_NE(why.find("vex-slot3"), std::string::npos) << why;
    ::close(event);

    uint32_t code = 0;
    // The first registration starts the dispatch thread, which stays.
    ASSERT_TRUE(register_slot(code));
    Fault<&plat::IrqCalls::open> f(plat::irq_table());
    const long calls = fail_each_call(
        f, EACCES, [&] { return register_slot(code); },
        [&](long n, bool ok) {
            EXPECT_FALSE(ok) << "open " << n;
            EXPECT_EQ(code, kUntouched) << "the registration fails without a code";
        });
    EXPECT_EQ(calls, 1);
}

// Reads of one descriptor fail with EIO while g_failing_fd names it.
std::atomic<int> g_failing_fd{-1};
std::atomic<long> g_failed_reads{0};
ssize_t (*g_real_read)(int, void*, size_t) = nullptr;
ssize_t failing_read(int fd, void* buf, size_t n) {
    if (fd != g_failing_fd.load()) return g_real_read(fd, buf, n);
    g_failed_reads.fetch_add(1);
    errno = EIO;
    return -1;
}

// The descriptor of this process open on `path`, or -1.
int descriptor_of(const std::string& path) {
    for (int fd = 0; fd < 1024; ++fd) {
        char link[64], target[512] = {};
        std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
        const ssize_t n = ::readlink(link, target, sizeof target - 1);
        if (n > 0 && path == target) return fd;
    }
    return -1;
}

TEST_F(Uio, FailingReadsLoseNoInterruptAndDoNotSpin) {
    g_calls = 0;
    g_real_read = plat::irq_calls().read;
    plat::irq_calls().read = failing_read;  // before any thread of the backend runs
    ASSERT_TRUE(vex_RegisterSlotInterrupt(2, count_and_acknowledge));
    vex_EnableSlotInterrupt(2, 1);
    const std::string fifo = mem.dir() + "/vex-slot2";
    const int device = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(device, 0);
    g_failing_fd = descriptor_of(fifo);
    ASSERT_GE(g_failing_fd.load(), 0);
    const uint32_t count = 1;
    ASSERT_EQ(::write(device, &count, sizeof count), 4);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(g_calls.load(), 0);
    EXPECT_GE(g_failed_reads.load(), 1);
    // A waiter that took it again at once would have read thousands of times.
    EXPECT_LT(g_failed_reads.load(), 100) << "reads retried without a pause";
    g_failing_fd = -1;
    EXPECT_TRUE(wait_calls(1)) << "the interrupt was lost";
    EXPECT_EQ(g_calls.load(), 1);
    ::close(device);
    EXPECT_TRUE(vex_UnregisterSlotInterrupt(2));
    EXPECT_EQ(irq::settle_service_threads(5000), 0);
    // The shim stays: disarmed it passes every read on, and the dispatch
    // thread that calls through it runs until the library unloads.
}

// ---- System calls that fail ------------------------------------------------

// Fails the Nth call of the interrupt backend with EMFILE, once.
int g_fail_at = 0;
int g_seen = 0;
plat::IrqCalls g_real;

bool fail_now() {
    if (++g_seen != g_fail_at) return false;
    errno = EMFILE;
    return true;
}
int shim_eventfd(unsigned v, int f) { return fail_now() ? -1 : g_real.eventfd(v, f); }
int shim_socket(int d, int t, int p) { return fail_now() ? -1 : g_real.socket(d, t, p); }
int shim_bind(int fd, const sockaddr* a, socklen_t l) { return fail_now() ? -1 : g_real.bind(fd, a, l); }
int shim_timerfd(int c, int f) { return fail_now() ? -1 : g_real.timerfd_create(c, f); }
int shim_epoll(int f) { return fail_now() ? -1 : g_real.epoll_create1(f); }
int shim_epoll_ctl(int e, int op, int fd, epoll_event* ev) { return fail_now() ? -1 : g_real.epoll_ctl(e, op, fd, ev); }
int shim_fcntl(int fd, int cmd, ...) {
    va_list ap;
    va_start(ap, cmd);
    const int arg = va_arg(ap, int);
    va_end(ap);
    return fail_now() ? -1 : g_real.fcntl(fd, cmd, arg);
}

using FailingCalls = SimFixture;

TEST_F(FailingCalls, RegistrationFailsCleanlyAtEveryStep) {
    g_real = plat::irq_calls();
    frame::library_detach();
    const int baseline = holdings().descriptors;
    int failures = 0;
    for (g_fail_at = 1; g_fail_at < 64; ++g_fail_at) {
        g_seen = 0;
        plat::IrqCalls& c = plat::irq_calls();
        c.eventfd = shim_eventfd;
        c.socket = shim_socket;
        c.bind = shim_bind;
        c.timerfd_create = shim_timerfd;
        c.epoll_create1 = shim_epoll;
        c.epoll_ctl = shim_epoll_ctl;
        c.fcntl = shim_fcntl;
        frame::library_attach();
        const bool ok = vex_RegisterSlotInterrupt(1, count_and_acknowledge);
        frame::library_detach();
        plat::reset_irq_calls();
        EXPECT_EQ(holdings().descriptors, baseline) << "after failing call " << g_fail_at;
        if (ok && g_seen < g_fail_at) break;  // every call succeeded this time
        failures += !ok;
    }
    EXPECT_GT(failures, 5) << "each step of the registration can fail";
    EXPECT_LT(g_fail_at, 64);
    frame::library_attach();
}

}  // namespace
}  // namespace vex::test
