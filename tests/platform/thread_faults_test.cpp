// Service threads and events the system refuses: the buzzer, slot
// interrupt and timer registrations, each with its thread or its event
// failing at every start. Each refusal gives the documented result, leaves
// no thread or descriptor behind, and the next registration works.
#include <gtest/gtest.h>

#include <cerrno>

#include "platform/linux/irq_calls.h"
#include "platform/linux/thread_calls.h"
#include "tests/irq/irq_fixture.h"
#include "tests/support/fault_shim.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

using plat::IrqCalls;
using plat::ThreadCalls;

// A code no call of the library records, to see that none was recorded.
constexpr uint32_t kUntouched = 0x5EED;

using ThreadFaults = IrqFixture;

TEST_F(ThreadFaults, TheBuzzerWithoutAThreadReportsItsCode) {
    Fault<&ThreadCalls::create> f(plat::thread_table());
    f.fail_nth(1, EAGAIN);
    const Holdings before = holdings();
    EXPECT_FALSE(vex_BuzzerBeep(1, 10));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_BUZZER);
    EXPECT_TRUE(f.fired());
    EXPECT_EQ(describe(holdings()), describe(before));
    // The next beep has its thread.
    EXPECT_TRUE(vex_BuzzerBeep(1, 10));
    EXPECT_EQ(f.calls(), 2);
    vex_StopBuzzer();
}

// Service threads are stopped without waiting and joined later, holding
// their event until then: a registration undone is only undone once they
// have been joined.
void settle() { EXPECT_EQ(irq::settle_service_threads(5000), 0); }

// Registers slot 2's interrupt; on failure notes the last error, checks
// what a half-made registration answers, and undoes it as a program must.
bool register_slot(uint32_t& code) {
    vex_SetLastError(kUntouched);
    if (vex_RegisterSlotInterrupt(kInputSlotA, kCallbacks[kInputSlotA])) {
        EXPECT_TRUE(vex_UnregisterSlotInterrupt(kInputSlotA));
        settle();
        return true;
    }
    code = vex_GetLastError();
    // The failed registration keeps its callback until the program
    // unregisters, which then makes the slot registrable again.
    EXPECT_FALSE(vex_RegisterSlotInterrupt(kInputSlotA, kCallbacks[kInputSlotA]));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_SLOT_REGISTERED);
    EXPECT_FALSE(vex_UnregisterSlotInterrupt(kInputSlotA)) << "it was never registered";
    settle();
    return false;
}

bool set_timer(uint32_t& code) {
    vex_SetLastError(kUntouched);
    if (vex_SetBPTimer(1, 10, kCallbacks[1])) {
        vex_KillBPTimer(1);
        settle();
        return true;
    }
    code = vex_GetLastError();
    // The timer stays set up in this process until it is killed.
    EXPECT_FALSE(vex_SetBPTimer(1, 10, kCallbacks[1]));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_TIMER_ALREADY_SET);
    vex_KillBPTimer(1);
    settle();
    return false;
}

// The interrupt dispatch thread, its event and the controller's timer
// sources are made on first use and kept until the library unloads: one
// clean registration of each first, so that they count as held before.
void warm_up() {
    uint32_t code = 0;
    ASSERT_TRUE(register_slot(code));
    ASSERT_TRUE(set_timer(code));
}

// Every start of the thread, or making of the event, refused in turn.
template <auto Member, typename Table>
void registrations_fail_without_a_code(Table& table, int err) {
    Fault<Member> f(table);
    uint32_t code = 0;
    auto no_code = [&](long n, bool ok) {
        EXPECT_FALSE(ok);
        EXPECT_EQ(code, kUntouched) << "call " << n;
    };
    EXPECT_GE(fail_each_call(f, err, [&] { return register_slot(code); }, no_code), 1);
    EXPECT_GE(fail_each_call(f, err, [&] { return set_timer(code); }, no_code), 1);
}

TEST_F(ThreadFaults, RegistrationsWithoutAThreadOrAnEventFailWithoutACode) {
    warm_up();
    registrations_fail_without_a_code<&ThreadCalls::create>(plat::thread_table(), EAGAIN);
    registrations_fail_without_a_code<&IrqCalls::eventfd>(plat::irq_table(), EMFILE);
}

}  // namespace
}  // namespace vex::test
