// System watchdogs and reboot: the register sequences on the hardware path
// (over a file standing in for physical memory), and the watchdogs running
// out on the virtual controller's clock.
#include <gtest/gtest.h>
#include <sys/reboot.h>

#include <cerrno>

#include "frame/library.h"
#include "platform/linux/service_calls.h"
#include "tests/services/services_fixture.h"
#include "tests/support/physmem_file.h"
#include "vexsdk.h"

namespace {

using vex::test::has_text;

constexpr uint64_t kWindow = 0x17000000;
constexpr uint64_t kOsTimer = 0x40A00000;
constexpr uint64_t kCount = kOsTimer + 0x10, kMatch3 = kOsTimer + 0x0C, kStatus = kOsTimer + 0x14;
constexpr uint64_t kWatchdogEnable = kOsTimer + 0x18, kIrqEnable = kOsTimer + 0x1C;
constexpr uint64_t kIntcMask = 0x40D00004;
constexpr uint64_t kResetStatus = 0x40F00030;

class HwWatchdog : public ::testing::Test {
protected:
    void SetUp() override { mem.attach_library(); }
    void TearDown() override {
        mem.detach_library();  // the link monitor thread ends before the calls change
        vex::plat::oscalls::reset_calls();
    }
    vex::test::PhysMemFile mem;
};

TEST_F(HwWatchdog, BackplaneWatchdogRegisters) {
    vex_ClearLastError();
    EXPECT_FALSE(vex_EnableWatchDog(0, 32));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_WDT_VALUE);
    vex_ClearLastError();
    EXPECT_FALSE(vex_EnableWatchDog(0, 0));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_WDT_VALUE);
    EXPECT_EQ(mem.peek8(kWindow), 0u) << "a refused time writes nothing";

    EXPECT_TRUE(vex_EnableWatchDog(0, 31));
    EXPECT_EQ(mem.peek8(kWindow), 0x9Fu);

    // The backplane reports the enable bit and time in its own layout.
    mem.poke8(kWindow, 0x10);
    EXPECT_TRUE(vex_GetWatchDogState(0));
    EXPECT_TRUE(vex_SetWatchDogTime(0, 5));
    EXPECT_EQ(mem.peek8(kWindow), 0x85u) << "an enabled watchdog stays enabled";
    mem.poke8(kWindow, 0x00);
    EXPECT_TRUE(vex_SetWatchDogTime(0, 5));
    EXPECT_EQ(mem.peek8(kWindow), 0x05u) << "a disabled one stays disabled";
    vex_ClearLastError();
    EXPECT_FALSE(vex_SetWatchDogTime(0, 40));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_WDT_VALUE);

    mem.poke8(kWindow, 0xB0);      // enabled, time bits 0..2 = 5
    mem.poke8(kWindow + 1, 0x62);  // CPU ID 3 above, time bits 3..4 = 2
    EXPECT_EQ(vex_GetWatchDogTime(0), 21u);

    mem.poke8(kWindow + 0xF000, 0x5A);
    EXPECT_EQ(vex_RefreshWatchDog(0), 0x5Au);

    mem.poke8(kWindow, 0x9F);
    vex_DisableWatchDog(0);
    EXPECT_EQ(mem.peek8(kWindow), 0u);
}

TEST_F(HwWatchdog, UnknownTypesAnswerAsTheControllerAlwaysHas) {
    vex_ClearLastError();
    EXPECT_FALSE(vex_EnableWatchDog(7, 5));
    EXPECT_FALSE(vex_SetWatchDogTime(7, 5));
    EXPECT_EQ(vex_GetLastError(), 0u) << "no code for an unknown type";
    EXPECT_TRUE(vex_GetWatchDogState(7));
    EXPECT_EQ(vex_GetWatchDogTime(7), 1u);
    EXPECT_EQ(vex_RefreshWatchDog(7), 7u);
    EXPECT_EQ(vex_RefreshWatchDog(0xFFFFFFFF), 0xFFFFFFFFu);
    vex_DisableWatchDog(0xFFFFFFFF);
    mem.poke32(kResetStatus, 2);
    EXPECT_FALSE(vex_GetWatchDogResetState(0));
    EXPECT_FALSE(vex_GetWatchDogResetState(7));
    EXPECT_TRUE(vex_GetWatchDogResetState(1));
    EXPECT_EQ(mem.peek8(kWindow), 0u);
}

