// The unified I/O exports on the built-in virtual controller: each call
// through each address form and module kind, checked against what reached
// the module (the command on the line, or the register write), and the
// dispatch's edge cases.
#include <cstdint>
#include <limits>

#include "tests/io/unified_fixture.h"

namespace vex::test {
namespace {

using Writes = std::vector<std::pair<uint32_t, uint32_t>>;

constexpr uint32_t kPage2 = 0x3000;  // slot 2's page in the window

TEST_F(UnifiedSim, DigitalCallsReachEveryKindByEveryForm) {
    uint32_t di = 0, out = 0;
    // Parallel-bus module in slot 2: register writes, the port is ignored.
    uint32_t m = register_mark();
    ASSERT_EQ(vex_WriteDO(0, 2, 8, 0x5A), VEX_TRUE);
    EXPECT_EQ(writes_since(m), (Writes{{kPage2, 0x5A}}));
    ASSERT_EQ(vex_ReadDO(0, 2, 8, &out), VEX_TRUE);
    EXPECT_EQ(out, 0x5Au);
    m = register_mark();
    ASSERT_EQ(vex_WriteDOBit(0, 2, 8, 0, 7), VEX_TRUE) << "any non-zero value switches on";
    EXPECT_EQ(writes_since(m), (Writes{{kPage2, 0x5B}}));
    ASSERT_EQ(vex_ReadDIO(0, 2, 8, 8, &di, &out), VEX_TRUE);
    EXPECT_EQ(out, 0x5Bu);
    EXPECT_EQ(di, _vex_ReadDI(2, 8));

    // Serial module in local slot 3, over COM0: as address 00.
    ASSERT_EQ(vex_WriteDO(com0_, 3, 8, 0x1A5), VEX_TRUE);
    EXPECT_EQ(last_exchange(), "@00A5\r -> >\r");
    // The inputs-only read takes the first field after '>' for 8 inputs or
    // fewer, which a module with outputs fills with them: combined modules
    // are read with vex_ReadDIO.
    ASSERT_EQ(vex_ReadDI(com0_, 3, 8, &di), VEX_TRUE);
    EXPECT_EQ(sent(), "@00");
    EXPECT_EQ(di, 0xA5u);
    ASSERT_EQ(vex_WriteDOBit(com0_, 3, 8, 1, 1), VEX_TRUE);
    EXPECT_EQ(sent(), "#00A101") << "the channel goes before the count on the serial path";
    ASSERT_EQ(vex_ReadDIO(com0_, 3, 8, 8, &di, &out), VEX_TRUE);
    EXPECT_EQ(out, 0xA7u);
    EXPECT_EQ(di, 0x05u);

    // Remote module 02 on COM1:.
    ASSERT_EQ(vex_WriteDO(com1_, 0x1002, 16, 0x1234), VEX_TRUE);
    EXPECT_EQ(sent(), "@021234");
    ASSERT_EQ(vex_WriteDOBit(com1_, 0x1002, 16, 11, 1), VEX_TRUE);
    EXPECT_EQ(sent(), "#02B301");
    ASSERT_EQ(vex_ReadDO(com1_, 0x1002, 16, &out), VEX_TRUE);
    EXPECT_EQ(out, 0x1A34u);

    // Slot 0 of the unit at 10.
    ASSERT_EQ(vex_ReadDI(com1_, kUnit10 | 0, 16, &di), VEX_TRUE);
    EXPECT_EQ(sent(), "$10S06");
    EXPECT_EQ(di, 0x0101u);
}

TEST_F(UnifiedSim, LocalAddressesUseTheLowByteAndEmptySlotsAreUnknownModules) {
    uint32_t v = 0;
    ASSERT_EQ(vex_WriteDO(0, 2, 8, 0x3C), VEX_TRUE);
    // Bits above the low byte and the sign do not matter below 0x1000.
    for (const int32_t address : {0x102, 0x0F02, -254, std::numeric_limits<int32_t>::min() + 2}) {
        v = 0;
        ASSERT_EQ(vex_ReadDO(0, address, 8, &v), VEX_TRUE) << address;
        EXPECT_EQ(v, 0x3Cu) << address;
    }
    // Slot 6 is empty; 0x0FFF and -1 are slot 255, which no backplane has.
    const uint32_t before = serial_mark();
    for (const int32_t address : {6, 0x0FFF, -1}) {
        v = 0xDEAD;
        vex_SetLastError(0);
        EXPECT_EQ(vex_ReadDI(com0_, address, 8, &v), VEX_FALSE) << address;
        EXPECT_EQ(error(), VEX_ERR_UNKNOWN_MODULE) << address;
        EXPECT_EQ(v, 0xDEADu) << "nothing is written on failure";
        EXPECT_EQ(vex_WriteModulePowerOnValueAO(com0_, address, 0, 4, 1.0f), VEX_FALSE);
        EXPECT_EQ(error(), VEX_ERR_UNKNOWN_MODULE);
    }
    EXPECT_TRUE(sent_since(before).empty()) << "nothing is sent for a slot without a module";
}

TEST_F(UnifiedSim, ParallelModulesRefuseAnalogLatchAndCounterCalls) {
    const uint32_t serial_before = serial_mark();
    const uint32_t regs = register_mark();
    float f = 7.0f;
    uint32_t v = 9, w = 9;
    int32_t n = 0;
    float all[VEX_AI_ALL_MAX];
    const auto refused = [](VEX_BOOL r) {
        const uint32_t code = vex_GetLastError();
        vex_SetLastError(0);
        return r == VEX_FALSE && code == VEX_ERR_UNKNOWN_MODULE;
    };
    for (const int32_t slot : {0, 2}) {
        EXPECT_TRUE(refused(vex_ReadAI(com0_, slot, 0, 8, &f))) << slot;
        EXPECT_TRUE(refused(vex_ReadAIHex(com0_, slot, 0, 8, &v)));
        EXPECT_TRUE(refused(vex_ReadAIAll(com0_, slot, all)));
        EXPECT_TRUE(refused(vex_ReadAIAllExt(com0_, slot, all, VEX_AI_ALL_MAX, &n)));
        EXPECT_TRUE(refused(vex_WriteAO(com0_, slot, 0, 4, 1.0f)));
        EXPECT_TRUE(refused(vex_ReadAO(com0_, slot, 0, 4, &f)));
        EXPECT_TRUE(refused(vex_ReadDILatch(com0_, slot, 8, 1, &v)));
        EXPECT_TRUE(refused(vex_ReadDIOLatch(com0_, slot, 8, 8, 1, &v, &w)));
        EXPECT_TRUE(refused(vex_ClearDILatch(com0_, slot)));
        EXPECT_TRUE(refused(vex_ClearDIOLatch(com0_, slot)));
        EXPECT_TRUE(refused(vex_ReadDICNT(com0_, slot, 0, 8, &v)));
        EXPECT_TRUE(refused(vex_ClearDICNT(com0_, slot, 0, 8)));
        EXPECT_TRUE(refused(vex_ReadCNT(com0_, slot, 0, &v)));
        EXPECT_TRUE(refused(vex_ClearCNT(com0_, slot, 0)));
        EXPECT_TRUE(refused(vex_ReadCNTOverflow(com0_, slot, 0, &v)));
    }
    EXPECT_EQ(f, 7.0f);
    EXPECT_EQ(v, 9u);
    EXPECT_EQ(n, 0);
    EXPECT_TRUE(sent_since(serial_before).empty());
    EXPECT_TRUE(writes_since(regs).empty());

    // Analog output values: accepted, nothing touched, reads give 0.
    ASSERT_EQ(vex_ReadModulePowerOnValueAO(com0_, 2, 0, 4, &f), VEX_TRUE);
    EXPECT_EQ(f, 0.0f);
    f = 7.0f;
    ASSERT_EQ(vex_ReadModuleSafeValueAO(com0_, 2, 0, 4, &f), VEX_TRUE);
    EXPECT_EQ(f, 0.0f);
    EXPECT_EQ(vex_WriteModulePowerOnValueAO(com0_, 2, 0, 4, 3.0f), VEX_TRUE);
    EXPECT_EQ(vex_WriteModuleSafeValueAO(com0_, 2, 0, 4, 3.0f), VEX_TRUE);
    EXPECT_TRUE(writes_since(regs).empty());
    EXPECT_TRUE(sent_since(serial_before).empty());
}

TEST_F(UnifiedSim, ThreeAnalogValueCallsTakeUnitAddressesAsLocalSlots) {
    float f = 0;
    // 0x100207: slot 7 of the backplane (serial 4504P), not unit 02.
    ASSERT_EQ(vex_ReadModuleSafeValueAO(com0_, 0x100207, 1, 4, &f), VEX_TRUE);
    EXPECT_EQ(sent(), "~0041");
    ASSERT_EQ(vex_WriteModuleSafeValueAO(com0_, 0x100207, 1, 4, 2.5f), VEX_TRUE);
    EXPECT_EQ(sent(), "~0051");
    ASSERT_EQ(vex_ReadModuleSafeValueAO(com0_, 0x100207, 1, 4, &f), VEX_TRUE);
    EXPECT_FLOAT_EQ(f, 2.5f);
    ASSERT_EQ(vex_ReadModulePowerOnValueAO(com0_, 0x100207, 1, 4, &f), VEX_TRUE);
    EXPECT_EQ(sent(), "$0071");
    // 0x100202 is parallel slot 2: the value calls answer 0 without a word.
    const uint32_t before = serial_mark();
    f = 5.0f;
    ASSERT_EQ(vex_ReadModulePowerOnValueAO(com1_, 0x100202, 0, 2, &f), VEX_TRUE);
    EXPECT_EQ(f, 0.0f);
    EXPECT_TRUE(sent_since(before).empty());
    // The power-on write keeps its unit form: slot 1 of unit 10.
    ASSERT_EQ(vex_WriteModulePowerOnValueAO(com1_, kUnit10 | 1, 0, 2, 1.5f), VEX_TRUE);
    EXPECT_EQ(sent_since(before), (std::vector<std::string>{"#10S1C0+01.500", "$10S1C04"}));
}

TEST_F(UnifiedSim, AnalogCallsOnSerialModules) {
    float f = 0;
    uint32_t count = 0;
    ASSERT_EQ(vex_ReadAI(com1_, 0x1001, 1, 8, &f), VEX_TRUE);
    EXPECT_EQ(sent(), "#011");
    EXPECT_FLOAT_EQ(f, -2.5f);
    ASSERT_TRUE(control("COM1:01", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::set_format(s, p.index, sim::SerialFormat::Hex, nullptr);
    }));
    ASSERT_EQ(vex_ReadAIHex(com1_, 0x1001, 3, 8, &count), VEX_TRUE);
    EXPECT_EQ(sent(), "#013");
    ASSERT_TRUE(control("COM1:01", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::set_format(s, p.index, sim::SerialFormat::Engineering, nullptr);
    }));

