// Slot interrupts and timers between processes: the registration masks,
// delivery to whichever process bound an interrupt, processes that die.
#include <signal.h>

#include "irq/masks.h"
#include "tests/irq/child_process.h"
#include "tests/irq/irq_fixture.h"

namespace vex::test {
namespace {

using CrossProcess = IrqFixture;

std::vector<std::string> vexctl(std::vector<std::string> args) {
    args.insert(args.begin(), VEXCTL_PATH);
    return args;
}

TEST_F(CrossProcess, AnotherProcessChangingTheMaskBlocksUnregistering) {
    register_and_enable(kEdgeSlot);
    ChildProcess other(vexctl({"irq", "watch", "3", "--timeout", "60"}));
    ASSERT_TRUE(other.wait_for_output("watching")) << other.output();
    EXPECT_FALSE(vex_UnregisterSlotInterrupt(kEdgeSlot));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_SLOT_NOT_REGISTERED) << "the mask changed behind this process";
    EXPECT_FALSE(vex_RegisterSlotInterrupt(kInputSlotB, kCallbacks[kInputSlotB]));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_SLOT_IN_USE);
    // Changing the mask itself brings this process's copy up to date.
    register_and_enable(kInputSlotA);
    EXPECT_TRUE(vex_UnregisterSlotInterrupt(kEdgeSlot));
    EXPECT_TRUE(vex_UnregisterSlotInterrupt(kInputSlotA));
}

TEST_F(CrossProcess, InterruptsReachTheProcessThatBoundThem) {
    ChildProcess watcher(vexctl({"irq", "watch", "2", "3", "--count", "3", "--timeout", "60"}));
    ASSERT_TRUE(watcher.wait_for_output("watching")) << watcher.output();
    // From a third process, and from this one.
    EXPECT_EQ(run_vexsim({"irq", "2", "-i", instance_name()}).status, 0);
    ASSERT_TRUE(watcher.wait_for_output("interrupt 1")) << watcher.output();
    toggle_input(kInputSlotB);
    ASSERT_TRUE(watcher.wait_for_output("interrupt 2")) << watcher.output();
    EXPECT_EQ(run_vexsim({"irq", "2", "-i", instance_name()}).status, 0);
    EXPECT_EQ(watcher.wait_exit(), 0) << watcher.output();
    EXPECT_NE(watcher.output().find("slot 2  interrupt 1"), std::string::npos) << watcher.output();
    EXPECT_NE(watcher.output().find("slot 3  interrupt 2"), std::string::npos) << watcher.output();
    EXPECT_NE(watcher.output().find("slot 2  interrupt 3"), std::string::npos) << watcher.output();
    EXPECT_EQ(irq::shared_mask(irq::Mask::SlotInterrupts), 0) << "it unregistered on the way out";
}

TEST_F(CrossProcess, ADeadProcessLeavesItsBitsUntilEveryProcessLetGo) {
    ChildProcess doomed(vexctl({"irq", "watch", "3", "--timeout", "60"}));
    ASSERT_TRUE(doomed.wait_for_output("watching")) << doomed.output();
    doomed.kill_now();
    EXPECT_FALSE(vex_RegisterSlotInterrupt(kInputSlotB, kCallbacks[kInputSlotB]));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_SLOT_IN_USE) << "the dead process's bit stays";
    // Its interrupts go nowhere, and its binding leaves the controller.
    vex_EnableSlotInterrupt(kInputSlotB, 1);
    toggle_input(kInputSlotB);
    EXPECT_EQ(bindings(), 0);
    // Once no process has the library loaded the masks start afresh.
    reattach();
    EXPECT_EQ(irq::shared_mask(irq::Mask::SlotInterrupts), 0);
    vex_InterruptDone(kInputSlotB);
    register_and_enable(kInputSlotB);
    toggle_input(kInputSlotB);
    EXPECT_TRUE(wait_calls(kInputSlotB, 1));
}

TEST_F(CrossProcess, TimersInUseElsewhere) {
    ASSERT_TRUE(vex_SetBPTimer(2, 100, kCallbacks[2]));
    ChildProcess other(vexctl({"timer", "1", "--interval", "10", "--count", "1000000"}));
    ASSERT_TRUE(other.wait_for_output("running")) << other.output();
    EXPECT_FALSE(vex_SetBPTimer(1, 10, kCallbacks[1]));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_SLOT_IN_USE);
    vex_KillBPTimer(2);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_SLOT_NOT_REGISTERED) << "the mask changed behind this process";
    EXPECT_EQ(_vex_inp(0x903C), 100u) << "so the timer still runs";
    ::kill(other.pid(), SIGINT);
    EXPECT_EQ(other.wait_exit(), 0) << other.output();
    EXPECT_NE(other.output().find("ticks at an interval of 10"), std::string::npos) << other.output();
    vex_ClearLastError();
    vex_KillBPTimer(2);
    EXPECT_EQ(vex_GetLastError(), 0u) << "with the other timer gone the mask equals this process's copy again";
}

}  // namespace
}  // namespace vex::test