TEST_F(HwWatchdog, OsTimerWatchdogRegisters) {
    mem.poke32(kCount, 1000);
    mem.poke32(kIntcMask, 0x00000F00);
    mem.poke32(kIrqEnable, 0xFFFF0007);
    vex_ClearLastError();
    EXPECT_FALSE(vex_EnableWatchDog(1, 0));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_WDT_VALUE);
    EXPECT_FALSE(vex_GetWatchDogState(1));

    EXPECT_TRUE(vex_EnableWatchDog(1, 10));
    EXPECT_EQ(mem.peek32(kMatch3), 1000u + 10u * 3250u);
    EXPECT_EQ(mem.peek32(kIntcMask), 0x20000F00u) << "match-3 source enabled, the rest kept";
    EXPECT_EQ(mem.peek32(kIrqEnable), 0x0000000Fu) << "only the low 12 bits are kept, bit 3 set";
    EXPECT_EQ(mem.peek32(kStatus), 8u) << "match-3 status cleared";
    EXPECT_TRUE(vex_GetWatchDogState(1));
    EXPECT_EQ(vex_GetWatchDogTime(1), 10u);

    mem.poke32(kCount, 50000);
    EXPECT_EQ(vex_RefreshWatchDog(1), 1u);
    EXPECT_EQ(mem.peek32(kMatch3), 50000u + 32500u);
    EXPECT_TRUE(vex_SetWatchDogTime(1, 20));
    EXPECT_EQ(mem.peek32(kMatch3), 50000u + 65000u);
    EXPECT_EQ(vex_GetWatchDogTime(1), 20u);
    EXPECT_FALSE(vex_SetWatchDogTime(1, 0));
    EXPECT_EQ(vex_GetWatchDogTime(1), 20u);

    mem.poke32(kCount, 0xFFFFFF00);
    EXPECT_TRUE(vex_SetWatchDogTime(1, 1));
    EXPECT_EQ(mem.peek32(kMatch3), 0xFFFFFF00u + 3250u) << "the deadline wraps with the counter";

    mem.poke32(kWatchdogEnable, 1);
    mem.poke32(kStatus, 0);
    vex_DisableWatchDog(1);
    EXPECT_EQ(mem.peek32(kWatchdogEnable), 0u);
    EXPECT_EQ(mem.peek32(kIntcMask), 0x00000F00u);
    EXPECT_EQ(mem.peek32(kIrqEnable), 0x00000007u);
    EXPECT_EQ(mem.peek32(kStatus), 8u);
    EXPECT_FALSE(vex_GetWatchDogState(1));

    mem.poke32(kResetStatus, 1);
    EXPECT_FALSE(vex_GetWatchDogResetState(1));
}

TEST_F(HwWatchdog, SingleSlotControllerReportsInItsOwnLayout) {
    vex::test::set_hardware_id("LT4-100");
    vex::frame::library_detach();
    vex::frame::library_attach();
    mem.poke8(kWindow, 0x04 | (7 << 3));
    EXPECT_TRUE(vex_GetWatchDogState(0));
    EXPECT_EQ(vex_GetWatchDogTime(0), 7u);
    mem.poke8(kWindow, 0x10 | (7 << 3));
    EXPECT_FALSE(vex_GetWatchDogState(0)) << "bit 4 means nothing on this model";
}

// Never the real call: the test runs as root on CI.
int g_reboot_command = 0;
int g_reboot_result = -1;
int g_calls_in_order = 0;
int g_sync_at = 0, g_reboot_at = 0;
void fake_sync() { g_sync_at = ++g_calls_in_order; }
int fake_reboot(int command) {
    g_reboot_at = ++g_calls_in_order;
    g_reboot_command = command;
    if (g_reboot_result != 0) errno = EPERM;
    return g_reboot_result;
}

