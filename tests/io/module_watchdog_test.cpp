// Module watchdog, power-on and safe values of slot modules, with the
// virtual controller's watchdog running out on its own clock.
#include "io/do_shadow.h"
#include "io/output_values.h"
#include "tests/io/io_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

using Writes = std::vector<std::pair<uint32_t, uint32_t>>;

class ModuleWatchdog : public IoFixture {
protected:
    const int32_t kAddr = static_cast<int32_t>(kReadBackSlot);

    // Enable with a 1 s timeout (2 half-seconds) and let it run out.
    void expire(int32_t address, VEX_BOOL32 overwrite) {
        ASSERT_EQ(vex_SetModuleWDTConfig(0, address, 1, 1, overwrite), VEX_TRUE);
        let_pass_ms(1001);
        ASSERT_EQ(vex_GetModuleWDTStatus(0, address), VEX_TRUE);
    }
    struct Config {
        VEX_BOOL result;
        int16_t enable = 9;
        uint32_t timeout = 9;
        VEX_BOOL32 overwrite = 9;
    };
    Config config(int32_t address) {
        Config c{};
        c.result = vex_GetModuleWDTConfig(0, address, &c.enable, &c.timeout, &c.overwrite);
        return c;
    }
};

TEST_F(ModuleWatchdog, TimeoutIsWrittenInHalfSecondsAndReadBackInSeconds) {
    struct Case {
        uint32_t seconds;
        uint8_t reg;
        uint32_t back;
    };
    for (const Case t : {Case{0, 1, 0}, Case{3, 6, 3}, Case{200, 0x90, 72}, Case{127, 254, 127}, Case{128, 0, 0},
                         Case{0x80000000u, 1, 0}}) {
        SCOPED_TRACE("timeout " + std::to_string(t.seconds));
        const uint32_t m = mark();
        ASSERT_EQ(vex_SetModuleWDTConfig(0, kAddr, 7, t.seconds, VEX_FALSE), VEX_TRUE);
        EXPECT_EQ(writes_since(m), (Writes{{0x101E, t.reg}, {0x101C, 1}, {0x1024, 0x55}}));
        const Config c = config(kAddr);
        EXPECT_EQ(c.result, VEX_TRUE);
        EXPECT_EQ(c.enable, 1);
        EXPECT_EQ(c.timeout, t.back);
        EXPECT_EQ(c.overwrite, VEX_FALSE);
    }
    // Null out pointers are skipped.
    EXPECT_EQ(vex_GetModuleWDTConfig(0, kAddr, nullptr, nullptr, nullptr), VEX_TRUE);
}

