// Controller services whose system calls fail, on the hardware target (a
// file standing in for physical memory): the link monitor over the kernel's
// routing netlink, and the registry's save.
#include <gtest/gtest.h>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/if.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "frame/library.h"
#include "platform/linux/registry_calls.h"
#include "platform/linux/service_calls.h"
#include "services/link_monitor.h"
#include "tests/support/fault_shim.h"
#include "tests/support/physmem_file.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

using plat::RegistryCalls;
using plat::oscalls::ServiceCalls;

constexpr uint64_t kWindow = 0x17000000;
constexpr uint32_t kUntouched = 0x5EED;

bool has(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

// Waits up to five seconds for `done`, looking every millisecond.
template <typename F>
bool eventually(F done) {
    for (int i = 0; i < 5000; ++i) {
        if (done()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return done();
}

class HwServices : public ::testing::Test {
protected:
    void SetUp() override {
        mem.poke8(kWindow + 0x9046, 0x07);  // eight slots
        mem.attach_library();
    }
    void TearDown() override {
        services::stop_link_monitor();  // no thread calls through the tables as they are restored
        plat::oscalls::reset_calls();
        services::start_link_monitor();
    }
    PhysMemFile mem;
};

// ---- The link monitor ------------------------------------------------------

struct MonitorStart {
    std::string problem;
    int32_t answer = 0;
    uint8_t state = 0xEE;
};

// Starts the monitor, notes what it said and answered, and stops it.
bool start_and_stop(MonitorStart& seen) {
    services::start_link_monitor();
    seen.problem = services::link_monitor_problem();
    seen.state = 0xEE;
    seen.answer = vex_EthernetLinkState(1, &seen.state);
    services::stop_link_monitor();
    return seen.problem.empty();
}

template <auto Member>
void each_start_call_fails(int err, bool survivable = false) {
    Fault<Member> f(plat::oscalls::table());
    MonitorStart seen;
    fail_each_call(
        f, err, [&] { return start_and_stop(seen); },
        [&](long n, bool ok) {
            EXPECT_EQ(seen.answer, 0) << "a monitor that could not start still answers";
            if (ok) return;  // the thread's own call, or a loss the monitor recovered from
            EXPECT_EQ(seen.state, 0) << "and says the link is down";
            EXPECT_FALSE(survivable) << "call " << n << ": " << seen.problem;
            EXPECT_TRUE(has(seen.problem, " failed: ") || has(seen.problem, "link dump"))
                << "call " << n << " failed and the problem says: " << seen.problem;
        });
}

TEST_F(HwServices, ALinkMonitorRefusedAtAnyStartCallSaysWhyAndLeavesNothing) {
    services::stop_link_monitor();
    each_start_call_fails<&ServiceCalls::socket>(EAFNOSUPPORT);
    each_start_call_fails<&ServiceCalls::bind>(EPERM);
    each_start_call_fails<&ServiceCalls::eventfd>(EMFILE);
    each_start_call_fails<&ServiceCalls::sendto>(ENOBUFS);
    each_start_call_fails<&ServiceCalls::poll>(ENOMEM);
    each_start_call_fails<&ServiceCalls::recvfrom>(EIO);
    // Notifications the kernel could not queue: the state is asked for again.
    each_start_call_fails<&ServiceCalls::recvfrom>(ENOBUFS, true);
}

// A running monitor fed by a script: the monitor thread's poll reports the
// socket readable when a test asks, and its reads take their results from
// the script before the kernel's.
struct Scripted {
    enum Kind { Message, Error };
    Kind kind;
    std::vector<uint8_t> bytes;  // a datagram
    int err = 0;
};
std::mutex g_script_mutex;
std::deque<Scripted> g_script;
std::atomic<bool> g_nudge{false};
std::atomic<int> g_dumps{0};
ServiceCalls g_real;

int scripted_poll(pollfd* p, nfds_t n, int timeout_ms) {
    if (n != 2) return g_real.poll(p, n, timeout_ms);  // not the waiting thread
    // Waits in slices so that a nudge is seen while nothing else arrives.
    for (;;) {
        if (g_nudge.exchange(false)) {
            p[0].revents = 0;
            p[1].revents = POLLIN;
            return 1;
        }
        const int r = g_real.poll(p, n, 5);
        if (r != 0) return r;
    }
}

ssize_t scripted_recvfrom(int fd, void* buf, size_t len, int flags, sockaddr* from, socklen_t* from_len) {
    std::unique_lock<std::mutex> lock(g_script_mutex);
    if (g_script.empty()) {
        lock.unlock();
        return g_real.recvfrom(fd, buf, len, flags, from, from_len);
    }
    const Scripted s = g_script.front();
    g_script.pop_front();
    if (s.kind == Scripted::Error) {
        errno = s.err;
        return -1;
    }
    std::memset(from, 0, *from_len);  // from the kernel
    reinterpret_cast<sockaddr_nl*>(from)->nl_family = AF_NETLINK;
    const size_t n = std::min(len, s.bytes.size());
    std::memcpy(buf, s.bytes.data(), n);
    return static_cast<ssize_t>(n);
}

ssize_t counting_sendto(int fd, const void* buf, size_t len, int flags, const sockaddr* to, socklen_t to_len) {
    g_dumps.fetch_add(1);
    return g_real.sendto(fd, buf, len, flags, to, to_len);
}

// A link message as the kernel sends it: RTM_NEWLINK with the carrier
// flag, or RTM_DELLINK for an interface that went away.
std::vector<uint8_t> link_message(uint16_t type, const char* name, bool carrier) {
    const size_t name_len = std::strlen(name) + 1;
    const size_t attr = RTA_LENGTH(name_len);
    const size_t total = NLMSG_LENGTH(sizeof(ifinfomsg)) + RTA_ALIGN(attr);
    std::vector<uint8_t> out(NLMSG_ALIGN(total));
    auto* h = reinterpret_cast<nlmsghdr*>(out.data());
    h->nlmsg_len = static_cast<uint32_t>(total);
    h->nlmsg_type = type;
    auto* info = static_cast<ifinfomsg*>(NLMSG_DATA(h));
    info->ifi_flags = carrier ? IFF_UP | IFF_LOWER_UP : IFF_UP;
    auto* a = IFLA_RTA(info);
    a->rta_type = IFLA_IFNAME;
    a->rta_len = static_cast<uint16_t>(attr);
    std::memcpy(RTA_DATA(a), name, name_len);
    return out;
}

void feed(Scripted s) {
    {
        std::lock_guard<std::mutex> lock(g_script_mutex);
        g_script.push_back(std::move(s));
    }
    g_nudge = true;
}

uint8_t lan1() {
    uint8_t up = 0xEE;
    EXPECT_EQ(vex_EthernetLinkState(1, &up), 0);
    return up;
}

bool await_lan1(uint8_t up) {
    uint32_t seen = services::link_changes();
    for (int i = 0; i < 50 && lan1() != up; ++i) seen = services::wait_for_link_change(seen, 100);
    return lan1() == up;
}

TEST_F(HwServices, ARunningMonitorFollowsLossesAndVanishingInterfacesAndEndsOnAFailedSocket) {
    ASSERT_TRUE(vex_RegSetString(L"HKEY_LOCAL_MACHINE\\VORLAN\\Ethernet\\LAN1", L"vexfake0", 9 * sizeof(wchar_t)));
    services::stop_link_monitor();
    // Once round, unscripted: reading the adapter names opens the registry
    // again, and SQLite keeps a descriptor it may not close while this
    // process holds locks on the same file (it reuses it for the next open).
    services::start_link_monitor();
    services::stop_link_monitor();
    g_real = plat::oscalls::calls();
    plat::oscalls::calls().poll = scripted_poll;
    plat::oscalls::calls().recvfrom = scripted_recvfrom;
    plat::oscalls::calls().sendto = counting_sendto;
    const Holdings idle = holdings();
    const std::string idle_files = open_files();
    services::start_link_monitor();
    ASSERT_EQ(services::link_monitor_problem(), "");
    ASSERT_EQ(services::monitored_interface(1), "vexfake0");
    EXPECT_EQ(lan1(), 0);

    feed({Scripted::Message, link_message(RTM_NEWLINK, "vexfake0", true)});
    EXPECT_TRUE(await_lan1(1)) << "carrier came";
    feed({Scripted::Message, link_message(RTM_DELLINK, "vexfake0", true)});
    EXPECT_TRUE(await_lan1(0)) << "an interface that goes away is down";

    // Notifications lost: the monitor asks for the whole state again.
    const int dumps = g_dumps.load();
    feed({Scripted::Error, {}, ENOBUFS});
    EXPECT_TRUE(eventually([&] { return g_dumps.load() > dumps; })) << "no new dump asked for";
    feed({Scripted::Message, link_message(RTM_NEWLINK, "vexfake0", true)});
    EXPECT_TRUE(await_lan1(1)) << "the socket still listens after a loss";

    // A socket that fails for good is let go; the monitor keeps its last
    // answer and stops at once when asked.
    const Holdings running = holdings();
    feed({Scripted::Error, {}, EIO});
    EXPECT_TRUE(eventually([&] { return holdings().descriptors == running.descriptors - 1; }))
        << "the failed socket was not closed: " << describe(holdings());
    EXPECT_EQ(lan1(), 1);
    const auto t0 = std::chrono::steady_clock::now();
    services::stop_link_monitor();
    EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(2)) << "stopping waited";
    EXPECT_TRUE(settled_holdings(idle).within(idle))
        << describe(holdings()) << " vs " << describe(idle) << "; open: " << open_files() << " vs " << idle_files;
    std::lock_guard<std::mutex> lock(g_script_mutex);
    EXPECT_TRUE(g_script.empty());
}

// ---- The registry's save ---------------------------------------------------

template <auto Member>
void save_fails_at_each_call(int err) {
    Fault<Member> f(plat::registry_table());
    uint32_t code = 0;
    const long calls = fail_each_call(
        f, err,
        [&] {
            vex_SetLastError(kUntouched);
            const bool ok = vex_RegSave(L"HKEY_LOCAL_MACHINE");
            code = vex_GetLastError();
            return ok;
        },
        [&](long n, bool ok) {
            EXPECT_FALSE(ok) << "call " << n << " failed and the save says it is done";
            EXPECT_EQ(code, kUntouched) << "a save reports only through its result";
        });
    EXPECT_EQ(calls, 1);
}

TEST_F(HwServices, ASaveWhoseDirectoryCannotBeSyncedFails) {
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\VEXTEST\\Kept", 7));
    save_fails_at_each_call<&RegistryCalls::open>(EMFILE);
    save_fails_at_each_call<&RegistryCalls::fsync>(EIO);
    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\VEXTEST\\Kept"), 7u) << "nothing written before is lost";
}

}  // namespace
}  // namespace vex::test