    float all[VEX_AI_ALL_MAX] = {};
    ASSERT_EQ(vex_ReadAIAll(com1_, 0x1001, all), VEX_TRUE);
    EXPECT_EQ(sent(), "#01");
    EXPECT_FLOAT_EQ(all[0], 1.25f);
    EXPECT_FLOAT_EQ(all[7], 3.3f);
    // A bound smaller than the module: only that much is stored, the count
    // says what the module gave.
    float two[3] = {0, 0, 42.0f};
    int32_t n = 0;
    ASSERT_EQ(vex_ReadAIAllExt(com1_, 0x1001, two, 2, &n), VEX_TRUE);
    EXPECT_EQ(n, 8);
    EXPECT_FLOAT_EQ(two[1], -2.5f);
    EXPECT_EQ(two[2], 42.0f);
    ASSERT_EQ(vex_ReadAIAllExt(com1_, 0x1001, nullptr, -5, &n), VEX_TRUE) << "a negative bound stores nothing";

    // Analog outputs in a local slot and in a unit slot.
    ASSERT_EQ(vex_WriteAO(com0_, 7, 1, 4, -2.5f), VEX_TRUE);
    EXPECT_EQ(sent(), "#001-02.500");
    ASSERT_EQ(vex_ReadAO(com0_, 7, 1, 4, &f), VEX_TRUE);
    EXPECT_EQ(sent(), "$0061");
    EXPECT_FLOAT_EQ(f, -2.5f);
    ASSERT_EQ(vex_WriteAO(com1_, kUnit10 | 1, 0, 2, 1.5f), VEX_TRUE);
    EXPECT_EQ(sent(), "#10S1C0+01.500");
    ASSERT_EQ(vex_ReadAO(com1_, kUnit10 | 1, 0, 2, &f), VEX_TRUE);
    EXPECT_EQ(sent(), "$10S1C06");
    EXPECT_FLOAT_EQ(f, 1.5f);
}