TEST_F(ModuleWatchdog, ExpiryDrivesTheSafeValueAndGatesWritesWithoutPermission) {
    ASSERT_EQ(_vex_WriteDO(kReadBackSlot, 32, 0x0000FFFF), VEX_TRUE);
    ASSERT_EQ(vex_SetModuleWDTConfig(0, kAddr, 0, 1, VEX_FALSE), VEX_TRUE);
    let_pass_ms(60000);
    EXPECT_EQ(vex_GetModuleWDTStatus(0, kAddr), VEX_FALSE) << "a disabled watchdog never runs out";
    ASSERT_EQ(vex_SetModuleWDTConfig(0, kAddr, 1, 1, VEX_FALSE), VEX_TRUE);
    let_pass_ms(900);
    EXPECT_EQ(vex_GetModuleWDTStatus(0, kAddr), VEX_FALSE);
    ASSERT_EQ(vex_RefreshModuleWDT(0, kAddr), VEX_TRUE);
    let_pass_ms(900);
    EXPECT_EQ(vex_GetModuleWDTStatus(0, kAddr), VEX_FALSE) << "the refresh re-armed it";
    EXPECT_EQ(module(kReadBackSlot).do_latch, 0x0000FFFFu);
    let_pass_ms(200);
    EXPECT_EQ(vex_GetModuleWDTStatus(0, kAddr), VEX_TRUE);
    uint16_t status = 0xBEEF;
    EXPECT_EQ(vex_GetModuleWDTStatusEX(0, kAddr, &status), VEX_TRUE);
    EXPECT_EQ(status, 0xBEEF) << "a parallel-bus module leaves the status word alone";
    EXPECT_EQ(module(kReadBackSlot).do_latch, kSafeValue);
    EXPECT_EQ(_vex_ReadDO(kReadBackSlot, 32), kSafeValue);
    EXPECT_EQ(vex_GetModuleLastOutputSource(0, kAddr), 2);

    // Refused silently: no register write, no shadow change, no code.
    vex_SetLastError(0x777);
    const uint32_t m = mark();
    for (int32_t total : {32, 16, 8}) EXPECT_EQ(_vex_WriteDO(kReadBackSlot, total, 0x1), VEX_FALSE);
    _vex_WriteDOBit(kReadBackSlot, 32, 0, 1);
    EXPECT_TRUE(writes_since(m).empty());
    EXPECT_EQ(io::shadow_load(io::Shadow::Ch32, kReadBackSlot), 0x0000FFFFu);
    EXPECT_EQ(vex_GetLastError(), 0x777u);

    // Refreshing does not bring an expired watchdog back; resetting does.
    ASSERT_EQ(vex_RefreshModuleWDT(0, kAddr), VEX_TRUE);
    EXPECT_EQ(vex_GetModuleWDTStatus(0, kAddr), VEX_TRUE);
    ASSERT_EQ(vex_ResetModuleWDT(0, kAddr), VEX_TRUE);
    EXPECT_EQ(vex_GetModuleWDTStatus(0, kAddr), VEX_FALSE);
    EXPECT_EQ(module(kReadBackSlot).do_latch, kSafeValue) << "outputs stay safe until written";
    EXPECT_EQ(_vex_WriteDO(kReadBackSlot, 32, 0x1234), VEX_TRUE);
    EXPECT_EQ(module(kReadBackSlot).do_latch, 0x1234u);
    EXPECT_EQ(vex_GetModuleLastOutputSource(0, kAddr), 0);
}

TEST_F(ModuleWatchdog, PermittedWritesReachTheExpiredModuleWhichHoldsItsOutputs) {
    expire(kAddr, VEX_TRUE);
    const uint32_t m = mark();
    EXPECT_EQ(_vex_WriteDO(kReadBackSlot, 32, 0x1234), VEX_TRUE);
    EXPECT_EQ(writes_since(m).size(), 4u);
    EXPECT_EQ(io::shadow_load(io::Shadow::Ch32, kReadBackSlot), 0x1234u);
    EXPECT_EQ(module(kReadBackSlot).do_latch, kSafeValue);
    // Switching the watchdog off does not release the outputs either.
    ASSERT_EQ(vex_SetModuleWDTConfig(0, kAddr, 0, 1, VEX_TRUE), VEX_TRUE);
    EXPECT_EQ(vex_GetModuleWDTStatus(0, kAddr), VEX_TRUE);
    let_pass_ms(10000);
    EXPECT_EQ(vex_GetModuleWDTStatus(0, kAddr), VEX_TRUE);
}

// Only the read-back type (ID 0x2F) is gated by the library; other modules
// with a watchdog hold their outputs all the same.
TEST_F(ModuleWatchdog, OtherWatchdogModulesAreNotGatedByTheLibrary) {
    const auto addr = static_cast<int32_t>(kWatchdog4Slot);
    ASSERT_EQ(_vex_WriteDO(kWatchdog4Slot, 4, 0x3), VEX_TRUE);
    expire(addr, VEX_FALSE);
    EXPECT_EQ(_vex_WriteDO(kWatchdog4Slot, 4, 0x5), VEX_TRUE);
    EXPECT_EQ(module(kWatchdog4Slot).do_latch, 0x0Cu);
    EXPECT_EQ(vex_GetModuleLastOutputSource(0, addr), 2);
}

