// The library's serial module families against the virtual controller's
// modules, over the real pseudo-terminals: the bytes each call puts on the
// line (from the controller's serial trace), the values it returns, in the
// local slot, remote and unit-slot forms; then every fault against every
// family, with its code and the recovery.
#include <functional>

#include "modproto/families.h"
#include "tests/sim/serial_fixture.h"

namespace vex::test {
namespace {

using modproto::Stored;

constexpr int32_t kUnit = 0x100000 | (0x10 << 8);  // unit at bus address 10

class FamiliesOnSim : public SerialSim {
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
    void SetUp() override {
        SerialSim::SetUp();
        com0_ = open_port("COM0:");
        com1_ = open_port("COM1:");
    }
    // The command of the latest exchange, without its terminator.
    std::string sent() {
        const std::string e = last_exchange();
        return e.substr(0, e.find("\r ->"));
    }
    static uint32_t error() { return vex_GetLastError(); }
    void pulses(const std::string& place, int channel, uint32_t n) {
        ASSERT_TRUE(control(place, [&](sim::State& s, const sim::serial::Place& p) {
            return sim::serial::add_pulses(s, p.index, channel, n, nullptr);
        }));
    }
    VEX_PORT com1_ = VEX_INVALID_PORT;
    const modproto::SerialFamily& standard = modproto::standard_family();
    const modproto::SerialFamily& unit = modproto::unit_family();
};

TEST_F(FamiliesOnSim, DigitalCallsInEveryAddressForm) {
    uint32_t di = 0, out = 0, n = 0;
    uint8_t bit = 0;
    // Exported calls, local slot 3 and remote module 02.
    ASSERT_EQ(vex_WriteDO_MF(com0_, 3, 8, 0x1A5), VEX_TRUE);
    EXPECT_EQ(last_exchange(), "@00DOA5\r -> !00\r");
    ASSERT_EQ(vex_ReadDIO_MF(com0_, 3, 8, 8, &di, &out), VEX_TRUE);
    EXPECT_EQ(sent(), "@00DI");
    EXPECT_EQ(di, 0x05u);
    EXPECT_EQ(out, 0xA5u);
    ASSERT_EQ(vex_ReadDIBit_MF(com0_, 3, 2, 8, &bit), VEX_TRUE);
    EXPECT_EQ(bit, 1);
    ASSERT_EQ(vex_ReadDOBit_MF(com0_, 3, 1, 8, &bit), VEX_TRUE);
    EXPECT_EQ(bit, 0);
    ASSERT_EQ(vexsund_WriteDOBit(com0_, 3, 1, 8, 1), VEX_TRUE);
    EXPECT_EQ(last_exchange(), "#00A101\r -> >\r");
    EXPECT_EQ(module("3").do_value, 0xA7u);
    ASSERT_EQ(vex_WriteDO_MF(com1_, 0x1002, 16, 0x1234), VEX_TRUE);
    EXPECT_EQ(sent(), "@02DO1234");
    ASSERT_EQ(zed_WriteDOBit(com1_, 2, 11, 16, 1), VEX_TRUE);
    EXPECT_EQ(sent(), "#02B301");
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

    // The unified path's families.
    const modproto::Target slot3 = modproto::remote_or_local(com0_, 3);
    ASSERT_TRUE(standard.write_do(slot3, 8, 0x3C));
    EXPECT_EQ(sent(), "@003C");
    ASSERT_TRUE(standard.read_dio(slot3, 8, 8, &di, &out));
    EXPECT_EQ(out, 0x3Cu);
    ASSERT_TRUE(standard.clear_latch(slot3));
    ASSERT_TRUE(control("3", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::set_inputs(s, p.index, 0x0C, nullptr);
    }));
    ASSERT_TRUE(standard.write_do(slot3, 8, 0x3D));
    ASSERT_TRUE(standard.read_latch(slot3, 8, 8, 1, &di, &out));
    EXPECT_EQ(sent(), "$00L1");
    EXPECT_EQ(di, 0x08u);
    EXPECT_EQ(out, 0x01u);
    pulses("3", 2, 9);
    ASSERT_TRUE(standard.read_counter(slot3, 2, 8, &n));
    EXPECT_EQ(sent(), "#002");
    EXPECT_EQ(n, 9u);

