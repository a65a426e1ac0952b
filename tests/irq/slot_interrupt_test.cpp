// Slot interrupts in one process: callbacks and their results, the
// registration rules, events, and unregistering in awkward moments.
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>

#include <future>

#include "frame/backplane.h"
#include "tests/irq/irq_fixture.h"

namespace vex::test {
namespace {

using Slots = IrqFixture;

uint64_t cpu_time_us() {
    rusage ru{};
    ::getrusage(RUSAGE_SELF, &ru);
    return static_cast<uint64_t>(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) * 1000000u +
           static_cast<uint64_t>(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec);
}

bool readable(int fd, int ms) {
    pollfd p{fd, POLLIN, 0};
    return ::poll(&p, 1, ms) == 1;
}

TEST_F(Slots, CallbackRunsAndIsAcknowledgedPerTriggerType) {
    register_and_enable(kEdgeSlot);
    EXPECT_EQ(_vex_inp(0x9010) & 0x02u, 0x02u) << "rising-edge enable";
    EXPECT_EQ(_vex_inp(0x9044) & 0x02u, 0x02u) << "slot gate";
    toggle_input(kEdgeSlot);
    ASSERT_TRUE(wait_calls(kEdgeSlot, 1));
    EXPECT_TRUE(eventually([&] { return !latched(kEdgeSlot); })) << "acknowledged after the callback";
    toggle_input(kEdgeSlot);
    ASSERT_TRUE(wait_calls(kEdgeSlot, 2)) << "re-armed by the acknowledge";

    // Falling edges: input 1 of this module pulses the line when released.
    vex_EnableSlotInterrupt(kEdgeSlot, 0);
    EXPECT_EQ(_vex_inp(0x9044) & 0x02u, 0u);
    vex_SetTriggerType(kEdgeSlot, VEX_TRIGGER_FALLING);
    vex_EnableSlotInterrupt(kEdgeSlot, 1);
    EXPECT_EQ(_vex_inp(0x9018) & 0x02u, 0x02u);
    sim().set_inputs(kEdgeSlot, 0x2);
    EXPECT_FALSE(latched(kEdgeSlot)) << "input 1 rising does not pulse the line";
    sim().set_inputs(kEdgeSlot, 0);
    ASSERT_TRUE(wait_calls(kEdgeSlot, 3));
    EXPECT_TRUE(eventually([&] { return _vex_inp(0x901A) == 0; })) << "the falling-edge latch is the one cleared";
}

TEST_F(Slots, ResultTwoLeavesTheLatchUntilInterruptDone) {
    g_cb[kInputSlotA].result = 2;
    register_and_enable(kInputSlotA);
    toggle_input(kInputSlotA);
    ASSERT_TRUE(wait_calls(kInputSlotA, 1));
    EXPECT_TRUE(latched(kInputSlotA));
    const uint32_t before = raised(kInputSlotA);
    toggle_input(kInputSlotA);
    EXPECT_EQ(raised(kInputSlotA), before) << "no further interrupt while latched";
    vex_InterruptDone(kInputSlotA);
    EXPECT_FALSE(latched(kInputSlotA));
    toggle_input(kInputSlotA);
    EXPECT_TRUE(wait_calls(kInputSlotA, 2));
}

TEST_F(Slots, ResultThreeEndsTheThreadButKeepsTheRegistration) {
    g_cb[kInputSlotA].result = 3;
    register_and_enable(kInputSlotA);
    toggle_input(kInputSlotA);
    ASSERT_TRUE(wait_calls(kInputSlotA, 1));
    EXPECT_TRUE(eventually([&] { return !latched(kInputSlotA); })) << "one acknowledge on the way out";
    // The next interrupt reaches the event; nobody serves it any more.
    toggle_input(kInputSlotA);
    EXPECT_TRUE(readable(vex_GetSlotInterruptEvent(kInputSlotA), 5000));
    EXPECT_EQ(g_cb[kInputSlotA].calls.load(), 1);
    EXPECT_EQ(vex_RegisterSlotInterrupt(kInputSlotA, kCallbacks[kInputSlotA]), VEX_FALSE);
    EXPECT_TRUE(vex_UnregisterSlotInterrupt(kInputSlotA));
}

TEST_F(Slots, RegistrationRulesAndCodes) {
    ASSERT_TRUE(vex_RegisterSlotInterrupt(0x101, kCallbacks[1])) << "slot 0x101 is slot 1";
    EXPECT_FALSE(vex_RegisterSlotInterrupt(1, kCallbacks[1]));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_SLOT_IN_USE) << "the mask test comes before the callback test";
    EXPECT_FALSE(vex_RegisterSlotInterrupt(9, kCallbacks[1]));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT);
    EXPECT_FALSE(vex_RegisterSlotInterrupt(2, nullptr));
    vex_SetLastError(0x1234);
    EXPECT_FALSE(vex_UnregisterSlotInterrupt(2)) << "never registered";
    EXPECT_EQ(vex_GetLastError(), 0x1234u) << "no code for that";
    EXPECT_FALSE(vex_UnregisterSlotInterrupt(200));
    EXPECT_EQ(vex_GetSlotInterruptID(2), 40u);
    EXPECT_EQ(vex_GetSlotInterruptID(8), 0u);
    EXPECT_TRUE(vex_UnregisterSlotInterrupt(1));
    EXPECT_EQ(vex_GetSlotInterruptEvent(1), 0) << "the event went with the registration";
    EXPECT_TRUE(vex_RegisterSlotInterrupt(1, kCallbacks[1])) << "free again";
}