TEST_F(HwWatchdog, RebootSyncsThenAsksTheKernel) {
    ASSERT_TRUE(vex::plat::oscalls::set_call("reboot", reinterpret_cast<void*>(fake_reboot)));
    ASSERT_TRUE(vex::plat::oscalls::set_call("sync", reinterpret_cast<void*>(fake_sync)));
    EXPECT_FALSE(vex_Reboot()) << "without the privilege nothing happens";
    EXPECT_EQ(g_reboot_command, static_cast<int>(RB_AUTOBOOT));
    EXPECT_LT(g_sync_at, g_reboot_at);
    g_reboot_result = 0;
    EXPECT_TRUE(vex_Reboot());
}

// ---- Virtual controller ----

class SimWatchdog : public vex::test::ServicesFixture {
protected:
    uint32_t latch(int slot) {
        return sim().with_lock([slot](vex::sim::State& s) { return s.slots[slot].parallel.do_latch; });
    }
    uint32_t resets() { return services().watchdog.resets; }
};

constexpr int kOutputSlot = 5;  // 16 outputs in the built-in controller

TEST_F(SimWatchdog, BackplaneWatchdogResetsTheControllerWhenNotRefreshed) {
    ASSERT_TRUE(_vex_WriteDO(kOutputSlot, 16, 0xBEEF));
    vex_EnableLED(1);
    const uint32_t from = mark();
    ASSERT_TRUE(vex_EnableWatchDog(0, 2));
    EXPECT_TRUE(vex_GetWatchDogState(0));
    EXPECT_EQ(vex_GetWatchDogTime(0), 2u);
    let_pass_ms(1500);
    vex_RefreshWatchDog(0);
    let_pass_ms(1500);
    EXPECT_TRUE(vex_GetWatchDogState(0)) << "refreshed in time";
    EXPECT_EQ(resets(), 0u);
    EXPECT_EQ(latch(kOutputSlot), 0xBEEFu);

    let_pass_ms(600);
    EXPECT_FALSE(vex_GetWatchDogState(0)) << "the reset disarmed it";
    EXPECT_EQ(resets(), 1u);
    EXPECT_EQ(latch(kOutputSlot), 0u) << "outputs back to their power-on state";
    EXPECT_TRUE(vex_GetWatchDogResetState(1));
    EXPECT_EQ(services().panel.led_on, 0u) << "the LED's pin is an input again";
    EXPECT_LT(_vex_oscr0(), 3250u * 1000u) << "the OS timer restarted at the reset";
    const auto reset = events_since(from, vex::sim::kTraceReset);
    ASSERT_EQ(reset.size(), 1u);
    EXPECT_EQ(reset[0].offset, 0u);

    const auto shown = vex::test::run_vexsim({"show"});
    EXPECT_TRUE(has_text(shown.output, "WATCHDOG RESET"));
    EXPECT_TRUE(has_text(shown.output, "by the backplane watchdog"));
    EXPECT_TRUE(has_text(vex::test::run_vexsim({"trace"}).output, "WATCHDOG RESET by the backplane watchdog"));
}

TEST_F(SimWatchdog, OsTimerWatchdogResetsWhenTheCounterReachesMatch3) {
    ASSERT_TRUE(vex_EnableWatchDog(1, 500));
    let_pass_ms(400);
    vex_RefreshWatchDog(1);
    let_pass_ms(400);
    EXPECT_EQ(resets(), 0u);
    EXPECT_FALSE(vex_GetWatchDogResetState(1)) << "a power-on reset so far";
    let_pass_ms(200);
    EXPECT_TRUE(vex_GetWatchDogResetState(1));
    const auto w = services().watchdog;
    EXPECT_EQ(w.resets, 1u);
    EXPECT_EQ(w.last_reset_type, 1u);
    EXPECT_EQ(vex::plat::reg_read(vex::plat::Page::OsTimer, vex::plat::ost::kIrqEnable), 0u)
        << "the timer's registers are at their reset values";
}

