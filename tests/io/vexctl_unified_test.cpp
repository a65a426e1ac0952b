// vexctl read / vexctl write, run as a person would run them, against every
// kind of module of the built-in virtual controller.
#include "tests/io/io_fixture.h"
#include "tests/sim/serial_fixture.h"

namespace vex::test {
namespace {

// No ports are opened here: vexctl opens its own.
class VexctlUnified : public SerialSim {
protected:
    std::string sent() {
        const std::string e = last_exchange();
        return e.substr(0, e.find("\r ->"));
    }
};

TEST_F(VexctlUnified, ReachesEveryModuleByEveryAddressForm) {
    // Parallel-bus modules: no port needed.
    ProcessResult r = run_vexctl({"write", "2", "do", "0x3C"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(_vex_ReadDO(2, 8), 0x3Cu);
    EXPECT_EQ(run_vexctl({"read", "slot2", "do"}).output, "0x3C\n");
    EXPECT_EQ(run_vexctl({"read", "2", "dobit", "2"}).output, "on\n");
    ASSERT_TRUE(sim().set_inputs(4, 0x00010080));
    EXPECT_EQ(run_vexctl({"read", "4", "di", "-n", "32"}).output, "0x10080\n");

    // Serial module in slot 3 over COM0:, by default.
    r = run_vexctl({"write", "3", "dobit", "1", "on"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(sent(), "#00A101");
    r = run_vexctl({"read", "3", "dio"});
    EXPECT_EQ(r.output, "DI 0x5\nDO 0x2\n") << r.output;
    EXPECT_EQ(sent(), "@00");
    r = run_vexctl({"write", "3", "safe", "0x66"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(sent(), "~005S");
    EXPECT_EQ(run_vexctl({"read", "3", "safe"}).output, "0x66\n");

    // Bus modules and a unit slot, the port taken from the address.
    r = run_vexctl({"write", "COM1:02", "do", "0x1234", "-n", "16"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(sent(), "@021234");
    r = run_vexctl({"read", "COM1:01", "ai", "1"});
    EXPECT_EQ(r.output, "-2.500\n") << r.output;
    EXPECT_EQ(sent(), "#011");
    r = run_vexctl({"read", "0x1001", "aiall", "--port", "COM1:"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(contains(r.output, "0 1.250\n1 -2.500\n"));
    r = run_vexctl({"read", "COM1:10/0", "di", "-n", "16"});
    EXPECT_EQ(r.output, "0x101\n") << r.output;
    EXPECT_EQ(sent(), "$10S06");
    r = run_vexctl({"write", "COM1:10/1", "ao", "0", "1.5", "-n", "2"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(sent(), "#10S1C0+01.500");
    r = run_vexctl({"write", "7", "poweron", "1", "2.5", "-n", "4"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(sent(), "$0041");
    EXPECT_EQ(run_vexctl({"read", "7", "poweron", "1", "-n", "4"}).output, "2.500\n");
    r = run_vexctl({"write", "3", "cnt", "2", "0"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(sent(), "$00C2");
    r = run_vexctl({"read", "3", "latch"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(sent(), "$00L1");
}

TEST_F(VexctlUnified, ExitCodesTellRefusalsFromBadCommandLines) {
    const std::pair<std::vector<std::string>, const char*> refused[] = {
        {{"read", "6", "di"}, "error 0x10003"},                 // empty slot
        {{"read", "2", "ai", "0"}, "error 0x10003"},            // parallel-bus module, analog call
    };
    for (const auto& [args, message] : refused) {
        const ProcessResult r = run_vexctl(args);
        EXPECT_EQ(r.status, 1) << r.output;
        EXPECT_TRUE(contains(r.output, message));
    }
    const std::pair<std::vector<std::string>, const char*> usage[] = {
        {{"read", "2", "volts"}, "KIND must be"},
        {{"read", "0x1001", "di"}, "--port"},
        {{"read", "3", "ai"}, "needs a CHANNEL"},
        {{"write", "3", "di", "1"}, "read only"},
        {{"write", "3", "do"}, "needs a VALUE"},
        {{"write", "3", "dobit", "1", "maybe"}, "on, off"},
        {{"write", "COM1:1FF", "do", "1"}, "hexadecimal"},
        {{"write", "3", "cnt", "2", "5"}, "write 0"},
        {{"read", "3", "di", "-n", "33"}, "-n"},
    };
    for (const auto& [args, message] : usage) {
        const ProcessResult r = run_vexctl(args);
        EXPECT_EQ(r.status, 2) << r.output;
        EXPECT_TRUE(contains(r.output, message));
    }
}

}  // namespace
}  // namespace vex::test