TEST_F(Slots, ProgramWaitsOnTheEventWithoutACallback) {
    ASSERT_TRUE(vex_InterruptInitialize(kInputSlotB));
    vex_SetTriggerType(kInputSlotB, VEX_TRIGGER_RISING);
    vex_EnableSlotInterrupt(kInputSlotB, 1);
    const int event = vex_GetSlotInterruptEvent(kInputSlotB);
    ASSERT_GT(event, 0);
    EXPECT_FALSE(readable(event, 0));
    toggle_input(kInputSlotB);
    ASSERT_TRUE(readable(event, 5000));
    uint64_t count = 0;
    EXPECT_EQ(::read(event, &count, sizeof count), 8);
    EXPECT_TRUE(latched(kInputSlotB)) << "the program acknowledges";
    vex_InterruptDone(kInputSlotB);
    EXPECT_FALSE(latched(kInputSlotB));
    EXPECT_FALSE(vex_InterruptInitialize(9));
    EXPECT_EQ(vex_GetSlotInterruptEvent(9), 0);
}

TEST_F(Slots, ServiceThreadWaitsOnTheProgramsOwnEvent) {
    register_and_enable(kInputSlotA);
    const int mine = ::eventfd(0, EFD_CLOEXEC);
    vex_SetSlotInterruptEvent(kInputSlotA, mine);
    EXPECT_EQ(vex_GetSlotInterruptEvent(kInputSlotA), mine);
    const uint64_t one = 1;
    ASSERT_EQ(::write(mine, &one, sizeof one), 8);
    EXPECT_TRUE(wait_calls(kInputSlotA, 1));

    // A handle that is no event is kept but not waited on: no busy thread.
    int pipefd[2];
    ASSERT_EQ(::pipe(pipefd), 0);
    ASSERT_EQ(::write(pipefd[1], "xxxxxxxx", 8), 8);  // readable for good
    vex_SetSlotInterruptEvent(kInputSlotA, pipefd[0]);
    const uint64_t cpu = cpu_time_us();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_LT(cpu_time_us() - cpu, 100000u) << "the service thread spins";
    EXPECT_EQ(g_cb[kInputSlotA].calls.load(), 1);
    EXPECT_TRUE(vex_UnregisterSlotInterrupt(kInputSlotA));
    ::close(mine);
    ::close(pipefd[0]);
    ::close(pipefd[1]);
}

TEST_F(Slots, CallbackUnregistersItsOwnSlot) {
    g_cb[kInputSlotB].hook = [] { EXPECT_TRUE(vex_UnregisterSlotInterrupt(kInputSlotB)); };
    register_and_enable(kInputSlotB);
    toggle_input(kInputSlotB);
    ASSERT_TRUE(wait_calls(kInputSlotB, 1));
    settle();
    g_cb[kInputSlotB].hook = nullptr;
    register_and_enable(kInputSlotB);
    toggle_input(kInputSlotB);
    EXPECT_TRUE(wait_calls(kInputSlotB, 2));
}

TEST_F(Slots, UnregisterDoesNotWaitForABlockedCallback) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::atomic<bool> entered{false};
    g_cb[kInputSlotA].hook = [&] {
        entered = true;
        released.wait();
    };
    register_and_enable(kInputSlotA);
    toggle_input(kInputSlotA);
    ASSERT_TRUE(eventually([&] { return entered.load(); }));
    const auto t0 = std::chrono::steady_clock::now();
    EXPECT_TRUE(vex_UnregisterSlotInterrupt(kInputSlotA));
    EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(1));
    EXPECT_TRUE(vex_RegisterSlotInterrupt(kInputSlotA, kCallbacks[kInputSlotB])) << "free while the old one ends";
    release.set_value();
    EXPECT_TRUE(vex_UnregisterSlotInterrupt(kInputSlotA));
    settle();
}

TEST_F(Slots, ManyRegistrationsLeakNothing) {
    // The first round starts what stays for the process: the dispatch
    // thread and the socket that wakes other processes.
    register_and_enable(kInputSlotA);
    toggle_input(kInputSlotA);
    ASSERT_TRUE(wait_calls(kInputSlotA, 1));
    ASSERT_TRUE(vex_UnregisterSlotInterrupt(kInputSlotA));
    settle();
    const int fds = open_descriptors();
    const int tasks = threads();
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(vex_RegisterSlotInterrupt(kInputSlotA, kCallbacks[kInputSlotA])) << i;
        vex_EnableSlotInterrupt(kInputSlotA, 1);
        if (i % 20 == 0) {
            toggle_input(kInputSlotA);
            ASSERT_TRUE(wait_calls(kInputSlotA, i / 20 + 2));
        }
        ASSERT_TRUE(vex_UnregisterSlotInterrupt(kInputSlotA)) << i;
    }
    settle();
    EXPECT_EQ(open_descriptors(), fds);
    EXPECT_EQ(threads(), tasks);
    EXPECT_EQ(bindings(), 0) << "every binding left the controller's table";
}

TEST_F(Slots, PriorityCallNeedsAThreadAndARange) {
    EXPECT_FALSE(vex_SetSlotInterruptPriority(kInputSlotA, 100)) << "no service thread";
    register_and_enable(kInputSlotA);
    EXPECT_FALSE(vex_SetSlotInterruptPriority(kInputSlotA, 256));
    EXPECT_FALSE(vex_SetSlotInterruptPriority(kInputSlotA, -1));
    EXPECT_TRUE(vex_SetSlotInterruptPriority(kInputSlotA, 251)) << "the normal range needs no rights";
    EXPECT_FALSE(vex_SetSlotInterruptPriority(20, 100));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT);
}

}  // namespace
}  // namespace vex::test