TEST_F(ModuleWatchdog, PowerOnAndSafeValuesGoThroughTheParameterRegisters) {
    uint32_t m = mark();
    io::write_power_on_do(kReadBackSlot, 0x12345678);
    Writes expected;
    for (uint32_t i = 1; i <= 4; ++i) {
        expected.insert(expected.end(), {{0x1016, 1}, {0x1018, i}, {0x101A, (0x12345678u >> (8 * (i - 1))) & 0xFF}});
    }
    expected.insert(expected.end(), {{0x1016, 1}, {0x1018, 0}, {0x101A, 1}});
    EXPECT_EQ(writes_since(m), expected);
    EXPECT_EQ(io::read_power_on_do(kReadBackSlot), 0x12345678u);

    // Zero is stored as disabled: four zero bytes, then 0 to parameter 0.
    m = mark();
    io::write_power_on_do(kReadBackSlot, 0);
    for (auto& w : expected) w.second = w.first == 0x101A ? 0 : w.second;
    EXPECT_EQ(writes_since(m), expected);
    m = mark();
    EXPECT_EQ(io::read_power_on_do(kReadBackSlot), 0u);
    EXPECT_EQ(writes_since(m), (Writes{{0x1016, 0}, {0x1018, 0}})) << "a disabled value is not read";

    EXPECT_EQ(io::read_safe_do(kReadBackSlot), kSafeValue) << "from the description";
    io::write_safe_do(kReadBackSlot, 0xDEADBEEF);
    EXPECT_EQ(io::read_safe_do(kReadBackSlot), 0xDEADBEEFu);
    const sim::ParallelModule mod = module(kReadBackSlot);
    EXPECT_EQ(mod.params[9], 0xEF);
    EXPECT_EQ(mod.params[12], 0xDE);
}

TEST_F(ModuleWatchdog, StoredValuesSurvivePowerCyclesAndThePowerOnValueIsDriven) {
    io::write_power_on_do(kReadBackSlot, 0x00C0FFEE);
    io::write_safe_do(kReadBackSlot, 0x5A);
    ASSERT_EQ(_vex_WriteDO(kReadBackSlot, 32, 0x1), VEX_TRUE);
    EXPECT_EQ(vex_GetModuleLastOutputSource(0, kAddr), 0);

    std::string error;
    ASSERT_TRUE(sim().power_cycle(&error)) << error;
    EXPECT_EQ(module(kReadBackSlot).do_latch, 0x00C0FFEEu);
    EXPECT_EQ(vex_GetModuleLastOutputSource(0, kAddr), 1);
    EXPECT_EQ(io::read_power_on_do(kReadBackSlot), 0x00C0FFEEu);
    EXPECT_EQ(io::read_safe_do(kReadBackSlot), 0x5Au);
    EXPECT_EQ(module(kWatchdog4Slot).do_latch, 0u) << "a module without a power-on value starts off";

    io::write_power_on_do(kReadBackSlot, 0);
    ASSERT_TRUE(sim().power_cycle(&error)) << error;
    EXPECT_EQ(module(kReadBackSlot).do_latch, 0u);
    EXPECT_EQ(vex_GetModuleLastOutputSource(0, kAddr), 0);

    // A module plugged in is a new module: its memory is its description's.
    io::write_safe_do(kReadBackSlot, 0x77);
    auto d = sim().description(&error);
    ASSERT_TRUE(d) << error;
    ASSERT_TRUE(sim().unplug(kReadBackSlot));
    ASSERT_TRUE(sim().plug(kReadBackSlot, d->slots[kReadBackSlot]));
    EXPECT_EQ(io::read_safe_do(kReadBackSlot), kSafeValue);
}

class ModuleWatchdogPowerOnDescribed : public IoFixture {
    std::string description() override {
        return "[[slot]]\nslot = 0\nid = 0x2F\ndo_channels = 16\nreadback = true\npower_on = 0x1F0F0\n";
    }
};

TEST_F(ModuleWatchdogPowerOnDescribed, ModuleComesUpDrivingItsPowerOnValue) {
    EXPECT_EQ(module(0).do_latch, 0xF0F0u) << "masked to the module's 16 channels";
    EXPECT_EQ(vex_GetModuleLastOutputSource(0, 0), 1);
    EXPECT_EQ(io::read_power_on_do(0), 0x1F0F0u);
    EXPECT_EQ(_vex_ReadDO(0, 16), 0u) << "shadows are not read from the hardware";
}