    const modproto::Target u0 = modproto::unit_slot(com1_, kUnit | 0);
    ASSERT_TRUE(unit.write_do(u0, 8, 0x42));
    EXPECT_EQ(last_exchange(), "#10S00042\r -> >\r");
    ASSERT_TRUE(unit.read_dio(u0, 8, 8, &di, &out));
    EXPECT_EQ(sent(), "$10S06");
    EXPECT_EQ(di, 0x81u);
    EXPECT_EQ(out, 0x42u);
    pulses("COM1:10/3", 12, 5);
    const modproto::Target u3 = modproto::unit_slot(com1_, kUnit | 3);
    ASSERT_TRUE(unit.read_counter(u3, 12, 16, &n));
    EXPECT_EQ(sent(), "#10S3CC");
    EXPECT_EQ(n, 5u);
    ASSERT_TRUE(unit.read_latch(u3, 16, 0, 1, &di, &out));
    EXPECT_EQ(di, 0x1000u);
    ASSERT_TRUE(unit.clear_counter(u3, 12, 16));
    EXPECT_EQ(module("COM1:10/3").counter[12], 0u);
}

TEST_F(FamiliesOnSim, StoredDigitalValuesAndTheWatchdog) {
    uint32_t v = 0, timeout = 0;
    uint16_t enabled = 0, status = 0;
    ASSERT_EQ(vex_WriteModuleSafeValueDO_MF(com1_, 0x1002, 16, 0x0F0F), VEX_TRUE);
    EXPECT_EQ(sent(), "~02500000F0F");
    ASSERT_EQ(vex_WriteModulePowerOnValueDO_MF(com1_, 0x1002, 16, 0x1234), VEX_TRUE);
    EXPECT_EQ(sent(), "~02512340F0F");
    ASSERT_EQ(vex_ReadModuleSafeValueDO_MF(com1_, 0x1002, 16, &v), VEX_TRUE);
    EXPECT_EQ(v, 0x0F0Fu);
    ASSERT_EQ(vex_ReadModulePowerOnValueDO_MF(com1_, 0x1002, 16, &v), VEX_TRUE);
    EXPECT_EQ(v, 0x1234u);
    ASSERT_TRUE(standard.store_do(modproto::remote_or_local(com0_, 3), 8, Stored::Safe, 0x66));
    EXPECT_EQ(sent(), "~005S");
    EXPECT_EQ(module("3").do_safe, 0x66u);
    ASSERT_TRUE(unit.store_do(modproto::unit_slot(com1_, kUnit | 0), 8, Stored::PowerOn, 0x99));
    EXPECT_EQ(sent(), "~10S05P");
    ASSERT_TRUE(unit.read_stored_do(modproto::unit_slot(com1_, kUnit | 0), 8, Stored::PowerOn, &v));
    EXPECT_EQ(v, 0x99u);

    ASSERT_EQ(zed_SetModuleWDTConfig(com1_, 2, 1, 0x12), VEX_TRUE);
    EXPECT_EQ(sent(), "~023112");
    ASSERT_EQ(zed_GetModuleWDTConfig(com1_, 2, &enabled, &timeout), VEX_TRUE);
    EXPECT_EQ(enabled, 1);
    EXPECT_EQ(timeout, 12u) << "written in hexadecimal, read back as decimal digits by design";
    ASSERT_EQ(vexsund_SetModuleWDTConfig(com0_, 3, 1, 0x0A), VEX_TRUE);
    ASSERT_EQ(vexsund_GetModuleWDTConfig(com0_, 3, &enabled, &timeout), VEX_TRUE);
    EXPECT_EQ(timeout, 0x0Au);
    ASSERT_EQ(zed_GetModuleWDTStatus(com1_, 2, &status), VEX_TRUE);
    EXPECT_EQ(status, 0);

    sim().advance(1000000000ull);  // 1 s: slot 3's runs out, 02 (1.8 s) does not
    ASSERT_EQ(zed_RefreshModuleWDT(com1_), VEX_TRUE);
    ASSERT_TRUE(wait_handled("~**\r -> (none)"));
    sim().advance(1000000000ull);
    ASSERT_EQ(zed_GetModuleWDTStatus(com1_, 2, &status), VEX_TRUE);
    EXPECT_EQ(status, 0) << "refreshed";
    ASSERT_EQ(vexsund_GetModuleWDTStatus(com0_, 3, &status), VEX_TRUE);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(vex_WriteDO_MF(com0_, 3, 8, 0x01), VEX_FALSE);
    EXPECT_EQ(error(), 0x1500Au);
    EXPECT_EQ(vexsund_WriteDOBit(com0_, 3, 0, 8, 1), VEX_FALSE);
    EXPECT_EQ(error(), 0x1500Au);
    EXPECT_EQ(module("3").do_value, 0x66u) << "held at the safe value";
    ASSERT_EQ(vexsund_ResetModuleWDT(com0_, 3), VEX_TRUE);
    ASSERT_EQ(vex_WriteDO_MF(com0_, 3, 8, 0x01), VEX_TRUE);
}

TEST_F(FamiliesOnSim, AnalogCallsInEveryAddressForm) {
    float f = 0;
    uint32_t n = 0;
    float all[8] = {};
    size_t count = 0;
    const modproto::Target ai = modproto::remote_or_local(com1_, 0x1001);
    ASSERT_TRUE(standard.read_ai(ai, 3, 8, &f));
    EXPECT_EQ(sent(), "#013");
    EXPECT_FLOAT_EQ(f, 5.0f);
    ASSERT_TRUE(standard.read_ai_all(ai, all, 8, &count));
    EXPECT_EQ(count, 8u);
    EXPECT_FLOAT_EQ(all[5], -10.0f);
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

    // Outputs: local slot 7 (4504P), remote 03 (4501), 04 (4502).
    ASSERT_EQ(vex_WriteAO_MF(com0_, 7, 1, 4, -2.5f), VEX_TRUE);
    EXPECT_EQ(last_exchange(), "#001-02.500\r -> >\r");
    ASSERT_EQ(vex_ReadAO_MF(com0_, 7, 1, 4, &f), VEX_TRUE);
    EXPECT_FLOAT_EQ(f, -2.5f);
    ASSERT_EQ(vex_WriteModulePowerOnValueAO_MF(com0_, 7, 2, 4, 3.0f), VEX_TRUE);
    EXPECT_EQ(sent(), "$0042");
    ASSERT_EQ(vex_ReadModulePowerOnValueAO_MF(com0_, 7, 2, 4, &f), VEX_TRUE);
    EXPECT_EQ(sent(), "$0072");
    EXPECT_FLOAT_EQ(f, 3.0f);
    ASSERT_EQ(vex_WriteModuleSafeValueAO_MF(com0_, 7, 2, 4, 1.5f), VEX_TRUE);
    ASSERT_EQ(vex_ReadModuleSafeValueAO_MF(com0_, 7, 2, 4, &f), VEX_TRUE);
    EXPECT_FLOAT_EQ(f, 1.5f);
    ASSERT_EQ(vex_WriteModulePowerOnValueAO_MF(com1_, 0x1003, 0, 1, 5.0f), VEX_TRUE);
    EXPECT_EQ(sent(), "$03S") << "the single-output kind that stores with $AAS";
    ASSERT_EQ(vex_ReadModulePowerOnValueAO_MF(com1_, 0x1003, 0, 1, &f), VEX_TRUE);
    EXPECT_FLOAT_EQ(f, 5.0f);
    ASSERT_EQ(vex_WriteAO_MF(com1_, 0x1004, 1, 2, 12.5f), VEX_TRUE);
    EXPECT_EQ(sent(), "#04112.500") << "two outputs: no '+'";
    ASSERT_EQ(vex_WriteModulePowerOnValueAO_MF(com1_, 0x1004, 1, 2, 12.5f), VEX_TRUE);
    ASSERT_EQ(vex_ReadModulePowerOnValueAO_MF(com1_, 0x1004, 1, 2, &f), VEX_TRUE);
    EXPECT_EQ(sent(), "~0471");
    EXPECT_FLOAT_EQ(f, 12.5f);
    EXPECT_EQ(vex_WriteAO_MF(com1_, 0x1004, 1, 2, 25.0f), VEX_FALSE) << "above 20 mA: refused";

    // Through the unit.
    const modproto::Target u1 = modproto::unit_slot(com1_, kUnit | 1);
    const modproto::Target u2 = modproto::unit_slot(com1_, kUnit | 2);
    ASSERT_TRUE(unit.read_ai(u1, 1, 2, &f));
    EXPECT_EQ(sent(), "#10S1C1");
    EXPECT_FLOAT_EQ(f, 7.25f);
    ASSERT_TRUE(unit.read_ai_all(u1, all, 8, &count));
    EXPECT_EQ(sent(), "#10S1");
    EXPECT_EQ(count, 8u);
    ASSERT_TRUE(unit.write_ao(u2, 3, 4, 2.5f));
    EXPECT_EQ(sent(), "#10S2C3+02.500");
    ASSERT_TRUE(unit.read_ao(u2, 3, 4, &f));
    EXPECT_FLOAT_EQ(f, 2.5f);
    ASSERT_TRUE(unit.set_ao_power_on(u2, 3, 4, 2.5f));
    ASSERT_TRUE(unit.read_ao_power_on(u2, 3, 4, &f));
    EXPECT_EQ(last_exchange(), "$10S2C37\r -> !102000\r");
    EXPECT_FLOAT_EQ(f, 8192.0f) << "through a unit the value comes as a count";
}

// Every misbehaviour against every family: the code, and a good exchange
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
    ASSERT_TRUE(uart_EnableCheckSum(com0_, 1));
    ASSERT_TRUE(uart_EnableCheckSum(com1_, 1));
    uint32_t u = 0, v = 0;
    uint16_t w = 0;
    float f = 0;
    size_t count = 0;
    float all[8];
    struct Family {
        const char* name;
        const char* place;
        bool is_output_write;  // judged on its first character: a refusal is 0x1500A
        std::function<bool()> call;
    };
    const modproto::Target u0 = modproto::unit_slot(com1_, kUnit | 0);
    const modproto::Target u1 = modproto::unit_slot(com1_, kUnit | 1);
    const std::vector<Family> families = {
        {"DO write (_MF, local slot)", "3", true, [&] { return vex_WriteDO_MF(com0_, 3, 8, 1) == VEX_TRUE; }},
        {"DI/DO read (_MF, remote)", "COM1:02", false, [&] { return vex_ReadDIO_MF(com1_, 0x1002, 0, 16, &u, &v) == VEX_TRUE; }},
        {"counter read (_MF)", "COM1:05", false, [&] { return vex_ReadDICNT_MF(com1_, 0x1005, 0, 1, &u) == VEX_TRUE; }},
        {"DO bit (zed_)", "COM1:02", false, [&] { return zed_WriteDOBit(com1_, 2, 3, 16, 1) == VEX_TRUE; }},
        {"watchdog status (zed_)", "COM1:02", false, [&] { return zed_GetModuleWDTStatus(com1_, 2, &w) == VEX_TRUE; }},
        {"safe DO value (_MF)", "COM1:02", false, [&] { return vex_ReadModuleSafeValueDO_MF(com1_, 0x1002, 16, &u) == VEX_TRUE; }},
        {"AO write (_MF, local slot)", "7", false, [&] { return vex_WriteAO_MF(com0_, 7, 0, 4, 1.0f) == VEX_TRUE; }},
        {"AO power-on read (_MF)", "COM1:04", false, [&] { return vex_ReadModulePowerOnValueAO_MF(com1_, 0x1004, 0, 2, &f) == VEX_TRUE; }},
        {"AI read (unified)", "COM1:01", false, [&] { return standard.read_ai(modproto::remote_or_local(com1_, 0x1001), 0, 8, &f); }},
        {"AI all (unit slot)", "COM1:10/1", false, [&] { return unit.read_ai_all(u1, all, 8, &count); }},
        {"DI/DO read (unit slot)", "COM1:10/0", false, [&] { return unit.read_dio(u0, 8, 8, &u, &v); }},
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
            // Silences cost a time-out each: a short one. A dribbled answer
            // gets a long one, so that a loaded machine that holds the host
            // back for a while between two characters does not cut it.
            const bool dribble = flt.d.kind == sim::SerialFaultKind::Dribble;
            ASSERT_TRUE(uart_SetTimeOut(com1_, dribble ? 1000 : 60, 1));
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
            EXPECT_TRUE(fam.call()) << fam.name << " after " << flt.kind << ": 0x" << std::hex << error();
            ++cells;
        }
    }
    EXPECT_EQ(cells, 12 * 7);
}

}  // namespace
}  // namespace vex::test
