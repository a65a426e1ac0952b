// The battery-backed SRAM behind the paged window and the timekeeping
// chip's RAM on its three-wire port, against the virtual controller's
// chips, checked from the chips' side.
#include <gtest/gtest.h>

#include "sim/far_side.h"
#include "tests/services/services_fixture.h"
#include "vexsdk.h"

namespace {

namespace far = vex::sim::far;
using far::Chip;

std::vector<uint8_t> pattern(size_t n, uint8_t seed) {
    std::vector<uint8_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint8_t>(seed ^ (i * 13));
    return v;
}

class Sram : public vex::test::SimFixture {
protected:
    std::vector<uint8_t> chip(uint32_t address, uint32_t n) { return far::contents(sim(), Chip::Sram, address, n); }
};

TEST_F(Sram, UserAreaSitsAbove64KiBAndWritesTouchOnlyTheirRange) {
    far::fill(sim(), Chip::Sram, 0x10000 - 16, std::vector<uint8_t>(8000, 0xA5));
    const auto data = pattern(3000, 7);
    ASSERT_TRUE(vex_WriteMemory(0x7F0, data.data(), 3000, VEX_MEMORY_SRAM));
    EXPECT_EQ(chip(0x107F0, 3000), data);
    EXPECT_EQ(chip(0x10000 - 16, 16 + 0x7F0), std::vector<uint8_t>(16 + 0x7F0, 0xA5)) << "below the range";
    EXPECT_EQ(chip(0x107F0 + 3000, 100), std::vector<uint8_t>(100, 0xA5)) << "above the range";

    std::vector<uint8_t> got(3000);
    ASSERT_TRUE(vex_ReadMemory(0x7F0, got.data(), 3000, VEX_MEMORY_SRAM));
    EXPECT_EQ(got, data);
    // The system form reaches the same bytes from the SRAM's start.
    std::vector<uint8_t> sys(16);
    ASSERT_TRUE(vex_ReadMemory(0x1000000 + 0x107F0, sys.data(), 16, VEX_MEMORY_SRAM));
    EXPECT_EQ(sys, std::vector<uint8_t>(data.begin(), data.begin() + 16));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_SRAM_ADDRESS);
}

TEST_F(Sram, EachByteSelectsItsPageThenUsesEverySecondWindowAddress) {
    const auto data = pattern(16, 1);
    // User 2040 is SRAM byte 0x107F8: eight bytes in page 32, eight in 33.
    ASSERT_TRUE(vex_WriteMemory(2040, data.data(), 16, VEX_MEMORY_SRAM));
    std::vector<uint16_t> pages = far::register_writes(sim(), 0x901E);
    ASSERT_GE(pages.size(), 16u);
    pages.erase(pages.begin(), pages.end() - 16);
    std::vector<uint16_t> expect(8, 32);
    expect.insert(expect.end(), 8, 33);
    EXPECT_EQ(pages, expect);
    const auto window = far::register_writes(sim(), 0xA000 + 2 * 0x7F8);
    ASSERT_FALSE(window.empty());
    EXPECT_EQ(window.back(), data[0]);
    // The window's register image shows the selected page (page 33 now).
    EXPECT_EQ(*_vex_map(0xA000 + 2 * 7), data[15]);
    EXPECT_EQ(*_vex_map(0xA000 + 2 * 7 + 1), 0x00) << "odd addresses decode nothing";
}

TEST_F(Sram, WritesThatWouldWrapChangeNothing) {
    uint8_t b[2] = {};
    EXPECT_TRUE(vex_ReadMemory(0x107FFFF, b, 1, VEX_MEMORY_SRAM)) << "last byte in the system form";
    const auto before = chip(0, 16);
    EXPECT_FALSE(vex_WriteMemory(0x107FFFF, b, 2, VEX_MEMORY_SRAM)) << "would wrap into page 0";
    EXPECT_FALSE(vex_WriteMemory(0xFFFFFFFF, b, 2, VEX_MEMORY_SRAM)) << "address + length wraps past 2^32";
    EXPECT_EQ(chip(0, 16), before);
}

TEST_F(Sram, StuckBitsAndPersistence) {
    const auto data = pattern(64, 9);
    ASSERT_TRUE(vex_WriteMemory(0x100, data.data(), 64, VEX_MEMORY_SRAM));
    std::string error;
    ASSERT_TRUE(sim().power_cycle(&error)) << error;
    std::vector<uint8_t> got(64);
    ASSERT_TRUE(vex_ReadMemory(0x100, got.data(), 64, VEX_MEMORY_SRAM));
    EXPECT_EQ(got, data) << "battery-backed: kept over a power cycle";

    far::set_faults(sim(), Chip::Sram, vex::test::stuck_bits(0x10, 0x00));
    ASSERT_TRUE(vex_ReadMemory(0x100, got.data(), 64, VEX_MEMORY_SRAM));
    for (size_t i = 0; i < 64; ++i) EXPECT_EQ(got[i], data[i] & 0xEF) << i;
    EXPECT_EQ(chip(0x10100, 64), data) << "the fault is in the answer, not the contents";
}

class Nvram : public vex::test::SimFixture {};

