// The single-slot controller's slot interrupt: GPIO 3's edge detection,
// re-armed by the acknowledge.
#include "platform/gpio.h"
#include "sim/far_side.h"
#include "tests/irq/irq_fixture.h"

namespace vex::test {
namespace {

namespace gpio = plat::gpio;

class SingleSlotIrq : public IrqFixture {
protected:
    std::string description() override {
        return "[controller]\nhardware_id = \"LT4-100\"\nslots = 1\n"
               "[[slot]]\nslot = 0\nid = 0x21\ndi_channels = 8\ndo_channels = 8\ninterrupt_rising = 0x01\n";
    }
    // The edge enables of GPIO 3, as the library sees them.
    bool rising_armed() { return (plat::reg_read(plat::Page::Gpio, gpio::kRisingEdge) & gpio::bit(3)) != 0; }
    bool falling_armed() { return (plat::reg_read(plat::Page::Gpio, gpio::kFallingEdge) & gpio::bit(3)) != 0; }
};

TEST_F(SingleSlotIrq, SlotInterruptRidesOnGpioThree) {
    EXPECT_EQ(vex_GetSlotInterruptID(0), 66u);
    ASSERT_TRUE(vex_RegisterSlotInterrupt(0, kCallbacks[0]));
    vex_SetTriggerType(0, VEX_TRIGGER_LEVEL);  // not offered here: rising instead
    vex_EnableSlotInterrupt(0, 1);
    EXPECT_TRUE(rising_armed());
    EXPECT_FALSE(falling_armed());
    toggle_input(0);
    ASSERT_TRUE(wait_calls(0, 1));
    EXPECT_TRUE(eventually([&] { return rising_armed(); })) << "re-armed by the acknowledge";
    toggle_input(0);
    ASSERT_TRUE(wait_calls(0, 2));

    // Result 2: the edge detection stays masked until the program acknowledges.
    g_cb[0].result = 2;
    toggle_input(0);
    ASSERT_TRUE(wait_calls(0, 3));
    EXPECT_FALSE(rising_armed());
    const uint32_t before = raised(sim::kIrqLineSingleSlot);
    toggle_input(0);
    EXPECT_EQ(raised(sim::kIrqLineSingleSlot), before);
    g_cb[0].result = 0;
    vex_InterruptDone(0);
    EXPECT_TRUE(rising_armed());
    toggle_input(0);
    EXPECT_TRUE(wait_calls(0, 4));
}

TEST_F(SingleSlotIrq, FallingEdgesOfThePin) {
    ASSERT_TRUE(vex_RegisterSlotInterrupt(3, kCallbacks[3])) << "any slot names the one interrupt";
    vex_SetTriggerType(3, VEX_TRIGGER_FALLING);
    vex_EnableSlotInterrupt(3, 0);  // re-arms whatever the flag says
    EXPECT_TRUE(falling_armed());
    EXPECT_FALSE(rising_armed());
    sim::far::hold_pin_low(sim(), 3, true);
    ASSERT_TRUE(wait_calls(3, 1));
    sim::far::hold_pin_low(sim(), 3, false);
    EXPECT_TRUE(vex_UnregisterSlotInterrupt(3));
}

TEST_F(SingleSlotIrq, HasNoBackplaneTimers) {
    EXPECT_FALSE(vex_SetBPTimer(1, 10, kCallbacks[1]));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    vex_ClearLastError();
    EXPECT_FALSE(vex_SetBPTimerOut(1, 1, kCallbacks[0]));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    vex_ClearLastError();
    EXPECT_EQ(vex_GetBPTimerTimeTick_ms(), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    vex_ClearLastError();
    EXPECT_FALSE(vex_SetBPTimerInterruptPriority(1, 100));
    EXPECT_EQ(vex_GetLastError(), 0u) << "the priority call does not look at the model";
    EXPECT_EQ(vex_GetSlotInterruptID(5), 66u) << "any slot names the one interrupt";
}

}  // namespace
}  // namespace vex::test
