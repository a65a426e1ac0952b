// Backplane timers and the tick counters.
#include <vector>

#include "irq/masks.h"
#include "irq/tick_counter.h"
#include "tests/irq/irq_fixture.h"

namespace vex::test {
namespace {

using Timers = IrqFixture;

sim::BackplaneTimer timer_model(sim::Instance& inst, int n) {
    return inst.with_lock([n](sim::State& s) { return s.irq.timers[n]; });
}

TEST_F(Timers, TimerTicksAtItsIntervalAndKillStopsIt) {
    ASSERT_TRUE(vex_SetBPTimer(1, 10, kCallbacks[1]));
    EXPECT_EQ(_vex_inp(0x9038), 10u);
    EXPECT_EQ(_vex_inp(0x903A), 0u);
    EXPECT_EQ(timer_model(sim(), 1).period_ns, 1000000u) << "10 steps of 100 us";
    ASSERT_TRUE(wait_calls(1, 20)) << "ticks arrive and each is acknowledged";
    vex_KillBPTimer(1);
    EXPECT_EQ(timer_model(sim(), 1).start_ns, 0u) << "stopped";
    EXPECT_EQ(irq::shared_mask(irq::Mask::Timers), 0);
    settle();
    const int calls = g_cb[1].calls.load();
    sim().advance(1000000000ull);
    EXPECT_EQ(g_cb[1].calls.load(), calls);
    EXPECT_TRUE(vex_SetBPTimer(1, 10, kCallbacks[1])) << "free again";
}

TEST_F(Timers, OnlyZeroAcknowledgesAndTicksMergeMeanwhile) {
    g_cb[2].result = 1;
    ASSERT_TRUE(vex_SetBPTimer(2, 10000, kCallbacks[2]));  // one second
    sim().advance(1000000000ull);
    ASSERT_TRUE(wait_calls(2, 1));
    const uint32_t before = raised(sim::kIrqLineTimer0 + 2);
    sim().advance(10000000000ull);  // ten more ticks find the first unacknowledged
    EXPECT_EQ(raised(sim::kIrqLineTimer0 + 2), before);
    EXPECT_GE(timer_model(sim(), 2).merged, 10u);
    EXPECT_EQ(_vex_inp(0x900E) & 0x02u, 0x02u);
    g_cb[2].result = 0;
    _vex_outp(0x900E, 0x02);  // acknowledge by hand
    sim().advance(1000000000ull);
    ASSERT_TRUE(wait_calls(2, 2));
    EXPECT_TRUE(eventually([] { return (_vex_inp(0x900E) & 0x02u) == 0; })) << "result 0 acknowledges";
}

TEST_F(Timers, RegistrationRulesAndCodes) {
    ASSERT_TRUE(vex_SetBPTimer(1, 50, kCallbacks[1]));
    EXPECT_FALSE(vex_SetBPTimer(1, 50, kCallbacks[1]));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_TIMER_ALREADY_SET) << "this test comes before the mask test";
    vex_SetLastError(0x4321);
    const uint32_t writes = sim().state().trace_next;
    EXPECT_FALSE(vex_SetBPTimer(3, 50, kCallbacks[3]));
    EXPECT_FALSE(vex_SetBPTimer(0xFFFFFFFF, 50, kCallbacks[3]));
    vex_KillBPTimer(7);
    EXPECT_FALSE(vex_SetBPTimerInterruptPriority(9, 100));
    EXPECT_EQ(vex_GetLastError(), 0x4321u);
    EXPECT_EQ(sim().state().trace_next, writes) << "a timer above 2 touches nothing";
    EXPECT_FALSE(vex_SetBPTimer(2, 50, nullptr));
    vex_KillBPTimer(2);
    EXPECT_EQ(vex_GetLastError(), 0x4321u) << "killing a timer not in use: no code";
    EXPECT_TRUE(vex_SetBPTimerInterruptPriority(1, 250)) << "the normal range needs no rights";
    vex_KillBPTimer(1);
}

TEST_F(Timers, TimerZeroDrivesItsOutput) {
    ASSERT_TRUE(vex_SetBPTimerOut(0, 0, kCallbacks[0]));
    EXPECT_EQ(_vex_inp(0x900A) & 0x04u, 0u) << "no output for two zero values";
    EXPECT_TRUE(irq::mask_has(irq::shared_mask(irq::Mask::Timers), 0));
    EXPECT_EQ(timer_model(sim(), 0).start_ns, 0u);
    vex_KillBPTimer(0);
    ASSERT_TRUE(vex_SetBPTimerOut(0x0130, 0x0020, kCallbacks[0]));
    EXPECT_EQ(_vex_inp(0x900A) & 0x04u, 0x04u);
    EXPECT_EQ(_vex_inp(0x9020), 0x30u);
    EXPECT_EQ(_vex_inp(0x9022), 0x01u);
    EXPECT_EQ(_vex_inp(0x9024), 0x20u);
    EXPECT_EQ(timer_model(sim(), 0).period_ns, (0x130u + 0x20u) * 100000u);
    ASSERT_TRUE(wait_calls(0, 2));
    vex_KillBPTimer(0);
    EXPECT_EQ(_vex_inp(0x900A) & 0x04u, 0u);
    for (uint32_t r : {0x9020u, 0x9022u, 0x9024u, 0x9026u}) EXPECT_EQ(_vex_inp(r), 0u) << std::hex << r;
}

TEST_F(Timers, CountersFollowTheInstanceClock) {
    const uint32_t t0 = vex_GetBPTimerTimeTick_ms();
    sim().advance(5000000000ull);
    const uint32_t t1 = vex_GetBPTimerTimeTick_ms();
    EXPECT_GE(t1 - t0, 5000u);
    EXPECT_LT(t1 - t0, 6000u);
    EXPECT_LT(vex_GetBPTimerTimeTick_us(), 256u);
}

// The torn-read rule, against a counter that carries between byte reads.
TEST(TickCounter, TornReadsCostFurtherReads) {
    struct Script {
        std::vector<uint32_t> values;  // one counter value per whole read
        int reads = 0;
        uint8_t operator()(uint32_t offset) {
            const uint32_t v = values[static_cast<size_t>(reads / 4)];
            ++reads;
            return static_cast<uint8_t>(v >> (8 * ((offset - irq::kRegMsCounter) / 2)));
        }
    };
    Script same{{0x100, 0x100}};
    EXPECT_EQ(irq::read_ms_counter(same), 0x100u);
    EXPECT_EQ(same.reads, 8) << "two equal reads are trusted";
    Script once{{0x1FF, 0x200, 0x200}};
    EXPECT_EQ(irq::read_ms_counter(once), 0x200u);
    EXPECT_EQ(once.reads, 12);
    Script twice{{0x1FF, 0x200, 0x201, 0x2FF}};
    EXPECT_EQ(irq::read_ms_counter(twice), 0x2FFu) << "the fourth read is returned unchecked";
    EXPECT_EQ(twice.reads, 16);
    // Most significant byte first.
    Script order{{0x11223344, 0x11223344}};
    std::vector<uint32_t> offsets;
    irq::read_ms_counter_once([&](uint32_t off) {
        offsets.push_back(off);
        return order(off);
    });
    EXPECT_EQ(offsets, (std::vector<uint32_t>{0x902E, 0x902C, 0x902A, 0x9028}));
}

class SingleSlot : public IrqFixture {
protected:
    std::string description() override {
        return "[controller]\nhardware_id = \"LT4-100\"\nslots = 1\n"
               "[[slot]]\nslot = 0\nid = 0x21\ndi_channels = 8\ndo_channels = 8\n";
    }
};

TEST_F(SingleSlot, HasNoBackplaneTimers) {
    EXPECT_FALSE(vex_SetBPTimer(1, 10, kCallbacks[1]));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    vex_ClearLastError();
    EXPECT_FALSE(vex_SetBPTimerOut(1, 1, kCallbacks[0]));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    vex_ClearLastError();
    EXPECT_EQ(vex_GetBPTimerTimeTick_ms(), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    vex_ClearLastError();
    EXPECT_FALSE(vex_SetBPTimerInterruptPriority(1, 100));
    EXPECT_EQ(vex_GetLastError(), 0u) << "the priority call does not look at the model";
    EXPECT_EQ(vex_GetSlotInterruptID(5), 66u);
}

}  // namespace
}  // namespace vex::test