TEST_F(Nvram, BytesGoThroughTheirCommandBytes) {
    const auto data = pattern(30, 4);
    ASSERT_TRUE(vex_WriteMemory(0, data.data(), 30, VEX_MEMORY_NVRAM));
    EXPECT_EQ(far::contents(sim(), Chip::Nvram, 0, 30), data);
    uint32_t total = 0;
    auto log = far::transactions(sim(), Chip::Nvram, &total);
    ASSERT_EQ(total, 30u);
    for (uint32_t n = 0; n < 30; ++n) {
        EXPECT_EQ(log[n].address, n);
        EXPECT_EQ(log[n].extra, 0xC0 + 2 * n) << "write command of RAM byte " << n;
        EXPECT_EQ(log[n].kind, static_cast<uint8_t>(vex::sim::ChipLogKind::Write));
    }

    far::fill(sim(), Chip::Nvram, 5, {0x81, 0x7E});
    uint8_t got[2] = {};
    ASSERT_TRUE(vex_ReadMemory(5, got, 2, VEX_MEMORY_NVRAM));
    EXPECT_EQ(got[0], 0x81);
    EXPECT_EQ(got[1], 0x7E);
    log = far::transactions(sim(), Chip::Nvram, &total);
    EXPECT_EQ(log.back().extra, 0xC1 + 2 * 6) << "read command of RAM byte 6";
    EXPECT_EQ(log.back().kind, static_cast<uint8_t>(vex::sim::ChipLogKind::Read));

    // The port as the library leaves it: chip deselected, clock low,
    // direction back to the processor.
    EXPECT_EQ(far::register_writes(sim(), 0x901C).back() & 0x07, 0);
}

TEST_F(Nvram, ARefusedWriteAtByte30ReachesNoChip) {
    uint8_t b[2] = {0x11, 0x22};
    EXPECT_TRUE(vex_WriteMemory(29, b, 1, VEX_MEMORY_NVRAM));
    EXPECT_FALSE(vex_WriteMemory(30, b + 1, 1, VEX_MEMORY_NVRAM));
    EXPECT_EQ(far::contents(sim(), Chip::Nvram, 29, 2), (std::vector<uint8_t>{0x11, 0x00}));
}

// The user area's bounds, the same rules for each memory. The NVRAM reports
// 31 bytes but its last one is out of reach.
using MemoryBounds = vex::test::SimFixture;

TEST_F(MemoryBounds, EveryMemoryEndsWhereItSaysAndRefusesBadBuffers) {
    struct Case {
        const char* name;
        uint32_t type, end, size, address_error;
    } const cases[] = {
        {"EEPROM", VEX_MEMORY_EEPROM, 0x2000, 8192, VEX_ERR_EEPROM_ADDRESS},
        {"SRAM", VEX_MEMORY_SRAM, 0x70000, 0x70000, VEX_ERR_SRAM_ADDRESS},
        {"NVRAM", VEX_MEMORY_NVRAM, 30, 31, VEX_ERR_NVRAM_ADDRESS},
    };
    vex_EnableEEPROM(VEX_TRUE);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        uint8_t b[2] = {};
        EXPECT_EQ(vex_GetMemorySize(c.type), c.size);
        vex_ClearLastError();
        EXPECT_TRUE(vex_WriteMemory(c.end - 1, b, 1, c.type));
        EXPECT_TRUE(vex_ReadMemory(c.end - 1, b, 1, c.type));
        EXPECT_EQ(vex_GetLastError(), 0u);
        EXPECT_TRUE(vex_ReadMemory(c.end, b, 0, c.type)) << "inclusive bound: end of area, length 0";
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_MEMORY_ARGUMENT);
        EXPECT_FALSE(vex_ReadMemory(c.end, b, 1, c.type));
        EXPECT_EQ(vex_GetLastError(), c.address_error);
        vex_ClearLastError();
        EXPECT_FALSE(vex_WriteMemory(c.end, b, 1, c.type));
        EXPECT_EQ(vex_GetLastError(), c.address_error);
        EXPECT_FALSE(vex_ReadMemory(c.end - 1, b, 2, c.type));
        EXPECT_FALSE(vex_ReadMemory(0xFFFFFFFF, b, 2, c.type)) << "address + length wraps past 2^32";
        vex_ClearLastError();
        EXPECT_FALSE(vex_ReadMemory(0, nullptr, 1, c.type));
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_MEMORY_ARGUMENT);
        vex_ClearLastError();
        EXPECT_FALSE(vex_WriteMemory(0, nullptr, 4, c.type));
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_MEMORY_ARGUMENT);
    }
}

TEST_F(Nvram, KeptOverPowerCycleAndStuckBitsReadBack) {
    const uint8_t v[3] = {0x0F, 0xF0, 0x55};
    ASSERT_TRUE(vex_WriteMemory(10, v, 3, VEX_MEMORY_NVRAM));
    std::string error;
    ASSERT_TRUE(sim().power_cycle(&error)) << error;
    far::set_faults(sim(), Chip::Nvram, vex::test::stuck_bits(0x01, 0x01));
    uint8_t got[3] = {};
    ASSERT_TRUE(vex_ReadMemory(10, got, 3, VEX_MEMORY_NVRAM));
    EXPECT_EQ(got[0], 0x0F);
    EXPECT_EQ(got[1], 0xF1);
    EXPECT_EQ(got[2], 0x55);
}

}  // namespace
