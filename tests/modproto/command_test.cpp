// Command texts: widths by channel count, masks, groups, value formats.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <string>

#include "modproto/command.h"
#include "modproto/families.h"

namespace vex::modproto {
namespace {

TEST(Commands, MasksAndWidthsFollowTheChannelCount) {
    EXPECT_EQ(channel_mask(8), 0xFFu);
    EXPECT_EQ(channel_mask(1), 1u);
    for (int32_t n : {32, 33, INT_MAX}) EXPECT_EQ(channel_mask(n), 0xFFFFFFFFu) << n;
    for (int32_t n : {0, -1, INT_MIN}) EXPECT_EQ(channel_mask(n), 0u) << n;
    EXPECT_EQ(part_bytes(8), 1);
    EXPECT_EQ(part_bytes(9), 2);
    EXPECT_EQ(part_bytes(INT_MAX), 268435456) << "no overflow";
    EXPECT_EQ(part_bytes(-20), 0);
    const int mf[] = {field_width_mf(8), field_width_mf(9), field_width_mf(16), field_width_mf(17),
                      field_width_mf(24), field_width_mf(25), field_width_mf(-3)};
    EXPECT_EQ(std::vector<int>(std::begin(mf), std::end(mf)), (std::vector<int>{2, 4, 4, 6, 6, 8, 2}));
    EXPECT_EQ(field_width_unified(4), 1);
    EXPECT_EQ(field_width_unified(5), 2);
}

TEST(Commands, BitGroups) {
    auto g = [](int32_t bit, int32_t count) {
        const BitGroup b = bit_group(bit, count);
        return std::string(1, b.group) + std::to_string(b.bit);
    };
    EXPECT_EQ(g(9, 16), "B1");
    EXPECT_EQ(g(9, 8), "A9") << "up to 8 outputs everything is group A";
    EXPECT_EQ(g(7, 16), "A7");
    EXPECT_EQ(g(23, 32), "C7");
    EXPECT_EQ(g(31, 32), "D7");
    EXPECT_EQ(g(INT_MAX, 32), "D" + std::to_string(INT_MAX - 24));
    EXPECT_EQ(g(-1, 32), "A-1");
}

TEST(Commands, AnalogValuesAndBufferBounds) {
    char v[48];
    ASSERT_TRUE(format_ao_value(2.5f, false, v, sizeof v));
    EXPECT_STREQ(v, "02.500");
    ASSERT_TRUE(format_ao_value(2.5f, true, v, sizeof v));
    EXPECT_STREQ(v, "+02.500");
    ASSERT_TRUE(format_ao_value(-2.5f, false, v, sizeof v));
    EXPECT_STREQ(v, "-02.500");
    ASSERT_TRUE(format_ao_value(-0.0f, true, v, sizeof v));
    EXPECT_STREQ(v, "+00.000");
    EXPECT_FALSE(format_ao_value(std::numeric_limits<float>::quiet_NaN(), true, v, sizeof v));
    EXPECT_FALSE(format_ao_value(std::numeric_limits<float>::infinity(), true, v, sizeof v));
    EXPECT_FALSE(format_ao_value(1e30f, true, v, 8)) << "too wide for the room";

    Command c = make_command(kShortCommand, "#%02X%s", 3u, "1-02.500");
    EXPECT_TRUE(c.fits);
    EXPECT_STREQ(c.text, "#031-02.500");
    EXPECT_EQ(c.size, kShortCommand);
    c = make_command(kShortCommand, "%s", "12345678901234567890");
    EXPECT_FALSE(c.fits) << "20 characters do not fit a 20-character buffer";
    EXPECT_STREQ(c.text, "");
    EXPECT_TRUE(make_command(kShortCommand, "%s", "1234567890123456789").fits);
}

TEST(Commands, BitTestsNeverShiftPastAWord) {
    EXPECT_EQ(test_bit(0x80000000u, 32, 31), 1);
    EXPECT_EQ(test_bit(0xFFFFFFFFu, 40, 32), 0);
    EXPECT_EQ(test_bit(0xFFFFFFFFu, 8, 8), 0) << "beyond the channel count";
    EXPECT_EQ(test_bit(0xFFFFFFFFu, 8, -1), 0);
    EXPECT_EQ(test_bit(0xFFFFFFFFu, INT_MAX, INT_MAX), 0);
    EXPECT_EQ(test_bit(0xFFFFFFFFu, -5, 0), 0);
}

}  // namespace
}  // namespace vex::modproto
