// Device information, read through the bit-banged EEPROM bus from the
// factory record the description puts into the virtual controller.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/text_codec.h"
#include "sim/far_side.h"
#include "tests/services/services_fixture.h"
#include "vexsdk.h"

namespace {

namespace far = vex::sim::far;
using far::Chip;

constexpr uint32_t kRecord = 0x3800;

std::string text(int32_t (*get)(char*)) {
    char buf[VEX_DEVICE_TEXT_SIZE];
    std::memset(buf, '#', sizeof buf);
    const int32_t n = get(buf);
    EXPECT_EQ(n, static_cast<int32_t>(std::strlen(buf)));
    return buf;
}

std::string mac(uint8_t index) {
    char buf[VEX_DEVICE_TEXT_SIZE] = "";
    vex_GetMacAddress(index, buf);
    return buf;
}

// A controller whose serial number is the one-wire example with its
// published CRC-8 (0xA2), set explicitly rather than computed.
class DeviceInfo : public vex::test::SimFixture {
    std::string description() override {
        return R"(
[controller]
hardware_id = "HR4-8000"
board_version = 21
rotary = 9
battery2_low = true

[factory]
serial = "02:1C:B8:01:00:00:00"
serial_crc = 0xA2
eboot_version = "1.2.0.5"
os_version = "99.0.10.7"
mac1 = "00-11-22-AA-BB-CC"
mac2 = "0A0B0C0D0E0F"
eboot_build = 2023-01-02 03:04:05
os_build = 2024-12-31 23:59:58
)";
    }
};

TEST_F(DeviceInfo, FactsOfTheRecordAndTheBoard) {
    EXPECT_EQ(text(vex_GetSerialNumber), "021CB801000000A2");
    EXPECT_EQ(text(vex_GetEbootVersion), "01020005");
    EXPECT_EQ(text(vex_GetOSVersion), "99001007");
    EXPECT_EQ(mac(1), "001122AABBCC");
    EXPECT_EQ(mac(2), "0A0B0C0D0E0F");
    char narrow[VEX_DEVICE_TEXT_SIZE];
    wchar_t wide[VEX_DEVICE_TEXT_SIZE];
    EXPECT_EQ(vex_GetOSBuild_DATE_TIME(narrow, wide), 19);
    EXPECT_STREQ(narrow, "2024/12/31 23:59:58");
    EXPECT_STREQ(wide, L"2024/12/31 23:59:58");
    EXPECT_EQ(vex_GetEbootBuild_DATE_TIME(nullptr, wide), 19);
    EXPECT_STREQ(wide, L"2023/01/02 03:04:05");
    EXPECT_EQ(vex_GetEbootBuild_DATE_TIME(narrow, nullptr), 19);
    EXPECT_STREQ(narrow, "2023/01/02 03:04:05");

    EXPECT_EQ(text(vex_GetCPUVersion), "1.0.21.0");
    EXPECT_EQ(vex_GetCPUID(), 2u) << "the version's top bits are the CPU ID";
    EXPECT_EQ(vex_GetRotaryID(), 9);
    far::set_rotary(sim(), 0);
    EXPECT_EQ(vex_GetRotaryID(), 0);
    EXPECT_EQ(vex_GetBatteryLevel(1), 1);
    EXPECT_EQ(vex_GetBatteryLevel(2), 0) << "described low";
    far::set_battery_low(sim(), 2, false);
    far::set_battery_low(sim(), 1, true);
    EXPECT_EQ(vex_GetBatteryLevel(1), 0);
    EXPECT_EQ(vex_GetBatteryLevel(2), 1);
    EXPECT_EQ(vex_GetBatteryLevel(0), 0);
    EXPECT_EQ(vex_GetBatteryLevel(3), 0);
}

TEST_F(DeviceInfo, ABadCrcOrAnUnreadableRecordSaysSo) {
    far::fill(sim(), Chip::Eeprom, kRecord + 7, {0xA3});
    vex_ClearLastError();
    EXPECT_EQ(text(vex_GetSerialNumber), "5A5A5A5A5A5A5A5A");
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_EEPROM_ADDRESS) << "only the system-form note, no code of its own";

    far::set_faults(sim(), Chip::Eeprom, vex::test::kSilentChip);
    EXPECT_EQ(text(vex_GetOSVersion), "255255255255");
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_EEPROM_READ);
    EXPECT_EQ(mac(1), "FFFFFFFFFFFF");
    char narrow[VEX_DEVICE_TEXT_SIZE];
    EXPECT_EQ(vex_GetOSBuild_DATE_TIME(narrow, nullptr), 35) << "the longest text an erased record gives";
}