TEST_F(SimWatchdog, DisabledWatchdogsNeverBite) {
    const uint32_t from = mark();
    ASSERT_TRUE(vex_EnableWatchDog(0, 1));
    vex_DisableWatchDog(0);
    ASSERT_TRUE(vex_EnableWatchDog(1, 100));
    vex_DisableWatchDog(1);
    let_pass_ms(60000);
    EXPECT_EQ(resets(), 0u);

    // The platform hears of the backplane watchdog after enabling and
    // before disabling it.
    std::vector<std::pair<uint8_t, uint32_t>> seen;
    for (const auto& e : trace_since(from)) {
        if ((e.kind == 1 && e.offset == 0) || e.kind == vex::sim::kTraceNotice)
            seen.emplace_back(e.kind, e.kind == 1 ? e.value : e.offset);
    }
    const std::vector<std::pair<uint8_t, uint32_t>> expected = {
        {1, 0x81}, {vex::sim::kTraceNotice, 0x01012010}, {vex::sim::kTraceNotice, 0x01012014}, {1, 0x00}};
    EXPECT_EQ(seen, expected);
}

TEST_F(SimWatchdog, ExpiryIsSeenWhicheverProcessLetTimePass) {
    ASSERT_TRUE(vex_EnableWatchDog(0, 3));
    EXPECT_EQ(vex::test::run_vexsim({"advance", "4"}).status, 0);
    EXPECT_FALSE(vex_GetWatchDogState(0));
    EXPECT_TRUE(vex_GetWatchDogResetState(1));
}

TEST_F(SimWatchdog, TimesReadBackAcrossBothRegisters) {
    ASSERT_TRUE(vex_EnableWatchDog(0, 21));
    EXPECT_EQ(vex_GetWatchDogTime(0), 21u);
    EXPECT_EQ(vex_GetCPUID(), 2u) << "the CPU ID shares the word and is untouched";
    // So do the rotary switch (low nibble of 0) and the board version (bits 2..7 of 1).
    const int32_t rotary = vex_GetRotaryID();
    char version[VEX_DEVICE_TEXT_SIZE] = {};
    ASSERT_GT(vex_GetCPUVersion(version), 0);
    ASSERT_TRUE(vex_SetWatchDogTime(0, 31));
    EXPECT_EQ(vex_GetRotaryID(), rotary);
    char after[VEX_DEVICE_TEXT_SIZE] = {};
    vex_GetCPUVersion(after);
    EXPECT_STREQ(after, version);
    EXPECT_EQ(vex_GetWatchDogTime(0), 31u);
    EXPECT_TRUE(vex_GetWatchDogState(0));
}

class SingleSlotSim : public SimWatchdog {
    std::string description() override { return "[controller]\nhardware_id = \"LT4-100\"\nslots = 1\n"; }
};

TEST_F(SingleSlotSim, WatchdogReadsBackInTheSingleSlotLayout) {
    ASSERT_TRUE(vex_EnableWatchDog(0, 9));
    EXPECT_TRUE(vex_GetWatchDogState(0));
    EXPECT_EQ(vex_GetWatchDogTime(0), 9u);
    vex_DisableWatchDog(0);
    EXPECT_FALSE(vex_GetWatchDogState(0));
}

TEST_F(SimWatchdog, RebootPowerCyclesTheController) {
    ASSERT_TRUE(_vex_WriteDO(kOutputSlot, 16, 0x1234));
    ASSERT_TRUE(vex_EnableWatchDog(0, 5));
    EXPECT_TRUE(vex_Reboot());
    EXPECT_EQ(latch(kOutputSlot), 0u);
    EXPECT_FALSE(vex_GetWatchDogState(0));
    EXPECT_FALSE(vex_GetWatchDogResetState(1)) << "a power cycle, not a watchdog reset";
    EXPECT_TRUE(has_text(vex::test::run_vexsim({"trace"}).output, "reboot: power-cycled"));
}

}  // namespace
