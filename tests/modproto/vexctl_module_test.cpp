// vexctl module and vexctl serial --trace, run as a person would run them,
// against a scripted module.
#include <gtest/gtest.h>

#include <string>

#include "tests/modproto/module_peer.h"
#include "tests/support/pty.h"
#include "tests/support/sim_fixture.h"

namespace vex::test {
namespace {

class VexctlModule : public SimFixture {
protected:
    void SetUp() override {
        SimFixture::SetUp();
        pty_.map_as(L"COM5");
    }
    ProcessResult module(std::vector<std::string> args) {
        args.insert(args.begin(), {"module", "COM5:", "--timeout", "100"});
        return run_vexctl(args);
    }
    Pty pty_;
    ModulePeer peer_{pty_};
};

TEST_F(VexctlModule, RunsEachFamilyAndPrintsValues) {
    peer_.reply(">");
    ProcessResult r = module({"0x1001", "do", "0x1FF", "-n", "8"});
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(r.output, "outputs 0xFF\n");
    peer_.reply(">0F03");
    r = module({"0x1001", "dio", "--di", "8", "--do", "8"});
    EXPECT_EQ(r.output, "DI 0x3\nDO 0xF\n");
    peer_.reply("!0100123");
    r = module({"0x1001", "counter", "2", "--di", "8"});
    EXPECT_EQ(r.output, "123\n");
    peer_.reply(">+01.250");
    r = module({"0x1003", "ai", "1", "-n", "8"});
    EXPECT_EQ(r.output, "1.250\n");
    peer_.reply("!03");
    r = module({"0x1003", "ao", "1", "-2.5", "-n", "4"});
    EXPECT_EQ(r.output, "-2.500\n");
    peer_.reply("!05032");
    r = module({"0x1005", "wdt", "config"});
    EXPECT_EQ(r.output, "disabled, time-out 32\n");
    peer_.reply("!014308");
    r = module({"0x1001", "name"});
    EXPECT_EQ(r.output, "4308\n");
    EXPECT_EQ(peer_.take(7), (std::vector<std::string>{"@01FF", "@01", "#012", "#031", "#031-02.500", "~052", "$01M"}));
}

TEST_F(VexctlModule, FailuresSayTheCodeAndExitCodesTellThemApart) {
    peer_.reply("?01");
    ProcessResult r = module({"0x1001", "dio", "--di", "8", "--do", "8"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.output.find("read I/O: error 0x14003: Uart response error"), std::string::npos) << r.output;
    peer_.reply(">0G03");
    r = module({"0x1001", "dio", "--di", "8", "--do", "8"});
    EXPECT_NE(r.output.find("0x14008"), std::string::npos) << r.output;
    peer_.take(2);

    for (const std::vector<std::string>& bad :
         {std::vector<std::string>{"0x1001", "do", "-5"}, {"0x1001", "do", "1", "-n", "33"}, {"0x1001", "bit", "1", "up"},
          {"0x1001", "ao", "1", "nan"}, {"0x1001", "wdt", "nap"}, {"zz", "dio"}}) {
        r = module(bad);
        EXPECT_EQ(r.status, 2) << bad[1] << ": " << r.output;
    }
    r = module({"0", "dio"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.output.find("parallel-bus module"), std::string::npos) << r.output;
    EXPECT_TRUE(peer_.take(0, 100).empty()) << "nothing sent for a bad command line";
}

TEST_F(VexctlModule, SerialTracePrintsEveryByteWithItsTime) {
    peer_.reply("!0182");
    const ProcessResult r = run_vexctl({"serial", "COM5:", "$01M", "--trace"});
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_NE(r.output.find("> 24 30 31 4D 0D  $01M\\r"), std::string::npos) << r.output;
    EXPECT_NE(r.output.find("< "), std::string::npos) << r.output;
    EXPECT_NE(r.output.find(" ms "), std::string::npos) << r.output;
    EXPECT_NE(r.output.find("!0182\n"), std::string::npos) << "the answer itself\n" << r.output;
}

}  // namespace
}  // namespace vex::test