TEST_F(DeviceInfo, MacIndexesOtherThanOneAndTwoAreRefused) {
    for (const uint8_t index : {uint8_t{0}, uint8_t{3}, uint8_t{255}}) {
        vex_ClearLastError();
        EXPECT_EQ(mac(index), "FFFFFFFFFFFF") << int{index};
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_MAC);
    }
    EXPECT_EQ(vex_GetMacAddress(1, nullptr), 0);
}

TEST_F(DeviceInfo, SetMacChangesOnlyItsSixBytesAndLeavesTheEepromProtected) {
    const auto before = far::contents(sim(), Chip::Eeprom, kRecord, 56);
    ASSERT_TRUE(_vex_set_mac_address(1, L"a1b2c3D4E5F6"));
    EXPECT_EQ(mac(1), "A1B2C3D4E5F6");
    auto expect = before;
    const uint8_t written[6] = {0xA1, 0xB2, 0xC3, 0xD4, 0xE5, 0xF6};
    std::copy(written, written + 6, expect.begin() + 16);
    EXPECT_EQ(far::contents(sim(), Chip::Eeprom, kRecord, 56), expect);
    EXPECT_TRUE(far::pin_high(sim(), 4)) << "write protect is on again";

    const auto after = far::contents(sim(), Chip::Eeprom, 0, 0x4000);
    for (const wchar_t* bad : {L"A1B2C3D4E5", L"A1B2C3D4E5F6A7", L"A1B2C3D4E5G6", L"A1:B2:C3:D4:E5", L"", L" 1B2C3D4E5F6"}) {
        vex_ClearLastError();
        EXPECT_FALSE(_vex_set_mac_address(2, bad)) << "'" << vex::plat::to_utf8(bad) << "'";
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_MAC);
    }
    EXPECT_FALSE(_vex_set_mac_address(2, nullptr));
    EXPECT_FALSE(_vex_set_mac_address(3, L"001122334455"));
    EXPECT_FALSE(_vex_set_mac_address(0, L"001122334455"));
    EXPECT_EQ(far::contents(sim(), Chip::Eeprom, 0, 0x4000), after) << "bad input writes nothing";

    far::set_faults(sim(), Chip::Eeprom, vex::test::kSilentChip);
    EXPECT_FALSE(_vex_set_mac_address(2, L"001122334455"));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_EEPROM_READ) << "a record that cannot be read is not written back";
}

TEST_F(DeviceInfo, LibraryVersionAndNullBuffers) {
    char buf[VEX_DEVICE_TEXT_SIZE] = "";
    EXPECT_EQ(vex_GetSDKVersion(buf), buf);
    EXPECT_STREQ(buf, "4.3.3.0");
    EXPECT_EQ(vex_GetSDKVersion(nullptr), nullptr);
    EXPECT_TRUE(vex_CheckSDKVersion(0x04030300));
    EXPECT_TRUE(vex_CheckSDKVersion(0));
    EXPECT_FALSE(vex_CheckSDKVersion(0x04030301));
    EXPECT_FALSE(vex_CheckSDKVersion(0x05000000));
    EXPECT_EQ(vex_GetSerialNumber(nullptr), 0);
    EXPECT_EQ(vex_GetCPUVersion(nullptr), 0);
    EXPECT_EQ(vex_GetOSBuild_DATE_TIME(nullptr, nullptr), 0);
}

TEST_F(DeviceInfo, VexctlDeviceJsonReportsTheSameFacts) {
    auto r = vex::test::run_vexctl({"device", "--json"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_NE(r.output.find("\"serial_number_valid\":true"), std::string::npos) << r.output;
    EXPECT_NE(r.output.find("\"rotary_switch\":9"), std::string::npos) << r.output;
    EXPECT_NE(r.output.find("\"battery2_ok\":false"), std::string::npos) << r.output;
}

class SingleSlotDevice : public vex::test::SimFixture {
    std::string description() override {
        return "[controller]\nhardware_id = \"LT4-10\"\nslots = 1\nboard_version = 13\nrotary = 6\n";
    }
};

TEST_F(SingleSlotDevice, BoardFactsComeFromItsOwnRegisterAndBatteriesAreNotReported) {
    EXPECT_EQ(text(vex_GetCPUVersion), "1.0.13.0");
    EXPECT_EQ(vex_GetRotaryID(), 6);
    vex_ClearLastError();
    EXPECT_EQ(vex_GetBatteryLevel(1), 0);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    // No factory record described: the system area is erased.
    EXPECT_EQ(text(vex_GetSerialNumber), "5A5A5A5A5A5A5A5A");
    EXPECT_EQ(mac(1), "FFFFFFFFFFFF");
}

}  // namespace
