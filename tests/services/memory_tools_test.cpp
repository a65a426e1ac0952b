// vexctl mem / device and vexsim chips / fault, as people use them, on the
// built-in virtual controller.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "sim/far_side.h"
#include "tests/services/services_fixture.h"
#include "vexsdk.h"

namespace {

namespace far = vex::sim::far;
using far::Chip;
using vex::test::has_text;
using vex::test::run_vexctl;
using vex::test::run_vexsim;

class MemoryTools : public vex::test::SimFixture {};

TEST_F(MemoryTools, DevicePrintsTheDefaultControllersIdentity) {
    auto r = run_vexctl({"device"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(has_text(r.output, "serial number:      2D4C11A30B7E00E4"));
    EXPECT_TRUE(has_text(r.output, "OS version:         06000214"));
    EXPECT_TRUE(has_text(r.output, "boot loader build:  2023/11/06 10:42:17"));
    EXPECT_TRUE(has_text(r.output, "MAC LAN1:           02:56:58:00:10:01"));
    EXPECT_TRUE(has_text(r.output, "CPU board version:  1.0.17.0"));
    EXPECT_TRUE(has_text(r.output, "SDK version:        4.3.3.0"));

    r = run_vexctl({"device", "set-mac", "2", "00:11:22:aa:bb:cc"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(has_text(r.output, "MAC LAN2: 00:11:22:AA:BB:CC"));
    r = run_vexctl({"device", "set-mac", "2", "0011"});
    EXPECT_EQ(r.status, 2) << r.output;
    r = run_vexctl({"device", "set-mac", "3", "001122AABBCC"});
    EXPECT_EQ(r.status, 2) << r.output;

    far::set_faults(sim(), Chip::Eeprom, vex::test::kSilentChip);
    r = run_vexctl({"device", "--json"});
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(has_text(r.output, "could not be read"));
    EXPECT_TRUE(has_text(r.output, "\"factory_record_readable\":false"));
}

TEST_F(MemoryTools, MemReadWriteAndDump) {
    auto r = run_vexctl({"mem", "write", "eeprom", "0x40", "DE:AD:BE:EF"});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(has_text(r.output, "write-protected"));
    EXPECT_TRUE(far::pin_high(sim(), 4));
    r = run_vexctl({"mem", "write", "eeprom", "0x40", "DE:AD:BE:EF", "--unprotect"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(far::pin_high(sim(), 4)) << "protected again afterwards";
    EXPECT_EQ(far::contents(sim(), Chip::Eeprom, 0x40, 4), (std::vector<uint8_t>{0xDE, 0xAD, 0xBE, 0xEF}));

    r = run_vexctl({"mem", "read", "eeprom", "0x3E", "8"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(has_text(r.output, "0000003E  ff ff de ad be ef ff ff"));

    const std::string in = base_dir() + "/in.bin";
    std::ofstream(in, std::ios::binary) << std::string("\x01\x02\x03", 3);
    r = run_vexctl({"mem", "write", "sram", "0x100", "--file", in});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(far::contents(sim(), Chip::Sram, 0x10100, 3), (std::vector<uint8_t>{1, 2, 3}));

    const std::string out = base_dir() + "/eeprom.bin";
    r = run_vexctl({"mem", "dump", "eeprom", out, "--progress"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(has_text(r.output, "100%  8192 / 8192 bytes"));
    std::ifstream f(out, std::ios::binary);
    const std::vector<uint8_t> dumped((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    EXPECT_EQ(dumped, far::contents(sim(), Chip::Eeprom, 0, 8192));

    far::set_faults(sim(), Chip::Eeprom, vex::test::kSilentChip);
    std::ofstream(out, std::ios::binary) << "old";
    r = run_vexctl({"mem", "dump", "eeprom", out, "-q"});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(has_text(r.output, "error 0x11007"));
    std::ifstream kept(out);
    EXPECT_EQ(std::string((std::istreambuf_iterator<char>(kept)), std::istreambuf_iterator<char>()), "old")
        << "a failed dump leaves the file as it was";
}

TEST_F(MemoryTools, BadCommandLinesExitTwo) {
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"mem", "read", "flash", "0", "1"},
             {"mem", "read", "sram", "-1", "1"},
             {"mem", "read", "sram", "0", "0"},
             {"mem", "write", "nvram", "0", "ABC"},
             {"mem", "write", "nvram", "0", "XY"},
             {"mem", "write", "nvram", "0"},
             {"mem", "protect", "maybe"}}) {
        auto r = run_vexctl(args);
        EXPECT_EQ(r.status, 2) << args[1] << " " << args[2] << ": " << r.output;
    }
    auto r = run_vexctl({"mem", "read", "nvram", "30", "1"});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(has_text(r.output, "Accesses invalid NVRAM address"));
}

TEST_F(MemoryTools, VexsimFaultsAndChips) {
    auto r = run_vexsim({"chip-fault", "eeprom", "--stuck-bit", "7=1"});
    ASSERT_EQ(r.status, 0) << r.output;
    far::fill(sim(), Chip::Eeprom, 0, {0x01});
    uint8_t b = 0;
    ASSERT_TRUE(vex_ReadMemory(0, &b, 1, VEX_MEMORY_EEPROM));
    EXPECT_EQ(b, 0x81);
    r = run_vexsim({"chip-fault", "eeprom", "--clear", "--ack-budget", "2"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_FALSE(vex_ReadMemory(0, &b, 1, VEX_MEMORY_EEPROM)) << "the low address byte is not acknowledged";
    r = run_vexsim({"chip-fault", "sram", "--no-ack"});
    EXPECT_EQ(r.status, 2) << r.output;
    r = run_vexsim({"chip-fault", "eeprom", "--stuck-bit", "8=1"});
    EXPECT_EQ(r.status, 2) << r.output;

    r = run_vexsim({"set", "battery", "1", "low"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(vex_GetBatteryLevel(1), 0);
    r = run_vexsim({"set", "rotary", "12"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(vex_GetRotaryID(), 12);

    r = run_vexsim({"chips"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(has_text(r.output, "EEPROM: 16384 bytes"));
    EXPECT_TRUE(has_text(r.output, "acknowledges 0 more bytes"));
    EXPECT_TRUE(has_text(r.output, "SRAM: 524288 bytes"));
}

}  // namespace
