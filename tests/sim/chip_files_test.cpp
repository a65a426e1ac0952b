// The memory chips' files in the instance directory.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/target.h"
#include "sim/instance.h"
#include "sim/models/memory.h"
#include "tests/support/sim_fixture.h"

namespace {

using vex::sim::Instance;

std::vector<uint8_t> file_bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class ChipFiles : public vex::test::SimFixture {};

TEST_F(ChipFiles, MadeWholeWithTheFactoryRecordAndNothingAside) {
    const std::string dir = vex::plat::instance_dir(instance_name());
    const auto eeprom = file_bytes(dir + "/eeprom.bin");
    ASSERT_EQ(eeprom.size(), 65536u);
    uint8_t record[56];
    vex::sim::models::encode_factory_record(vex::sim::default_description().factory, record);
    EXPECT_EQ(std::vector<uint8_t>(eeprom.begin() + 0x3800, eeprom.begin() + 0x3838),
              std::vector<uint8_t>(record, record + 56));
    EXPECT_EQ(record[0], 0x2D) << "the default serial number's first byte";
    EXPECT_TRUE(std::all_of(eeprom.begin(), eeprom.begin() + 0x3800, [](uint8_t b) { return b == 0xFF; }));
    EXPECT_TRUE(std::all_of(eeprom.begin() + 0x3838, eeprom.end(), [](uint8_t b) { return b == 0xFF; }))
        << "erased apart from the record";
    EXPECT_EQ(file_bytes(dir + "/sram.bin").size(), 0x80000u);
    EXPECT_EQ(file_bytes(dir + "/nvram.bin").size(), 31u);
    for (const auto& e : std::filesystem::directory_iterator(dir))
        EXPECT_NE(e.path().extension(), ".new") << "a file left aside: " << e.path();
}

TEST_F(ChipFiles, AFileOfTheWrongSizeIsAClearError) {
    const std::string other = instance_name() + "-bad";
    const std::string dir = vex::plat::instance_dir(other);
    std::filesystem::create_directories(dir);
    std::ofstream(dir + "/sram.bin", std::ios::binary) << std::string(100, '\0');
    std::string error;
    EXPECT_EQ(Instance::attach(other, &error), nullptr);
    EXPECT_NE(error.find("sram.bin holds 100 bytes"), std::string::npos) << error;
    EXPECT_NE(error.find("remove it"), std::string::npos) << error;
    std::filesystem::remove(dir + "/sram.bin");
    auto inst = Instance::attach(other, &error);
    EXPECT_TRUE(inst) << error;
    inst.reset();
    Instance::destroy(other);
}

}  // namespace
