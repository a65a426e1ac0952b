// The JSON writer and the terminal escaper of the tools: whatever bytes a
// register, a device or a user sent, the output stays valid and readable.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tools/common/cli.h"
#include "tools/common/json.h"

namespace vex::tools {
namespace {

TEST(JsonWriter, NestsAndSeparatesValues) {
    Json j;
    j.open_object().field("slot", 2).field("on", true).key("none").null();
    j.key("lines").open_array().value(1u).value(-1).open_object().close().open_array().close().close();
    j.field("real", 0.5).field("nan", std::nan("")).field("big", static_cast<uint64_t>(0xFFFFFFFFFFull)).close();
    EXPECT_EQ(j.text(), R"({"slot":2,"on":true,"none":null,"lines":[1,-1,{},[]],"real":0.5,"nan":null,)"
                        R"("big":1099511627775})");
}

TEST(JsonWriter, EscapesControlCharactersAndReplacesBrokenUtf8) {
    EXPECT_EQ(Json::quote("a\"b\\c\n\r\t\x01\x1f\x7f"), R"("a\"b\\c\n\r\t\u0001\u001f\u007f")");
    // Valid multi-byte sequences pass as they are.
    EXPECT_EQ(Json::quote("\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"), "\"\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\"");
    // A lone continuation byte, a truncated sequence, an overlong form, a
    // surrogate and a code point past U+10FFFF each become U+FFFD per byte.
    EXPECT_EQ(Json::quote("\x80"), R"("\ufffd")");
    EXPECT_EQ(Json::quote("\xe2\x82"), R"("\ufffd\ufffd")");
    EXPECT_EQ(Json::quote("\xc0\xaf"), R"("\ufffd\ufffd")");
    EXPECT_EQ(Json::quote("\xe0\x80\xaf"), R"("\ufffd\ufffd\ufffd")");
    EXPECT_EQ(Json::quote("\xed\xa0\x80"), R"("\ufffd\ufffd\ufffd")");
    EXPECT_EQ(Json::quote("\xf4\x90\x80\x80"), R"("\ufffd\ufffd\ufffd\ufffd")");
    EXPECT_EQ(Json::quote(std::string("a\0b", 3)), R"("a\u0000b")");
    Json j;
    j.open_object().field("k\xff", "v").close();
    EXPECT_EQ(j.text(), R"({"k\ufffd":"v"})");
}

TEST(JsonWriterDeathTest, UnbalancedDocumentsAreCaught) {
    EXPECT_DEATH(
        {
            Json j;
            j.open_object().value(1);
        },
        "needs a key");
    EXPECT_DEATH(
        {
            Json j;
            j.open_array();
            j.print();
        },
        "unbalanced");
}

TEST(EscapeText, ShowsWhatIsStored) {
    EXPECT_EQ(escape_text("plain text"), "plain text");
    EXPECT_EQ(escape_text("a\"b\\c\nd\te\x1b[0m"), "a\\\"b\\\\c\\nd\\te\\x1B[0m");
    EXPECT_EQ(escape_text("caf\xc3\xa9"), "caf\xc3\xa9");
    EXPECT_EQ(escape_text("\xff\xc3"), "\\xFF\\xC3");
}

}  // namespace
}  // namespace vex::tools
