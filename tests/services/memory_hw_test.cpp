// The memories on the hardware path, over a file standing in for physical
// memory: the registers the library drives land at their addresses.
#include <gtest/gtest.h>

#include <chrono>

#include "services/eeprom.h"
#include "services/i2c_lines.h"
#include "tests/support/physmem_file.h"
#include "vexsdk.h"

namespace {

constexpr uint64_t kWindow = 0x17000000;
constexpr uint64_t kGpio = 0x40E00000;

class HwMemory : public ::testing::Test {
protected:
    void SetUp() override {
        mem.poke32(kGpio + 0x54, 0xFFFFFFFF);  // pins 0..15 in alternate function 3
        mem.attach_library();
    }
    vex::test::PhysMemFile mem;
};

TEST_F(HwMemory, LoadSetsTheEepromPinsUpAsOutputsDrivenHigh) {
    const uint32_t pins = (1u << 4) | (1u << 12) | (1u << 22);
    EXPECT_EQ(mem.peek32(kGpio + 0x0C) & pins, pins) << "outputs";
    // A file keeps only the last write of the set register: SCL, the last
    // pin set up (write protect, SDA, SCL in that order).
    EXPECT_EQ(mem.peek32(kGpio + 0x18), 1u << 12) << "driven high";
    EXPECT_EQ(mem.peek32(kGpio + 0x54), 0xFCFFFCFFu) << "pins 4 and 12 to plain GPIO, the others kept";
    EXPECT_GE(vex::services::eeprom::delay_loops(), vex::services::i2c::kMinDelayLoops);

    vex_EnableEEPROM(VEX_TRUE);
    EXPECT_EQ(mem.peek32(kGpio + 0x24) & (1u << 4), 1u << 4) << "write protect driven low";
}

TEST_F(HwMemory, WriteProtectIsReadFromThePin) {
    mem.poke32(kGpio + 0x00, 1u << 4);  // the level register: WP high
    uint8_t b = 1;
    EXPECT_FALSE(vex_WriteMemory(0, &b, 1, VEX_MEMORY_EEPROM));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_EEPROM_WRITE_PROTECTED);
}

TEST_F(HwMemory, TheBusKeepsStandardModeTiming) {
    // SDA reads low throughout: every acknowledge comes, every bit is 0.
    uint8_t buf[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    const auto t0 = std::chrono::steady_clock::now();
    ASSERT_TRUE(vex_ReadMemory(0, buf, 8, VEX_MEMORY_EEPROM));
    const auto spent = std::chrono::steady_clock::now() - t0;
    for (uint8_t v : buf) EXPECT_EQ(v, 0);
    // Each received bit holds SCL high for two units and low for one:
    // 8 bytes of 8 bits can never take less than 8 * 8 * 15 us.
    EXPECT_GE(spent, std::chrono::microseconds(8 * 8 * 15));
}

TEST_F(HwMemory, SramPagesAndWindowAndTheNvramPort) {
    const uint8_t data[3] = {0x11, 0x22, 0x33};
    ASSERT_TRUE(vex_WriteMemory(2047, data, 3, VEX_MEMORY_SRAM));
    // SRAM bytes 0x107FF (page 32, byte 2047) and 0x10800..1 (page 33).
    EXPECT_EQ(mem.peek8(kWindow + 0xA000 + 2 * 2047), 0x11);
    EXPECT_EQ(mem.peek8(kWindow + 0xA000), 0x22);
    EXPECT_EQ(mem.peek8(kWindow + 0xA002), 0x33);
    EXPECT_EQ(mem.peek8(kWindow + 0x901E), 33);
    mem.poke8(kWindow + 0xA004, 0x44);
    uint8_t got = 0;
    ASSERT_TRUE(vex_ReadMemory(0x802, &got, 1, VEX_MEMORY_SRAM));
    EXPECT_EQ(got, 0x44);

    ASSERT_TRUE(vex_WriteMemory(0, data, 1, VEX_MEMORY_NVRAM));
    EXPECT_EQ(mem.peek8(kWindow + 0x901C) & 0x07, 0) << "deselected, clock low, direction back";
}

}  // namespace
