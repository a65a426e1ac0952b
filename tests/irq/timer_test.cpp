// Backplane timers and the tick counters.
#include <signal.h>

#include <fstream>
#include <sstream>
#include <vector>

#include "irq/masks.h"
#include "irq/tick_counter.h"
#include "sim/host.h"
#include "tests/irq/irq_fixture.h"

namespace vex::test {
namespace {

using Timers = IrqFixture;

sim::BackplaneTimer timer_model(sim::Instance& inst, int n) {
    return inst.with_lock([n](sim::State& s) { return s.irq.timers[n]; });
}

// The scheduler's current priority of a thread of this process: 20 for a
// normal thread at nice 0, negative while it runs at real-time priority.
int kernel_priority(pid_t tid) {
    std::ifstream in("/proc/self/task/" + std::to_string(tid) + "/stat");
    std::string stat((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::istringstream fields(stat.substr(stat.rfind(')') + 2));  // after "pid (comm) "
    std::string field;
    for (int i = 3; i <= 18 && fields >> field; ++i) {
    }
    return std::stoi(field);
}

TEST_F(Timers, EveryPeriodIsServedOrMergedEvenBehindASlowCallback) {
    // The first call blocks for three and a half periods: the timer's
    // latch holds one tick meanwhile, the others merge into it, and the
    // timer goes on as before.
    std::atomic<bool> slow{true};
    g_cb[1].hook = [&] {
        if (slow.exchange(false)) std::this_thread::sleep_for(std::chrono::microseconds(3500));
    };
    const int line = sim::kIrqLineTimer0 + 1;
    const uint32_t raised_before = raised(line);
    ASSERT_TRUE(vex_SetBPTimer(1, 10, kCallbacks[1]));
    ASSERT_TRUE(wait_calls(1, 200, 20000));
    struct Seen {
        sim::BackplaneTimer model;
        uint32_t raised;
        uint64_t due;
    };
    const Seen seen = sim().with_lock([&](sim::State& s) {
        const uint64_t now = sim().now_ns();
        sim::models::timers_advance(s, now);
        const sim::BackplaneTimer& t = s.irq.timers[1];
        return Seen{t, s.irq.raised[line] - raised_before, (now - t.start_ns) / t.period_ns};
    });
    vex_KillBPTimer(1);
    settle();
    EXPECT_EQ(seen.model.ticks, seen.due) << "one tick for every period of the instance clock";
    EXPECT_EQ(seen.model.ticks, seen.model.merged + seen.raised) << "each tick raised the line or merged";
    EXPECT_GE(seen.model.merged, 3u) << "the ticks behind the slow callback merged";
    const int calls = g_cb[1].calls.load();
    EXPECT_GE(static_cast<uint32_t>(calls) + 1, seen.raised) << "every raised tick but one in service was served";
}

TEST_F(Timers, ATickLiftsANormalThreadThatHoldsTheControllerLock) {
    ASSERT_TRUE(vex_SetBPTimer(1, 10, kCallbacks[1]));
    ASSERT_TRUE(wait_calls(1, 1));
    if (!vex_SetBPTimerInterruptPriority(1, 100)) {
        vex_KillBPTimer(1);
        GTEST_SKIP() << "this process may not use real-time priorities";
    }
    // This thread holds the lock that the next tick's service needs; the
    // waiting service thread lends it its real-time priority, so that a
    // busy machine cannot keep the holder (and the timer) waiting.
    const pid_t self = ::gettid();
    const int normal = kernel_priority(self);
    const bool lifted = sim().with_lock([&](sim::State&) { return eventually([&] { return kernel_priority(self) < 0; }); });
    EXPECT_GE(normal, 0);
    EXPECT_TRUE(lifted) << "still at priority " << kernel_priority(self);
    EXPECT_TRUE(eventually([&] { return kernel_priority(self) == normal; })) << "back once it let go";
    vex_KillBPTimer(1);
}

TEST_F(Timers, KeepTickingWhenTheHostProcessDies) {
    // Every process computes its timers' ticks from the shared state: the
    // process hosting the instance is not on the way.
    ASSERT_TRUE(vex_SetBPTimer(1, 10, kCallbacks[1]));
    ASSERT_TRUE(wait_calls(1, 1));
    const int host = sim::Host::host_pid(instance_name());
    ASSERT_GT(host, 0) << "the fixture's instance has a host process";
    ASSERT_EQ(::kill(host, SIGKILL), 0);
    ASSERT_TRUE(eventually([&] { return ::kill(host, 0) != 0; }));
    const int calls = g_cb[1].calls.load();
    EXPECT_TRUE(wait_calls(1, calls + 50));
    vex_KillBPTimer(1);
    EXPECT_EQ(irq::shared_mask(irq::Mask::Timers), 0);
}

TEST_F(Timers, ACallbackMayKillItsOwnTimer) {
    g_cb[1].hook = [] { vex_KillBPTimer(1); };
    ASSERT_TRUE(vex_SetBPTimer(1, 10, kCallbacks[1]));
    ASSERT_TRUE(wait_calls(1, 1));
    settle();  // its thread ended
    EXPECT_EQ(irq::shared_mask(irq::Mask::Timers), 0);
    EXPECT_EQ(timer_model(sim(), 1).start_ns, 0u);
    sim().advance(1000000000ull);
    EXPECT_EQ(g_cb[1].calls.load(), 1);
    g_cb[1].hook = nullptr;
    EXPECT_TRUE(vex_SetBPTimer(1, 10, kCallbacks[1])) << "free again";
    EXPECT_TRUE(wait_calls(1, 2));
    vex_KillBPTimer(1);
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
    EXPECT_TRUE(vex_SetBPTimerInterruptPriority(1, 250)) << "the normal range needs no rights";
    // Stopped, and its thread ended, before the trace is watched: its
    // acknowledges are writes too.
    vex_KillBPTimer(1);
    settle();
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

}  // namespace
}  // namespace vex::test
