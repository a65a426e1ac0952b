// vexctl serial and vexctl ports, run as a person would run them.
#include <gtest/gtest.h>

#include <future>
#include <string>

#include "tests/support/pty.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

using VexctlSerial = SimFixture;

TEST_F(VexctlSerial, SendsWithTheChosenFramingAndPrintsTheAnswer) {
    Pty pty;
    pty.map_as(L"COM5");
    auto peer = std::async(std::launch::async, [&] {
        const std::string command = pty.read_until('\n', 10000);
        pty.write("!0182\r\n");
        return command;
    });
    const ProcessResult r =
        run_vexctl({"serial", "COM5:,9600,N,8,1", "$01M", "--checksum", "--terminator", "\\r\\n", "--timeout", "500"});
    EXPECT_EQ(peer.get(), "$01MD2\r\n");
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(r.output, "!01\n");
}

TEST_F(VexctlSerial, ReportsTheErrorCodeAndMessage) {
    Pty pty;
    pty.map_as(L"COM5");
    ProcessResult r = run_vexctl({"serial", "COM5:", "$01M", "--timeout", "30"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.output.find("0x14002: Uart read timeout"), std::string::npos) << r.output;
    EXPECT_EQ(pty.read_all(), "$01M\r");

    auto peer = std::async(std::launch::async, [&] {
        pty.read_until('\r', 10000);
        pty.write("!01XX\r");
    });
    r = run_vexctl({"serial", "COM5:", "$01M", "--checksum"});
    peer.get();
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.output.find("0x14001: Uart check sum error"), std::string::npos) << r.output;

    r = run_vexctl({"serial", "COM5:", "x", "--terminator", "\\q"});
    EXPECT_EQ(r.status, 2) << r.output;
}

TEST_F(VexctlSerial, PortsListsTheControllersPortsAndMappings) {
    Pty pty;
    pty.map_as(L"COM5");
    const ProcessResult r = run_vexctl({"ports"});
    EXPECT_EQ(r.status, 0) << r.output;
    for (const char* name : {"COM0:", "COM1:", "COM2:"})
        EXPECT_NE(r.output.find(name), std::string::npos) << name << " published by the controller\n" << r.output;
    EXPECT_NE(r.output.find("COM5:    " + pty.slave_path()), std::string::npos) << r.output;
}

}  // namespace
}  // namespace vex::test
