// Descriptions from the outside world: malformed, binary, nested without
// end, far too large. Each is refused with a reason that names the file;
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

}  // namespace
