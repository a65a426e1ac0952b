// The library's serial module families against the virtual controller's
// modules, over the real pseudo-terminals: that what the modules answer is
// read as the values they hold, for what the unified calls on the default
// controller (tests/io/unified_test.cpp) do not reach: the _MF and bus
// address calls, other kinds, range markers and stored values; then every
// fault against every family, with its code and the recovery.
#include <functional>

#include "modproto/families.h"
#include "tests/io/unified_fixture.h"

namespace vex::test {
namespace {

using modproto::Stored;

class FamiliesOnSim : public UnifiedSim {
protected:
    std::string description() override {
        return R"(
[[slot]]
slot = 3
type = "serial"
kind = "4308"
di = 0x05
[[slot]]
slot = 7
type = "serial"
kind = "4504P"
[[port]]
name = "COM1:"
[[port.module]]
address = 0x01
kind = "4408"
ai = [1.25, -2.5, 0.0, 5.0, 9.75, -10.0, 0.5, 3.3]
[[port.module]]
address = 0x02
kind = "4216"
[[port.module]]
address = 0x03
kind = "4501"
[[port.module]]
address = 0x04
kind = "4502"
[[port.module]]
address = 0x05
kind = "4161"
[[port.unit]]
address = 0x10
slots = 4
[[port.unit.slot]]
slot = 0
kind = "4308"
di = 0x81
[[port.unit.slot]]
slot = 1
kind = "4408"
ai = [0.5, 7.25]
[[port.unit.slot]]
slot = 2
kind = "4504P"
[[port.unit.slot]]
slot = 3
kind = "4116"
)";
    }
    void pulses(const std::string& place, int channel, uint32_t n) {
        ASSERT_TRUE(control(place, [&](sim::State& s, const sim::serial::Place& p) {
            return sim::serial::add_pulses(s, p.index, channel, n, nullptr);
        }));
    }
    const modproto::SerialFamily& standard = modproto::standard_family();
    const modproto::SerialFamily& unit = modproto::unit_family();
};

TEST_F(FamiliesOnSim, DigitalValuesInEveryAddressForm) {
    uint32_t di = 0, out = 0, n = 0;
    ASSERT_EQ(vex_WriteDO_MF(com0_, 3, 8, 0x1A5), VEX_TRUE);
    ASSERT_EQ(vex_ReadDIO_MF(com0_, 3, 8, 8, &di, &out), VEX_TRUE);
    EXPECT_EQ(di, 0x05u);
    EXPECT_EQ(out, 0xA5u);
    uint8_t bit = 0;
    ASSERT_EQ(vex_ReadDIBit_MF(com0_, 3, 2, 8, &bit), VEX_TRUE);
    EXPECT_EQ(bit, 1);
    ASSERT_EQ(vex_ReadDOBit_MF(com0_, 3, 1, 8, &bit), VEX_TRUE);
    EXPECT_EQ(bit, 0);
    ASSERT_EQ(vexsund_WriteDOBit(com0_, 3, 1, 8, 1), VEX_TRUE);
    EXPECT_EQ(module("3").do_value, 0xA7u);
    ASSERT_EQ(vex_WriteDO_MF(com1_, 0x1002, 16, 0x1234), VEX_TRUE);
    ASSERT_EQ(zed_WriteDOBit(com1_, 2, 11, 16, 1), VEX_TRUE);
    ASSERT_EQ(vex_ReadDO_MF(com1_, 0x1002, 16, &out), VEX_TRUE);
    EXPECT_EQ(out, 0x1A34u);

    // Counters: 32-bit (4308) and 16-bit with one counter (4161).
    pulses("3", 6, 300);
    ASSERT_EQ(vex_ReadDICNT_MF(com0_, 3, 6, 8, &n), VEX_TRUE);
    EXPECT_EQ(sent(), "@00REC6");
    EXPECT_EQ(n, 300u);
    ASSERT_EQ(vex_ClearDICNT_MF(com0_, 3, 6, 8), VEX_TRUE);
    EXPECT_EQ(module("3").counter[6], 0u);
    pulses("COM1:05", 0, 65536 + 77);
    ASSERT_EQ(vex_ReadDICNT_MF(com1_, 0x1005, 0, 1, &n), VEX_TRUE);
    EXPECT_EQ(last_exchange(), "@05RE\r -> !0500077\r") << "a 16-bit counter wraps, five decimal digits";
    EXPECT_EQ(n, 77u);

    // Outputs and inputs of a combined module behind a unit.
    const modproto::Target u0 = modproto::unit_slot(com1_, kUnit10 | 0);
    ASSERT_TRUE(unit.write_do(u0, 8, 0x42));
    ASSERT_TRUE(unit.read_dio(u0, 8, 8, &di, &out));
    EXPECT_EQ(di, 0x81u);
    EXPECT_EQ(out, 0x42u);
}

TEST_F(FamiliesOnSim, StoredDigitalValues) {
    uint32_t v = 0;
    ASSERT_EQ(vex_WriteModuleSafeValueDO_MF(com1_, 0x1002, 16, 0x0F0F), VEX_TRUE);
    ASSERT_EQ(vex_WriteModulePowerOnValueDO_MF(com1_, 0x1002, 16, 0x1234), VEX_TRUE);
    EXPECT_EQ(sent(), "~02512340F0F") << "the other stored value is kept";
    ASSERT_EQ(vex_ReadModuleSafeValueDO_MF(com1_, 0x1002, 16, &v), VEX_TRUE);
    EXPECT_EQ(v, 0x0F0Fu);
    ASSERT_EQ(vex_ReadModulePowerOnValueDO_MF(com1_, 0x1002, 16, &v), VEX_TRUE);
    EXPECT_EQ(v, 0x1234u);
    const modproto::Target u0 = modproto::unit_slot(com1_, kUnit10 | 0);
    ASSERT_TRUE(unit.store_do(u0, 8, Stored::PowerOn, 0x99));
    EXPECT_EQ(sent(), "~10S05P");
    ASSERT_TRUE(unit.read_stored_do(u0, 8, Stored::PowerOn, &v));
    EXPECT_EQ(v, 0x99u);
}

TEST_F(FamiliesOnSim, AnalogValuesRangeMarkersAndStoredValues) {
    float f = 0;
    uint32_t n = 0;
    float all[8] = {};
    size_t count = 0;
    const modproto::Target ai = modproto::remote_or_local(com1_, 0x1001);
    ASSERT_TRUE(control("COM1:01", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::set_analog_input(s, p.index, 4, 10.5f, nullptr);
    }));
    EXPECT_FALSE(standard.read_ai(ai, 4, 8, &f));
    EXPECT_EQ(error(), 0x14005u);
    EXPECT_FALSE(standard.read_ai_all(ai, all, 8, &count));
    EXPECT_EQ(error(), 0x14005u);
    EXPECT_FLOAT_EQ(all[3], 5.0f) << "the other values are stored all the same";
    ASSERT_TRUE(control("COM1:01", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::set_format(s, p.index, sim::SerialFormat::Hex, nullptr);
    }));
    ASSERT_TRUE(standard.read_ai_hex(ai, 0, 8, &n));
    EXPECT_EQ(n, 0x1000u);
    EXPECT_FALSE(standard.read_ai_hex(ai, 4, 8, &n));
    EXPECT_EQ(error(), 0x14005u) << "7FFF";

    // Stored output values: local slot 7 (4504P), remote 03 (4501), 04 (4502).
    ASSERT_EQ(vex_WriteModulePowerOnValueAO_MF(com0_, 7, 2, 4, 3.0f), VEX_TRUE);
    ASSERT_EQ(vex_ReadModulePowerOnValueAO_MF(com0_, 7, 2, 4, &f), VEX_TRUE);
    EXPECT_FLOAT_EQ(f, 3.0f);
    ASSERT_EQ(vex_WriteModulePowerOnValueAO_MF(com1_, 0x1003, 0, 1, 5.0f), VEX_TRUE);
    EXPECT_EQ(sent(), "$03S") << "the single-output kind that stores with $AAS";
    ASSERT_EQ(vex_ReadModulePowerOnValueAO_MF(com1_, 0x1003, 0, 1, &f), VEX_TRUE);
    EXPECT_FLOAT_EQ(f, 5.0f);
    ASSERT_EQ(vex_WriteModulePowerOnValueAO_MF(com1_, 0x1004, 1, 2, 12.5f), VEX_TRUE);
    ASSERT_EQ(vex_ReadModulePowerOnValueAO_MF(com1_, 0x1004, 1, 2, &f), VEX_TRUE);
    EXPECT_FLOAT_EQ(f, 12.5f);
    EXPECT_EQ(vex_WriteAO_MF(com1_, 0x1004, 1, 2, 25.0f), VEX_FALSE) << "above 20 mA: refused";

    // Through the unit.
    const modproto::Target u1 = modproto::unit_slot(com1_, kUnit10 | 1);
    const modproto::Target u2 = modproto::unit_slot(com1_, kUnit10 | 2);
    ASSERT_TRUE(unit.read_ai(u1, 1, 2, &f));
    EXPECT_FLOAT_EQ(f, 7.25f);
    ASSERT_TRUE(unit.read_ai_all(u1, all, 8, &count));
    EXPECT_EQ(count, 8u);
    ASSERT_TRUE(unit.set_ao_power_on(u2, 3, 4, 2.5f));
    ASSERT_TRUE(unit.read_ao_power_on(u2, 3, 4, &f));
    EXPECT_EQ(last_exchange(), "$10S2C37\r -> !102000\r");
    EXPECT_FLOAT_EQ(f, 8192.0f) << "through a unit the value comes as a count";
}

