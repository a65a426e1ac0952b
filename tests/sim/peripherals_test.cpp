// The virtual controller's processor pages, driven through the library's
// platform layer and observed from the board's side.
#include <gtest/gtest.h>

#include "platform/gpio.h"
#include "platform/os_timer.h"
#include "platform/peripherals.h"
#include "sim/far_side.h"
#include "tests/support/sim_fixture.h"

namespace {

using namespace vex::plat;
namespace far = vex::sim::far;

class SimPeripherals : public vex::test::SimFixture {};

// Pins of bank 1 (32..63): nothing the library sets up at load.
TEST_F(SimPeripherals, PinsAreWiredAndWithThePullUp) {
    EXPECT_TRUE(far::pin_high(sim(), 40)) << "an input nobody drives is pulled up";
    gpio::clear(40);
    EXPECT_TRUE(far::pin_high(sim(), 40)) << "the latch does not drive an input";
    gpio::make_output(40);
    EXPECT_FALSE(far::pin_high(sim(), 40));
    EXPECT_EQ(gpio::level(40), 0u);
    gpio::set(40);
    EXPECT_TRUE(far::pin_high(sim(), 40));

    far::hold_pin_low(sim(), 40, true);
    EXPECT_EQ(gpio::level(40), 0u) << "a device holding the line low wins over a high output";
    gpio::make_input(40);
    EXPECT_EQ(gpio::level(40), 0u);
    far::hold_pin_low(sim(), 40, false);
    EXPECT_EQ(gpio::level(40), 1u << 8);

    // Direction and function updates keep the other pins of the bank.
    gpio::make_output(36);
    gpio::make_output(44);
    gpio::make_input(36);
    gpio::make_input(40);
    EXPECT_EQ(reg_read(Page::Gpio, gpio::reg(gpio::kDirection, 1)), 1u << 12);
    gpio::select_function(16, 2);
    gpio::select_function(17, 1);
    EXPECT_EQ(reg_read(Page::Gpio, gpio::alt_function_reg(16)), 0x6u);
    reg_write(Page::Gpio, gpio::reg(gpio::kLevel, 1), 0);  // read-only
    EXPECT_EQ(gpio::level(36), 1u << 4);
    EXPECT_EQ(reg_read(Page::Gpio, gpio::kSet), 0u) << "set and clear are write-only";
}

TEST_F(SimPeripherals, EnabledEdgesLatchUntilCleared) {
    gpio::set_rising_edge(3, true);
    far::hold_pin_low(sim(), 3, true);
    EXPECT_EQ(gpio::edge_detected(3), 0u) << "falling edges are not enabled";
    far::hold_pin_low(sim(), 3, false);
    EXPECT_EQ(gpio::edge_detected(3), 1u << 3);
    far::hold_pin_low(sim(), 3, true);
    far::hold_pin_low(sim(), 3, false);
    EXPECT_EQ(gpio::edge_detected(3), 1u << 3) << "the latch holds one bit, however many edges";
    gpio::clear_edge(3);
    EXPECT_EQ(gpio::edge_detected(3), 0u);

    gpio::set_rising_edge(3, false);
    gpio::set_falling_edge(3, true);
    far::hold_pin_low(sim(), 3, true);
    EXPECT_EQ(gpio::edge_detected(3), 1u << 3);
    EXPECT_EQ(gpio::edge_detected(2), 0u);

    // Edges the processor makes itself latch as well (bank 2 pin 84).
    gpio::set_falling_edge(84, true);
    gpio::make_output(84);
    gpio::clear(84);
    EXPECT_EQ(gpio::edge_detected(84), 1u << 20);
}

TEST_F(SimPeripherals, OsTimerCountsAndLatchesMatches) {
    const uint32_t t0 = os_timer_count();
    reg_write(Page::OsTimer, ost::match(1), t0 + 3250 * 50);  // 50 ms ahead
    reg_write(Page::OsTimer, ost::match(2), t0 - 10);         // just passed: a full turn away
    EXPECT_EQ(reg_read(Page::OsTimer, ost::kStatus) & 0x6u, 0u);
    sim().advance(60'000'000);
    const uint32_t t1 = os_timer_count();
    EXPECT_GE(t1 - t0, 3250u * 60) << "the counter follows the instance clock";
    EXPECT_EQ(reg_read(Page::OsTimer, ost::kStatus) & 0x6u, 0x2u);
    reg_write(Page::OsTimer, ost::kStatus, 0x2);
    EXPECT_EQ(reg_read(Page::OsTimer, ost::kStatus) & 0x2u, 0u) << "status bits clear by writing 1";
    reg_write(Page::OsTimer, ost::kIrqEnable, 0xFFFF);
    EXPECT_EQ(reg_read(Page::OsTimer, ost::kIrqEnable), 0xFu);
}

TEST_F(SimPeripherals, OsTimerWaitLastsItsTicks) {
    // 3250 ticks are a millisecond: the wait may not end before.
    const uint32_t t0 = os_timer_count();
    ASSERT_TRUE(os_timer_wait(3250));
    EXPECT_GT(os_timer_count() - t0, 3250u);
}

TEST_F(SimPeripherals, PlainPagesKeepTheirRegistersForEveryProcess) {
    reg_write(Page::Pwm1, pwm::kDuty, 51);
    reg_write(Page::Clock, clock::kEnable, 2);
    reg_write(Page::IrqController, intc::kMask, 1u << 29);
    reg_write(Page::Pwm0, 0x800, 7);  // nothing there
    EXPECT_EQ(reg_read(Page::Pwm0, 0x800), 0u);
    EXPECT_EQ(reg_read(Page::PowerManager, power::kResetStatus), 1u) << "powered up: a hardware reset";

    std::string error;
    auto other = vex::sim::Instance::attach(instance_name(), &error);
    ASSERT_TRUE(other) << error;
    EXPECT_EQ(other->page_read32(Page::Pwm1, pwm::kDuty), 51u);
    EXPECT_EQ(other->page_read32(Page::Clock, clock::kEnable), 2u);
    EXPECT_EQ(other->page_read32(Page::IrqController, intc::kMask), 1u << 29);
    gpio::make_output(44);
    EXPECT_EQ(other->page_read32(Page::Gpio, gpio::reg(gpio::kDirection, 1)), 1u << 12);

    ASSERT_TRUE(sim().power_cycle(&error)) << error;
    EXPECT_EQ(reg_read(Page::Pwm1, pwm::kDuty), 0u) << "power-up resets the pages";
    EXPECT_EQ(reg_read(Page::Gpio, gpio::reg(gpio::kDirection, 1)), 0u);
}

}  // namespace