TEST_F(UnifiedSim, CountersAndLatchesOnSerialModules) {
    uint32_t n = 0, di = 0, out = 0;
    ASSERT_TRUE(control("3", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::add_pulses(s, p.index, 2, 9, nullptr);
    }));
    ASSERT_EQ(vex_ReadDICNT(com0_, 3, 2, 8, &n), VEX_TRUE);
    EXPECT_EQ(sent(), "#002");
    EXPECT_EQ(n, 9u);
    // The single-digit read expects '>' and 8 hexadecimal digits or a
    // 12-character decimal answer; these modules answer "!AA" and 8 digits,
    // which it cannot read: a clear code and the count left alone.
    n = 77;
    EXPECT_EQ(vex_ReadCNT(com0_, 3, 2, &n), VEX_FALSE);
    EXPECT_EQ(sent(), "#002");
    EXPECT_EQ(error(), VEX_ERR_UART_BUFFER_OVERFLOW);
    EXPECT_EQ(n, 77u);
    ASSERT_EQ(vex_ClearCNT(com0_, 3, 2), VEX_TRUE);
    EXPECT_EQ(sent(), "$00C2");
    EXPECT_EQ(module("3").counter[2], 0u);
    ASSERT_EQ(vex_ClearDICNT(com0_, 3, 2, 8), VEX_TRUE);
    EXPECT_EQ(sent(), "$00C2");

    ASSERT_TRUE(control("COM1:10/0", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::add_pulses(s, p.index, 12, 5, nullptr);
    }));
    ASSERT_EQ(vex_ReadDICNT(com1_, kUnit10 | 0, 12, 16, &n), VEX_TRUE);
    EXPECT_EQ(sent(), "#10S0CC");
    EXPECT_EQ(n, 5u);
    ASSERT_EQ(vex_ClearDICNT(com1_, kUnit10 | 0, 12, 16), VEX_TRUE);
    EXPECT_EQ(sent(), "$10S0CC");

    n = 77;
    EXPECT_EQ(vex_ReadCNTOverflow(com0_, 3, 2, &n), VEX_FALSE);
    EXPECT_EQ(error(), VEX_ERR_CARD_API_UNSUPPORTED);
    EXPECT_EQ(n, 77u);

    ASSERT_EQ(vex_ClearDIOLatch(com0_, 3), VEX_TRUE);
    EXPECT_EQ(sent(), "$00C");
    ASSERT_TRUE(control("3", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::set_inputs(s, p.index, 0x0C, nullptr);
    }));
    ASSERT_EQ(vex_WriteDO(com0_, 3, 8, 0x01), VEX_TRUE);
    ASSERT_EQ(vex_ReadDIOLatch(com0_, 3, 8, 8, 1, &di, &out), VEX_TRUE);
    EXPECT_EQ(sent(), "$00L1");
    EXPECT_EQ(di, 0x08u) << "input 3 went on (input 2 was on already)";
    EXPECT_EQ(out, 0x01u) << "and output 0";
    ASSERT_EQ(vex_ReadDIOLatch(com0_, 3, 8, 8, 0, &di, &out), VEX_TRUE);
    EXPECT_EQ(sent(), "$00L0");
    EXPECT_EQ(di, 0x01u) << "input 0 went off";

    // An inputs-only module in a unit slot.
    ASSERT_EQ(vex_ClearDILatch(com1_, kUnit10 | 0), VEX_TRUE);
    EXPECT_EQ(sent(), "$10S0C");
    ASSERT_TRUE(control("COM1:10/0", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::set_inputs(s, p.index, 0x0105, nullptr);
    }));
    ASSERT_EQ(vex_ReadDILatch(com1_, kUnit10 | 0, 16, 1, &di), VEX_TRUE);
    EXPECT_EQ(sent(), "$10S0L1");
    EXPECT_EQ(di, 0x0004u);
}