// Every misbehaviour against every family the pty fault matrix
// (SerialFamilies.FaultMatrix) does not run: the code, and a good exchange
// right after the fault is cleared.
class FaultMatrixOnSim : public FamiliesOnSim {
protected:
    std::string description() override {
        std::string d = FamiliesOnSim::description();
        // Checksums on both ports, so that a wrong one is caught.
        d += "[[port]]\nname = \"COM0:\"\nchecksum = true\n";
        const size_t at = d.find("name = \"COM1:\"\n");
        d.insert(at + 15, "checksum = true\n");
        return d;
    }
};

TEST_F(FaultMatrixOnSim, EveryFaultAgainstEveryFamily) {
    constexpr uint32_t kAnswerMs = 1000;
    ASSERT_TRUE(uart_EnableCheckSum(com0_, 1));
    ASSERT_TRUE(uart_EnableCheckSum(com1_, 1));
    uint32_t u = 0, v = 0;
    float f = 0;
    size_t count = 0;
    float all[8];
    struct Family {
        const char* name;
        const char* place;
        bool is_output_write;  // judged on its first character: a refusal is 0x1500A
        std::function<bool()> call;
    };
    const modproto::Target u0 = modproto::unit_slot(com1_, kUnit10 | 0);
    const modproto::Target u1 = modproto::unit_slot(com1_, kUnit10 | 1);
    const std::vector<Family> families = {
        {"DO write (_MF, local slot)", "3", true, [&] { return vex_WriteDO_MF(com0_, 3, 8, 1) == VEX_TRUE; }},
        {"counter read (_MF)", "COM1:05", false, [&] { return vex_ReadDICNT_MF(com1_, 0x1005, 0, 1, &u) == VEX_TRUE; }},
        {"DO bit (zed_)", "COM1:02", false, [&] { return zed_WriteDOBit(com1_, 2, 3, 16, 1) == VEX_TRUE; }},
        {"safe DO value (_MF)", "COM1:02", false, [&] { return vex_ReadModuleSafeValueDO_MF(com1_, 0x1002, 16, &u) == VEX_TRUE; }},
        {"AO write (_MF, local slot)", "7", false, [&] { return vex_WriteAO_MF(com0_, 7, 0, 4, 1.0f) == VEX_TRUE; }},
        {"AO power-on read (_MF)", "COM1:04", false, [&] { return vex_ReadModulePowerOnValueAO_MF(com1_, 0x1004, 0, 2, &f) == VEX_TRUE; }},
        {"AI all (unit slot)", "COM1:10/1", false, [&] { return unit.read_ai_all(u1, all, 8, &count); }},
        {"latch read (unit slot)", "COM1:10/0", false, [&] { return unit.read_latch(u0, 8, 8, 1, &u, &v); }},
    };
    struct Fault {
        const char* kind;
        sim::FaultDescription d;
    };
    auto fault = [](sim::SerialFaultKind kind, uint32_t param) {
        sim::FaultDescription d;
        d.kind = kind;
        d.param = param;
        return d;
    };
    const std::vector<Fault> faults = {
        {"silent", fault(sim::SerialFaultKind::Silent, 0)},   {"garbage", fault(sim::SerialFaultKind::Garbage, 3)},
        {"bad-checksum", fault(sim::SerialFaultKind::BadChecksum, 0)}, {"cut", fault(sim::SerialFaultKind::Cut, 2)},
        {"dribble", fault(sim::SerialFaultKind::Dribble, 5)}, {"refuse", fault(sim::SerialFaultKind::Refuse, 0)},
        {"removed", fault(sim::SerialFaultKind::Removed, 0)},
    };
    int cells = 0;
    for (const Family& fam : families) {
        for (const Fault& flt : faults) {
            const bool set = control(fam.place, [&](sim::State& s, const sim::serial::Place& p) {
                return sim::serial::set_fault(s, p, flt.d, sim().now_ns(), nullptr);
            });
            ASSERT_TRUE(set) << fam.place;
            // A silence or a cut answer costs a time-out: a short one. Every
            // other answer gets a long one, so that a loaded machine that
            // holds the host back for a while does not turn it into a silence.
            const auto kind = flt.d.kind;
            const bool silence = kind == sim::SerialFaultKind::Silent || kind == sim::SerialFaultKind::Removed ||
                                 kind == sim::SerialFaultKind::Cut;
            ASSERT_TRUE(uart_SetTimeOut(com1_, silence ? 60 : kAnswerMs, 1));
            const bool ok = fam.call();
            if (flt.d.kind == sim::SerialFaultKind::Dribble) {
                EXPECT_TRUE(ok) << fam.name << " / " << flt.kind << ": slow characters are still an answer";
            } else {
                EXPECT_FALSE(ok) << fam.name << " / " << flt.kind;
                const uint32_t expected =
                    flt.d.kind == sim::SerialFaultKind::Refuse && fam.is_output_write ? 0x1500Au : 0x14003u;
                EXPECT_EQ(error(), expected) << fam.name << " / " << flt.kind;
            }
            ASSERT_TRUE(control(fam.place, [&](sim::State& s, const sim::serial::Place& p) {
                return sim::serial::set_fault(s, p, sim::FaultDescription{}, sim().now_ns(), nullptr);
            }));
            ASSERT_TRUE(uart_SetTimeOut(com1_, kAnswerMs, 1));
            EXPECT_TRUE(fam.call()) << fam.name << " after " << flt.kind << ": 0x" << std::hex << error();
            ++cells;
        }
    }
    EXPECT_EQ(cells, 8 * 7);
}

}  // namespace
}  // namespace vex::test
