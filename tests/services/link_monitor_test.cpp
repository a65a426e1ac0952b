// The Ethernet link monitor on the virtual controller: the state at start,
// changes made by vexsim in another process, the adapter mapping, and a
// monitor that cannot start or loses its source.
#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include "frame/library.h"
#include "platform/linux/service_calls.h"
#include "services/link_monitor.h"
#include "tests/services/services_fixture.h"
#include "tests/support/physmem_file.h"
#include "vexsdk.h"

namespace {

using vex::test::await_link;
using vex::test::has_text;
using vex::test::link_state;

int open_descriptors() {
    int n = 0;
    if (DIR* d = ::opendir("/proc/self/fd")) {
        while (::readdir(d)) ++n;
        ::closedir(d);
    }
    return n;
}

class SimLink : public vex::test::ServicesFixture {
protected:
    void TearDown() override {
        ServicesFixture::TearDown();  // the monitor thread ends before its calls change
        vex::plat::oscalls::reset_calls();
    }
    void restart_monitor() {
        vex::services::stop_link_monitor();
        vex::services::start_link_monitor();
    }
};

TEST_F(SimLink, CablesPluggedBeforeStartReportAtOnce) {
    EXPECT_EQ(link_state(1), 1u) << "eth0 is described up";
    EXPECT_EQ(link_state(2), 0u);
    EXPECT_EQ(vex::services::monitored_interface(1), "eth0");
    EXPECT_EQ(vex::services::monitored_interface(2), "eth1");
    uint8_t untouched = 0x5A;
    EXPECT_EQ(vex_EthernetLinkState(0, &untouched), 0);
    EXPECT_EQ(vex_EthernetLinkState(3, &untouched), 0);
    EXPECT_EQ(vex_EthernetLinkState(255, nullptr), 0);
    EXPECT_EQ(untouched, 0x5A);
    EXPECT_EQ(vex_EthernetLinkState(1, nullptr), -1);
}

TEST_F(SimLink, ChangesMadeByVexsimAreHeard) {
    EXPECT_EQ(vex::test::run_vexsim({"set", "link", "LAN2", "up"}).status, 0);
    EXPECT_TRUE(await_link(2, 1));
    EXPECT_EQ(vex::test::run_vexsim({"set", "link", "eth0", "down"}).status, 0);
    EXPECT_TRUE(await_link(1, 0));
    EXPECT_EQ(link_state(2), 1u);
    EXPECT_TRUE(has_text(vex::test::run_vexsim({"show"}).output, "link eth0: down"));

    const auto bad = vex::test::run_vexsim({"set", "link", "eth7", "up"});
    EXPECT_EQ(bad.status, 1);
    EXPECT_TRUE(has_text(bad.output, "no adapter 'eth7'; it has eth0, eth1"));
    EXPECT_EQ(vex::test::run_vexsim({"set", "link", "LAN1", "sideways"}).status, 2);
}

TEST_F(SimLink, BothAdaptersMayStandForOneInterface) {
    vex::test::set_reg_text(L"HKEY_LOCAL_MACHINE\\VORLAN\\Ethernet\\LAN2", "eth0");
    restart_monitor();
    EXPECT_EQ(link_state(1), 1u);
    EXPECT_EQ(link_state(2), 1u);
    EXPECT_EQ(vex::test::run_vexsim({"set", "link", "LAN2", "down"}).status, 0) << "vexsim reads the same mapping";
    EXPECT_TRUE(await_link(1, 0));
    EXPECT_EQ(link_state(2), 0u);
}

TEST_F(SimLink, MappingThatIsNoTextNamesNoInterface) {
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\VORLAN\\Ethernet\\LAN1", 0));
    restart_monitor();
    EXPECT_EQ(vex::services::monitored_interface(1), "");
    EXPECT_EQ(link_state(1), 0u);
}

TEST_F(SimLink, NoMonitorNoAnswer) {
    vex::frame::library_detach();
    uint8_t up = 0x5A;
    EXPECT_EQ(vex_EthernetLinkState(1, &up), -2);
    EXPECT_EQ(up, 0x5A);
    vex::frame::library_attach();
    EXPECT_EQ(link_state(1), 1u);
}

// Fails the Nth of the calls a monitor makes to start, once.
int g_countdown = 0;
bool due() { return --g_countdown == 0; }
int failing_inotify_init1(int flags) {
    if (due()) return errno = EMFILE, -1;
    return ::inotify_init1(flags);
}
int failing_inotify_add_watch(int fd, const char* path, uint32_t mask) {
    if (due()) return errno = ENOSPC, -1;
    return ::inotify_add_watch(fd, path, mask);
}
int failing_eventfd(unsigned int value, int flags) {
    if (due()) return errno = EMFILE, -1;
    return ::eventfd(value, flags);
}

TEST_F(SimLink, MonitorThatCannotStartAnswersFromItsEmptyRecord) {
    namespace oc = vex::plat::oscalls;
    vex::services::stop_link_monitor();  // no thread reads the table while it changes
    ASSERT_TRUE(oc::set_call("inotify_init1", reinterpret_cast<void*>(failing_inotify_init1)));
    ASSERT_TRUE(oc::set_call("inotify_add_watch", reinterpret_cast<void*>(failing_inotify_add_watch)));
    ASSERT_TRUE(oc::set_call("eventfd", reinterpret_cast<void*>(failing_eventfd)));
    for (int n = 1;; ++n) {
        vex::services::stop_link_monitor();
        const int before = open_descriptors();
        g_countdown = n;
        vex::services::start_link_monitor();
        const bool started = vex::services::link_monitor_problem().empty();
        if (started) {
            EXPECT_EQ(n, 4) << "three calls can fail";
            EXPECT_EQ(link_state(1), 1u);
            break;
        }
        EXPECT_TRUE(has_text(vex::services::link_monitor_problem(), "failed")) << "call " << n;
        EXPECT_EQ(link_state(1), 0u) << "a monitor that could not start answers 0, not -2";
        EXPECT_EQ(open_descriptors(), before) << "nothing leaks when call " << n << " fails";
        ASSERT_LT(n, 10);
    }
}

TEST_F(SimLink, InstanceDestroyedUnderTheMonitor) {
    vex::sim::Instance::destroy(instance_name());  // the doorbell goes with the directory
    vex::services::stop_link_monitor();            // must not hang
    vex::services::start_link_monitor();
    EXPECT_TRUE(has_text(vex::services::link_monitor_problem(), "links.bell"));
    EXPECT_EQ(link_state(1), 0u);
}

#if defined(__SANITIZE_THREAD__)
constexpr bool kThreadSanitizer = true;
#else
constexpr bool kThreadSanitizer = false;
#endif

TEST_F(SimLink, ForkedChildMonitorsOnItsOwnAndLeavesTheParentsAlone) {
    if (kThreadSanitizer) GTEST_SKIP() << "ThreadSanitizer refuses threads in a child of a threaded process";
    if (vex::test::under_emulator())
        GTEST_SKIP() << "user-mode qemu aborts when a forked child of a threaded process starts a thread";
    // Fork once the parent's monitor has settled in its wait: AddressSanitizer
    // (of Clang 14) does not hold its allocator across fork(), so a child
    // forked while the monitor thread is still starting up (allocating)
    // deadlocks at its first allocation of that size.
    ASSERT_TRUE(await_link(1, 1));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        uint8_t up = 0;
        int code = vex_EthernetLinkState(1, &up) == 0 && up == 1 ? 0 : 1;  // starts the child's own monitor
        if (vex::services::link_monitor_problem() != "") code = 2;
        vex::services::stop_link_monitor();  // as unload does: must not stop the parent's
        ::_exit(code);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "child status " << status;
    EXPECT_EQ(vex::test::run_vexsim({"set", "link", "LAN2", "up"}).status, 0);
    EXPECT_TRUE(await_link(2, 1)) << "the parent's monitor still runs";
}

TEST(HwLink, AtRestTheLibraryHoldsOneThread) {
    std::thread([] {}).join();  // a sanitizer's helper thread, if any, starts now
    // The count once it has held for 20 ms: a joined thread may leave its
    // task entry a moment later (under qemu-arm, noticeably so).
    auto threads = [] {
        auto count = [] {
            int n = 0;
            for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator("/proc/self/task")) ++n;
            return n;
        };
        int n = count();
        for (int i = 0; i < 50; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            const int again = count();
            if (again == n) break;
            n = again;
        }
        return n;
    };
    const int before = threads();
    vex::test::PhysMemFile mem;
    mem.attach_library();
    EXPECT_EQ(threads() - before, 1) << "the link monitor, and nothing else";
    EXPECT_EQ(vex::services::link_monitor_problem(), "");
    mem.detach_library();
    EXPECT_EQ(threads(), before);
}

}  // namespace
