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

// Values through every address form are walked in tests/tools/address_walk_test.cpp
// (JSON output); here each kind's plain output, and that it reached the module
// (the safe value write drives the outputs too: 0x64, then bit 1 on).
TEST_F(VexctlUnified, EachKindIsPrintedInItsOwnFormat) {
    for (const std::vector<std::string>& write :
         {std::vector<std::string>{"write", "2", "do", "0x3C"}, {"write", "3", "safe", "0x64"},
          {"write", "3", "dobit", "1", "on"}, {"write", "7", "poweron", "1", "2.5", "-n", "4"}}) {
        const ProcessResult r = run_vexctl(write);
        ASSERT_EQ(r.status, 0) << write[2] << ": " << r.output;
    }
    EXPECT_EQ(_vex_ReadDO(2, 8), 0x3Cu);
    ASSERT_TRUE(sim().set_inputs(4, 0x00010080));
    const std::pair<std::vector<std::string>, const char*> reads[] = {
        {{"read", "slot2", "do"}, "0x3C\n"},
        {{"read", "2", "dobit", "2"}, "on\n"},
        {{"read", "4", "di", "-n", "32"}, "0x10080\n"},
        {{"read", "3", "dio"}, "DI 0x5\nDO 0x66\n"},
        {{"read", "3", "safe"}, "0x64\n"},
        {{"read", "COM1:01", "ai", "1"}, "-2.500\n"},
        {{"read", "COM1:10/0", "di", "-n", "16"}, "0x101\n"},
        {{"read", "7", "poweron", "1", "-n", "4"}, "2.500\n"},
    };
    for (const auto& [args, printed] : reads) EXPECT_EQ(run_vexctl(args).output, printed) << args[1] << " " << args[2];
    ProcessResult r = run_vexctl({"read", "0x1001", "aiall", "--port", "COM1:"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(contains(r.output, "0 1.250\n1 -2.500\n"));
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