// Serial modules go to the serial families (tests/io/serial_module_watchdog_test.cpp);
// through a port that is not open every call fails with a code and no
// module register is touched on the way.
TEST_F(ModuleWatchdog, SerialModulesThroughAPortThatIsNotOpenFail) {
    for (int32_t address : {0x1000, 0x1001, 0xFFFFF, 0x100203, static_cast<int32_t>(kSerialSlot), 0x0FFF, -1, 8}) {
        SCOPED_TRACE("address " + std::to_string(address));
        const uint32_t m = mark();
        uint16_t status = 0;
        const auto refused = [](VEX_BOOL result) {
            const bool ok = result == VEX_FALSE && vex_GetLastError() != 0;
            vex_SetLastError(0);
            return ok;
        };
        vex_SetLastError(0);
        EXPECT_TRUE(refused(vex_GetModuleWDTStatusEX(7, address, &status)));
        EXPECT_TRUE(refused(vex_RefreshModuleWDT(7, address)));
        EXPECT_TRUE(refused(vex_ResetModuleWDT(7, address)));
        EXPECT_TRUE(refused(vex_SetModuleWDTConfig(7, address, 1, 3, VEX_TRUE)));
        EXPECT_TRUE(refused(config(address).result));
        EXPECT_EQ(vex_GetModuleWDTStatus(7, address), VEX_FALSE);
        EXPECT_EQ(vex_GetModuleLastOutputSource(7, address), -1);
        for (const auto& [offset, value] : writes_since(m)) EXPECT_GE(offset, 0x9000u) << "module page written";
    }
}

TEST_F(ModuleWatchdog, EmptySlotIsNoErrorExceptForTheQueries) {
    const auto addr = static_cast<int32_t>(kEmptySlot);
    vex_SetLastError(0x777);
    const uint32_t m = mark();
    EXPECT_EQ(vex_ResetModuleWDT(0, addr), VEX_TRUE);
    EXPECT_EQ(vex_RefreshModuleWDT(0, addr), VEX_TRUE);
    EXPECT_EQ(vex_SetModuleWDTConfig(0, addr, 1, 3, VEX_FALSE), VEX_TRUE);
    const Config c = config(addr);
    EXPECT_EQ(c.result, VEX_TRUE);
    EXPECT_EQ(c.enable + c.timeout + static_cast<uint32_t>(c.overwrite), 27u) << "nothing written";
    EXPECT_EQ(vex_GetModuleWDTStatus(0, addr), VEX_FALSE);
    EXPECT_EQ(vex_GetModuleWDTStatusEX(0, addr, nullptr), VEX_FALSE);
    EXPECT_EQ(vex_GetLastError(), 0x777u);
    EXPECT_TRUE(writes_since(m).empty());
    // No presence check here: an empty slot floats, which reads as ID 255.
    EXPECT_EQ(vex_GetModuleLastOutputSource(0, addr), -1);
}

// The per-process settings are kept for slots 0..7 and found by the low
// byte of a local address, negative addresses included.
TEST_F(ModuleWatchdog, ProcessSettingsFollowTheLowByteOfLocalAddresses) {
    ASSERT_EQ(vex_SetModuleWDTConfig(0, static_cast<int32_t>(0xFFFFFF00u), 1, 3, VEX_FALSE), VEX_TRUE);
    Config c = config(0x0F00);
    EXPECT_EQ(c.enable, 1);
    EXPECT_EQ(c.timeout, 3u);
    EXPECT_EQ(c.overwrite, VEX_FALSE);
    c = config(static_cast<int32_t>(kWatchdog4Slot));
    EXPECT_EQ(c.enable, 0) << "other slots keep their start values";
    EXPECT_EQ(c.overwrite, VEX_TRUE);
}

}  // namespace
}  // namespace vex::test