TEST_F(UnifiedSim, StoredDigitalValuesOnEachKind) {
    uint32_t v = 1;
    // Parallel: the module's parameter memory (its register sequence:
    // ModuleWatchdog.PowerOnAndSafeValuesGoThroughTheParameterRegisters).
    ASSERT_EQ(vex_WriteModulePowerOnValueDO(0, 0, 32, 0xC0FFEE), VEX_TRUE);
    ASSERT_EQ(vex_ReadModulePowerOnValueDO(0, 0, 32, &v), VEX_TRUE);
    EXPECT_EQ(v, 0xC0FFEEu);
    ASSERT_EQ(vex_WriteModuleSafeValueDO(0, 0, 32, 0x11223344), VEX_TRUE);
    ASSERT_EQ(vex_ReadModuleSafeValueDO(0, 0, 32, &v), VEX_TRUE);
    EXPECT_EQ(v, 0x11223344u);

    // Serial, local slot: drive the outputs, then keep them as the value.
    uint32_t mark = serial_mark();
    ASSERT_EQ(vex_WriteModuleSafeValueDO(com0_, 3, 8, 0x66), VEX_TRUE);
    EXPECT_EQ(sent_since(mark), (std::vector<std::string>{"@0066", "~005S"}));
    EXPECT_EQ(module("3").do_safe, 0x66u);
    ASSERT_EQ(vex_ReadModuleSafeValueDO(com0_, 3, 8, &v), VEX_TRUE);
    EXPECT_EQ(sent(), "~004S");
    EXPECT_EQ(v, 0x66u);
    // A caller that does not know the outputs: the module is asked first.
    mark = serial_mark();
    v = 0;
    ASSERT_EQ(vex_ReadModuleSafeValueDO(com0_, 3, 0, &v), VEX_TRUE);
    EXPECT_EQ(sent_since(mark), (std::vector<std::string>{"~00D", "~004S"}));
    EXPECT_EQ(v, 0x66u);

    // Remote module 02 (16 outputs): power-on value.
    ASSERT_EQ(vex_WriteModulePowerOnValueDO(com1_, 0x1002, 16, 0xBEEF), VEX_TRUE);
    EXPECT_EQ(sent(), "~025P");
    ASSERT_EQ(vex_ReadModulePowerOnValueDO(com1_, 0x1002, 16, &v), VEX_TRUE);
    EXPECT_EQ(sent(), "~024P");
    EXPECT_EQ(v, 0xBEEFu);
}

