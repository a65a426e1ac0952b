// The memory chips, factory record and board facts of a description, and
// the record the virtual controller makes of them.
#include <gtest/gtest.h>

#include "sim/description.h"
#include "sim/models/memory.h"

namespace {

using vex::sim::parse_description;

TEST(BoardDescription, FactoryRecordLayout) {
    std::string error;
    auto d = parse_description(R"(
[factory]
serial = "021CB801000000"
eboot_version = "1.2.0.5"
os_version = "99.0.10.7"
mac1 = "00:11:22:AA:BB:CC"
mac2 = "0a-0b-0c-0d-0e-0f"
eboot_build = 2023-01-02 03:04:05
os_build = 2024-12-31 23:59:58
)",
                               &error);
    ASSERT_TRUE(d) << error;
    uint8_t r[56];
    vex::sim::models::encode_factory_record(d->factory, r);
    const uint8_t expect[56] = {
        0x02, 0x1C, 0xB8, 0x01, 0x00, 0x00, 0x00, 0xA2,  // serial and its CRC-8 (the one-wire example)
        1, 2, 0, 5, 99, 0, 10, 7,                        // boot loader, OS versions
        0x00, 0x11, 0x22, 0xAA, 0xBB, 0xCC, 0, 0,        // LAN1
        0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F, 0, 0,        // LAN2
        0xE7, 0x07, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0,        // boot loader build, little-endian words
        0xE8, 0x07, 12, 0, 31, 0, 23, 0, 59, 0, 58, 0};  // OS build
    EXPECT_EQ(std::vector<uint8_t>(r, r + 56), std::vector<uint8_t>(expect, expect + 56));

    d->factory.crc = vex::sim::FactoryDescription::Crc::Invalid;
    vex::sim::models::encode_factory_record(d->factory, r);
    EXPECT_NE(r[7], 0xA2);
}

TEST(BoardDescription, BoardFactsAndChips) {
    std::string error;
    auto d = parse_description(
        "[controller]\ncpu_id = 5\nboard_version = 43\nrotary = 15\nbattery1_low = true\n"
        "[memory]\neeprom_kbit = 512\nsram_kib = 128\neeprom_write_cycle_us = 0\n",
        &error);
    ASSERT_TRUE(d) << error;
    EXPECT_EQ(d->board.board_version, 43);
    EXPECT_EQ(d->board.rotary, 15);
    EXPECT_TRUE(d->board.battery1_low);
    EXPECT_FALSE(d->board.battery2_low);
    EXPECT_EQ(d->board.eeprom_kbit, 512u);
    EXPECT_EQ(d->board.sram_kib, 128);
    EXPECT_EQ(d->board.eeprom_write_cycle_us, 0u);
    EXPECT_FALSE(d->factory.present);

    auto only_cpu = parse_description("[controller]\ncpu_id = 3\n", &error);
    ASSERT_TRUE(only_cpu);
    EXPECT_EQ(only_cpu->board.board_version, 24) << "the CPU ID's bits, nothing below";
}

}  // namespace
