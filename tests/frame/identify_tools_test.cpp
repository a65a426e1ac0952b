// vexctl info and vexsim plug --module, as separate processes on the
// test's virtual controller.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

class IdentifyTools : public SimFixture {};

bool has_line(const std::string& text, const std::string& line) {
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

TEST_F(IdentifyTools, InfoNamesEveryModule) {
    const ProcessResult r = run_vexctl({"info"});
    ASSERT_EQ(r.status, 0) << r.output;
    const char* slots[] = {
        "   0  0x2F  0x81   8132                3  32 DO",
        "   1  0x13  0x80   8016                0  16 DI",
        "   2  0x21  0x80   8088                0  8 DI, 8 DO",
        "   3  0xFF  0x40   4308                -  8 DI, 8 DO, 8 CNT",
        "   4  0x15  0x80   8032                0  32 DI",
        "   5  0x24  0x80   8116                0  16 DO",
        "   6  -     -      (empty)",
        "   7  0xFF  0x40   4504P               -  4 AO",
    };
    for (const char* line : slots) EXPECT_TRUE(has_line(r.output, line)) << line << "\n" << r.output;
    for (const char* part : {"HR4-8000", "model code:        4", "1.0.3.0"})
        EXPECT_NE(r.output.find(part), std::string::npos) << part << "\n" << r.output;
    // The bus modules answer with their own names.
    EXPECT_TRUE(has_line(r.output, "COM1:")) << r.output;
    EXPECT_TRUE(has_line(r.output, "  0x01          4408                  8 AI")) << r.output;
    EXPECT_TRUE(has_line(r.output, "  0x02          4216                  16 DO")) << r.output;
    EXPECT_TRUE(has_line(r.output, "  0x10          RU2                   expansion unit, 2 slots")) << r.output;
    EXPECT_TRUE(has_line(r.output, "  0x10/0        4116                  16 DI, 16 CNT")) << r.output;
    EXPECT_EQ(r.output.find("COM2:"), std::string::npos) << "a bus without modules is not listed";

    // A silent bus module shows what the description says it is.
    ASSERT_EQ(run_vexsim({"fault", "COM1:02", "silent"}).status, 0);
    const ProcessResult silent = run_vexctl({"info"});
    EXPECT_TRUE(has_line(silent.output, "  0x02          4216 (no answer)      16 DO")) << silent.output;
}

TEST_F(IdentifyTools, PlugsModulesByCatalogueName) {
    ProcessResult r = run_vexsim({"plug", "6", "--module", "8016H", "--version", "4"});
    ASSERT_EQ(r.status, 0) << r.output;
    char name[VEX_MODULE_NAME_SIZE] = {};
    vex_GetModuleName(6, name);
    EXPECT_STREQ(name, "8016H");
    r = run_vexsim({"plug", "6", "--module", "PX-MOTION", "--replace"});
    ASSERT_EQ(r.status, 0) << r.output;
    vex_GetModuleName(6, name);
    EXPECT_STREQ(name, "PX-MOTION");

    r = run_vexsim({"plug", "6", "--module", "8061H"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.output.find("'8061H' is no parallel-bus module"), std::string::npos) << r.output;
    EXPECT_NE(r.output.find("8016H"), std::string::npos) << "close names are listed\n" << r.output;
    r = run_vexsim({"plug", "6", "--module", "8044A"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.output.find("input straps"), std::string::npos) << r.output;
    r = run_vexsim({"plug", "6", "--module", "8016", "--id", "3"});
    EXPECT_NE(r.status, 0) << "the catalogue gives the ID\n" << r.output;
    vex_GetModuleName(6, name);
    EXPECT_STREQ(name, "PX-MOTION") << "refused plugs change nothing";
}

TEST_F(IdentifyTools, DescriptionsNameModulesByTheCatalogue) {
    std::string error;
    auto parse = [&](const std::string& slot) {
        return sim::parse_description("[[slot]]\nslot = 2\n" + slot, &error).has_value();
    };
    ASSERT_TRUE(parse("module = \"8088MP\"\ndi = 0x0F\n")) << error;
    const auto d = sim::parse_description("[[slot]]\nslot = 2\nmodule = \"8088MP\"\n", &error);
    EXPECT_EQ(d->slots[2].id, 0x21);
    EXPECT_EQ(d->slots[2].subtype, 0x21);
    EXPECT_EQ(d->slots[2].di_channels, 8);
    EXPECT_FALSE(parse("module = \"8088\"\ndo_channels = 16\n"));
    EXPECT_NE(error.find("'do_channels' comes from the catalogue"), std::string::npos) << error;
    EXPECT_FALSE(parse("module = \"9999\"\n"));
    EXPECT_NE(error.find("description:3:"), std::string::npos) << "the line of the name\n" << error;
    EXPECT_FALSE(parse("module = \"8032\"\ninterrupt_rising = 0x1FFFFFFFF\n"));
}

}  // namespace
}  // namespace vex::test
