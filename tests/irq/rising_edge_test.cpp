// Direct rising-edge interrupt control, and the backplane's interrupt
// controller as the registers show it: latches, gate, end of interrupt and
// retrigger.
#include <poll.h>

#include "platform/event.h"
#include "platform/interrupt.h"
#include "tests/irq/irq_fixture.h"

namespace vex::test {
namespace {

using RisingEdge = IrqFixture;
using sim::models::Pulse;

TEST_F(RisingEdge, RegisterCalls) {
    vex_EnableRisingEdgeIRQ(0x05, 1);
    EXPECT_EQ(vex_GetRisingEdgeEnableStatus(), 0x05);
    vex_EnableRisingEdgeIRQ(0x30, 1);
    vex_EnableRisingEdgeIRQ(0x01, 0);
    EXPECT_EQ(vex_GetRisingEdgeEnableStatus(), 0x34) << "only bit 0 cleared";
    pulse(kInputSlotA);
    pulse(kQuietSlot);
    EXPECT_EQ(vex_GetRisingEdgeIRQStatus(), 0x14) << "edges latch where enabled";
    vex_ClearRisingEdgeIRQ(0x04);
    EXPECT_EQ(vex_GetRisingEdgeIRQStatus(), 0x10);
    vex_EnableRetrigger(0x12);
    EXPECT_EQ(_vex_inp(0x900C), 0x12u);
    const uint32_t mark = sim().state().trace_next;
    vex_EOI();
    EXPECT_EQ(sim().state().trace[mark % sim::kTraceEntries].offset, 0x9006u);
    EXPECT_EQ(sim().state().trace[mark % sim::kTraceEntries].value, 0xFFu);
    vex_ResetSystemToDefault();
    EXPECT_EQ(vex_GetRisingEdgeEnableStatus(), 0);
    EXPECT_EQ(vex_GetRisingEdgeIRQStatus(), 0);
}

// The interrupt controller, driven as a program without callbacks would.
class Controller : public IrqFixture {
protected:
    void SetUp() override {
        IrqFixture::SetUp();
        for (uint32_t slot : {kInputSlotA, kInputSlotB}) {
            events_[slot] = plat::create_event();
            ASSERT_TRUE(plat::bind_interrupt(plat::kIrqSlot0 + slot, events_[slot]));
        }
        _vex_outp(0x9010, 0x0C);
        _vex_outp(0x9044, 0x0C);
    }
    void TearDown() override {
        for (int e : events_) plat::close_event(e);
        IrqFixture::TearDown();
    }
    bool signalled(uint32_t slot) {
        pollfd p{events_[slot], POLLIN, 0};
        return ::poll(&p, 1, 5000) == 1 && plat::take_event(events_[slot]);
    }
    int events_[8] = {-1, -1, -1, -1, -1, -1, -1, -1};
};

TEST_F(Controller, EndOfInterruptReleasesEdgesThatCameInService) {
    pulse(kInputSlotA);
    ASSERT_TRUE(signalled(kInputSlotA));
    _vex_outp(0x9012, 0x04);  // clear, but no end of interrupt yet
    pulse(kInputSlotA);
    EXPECT_EQ(raised(kInputSlotA), 1u) << "in service until the end of interrupt";
    vex_EOI();
    EXPECT_EQ(raised(kInputSlotA), 2u);
    EXPECT_TRUE(signalled(kInputSlotA));
}

TEST_F(Controller, ASlotLeftLatchedIsNotRaisedAgainByOthers) {
    pulse(kInputSlotA);
    pulse(kInputSlotB);
    ASSERT_TRUE(signalled(kInputSlotB));
    _vex_outp(0x9012, 0x08);  // slot 3 acknowledged; slot 2 left latched
    vex_EOI();
    pulse(kInputSlotB);
    EXPECT_EQ(raised(kInputSlotA), 1u);
    EXPECT_EQ(raised(kInputSlotB), 2u);
    // Retrigger: a slot still latched is raised again at every end of interrupt.
    vex_EnableRetrigger(0x04);
    vex_EOI();
    EXPECT_EQ(raised(kInputSlotA), 2u);
}

TEST_F(Controller, GateHoldsLatchedEdgesAndLevelsLatchAgain) {
    _vex_outp(0x9044, 0x00);
    pulse(kInputSlotA);
    EXPECT_TRUE(latched(kInputSlotA));
    EXPECT_EQ(raised(kInputSlotA), 0u) << "held by the gate";
    _vex_outp(0x9044, 0x04);
    EXPECT_EQ(raised(kInputSlotA), 1u) << "let through when the gate opens";

    // A level latch sets again at once while the line is high.
    _vex_outp(0x9014, 0x08);
    sim().with_lock([](sim::State& s) {
        sim::models::slot_line_level(s, kInputSlotB, true, 0);
        return 0;
    });
    _vex_outp(0x9016, 0x08);
    EXPECT_EQ(_vex_inp(0x9016), 0x08u);
    sim().with_lock([](sim::State& s) {
        sim::models::slot_line_level(s, kInputSlotB, false, 0);
        return 0;
    });
    _vex_outp(0x9016, 0x08);
    EXPECT_EQ(_vex_inp(0x9016), 0x00u);
}

TEST_F(Controller, ABindingMadeLaterReceivesThePendingInterrupt) {
    _vex_outp(0x9010, 0x3C);
    _vex_outp(0x9044, 0x3C);
    pulse(kQuietSlot);  // nobody has bound slot 4 yet
    const int event = plat::create_event();
    ASSERT_TRUE(plat::bind_interrupt(plat::kIrqSlot0 + kQuietSlot, event));
    pollfd p{event, POLLIN, 0};
    EXPECT_EQ(::poll(&p, 1, 5000), 1);
    plat::unbind_interrupt(plat::kIrqSlot0 + kQuietSlot);
    plat::close_event(event);
}

}  // namespace
}  // namespace vex::test
