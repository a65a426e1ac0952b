// The EEPROM through the library's bit-banged bus, against the virtual
// controller's chip; every check reads what the chip holds afterwards.
#include <gtest/gtest.h>

#include <numeric>

#include "services/eeprom.h"
#include "sim/far_side.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace {

namespace far = vex::sim::far;
using far::Chip;
using vex::sim::ChipLogKind;

std::vector<uint8_t> pattern(size_t n, uint8_t seed) {
    std::vector<uint8_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint8_t>(seed + i * 7);
    return v;
}

class Eeprom : public vex::test::SimFixture {
protected:
    std::vector<vex::sim::ChipLogEntry> writes_since(uint32_t since) {
        uint32_t total = 0;
        auto all = far::transactions(sim(), Chip::Eeprom, &total);
        std::vector<vex::sim::ChipLogEntry> out;
        for (size_t i = 0; i < all.size(); ++i) {
            const uint32_t index = total - static_cast<uint32_t>(all.size()) + static_cast<uint32_t>(i);
            if (index >= since && all[i].kind == static_cast<uint8_t>(ChipLogKind::Write)) out.push_back(all[i]);
        }
        return out;
    }
    uint32_t log_total() {
        uint32_t total = 0;
        far::transactions(sim(), Chip::Eeprom, &total);
        return total;
    }
};

TEST_F(Eeprom, ReadsWhatTheChipHolds) {
    const auto data = pattern(300, 3);
    far::fill(sim(), Chip::Eeprom, 0x100, data);
    std::vector<uint8_t> got(300, 0);
    ASSERT_TRUE(vex_ReadMemory(0x100, got.data(), 300, VEX_MEMORY_EEPROM)) << std::hex << vex_GetLastError();
    EXPECT_EQ(got, data);
    // The system form reaches the same chip bytes from 0x20000.
    std::vector<uint8_t> sys(16, 0);
    ASSERT_TRUE(vex_ReadMemory(0x20100, sys.data(), 16, VEX_MEMORY_EEPROM));
    EXPECT_EQ(sys, std::vector<uint8_t>(data.begin(), data.begin() + 16));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_EEPROM_ADDRESS) << "the failed user form stays recorded";
}

TEST_F(Eeprom, WritesArePageSplitAndLandInTheChip) {
    vex_EnableEEPROM(VEX_TRUE);
    const uint32_t before = log_total();
    const auto data = pattern(100, 9);
    ASSERT_TRUE(vex_WriteMemory(0x30, data.data(), 100, VEX_MEMORY_EEPROM)) << std::hex << vex_GetLastError();
    EXPECT_EQ(far::contents(sim(), Chip::Eeprom, 0x30, 100), data);
    const auto w = writes_since(before);
    ASSERT_EQ(w.size(), 3u);
    EXPECT_EQ(w[0].address, 0x30u);
    EXPECT_EQ(w[0].length, 16u);
    EXPECT_EQ(w[1].address, 0x40u);
    EXPECT_EQ(w[1].length, 64u);
    EXPECT_EQ(w[2].address, 0x80u);
    EXPECT_EQ(w[2].length, 20u);
    EXPECT_GT(far::eeprom_busy_refusals(sim()), 0u) << "each page waited for the write cycle of the one before";
}

}  // namespace