TEST_F(UnifiedSim, BadPortsAndNullOutputsAreClearCodes) {
    uint32_t v = 5;
    const uint32_t before = serial_mark();
    for (const VEX_PORT port : {VEX_PORT{0}, VEX_INVALID_PORT}) {
        for (const int32_t address : {3, 0x1002, kUnit10 | 0}) {
            vex_SetLastError(0);
            EXPECT_EQ(vex_ReadDI(port, address, 8, &v), VEX_FALSE) << address;
            EXPECT_EQ(error(), VEX_ERR_UART_OPEN) << address;
        }
    }
    EXPECT_TRUE(sent_since(before).empty());
    EXPECT_EQ(v, 5u);
    EXPECT_EQ(vex_ReadDI(0, 2, 8, &v), VEX_TRUE) << "a parallel-bus module needs no port";

    // Null outputs: refused the same way for every kind, nothing sent.
    for (const int32_t address : {2, 3, 6, 0x1001, kUnit10 | 1}) {
        const auto null_refused = [](VEX_BOOL r) {
            const uint32_t code = vex_GetLastError();
            vex_SetLastError(0);
            return r == VEX_FALSE && code == VEX_ERR_UART_BUFFER_OVERFLOW;
        };
        int32_t n = 0;
        EXPECT_TRUE(null_refused(vex_ReadDI(com0_, address, 8, nullptr))) << address;
        EXPECT_TRUE(null_refused(vex_ReadDO(com0_, address, 8, nullptr)));
        EXPECT_TRUE(null_refused(vex_ReadDIO(com0_, address, 8, 8, &v, nullptr)));
        EXPECT_TRUE(null_refused(vex_ReadModuleSafeValueDO(com0_, address, 8, nullptr)));
        EXPECT_TRUE(null_refused(vex_ReadDIOLatch(com0_, address, 8, 8, 1, nullptr, &v)));
        EXPECT_TRUE(null_refused(vex_ReadCNT(com0_, address, 0, nullptr)));
        EXPECT_TRUE(null_refused(vex_ReadAI(com0_, address, 0, 8, nullptr)));
        EXPECT_TRUE(null_refused(vex_ReadAIAll(com0_, address, nullptr)));
        EXPECT_TRUE(null_refused(vex_ReadAIAllHexExt(com0_, address, nullptr, 4, &n)));
        EXPECT_TRUE(null_refused(vex_ReadAIAllExt(com0_, address, nullptr, 0, nullptr)));
        EXPECT_TRUE(null_refused(vex_ReadModulePowerOnValueAO(com0_, address, 0, 4, nullptr)));
    }
    EXPECT_TRUE(sent_since(before).empty());
}

TEST_F(UnifiedSim, TheLargestAddressIsSlotFFOfUnitFF) {
    uint32_t v = 0;
    uart_SetTimeOut(com1_, 20, 0);
    EXPECT_EQ(vex_ReadDI(com1_, std::numeric_limits<int32_t>::max(), 8, &v), VEX_FALSE);
    EXPECT_EQ(sent(), "$FFSFF6") << "every byte of the address is printed as the unit form has it";
}

}  // namespace
}  // namespace vex::test
