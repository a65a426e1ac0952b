// The processor's peripheral pages on the hardware path, over a file that
// stands in for physical memory: every access lands at its physical address.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>

#include "platform/gpio.h"
#include "platform/os_timer.h"
#include "platform/peripherals.h"
#include "tests/support/physmem_file.h"

namespace {

using namespace vex::plat;
constexpr uint64_t kGpio = 0x40E00000;

class HwPeripherals : public ::testing::Test {
protected:
    void SetUp() override { mem.attach_library(); }
    vex::test::PhysMemFile mem;
};

TEST_F(HwPeripherals, EveryPageSitsAtItsPhysicalAddress) {
    mem.poke32(0x40A00010, 0xCAFE0001);
    EXPECT_EQ(os_timer_count(), 0xCAFE0001u);
    reg_write(Page::OsTimer, ost::match(3), 0x1234);
    EXPECT_EQ(mem.peek32(0x40A0000C), 0x1234u);
    reg_write(Page::Pwm0, pwm::kPeriod, 102);
    reg_write(Page::Pwm1, pwm::kDuty, 51);
    reg_write(Page::IrqController, intc::kMask, 1u << intc::kOsTimerMatch3);
    reg_write(Page::Clock, clock::kEnable, 3);
    EXPECT_EQ(mem.peek32(0x40B00008), 102u);
    EXPECT_EQ(mem.peek32(0x40C00004), 51u);
    EXPECT_EQ(mem.peek32(0x40D00004), 1u << 29);
    EXPECT_EQ(mem.peek32(0x41300004), 3u);
    mem.poke32(0x40F00030, power::kResetWatchdog);
    EXPECT_EQ(reg_read(Page::PowerManager, power::kResetStatus), power::kResetWatchdog);
}

TEST_F(HwPeripherals, GpioOperationsChangeOnlyTheirPin) {
    mem.poke32(kGpio + 0x0C, 0x80000001);  // direction bank 0: pins 0 and 31 outputs
    gpio::make_output(12);
    EXPECT_EQ(mem.peek32(kGpio + 0x0C), 0x80001001u);
    gpio::make_input(31);
    EXPECT_EQ(mem.peek32(kGpio + 0x0C), 0x00001001u);

    gpio::set(22);
    EXPECT_EQ(mem.peek32(kGpio + 0x18), 1u << 22) << "set register of bank 0";
    gpio::clear(52);
    EXPECT_EQ(mem.peek32(kGpio + 0x28), 1u << 20) << "clear register of bank 1";
    gpio::set(100);
    EXPECT_EQ(mem.peek32(kGpio + 0x118), 1u << 4) << "bank 3 sits 0x100 above bank 0";

    mem.poke32(kGpio + 0x58, 0xFFFFFFFF);  // alternate functions of pins 16..31
    gpio::select_function(17, 2);
    EXPECT_EQ(mem.peek32(kGpio + 0x58), 0xFFFFFFFBu);
    gpio::select_function(84, 0);
    EXPECT_EQ(mem.peek32(kGpio + 0x68), 0u);

    mem.poke32(kGpio + 0x00, 1u << 22);
    EXPECT_EQ(gpio::level(22), 1u << 22);
    EXPECT_EQ(gpio::level(12), 0u);
    mem.poke32(kGpio + 0x100, 1u << 24);
    EXPECT_EQ(gpio::level(120), 1u << 24);

    gpio::set_rising_edge(3, true);
    gpio::set_falling_edge(3, false);
    EXPECT_EQ(mem.peek32(kGpio + 0x30), 1u << 3);
    EXPECT_EQ(mem.peek32(kGpio + 0x3C), 0u);
    gpio::clear_edge(3);
    EXPECT_EQ(mem.peek32(kGpio + 0x48), 1u << 3) << "status is cleared by writing its bit";

    // Pins beyond the block touch nothing.
    gpio::set(121);
    gpio::make_output(200);
    EXPECT_EQ(gpio::level(121), 0u);
    EXPECT_EQ(mem.peek32(kGpio + 0x118), 1u << 4);
}

TEST_F(HwPeripherals, AWaitOnACounterThatDoesNotRunEnds) {
    // The file's counter never moves: the wait gives up instead of spinning on.
    mem.poke32(0x40A00010, 0xFFFFFFFF);
    const auto t0 = std::chrono::steady_clock::now();
    EXPECT_FALSE(os_timer_wait(1));
    EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(5));
}

TEST(HwPeripheralsMissing, PagesOutsideTheDeviceFloat) {
    vex::test::PhysMemFile mem;
    // A device too small for the processor pages: the backplane window
    // maps, the pages do not, and reading them must not kill the process.
    ASSERT_EQ(::truncate(mem.path().c_str(), 0x17010000), 0);
    mem.attach_library();
    EXPECT_EQ(reg_read(Page::Gpio, gpio::kLevel), 0xFFFFFFFFu);
    EXPECT_EQ(os_timer_count(), 0xFFFFFFFFu);
    gpio::make_output(12);  // vanishes
    reg_write(Page::Pwm0, pwm::kDuty, 1);
}

}  // namespace
