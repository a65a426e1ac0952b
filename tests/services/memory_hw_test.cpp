// The EEPROM's bit-banged bus on the hardware path, over a file standing in
// for physical memory: its pins' set-up, write protect and timing. (SRAM and
// NVRAM reach the board through the same bus accessors on either path; their
// register sequences are checked against the virtual controller.)
#include <gtest/gtest.h>

#include <chrono>

#include "services/eeprom.h"
#include "services/i2c_lines.h"
#include "tests/support/physmem_file.h"
#include "vexsdk.h"

namespace {

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

}  // namespace
