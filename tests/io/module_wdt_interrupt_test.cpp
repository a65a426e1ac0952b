// The module watchdog's interrupt: the fixed handler switches the watchdog
// off and calls the program back with the slot.
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "irq/masks.h"
#include "tests/io/io_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

using WdtInterrupt = IoFixture;

std::atomic<int> g_called{0};
std::atomic<uint32_t> g_slot{99};

void on_expiry(uint32_t slot) {
    g_slot = slot;
    g_called.fetch_add(1);
}

bool eventually(const std::function<bool()>& cond) {
    for (int i = 0; i < 5000 && !cond(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return cond();
}

TEST_F(WdtInterrupt, OnlyModulesWithTheWatchdogInterrupt) {
    EXPECT_FALSE(vex_InitModuleWDTInterrupt(kCombo8Slot, on_expiry)) << "capability bits 5..7 are not 001";
    EXPECT_FALSE(vex_InitModuleWDTInterrupt(kSerialSlot, on_expiry));
    EXPECT_FALSE(vex_InitModuleWDTInterrupt(kEmptySlot, on_expiry));
    EXPECT_FALSE(vex_InitModuleWDTInterrupt(9, on_expiry));
    EXPECT_EQ(irq::shared_mask(irq::Mask::SlotInterrupts), 0);
    EXPECT_TRUE(vex_InitModuleWDTInterrupt(kWatchdog4Slot, on_expiry));
    EXPECT_TRUE(irq::mask_has(irq::shared_mask(irq::Mask::SlotInterrupts), kWatchdog4Slot));
}

TEST_F(WdtInterrupt, ExpiryCallsBackWithTheSlotAndSwitchesTheWatchdogOff) {
    g_called = 0;
    ASSERT_TRUE(vex_InitModuleWDTInterrupt(kReadBackSlot, on_expiry));
    EXPECT_TRUE(vex_SetModuleWDTInterruptStatus(kReadBackSlot, 1));
    EXPECT_EQ(vex_GetModuleWDTInterruptStatus(kReadBackSlot), 1);
    EXPECT_EQ(module(kReadBackSlot).wdt_irq_enable, 2);
    EXPECT_EQ(_vex_inp(0x9014) & 0x01u, 0x01u) << "level trigger";
    EXPECT_EQ(_vex_inp(0x9044) & 0x01u, 0x01u);
    ASSERT_TRUE(vex_SetModuleWDTConfig(0, kReadBackSlot, 1, 1, 0));  // two half-seconds
    let_pass_ms(1100);
    ASSERT_TRUE(eventually([] { return g_called.load() == 1; }));
    EXPECT_EQ(g_slot.load(), kReadBackSlot);
    EXPECT_EQ(module(kReadBackSlot).wdt_enabled, 0) << "the handler switched the watchdog off";
    EXPECT_TRUE(eventually([&] { return _vex_inp(0x9016) == 0; })) << "and the latch was acknowledged";
    EXPECT_TRUE(module(kReadBackSlot).wdt_expired) << "the expiry itself stays";

    EXPECT_TRUE(vex_SetModuleWDTInterruptStatus(kReadBackSlot, 0));
    EXPECT_EQ(module(kReadBackSlot).wdt_irq_enable, 0);
    EXPECT_EQ(irq::shared_mask(irq::Mask::SlotInterrupts), 0) << "unregistered";
}

TEST_F(WdtInterrupt, ExpiryOnTheRealClock) {
    g_called = 0;
    ASSERT_TRUE(vex_InitModuleWDTInterrupt(kWatchdog4Slot, on_expiry));
    vex_SetModuleWDTInterruptStatus(kWatchdog4Slot, 1);
    ASSERT_TRUE(vex_SetModuleWDTConfig(0, kWatchdog4Slot, 1, 0, 0));  // half a second, nobody refreshes
    ASSERT_TRUE(eventually([] { return g_called.load() == 1; }));
    EXPECT_EQ(g_slot.load(), kWatchdog4Slot);
    EXPECT_EQ(module(kWatchdog4Slot).do_latch, 0x0Cu) << "the safe value";
}

}  // namespace
}  // namespace vex::test
