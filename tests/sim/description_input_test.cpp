// Descriptions from the outside world: malformed, binary, nested without
// end, far too large, and mistakes in every table. Each is refused with a
// reason that names the file (and line and column where there is one);
// none may crash, abort or fall back to a default quietly.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "sim/description.h"

namespace {

using vex::sim::load_description_file;
using vex::sim::parse_description;

class DescriptionFile : public ::testing::Test {
protected:
    void SetUp() override {
        char templ[] = "/tmp/vexsdk-desc-XXXXXX";
        const int fd = ::mkstemp(templ);
        ASSERT_GE(fd, 0);
        ::close(fd);
        path_ = templ;
    }
    void TearDown() override { std::remove(path_.c_str()); }
    void write(const std::string& text) { std::ofstream(path_, std::ios::binary) << text; }
    std::string path_;
};

TEST(DescriptionInput, MalformedTomlIsAParseErrorNeverAnAbort) {
    // "[#" once tripped an internal check of the TOML parser.
    for (const std::string& text : {std::string("[#"), std::string("[[#"), std::string("[a.#]"), std::string("a=[#"),
                                   std::string("[\xff]"), std::string("=\n"), std::string("[controller\n")}) {
        std::string error;
        EXPECT_FALSE(parse_description(text, &error, "d.toml")) << text;
        EXPECT_EQ(error.rfind("d.toml:", 0), 0u) << error;
    }
}

TEST(DescriptionInput, DeepNestingIsRefused) {
    for (const std::string& open : {std::string("["), std::string("{x=")}) {
        std::string text = "a=";
        for (int i = 0; i < 100000; ++i) text += open;
        std::string error;
        EXPECT_FALSE(parse_description(text, &error, "deep.toml"));
        EXPECT_FALSE(error.empty());
    }
}

TEST_F(DescriptionFile, EmptyBinaryAndHugeFiles) {
    write("");
    std::string error;
    EXPECT_TRUE(load_description_file(path_, &error)) << "an empty description is the default controller: " << error;
    write(std::string("[controller]\nslots = 4\n\0\x01\x02", 26));
    EXPECT_FALSE(load_description_file(path_, &error));
    EXPECT_NE(error.find("binary"), std::string::npos) << error;
    // 100 MB, made here rather than committed: refused before it is read.
    ASSERT_EQ(::truncate(path_.c_str(), 100l * 1024 * 1024), 0);
    EXPECT_FALSE(load_description_file(path_, &error));
    EXPECT_NE(error.find("larger than"), std::string::npos) << error;
    EXPECT_EQ(error.rfind(path_, 0), 0u) << error;
}

TEST(DescriptionInput, EveryTableNamesLineAndColumnOfItsMistakes) {
    struct Case {
        const char* text;
        const char* where;  // expected "file:line:column" prefix
        const char* what;
    } const cases[] = {
        {"[memory]\nsram = 4\n", "m.toml:2:", "unknown key 'sram'"},
        {"[memory]\neeprom_kbit = 256\n", "m.toml:2:", "128 or 512"},
        {"[memory]\nsram_kib = \"big\"\n", "m.toml:2:", "whole number"},
        {"memory = 3\n", "m.toml:1:", "[memory] must be a table"},
        {"[factory]\nmac1 = \"00:11\"\n", "m.toml:2:", "'mac1' must be 6 bytes"},
        {"[factory]\nos_build = 7\n", "m.toml:2:", "local date and time"},
        {"[factory]\nserial_crc = \"maybe\"\n", "m.toml:2:", "'serial_crc'"},
        {"[controller]\nrotary = 16\n", "m.toml:2:", "'rotary'"},
        {"[card]\npresent = 1\n", "m.toml:2:", "true or false"},
        {"[card]\nslot = 1\n", "m.toml:2:", "unknown key 'slot'"},
        {"[card]\n[[card.partition]]\nname = \"a b\"\n", "m.toml:", "must not contain"},
        {"[[link]]\ninterface = \"eth0\"\nspeed = 100\n", "m.toml:3:", "unknown key 'speed'"},
        {"[[link]]\nup = true\n", "m.toml:", "'interface' is required"},
        {"link = 1\n", "m.toml:1:", "array of tables"},
        {"[[slot]]\nslot = 2\ndi_chanels = 8\n", "m.toml:3:", "unknown key"},
        {"[nonsense]\n", "m.toml:1:", "nonsense"},
    };
    for (const Case& c : cases) {
        std::string error;
        EXPECT_FALSE(parse_description(c.text, &error, "m.toml")) << c.text;
        EXPECT_EQ(error.rfind(c.where, 0), 0u) << c.text << " -> " << error;
        EXPECT_NE(error.find(c.what), std::string::npos) << c.text << " -> " << error;
    }
}

}  // namespace
