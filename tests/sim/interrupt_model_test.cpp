// The virtual controller's timers and interrupt delivery, seen from the
// model and its shared state.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/event.h"
#include "platform/interrupt.h"
#include "sim/description.h"
#include "sim/interrupt_lines.h"
#include "sim/models/models.h"
#include "tests/support/sim_fixture.h"

namespace vex::test {
namespace {

using Model = SimFixture;

sim::BackplaneTimer timer(sim::Instance& i, int n) {
    return i.with_lock([n](sim::State& s) { return s.irq.timers[n]; });
}

TEST_F(Model, TimersTickOnWholePeriodsOfTheInstanceClock) {
    // A period of 1000 units of 100 us (100 ms): the half period of slack
    // covers the real time the test itself takes, even emulated.
    sim().write8(0x9038, 0xE8);
    EXPECT_EQ(timer(sim(), 1).start_ns, 0u) << "the low byte alone loads nothing";
    sim().write8(0x903A, 0x03);
    const sim::BackplaneTimer t = timer(sim(), 1);
    ASSERT_NE(t.start_ns, 0u);
    EXPECT_EQ(t.next_ns, t.start_ns + 100000000u);
    sim().advance(1050000000);  // 10.5 periods
    const sim::BackplaneTimer later = timer(sim(), 1);
    EXPECT_EQ(later.ticks, 10u);
    EXPECT_EQ(later.merged, 9u) << "nobody acknowledged: one raised, nine merged";
    EXPECT_EQ(later.next_ns, t.start_ns + 1100000000u) << "no drift however late it is looked at";
    EXPECT_EQ(sim().read8(0x900E) & 0x01, 0x01);
    sim().write8(0x900E, 0x01);
    EXPECT_EQ(sim().read8(0x900E) & 0x01, 0x00) << "writing 1 clears";
    sim().write8(0x9038, 0x00);
    sim().write8(0x903A, 0x00);
    EXPECT_EQ(timer(sim(), 1).start_ns, 0u) << "a period of 0 stops it";
}

TEST_F(Model, MillisecondCounterBytesAndTimerZeroOutput) {
    sim().advance(0x10203 * 1000000ull);
    EXPECT_EQ(sim().read8(0x902C), 0x01);
    EXPECT_EQ(sim().read8(0x902E), 0x00);
    sim().write8(0x9020, 10);  // high 1 ms
    sim().write8(0x9024, 30);  // low 3 ms
    sim().write8(0x9026, 0);
    sim().write8(0x900A, 0x04);
    const uint64_t start = timer(sim(), 0).start_ns;
    EXPECT_EQ(timer(sim(), 0).period_ns, 4000000u);
    sim().with_lock([&](sim::State& s) {
        EXPECT_TRUE(sim::models::timer0_output(s, start + 500000));
        EXPECT_FALSE(sim::models::timer0_output(s, start + 1500000));
        EXPECT_TRUE(sim::models::timer0_output(s, start + 4100000));
        return 0;
    });
}

// The trace names the process that wrote, also in a child forked after the
// parent has written (the writer's id is kept per process).
TEST_F(Model, TraceNamesTheWritingProcessAcrossFork) {
    auto last_writer = [&] {
        return sim().with_lock([](sim::State& s) { return s.trace[(s.trace_next - 1) % sim::kTraceEntries].pid; });
    };
    sim().write8(0x9006, 0xFF);
    EXPECT_EQ(last_writer(), static_cast<uint32_t>(::getpid()));
    const pid_t child = ::fork();
    if (child == 0) {
        sim().write8(0x9006, 0xFF);
        ::_exit(0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(last_writer(), static_cast<uint32_t>(child));
}

TEST_F(Model, BindingsOfEndedProcessesLeaveTheTable) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    ::waitpid(child, nullptr, 0);
    sim().with_lock([&](sim::State& s) {
        s.irq.bindings[0] = sim::IrqBinding{0x1234, static_cast<int32_t>(child), 2};
        return sim::raise_irq(s, 2);
    });
    // The wake-up went out after the unlock and found nobody listening.
    sim().with_lock([&](sim::State& s) {
        EXPECT_EQ(s.irq.bindings[0].token, 0u);
        EXPECT_FALSE(sim::raise_irq(s, 2));
        return 0;
    });
    // A full table is swept of ended processes before a binding is refused.
    sim().with_lock([&](sim::State& s) {
        for (sim::IrqBinding& b : s.irq.bindings) b = sim::IrqBinding{0x99, static_cast<int32_t>(child), 9};
        return 0;
    });
    const int event = plat::create_event();
    EXPECT_TRUE(plat::bind_interrupt(plat::kIrqSlot0 + 1, event));
    EXPECT_FALSE(plat::bind_interrupt(99, event)) << "no such interrupt";
    plat::close_event(event);
}

TEST(InterruptDescription, InterruptInputsMustExist) {
    std::string why;
    EXPECT_TRUE(sim::parse_description("[[slot]]\nslot = 1\nid = 0x13\ndi_channels = 8\ninterrupt_rising = 0x80\n", &why))
        << why;
    EXPECT_FALSE(sim::parse_description("[[slot]]\nslot = 1\nid = 0x13\ndi_channels = 8\ninterrupt_falling = 0x100\n",
                                        &why));
    EXPECT_NE(why.find("interrupt_falling"), std::string::npos) << why;
}

}  // namespace
}  // namespace vex::test
