#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

#include "platform/deadline.h"

namespace vex::plat {
namespace {

constexpr uint64_t kMs = 1000000;

TEST(Deadline, ExpiresExactlyWhenTheBudgetIsSpent) {
    const Deadline d(200, 5 * kMs);
    EXPECT_FALSE(d.expired(5 * kMs));
    EXPECT_EQ(d.wait_ms(5 * kMs), 200);
    // One nanosecond short of the budget: not expired, and a poll given the
    // rest (rounded up) reaches the deadline.
    EXPECT_FALSE(d.expired(205 * kMs - 1));
    EXPECT_EQ(d.remaining_ns(205 * kMs - 1), 1u);
    EXPECT_EQ(d.wait_ms(205 * kMs - 1), 1);
    EXPECT_EQ(d.wait_ms(5 * kMs + 1), 200) << "rounded up, never down";
    EXPECT_TRUE(d.expired(205 * kMs));
    EXPECT_EQ(d.wait_ms(205 * kMs), 0);
    EXPECT_TRUE(d.expired(UINT64_MAX / 2));
}

TEST(Deadline, SurvivesTheClockWrapping) {
    const uint64_t start = UINT64_MAX - 50 * kMs;
    const Deadline d(100, start);
    EXPECT_FALSE(d.expired(start + 10 * kMs));
    EXPECT_FALSE(d.expired(20 * kMs)) << "70 ms after start, across the wrap";
    EXPECT_EQ(d.wait_ms(20 * kMs), 30);
    EXPECT_TRUE(d.expired(50 * kMs - 1 + 1));
}

TEST(Deadline, RestartGivesTheWholeBudgetAgain) {
    Deadline d(10, 0);
    EXPECT_TRUE(d.expired(10 * kMs));
    d.restart(10 * kMs);
    EXPECT_FALSE(d.expired(19 * kMs));
    EXPECT_EQ(d.wait_ms(10 * kMs), 10);
    EXPECT_TRUE(d.expired(20 * kMs));
}

TEST(Deadline, ZeroLongestAndNone) {
    const Deadline zero(0, 7);
    EXPECT_TRUE(zero.expired(7));
    EXPECT_EQ(zero.wait_ms(7), 0);
    const Deadline longest(UINT32_MAX, 0);
    EXPECT_FALSE(longest.expired(uint64_t{UINT32_MAX} * kMs - 1));
    EXPECT_EQ(longest.wait_ms(0), INT_MAX) << "clamped for poll()";
    EXPECT_EQ(longest.remaining_ms(0), static_cast<uint32_t>(INT_MAX));
    const Deadline none = Deadline::never();
    EXPECT_FALSE(none.bounded());
    EXPECT_FALSE(none.expired(UINT64_MAX));
    EXPECT_EQ(none.wait_ms(0), -1);
    EXPECT_EQ(none.remaining_ms(0), UINT32_MAX);
}

TEST(Deadline, RunsOnTheMonotonicClock) {
    const Deadline d = Deadline::in_ms(30);
    EXPECT_FALSE(d.expired());
    EXPECT_LE(d.wait_ms(), 30);
    sleep_ms(31);
    EXPECT_TRUE(d.expired());
}

}  // namespace
}  // namespace vex::plat
