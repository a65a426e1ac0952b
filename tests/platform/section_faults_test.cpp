// Shared-memory sections that cannot be created, grown or mapped: the
// sections themselves, and the library's attach to its virtual controller,
// which rests on them. Also the table pattern every backend shares.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <unistd.h>

#include "frame/library.h"
#include "platform/linux/com_calls.h"
#include "platform/linux/irq_calls.h"
#include "platform/linux/named_mutex_calls.h"
#include "platform/linux/physmem_calls.h"
#include "platform/linux/registry_calls.h"
#include "platform/linux/section_calls.h"
#include "platform/linux/service_calls.h"
#include "platform/linux/thread_calls.h"
#include "platform/session_section.h"
#include "platform/shared_section.h"
#include "sim/host_calls.h"
#include "sim/host_process.h"
#include "sim/instance.h"
#include "tests/support/fault_shim.h"
#include "tests/support/sim_fixture.h"

namespace vex::test {
namespace {

using plat::SectionCalls;
using plat::section_table;

int fake_close(int) { return 4242; }

TEST(CallTables, EntriesAreReplacedAndRestoredByName) {
    auto& t = plat::com_table();
    void* real = t.get("close");
    ASSERT_NE(real, nullptr);
    EXPECT_TRUE(t.set("close", reinterpret_cast<void*>(fake_close)));
    EXPECT_EQ(t.now().close(-1), 4242);
    EXPECT_FALSE(t.set("clsoe", reinterpret_cast<void*>(fake_close))) << "a misspelled name is refused";
    EXPECT_FALSE(t.reset("clsoe"));
    EXPECT_EQ(t.get("clsoe"), nullptr);
    EXPECT_TRUE(t.reset("close"));
    EXPECT_EQ(t.get("close"), real);
    t.set("close", reinterpret_cast<void*>(fake_close));
    t.reset_all();
    EXPECT_EQ(t.get("close"), real);
}

// Every entry of every table has a name: an entry added without one could
// not be failed by a test.
template <typename Table>
void expect_all_named(plat::CallTable<Table>& t, const char* which) {
    EXPECT_EQ(t.slots().size() * sizeof(void*), sizeof(Table)) << which;
    for (const plat::CallSlot& s : t.slots()) EXPECT_NE(t.get(s.name), nullptr) << which << " " << s.name;
}

TEST(CallTables, EveryEntryHasAName) {
    expect_all_named(plat::com_table(), "com");
    expect_all_named(plat::section_table(), "section");
    expect_all_named(plat::thread_table(), "thread");
    expect_all_named(plat::irq_table(), "irq");
    expect_all_named(plat::named_mutex_table(), "named mutex");
    expect_all_named(plat::oscalls::table(), "services");
    expect_all_named(plat::physmem_table(), "physical memory");
    expect_all_named(plat::registry_table(), "registry");
}

// Makes a section of kind S and removes it again; true when it was made.
template <typename S>
bool opens() {
    const std::string name = "/vexsdk.faults." + std::to_string(::getpid());
    auto s = S::open(name, 4096);
    plat::SharedSection::remove(name);
    return s != nullptr;
}
constexpr auto open_shared = opens<plat::SharedSection>;
constexpr auto open_session = opens<plat::SessionSection>;

template <auto Member>
void each_call_fails_both(int err) {
    Fault<Member> f(section_table());
    auto refused = [](long, bool ok) { EXPECT_FALSE(ok); };
    EXPECT_GE(fail_each_call(f, err, open_shared, refused), 1);
    EXPECT_GE(fail_each_call(f, err, open_session, refused), 1);
}

TEST(SectionFaults, ASectionThatCannotBeMadeIsNoneAndLeavesNothing) {
    each_call_fails_both<&SectionCalls::shm_open>(EMFILE);
    each_call_fails_both<&SectionCalls::fstat>(EIO);
    each_call_fails_both<&SectionCalls::ftruncate>(ENOSPC);
    each_call_fails_both<&SectionCalls::mmap>(ENOMEM);
    // A session section takes an exclusive lock to learn whether it is
    // alone (and then clears what earlier sessions left), then its shared
    // lock. Only the shared lock is needed.
    Fault<&SectionCalls::flock> f(section_table());
    EXPECT_EQ(fail_each_call(f, ENOLCK, open_session, [](long n, bool ok) { EXPECT_EQ(ok, n == 1); }), 2);
}

using AttachFaults = SimFixture;

// The library attaches to the virtual controller through its shared state;
// when that cannot be mapped the library still loads (it floats, saying
// why), and the next attach succeeds.
TEST_F(AttachFaults, AStateThatCannotBeMappedLeavesTheLibraryFloatingNotBroken) {
    frame::library_detach();
    Fault<&SectionCalls::mmap> f(section_table());
    long floated = 0;
    fail_each_call(
        f, ENOMEM,
        [] {
            frame::library_attach();
            const bool ok = sim::current() != nullptr && frame::load_problem()[0] == '\0';
            frame::library_detach();
            return ok;
        },
        [&](long n, bool ok) {
            if (ok) return;  // a section the attach can do without
            ++floated;
            EXPECT_NE(std::strlen(frame::load_problem()), 0u) << "mmap " << n << " failed without a word";
        });
    EXPECT_GE(floated, 1) << "the controller's state is a section";
    frame::library_attach();
}

// A host process that cannot be started, or that never answers, leaves the
// library hosting its controller in-process, saying so; the next attach
// starts a host process again.
TEST_F(AttachFaults, AHostThatCannotBeStartedIsReplacedInProcess) {
    frame::library_detach();
    ASSERT_TRUE(sim::wait_until_unhosted(instance_name(), 10000));
    auto attach = [this](bool& attached) {
        frame::library_attach();
        attached = sim::current() != nullptr;
        const bool ok = attached && frame::load_problem()[0] == '\0';
        frame::library_detach();
        EXPECT_TRUE(sim::wait_until_unhosted(instance_name(), 10000));
        return ok;
    };
    bool attached = false;
    // Hosting in-process publishes the ports in the registry through a
    // connection of its own. When it closes, SQLite keeps its descriptor
    // (closing it would drop this process's locks that the library's own
    // connection holds on the same file) and uses it for the next open:
    // one in-process attach first, so that it counts as held before.
    {
        Fault<&sim::HostCalls::posix_spawn> f(sim::host_table());
        f.returning(EAGAIN);
        f.fail_nth(1, EAGAIN, Persist::FromThenOn);
        EXPECT_FALSE(attach(attached));
    }
    auto in_process = [&](long n, bool ok) {
        EXPECT_FALSE(ok);
        EXPECT_TRUE(attached) << "call " << n;
        EXPECT_NE(std::string(frame::load_problem()).find("in-process"), std::string::npos) << frame::load_problem();
    };
    {
        Fault<&sim::HostCalls::posix_spawn> f(sim::host_table());
        f.returning(EAGAIN);
        EXPECT_EQ(fail_each_call(f, EAGAIN, [&] { return attach(attached); }, in_process), 1)
            << "one host process started per attach";
    }
    {
        Fault<&sim::HostCalls::pipe2> f(sim::host_table());
        fail_each_call(f, EMFILE, [&] { return attach(attached); }, in_process);
    }
    {
        // The wait for the host's report fails after the load (which no
        // longer waits): the program is hosted in-process all the same.
        Fault<&sim::HostCalls::poll> f(sim::host_table());
        fail_each_call(f, ENOMEM, [&] { return attach(attached); }, in_process);
    }
    frame::library_attach();
}

}  // namespace
}  // namespace vex::test
