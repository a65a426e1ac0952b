// Digital I/O and the module watchdog across processes: this test process
// and vexctl / vexsim, each attached to the same virtual controller.
#include "io/output_values.h"
#include "tests/io/io_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

class IoTools : public IoFixture {};

TEST_F(IoTools, OutputShadowsAreSharedBetweenProcesses) {
    // Written here, read in another process (shadow and read-back alike).
    ASSERT_EQ(_vex_WriteDO(kCombo16Slot, 16, 0xA5A5), VEX_TRUE);
    ProcessResult r = run_vexctl({"do", "5", "-n", "16"});
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(r.output, "0x0000A5A5\n");
    ASSERT_EQ(_vex_WriteDO(kPlain32Slot, 32, 0x80000001), VEX_TRUE);
    EXPECT_EQ(run_vexctl({"do", "1", "-n", "32"}).output, "0x80000001\n");

    // Written in another process, read here.
    r = run_vexctl({"do", "2", "0x3C", "--channels", "8"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(_vex_ReadDO(kCombo8Slot, 8), 0x3Cu);
    EXPECT_EQ(module(kCombo8Slot).do_latch, 0x3Cu);
    // The bit form reads the shared shadow first: it keeps this value.
    r = run_vexctl({"do", "2", "--bit", "7", "--on", "-n", "8"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(_vex_ReadDO(kCombo8Slot, 8), 0xBCu);
    r = run_vexctl({"do", "2", "--bit", "2", "--off", "-n", "8"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(_vex_ReadDO(kCombo8Slot, 8), 0xB8u);

    ASSERT_TRUE(sim().set_inputs(kInput32Slot, 0x00010080));
    EXPECT_EQ(run_vexctl({"di", "4", "-n", "32"}).output, "0x00010080\n");
    EXPECT_EQ(run_vexctl({"di", "4", "-n", "8"}).output, "0x00000080\n");
}

TEST_F(IoTools, VexctlSaysWhatIsWrongWithASlot) {
    const std::pair<std::vector<std::string>, const char*> refusals[] = {
        {{"di", "9", "-n", "8"}, "slot 9 does not exist: this controller has 8 slots (0..7)"},
        {{"do", "7", "1", "-n", "8"}, "slot 7 is empty"},
        {{"do", "3", "1", "-n", "8"}, "slot 3 holds a serial module"},
        {{"wdt", "2", "status"}, "the module in slot 2 has no module watchdog"},
        {{"do", "2", "1", "-n", "7"}, "not 7"},
    };
    for (const auto& [args, message] : refusals) {
        const ProcessResult r = run_vexctl(args);
        EXPECT_EQ(r.status, 1) << r.output;
        EXPECT_TRUE(contains(r.output, message));
    }
    EXPECT_EQ(_vex_ReadDO(kCombo8Slot, 8), 0u);
    EXPECT_EQ(run_vexctl({"do", "2", "--bit", "3", "-n", "8"}).status, 2) << "--on or --off is needed";
}

TEST_F(IoTools, WatchdogRunsOutWhenTimeIsLetPass) {
    ProcessResult r = run_vexctl({"wdt", "0", "set", "--timeout", "2", "--enable"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(contains(run_vexctl({"wdt", "0", "config"}).output, "timeout 2 s (module register: 4 half-seconds)"));
    EXPECT_TRUE(contains(run_vexsim({"show"}).output, "watchdog enabled, timeout 4 half-seconds"));

    r = run_vexsim({"advance", "2.5"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(vex_GetModuleWDTStatus(0, 0), VEX_TRUE);
    r = run_vexctl({"wdt", "0", "status"});
    EXPECT_TRUE(contains(r.output, "watchdog EXPIRED"));
    EXPECT_TRUE(contains(r.output, "last output source: 2 (safe value)"));
    r = run_vexsim({"show"});
    EXPECT_TRUE(contains(r.output, "outputs 0xA5A5A5A5 (last source 2: safe value)"));
    EXPECT_TRUE(contains(r.output, "EXPIRED"));
    // vexctl may write (its own permission is on) but the module holds.
    r = run_vexctl({"do", "0", "0x1", "-n", "32"});
    EXPECT_EQ(r.status, 1) << "a write the module ignores is a refusal: " << r.output;
    EXPECT_TRUE(contains(r.output, "has expired"));
    EXPECT_EQ(module(kReadBackSlot).do_latch, kSafeValue);

    ASSERT_EQ(run_vexctl({"wdt", "0", "reset"}).status, 0);
    EXPECT_EQ(vex_GetModuleWDTStatus(0, 0), VEX_FALSE);
    EXPECT_EQ(run_vexsim({"advance", "-1"}).status, 2);
}

TEST_F(IoTools, StoredValuesThroughVexctl) {
    ASSERT_EQ(run_vexctl({"wdt", "0", "safe", "0x55"}).status, 0);
    EXPECT_EQ(io::read_safe_do(kReadBackSlot), 0x55u);
    io::write_power_on_do(kReadBackSlot, 0x0F);
    EXPECT_EQ(run_vexctl({"wdt", "0", "poweron"}).output, "0x0000000F\n");
}

}  // namespace
}  // namespace vex::test
