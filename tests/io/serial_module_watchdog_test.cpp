// The module watchdog calls on serial modules: a remote module through the
// bus-address family, one in a local slot through the slot family, each
// checked on the line and against the module's own watchdog.
#include "tests/io/unified_fixture.h"

namespace vex::test {
namespace {

TEST_F(UnifiedSim, WatchdogCallsReachSerialModulesByBothForms) {
    int16_t enable = 0;
    uint32_t timeout = 0;
    VEX_BOOL32 overwrite = 77;
    uint16_t status = 9;

    // Remote module 02: 1.8 s.
    ASSERT_EQ(vex_SetModuleWDTConfig(com1_, 0x1002, 1, 0x12, VEX_FALSE), VEX_TRUE);
    EXPECT_EQ(sent(), "~023112");
    ASSERT_EQ(vex_GetModuleWDTConfig(com1_, 0x1002, &enable, &timeout, &overwrite), VEX_TRUE);
    EXPECT_EQ(sent(), "~022");
    EXPECT_EQ(enable, 1);
    EXPECT_EQ(timeout, 12u) << "the bus family reads the time-out back as decimal digits";
    EXPECT_EQ(overwrite, 77) << "a serial module has no overwrite permission to report";

    // Local slot 3: 1 s.
    ASSERT_EQ(vex_SetModuleWDTConfig(com0_, 3, 1, 0x0A, VEX_TRUE), VEX_TRUE);
    EXPECT_EQ(sent(), "~00310A");
    ASSERT_EQ(vex_GetModuleWDTConfig(com0_, 3, &enable, &timeout, &overwrite), VEX_TRUE);
    EXPECT_EQ(timeout, 0x0Au);
    EXPECT_EQ(vex_GetModuleWDTStatus(com0_, 3), VEX_FALSE);
    EXPECT_EQ(sent(), "~000");
    EXPECT_EQ(vex_GetModuleLastOutputSource(com0_, 3), 2) << "a module in a local slot always reports 2";
    EXPECT_EQ(vex_GetModuleLastOutputSource(com1_, 0x1002), 0);

    sim().advance(1200000000ull);  // 1.2 s: slot 3 runs out, 02 not yet
    EXPECT_EQ(vex_GetModuleWDTStatus(com0_, 3), VEX_TRUE);
    ASSERT_EQ(vex_GetModuleWDTStatusEX(com0_, 3, &status), VEX_TRUE);
    EXPECT_EQ(status, 1);
    // The expired module refuses output writes and holds its safe value.
    EXPECT_EQ(vex_WriteDO_MF(com0_, 3, 8, 0x01), VEX_FALSE);
    EXPECT_EQ(error(), VEX_ERR_DO_NO_OVERWRITE);
    EXPECT_EQ(vexsund_WriteDOBit(com0_, 3, 0, 8, 1), VEX_FALSE);
    EXPECT_EQ(error(), VEX_ERR_DO_NO_OVERWRITE);
    EXPECT_EQ(module("3").do_value, module("3").do_safe);
    EXPECT_EQ(vex_GetModuleWDTStatus(com1_, 0x1002), VEX_FALSE);
    EXPECT_EQ(sent(), "~020");

    ASSERT_EQ(vex_RefreshModuleWDT(com1_, 0x1002), VEX_TRUE);
    ASSERT_TRUE(wait_handled("~**\r -> (none)"));
    sim().advance(1000000000ull);  // 02 was fed: 1 s of its 1.8 s gone
    EXPECT_EQ(vex_GetModuleWDTStatus(com1_, 0x1002), VEX_FALSE);
    sim().advance(1000000000ull);
    EXPECT_EQ(vex_GetModuleWDTStatus(com1_, 0x1002), VEX_TRUE);
    EXPECT_EQ(vex_GetModuleLastOutputSource(com1_, 0x1002), 2);

    ASSERT_EQ(vex_ResetModuleWDT(com1_, 0x1002), VEX_TRUE);
    EXPECT_EQ(sent(), "~021");
    ASSERT_EQ(vex_ResetModuleWDT(com0_, 3), VEX_TRUE);
    EXPECT_EQ(sent(), "~001");
    EXPECT_EQ(vex_GetModuleWDTStatus(com0_, 3), VEX_FALSE);
    EXPECT_EQ(vex_WriteDO_MF(com0_, 3, 8, 0x01), VEX_TRUE);
    EXPECT_EQ(vex_GetModuleLastOutputSource(com1_, 0x1002), 0);
}

TEST_F(UnifiedSim, WatchdogCallsOnSerialModulesReportFailures) {
    uint16_t status = 9;
    // No module answers at bus address 05: the status is unknown.
    uart_SetTimeOut(com1_, 20, 0);
    EXPECT_EQ(vex_GetModuleLastOutputSource(com1_, 0x1005), -1);
    EXPECT_EQ(vex_GetModuleWDTStatusEX(com1_, 0x1005, &status), VEX_FALSE);
    EXPECT_EQ(status, 9);
    EXPECT_EQ(vex_GetModuleWDTStatusEX(com1_, 0x1002, nullptr), VEX_FALSE);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
    EXPECT_EQ(vex_GetModuleLastOutputSource(0, 0x1002), -1);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
    EXPECT_EQ(vex_SetModuleWDTConfig(0, 0x1002, 1, 5, VEX_TRUE), VEX_FALSE);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
    // An empty local slot stays lenient for the configuration calls.
    EXPECT_EQ(vex_ResetModuleWDT(com0_, 6), VEX_TRUE);
}

}  // namespace
}  // namespace vex::test
