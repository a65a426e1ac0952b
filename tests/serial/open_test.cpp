// Opening COM ports: the registry map, line settings on the tty, exclusive
// use, and uart_Open's defaults and renumbering.
#include <gtest/gtest.h>

#include <future>
#include <string>

#include "serial/port_table.h"
#include "tests/support/pty.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

using SerialOpen = SimFixture;

TEST_F(SerialOpen, AppliesTheConfigurationToTheMappedTty) {
    Pty pty;
    pty.map_as(L"COM5");
    // Mark parity with a rate that has no code of its own (where the tty
    // takes termios2; under an emulator without it, a rate with a code),
    // and space parity with 1.5 stop bits (sent as 2).
    const bool any_rate = tty_takes_any_rate(pty.master());
    const struct {
        const char* config;
        uint32_t baud;
        bool custom_rate, parodd, cmspar, cstopb;
    } cases[] = {
        {"COM5:,9600,O,8,2", 9600, false, true, false, true},
        {any_rate ? "COM5:,250000,M,8,1" : "COM5:,115200,M,8,1", any_rate ? 250000u : 115200u, any_rate, true, true,
         false},
        {"COM5:,19200,S,8,1.5", 19200, false, false, true, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.config);
        vex_SetLastError(0x12345);
        const VEX_PORT h = uart_OpenEx(c.config);
        ASSERT_NE(h, VEX_INVALID_PORT);
        EXPECT_NE(h, 0u);
        EXPECT_EQ(vex_GetLastError(), 0x12345u) << "a successful open leaves the last error alone";
        const LineSettings s = read_line_settings(pty.master());
        EXPECT_EQ(s.baud, c.baud);
        EXPECT_EQ(s.custom_rate, c.custom_rate);
        // User-mode qemu's termios translation drops CMSPAR (mark and space
        // parity); a real kernel keeps it.
        if (!under_emulator()) {
            EXPECT_EQ(s.cmspar, c.cmspar);
        }
        if (!under_emulator() || !(c.parodd && c.cmspar)) {
            EXPECT_EQ(s.parodd, c.parodd);
        }
        EXPECT_EQ(s.cstopb, c.cstopb);
        EXPECT_FALSE(s.crtscts);
        EXPECT_TRUE(s.raw) << "a COM port carries bytes untranslated";
        ASSERT_TRUE(uart_Write(h, "a\rb\n"));
        EXPECT_EQ(pty.read_all(), "a\rb\n");
        EXPECT_TRUE(uart_Close(h));
    }
}

TEST_F(SerialOpen, UnusableOrUnknownSettingsLeaveThePortAsItWas) {
    Pty pty;
    pty.map_as(L"COM5");
    uart_Close(uart_OpenEx("COM5:,19200,O,8,2"));

    // The empty field moves "E" into the baud field: baud 0, data bits 1.
    // The port refuses that block and keeps its settings; the open works.
    const VEX_PORT h = uart_OpenEx("COM5:,,E,8,1");
    ASSERT_NE(h, VEX_INVALID_PORT);
    LineSettings s = read_line_settings(pty.master());
    EXPECT_EQ(s.baud, 19200u);
    EXPECT_TRUE(s.cstopb);
    EXPECT_EQ(serial::last_comm_state().baud, 0u);
    EXPECT_EQ(serial::last_comm_state().data_bits, 1);
    uart_Close(h);

    // Lower-case parity keeps the driver's parity; the rest applies.
    const plat::Parity before = serial::last_comm_state().parity;
    const VEX_PORT e = uart_OpenEx("COM5:,9600,e,7,2");
    ASSERT_NE(e, VEX_INVALID_PORT);
    EXPECT_EQ(serial::last_comm_state().parity, before);
    EXPECT_EQ(serial::last_comm_state().data_bits, 7);
    EXPECT_EQ(read_line_settings(pty.master()).baud, 9600u);
    uart_Close(e);
}

TEST_F(SerialOpen, NamesWithoutAMappingFailOnTheVirtualController) {
    EXPECT_EQ(uart_OpenEx("COM7:,9600"), VEX_INVALID_PORT);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
    // A mapping to something that is not a tty is no port either.
    const std::wstring path = L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports\\COM7";
    ASSERT_TRUE(vex_RegSetString(path.c_str(), L"/dev/null", 9 * sizeof(wchar_t)));
    vex_ClearLastError();
    EXPECT_EQ(uart_OpenEx("COM7:"), VEX_INVALID_PORT);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
}

TEST_F(SerialOpen, DeviceFormNamesMapThroughTheirFirstFiveCharacters) {
    Pty pty;
    pty.map_as(L"COM12");
    const VEX_PORT h = uart_OpenEx("COM123:,9600");  // $device\COM12
    ASSERT_NE(h, VEX_INVALID_PORT);
    EXPECT_EQ(serial::find_port(h)->port_name, "COM12");
    EXPECT_EQ(serial::find_port_by_name("COM12"), serial::find_port(h));
    uart_Close(h);
}

TEST_F(SerialOpen, ADeviceIsOpenedOnceAcrossProcesses) {
    Pty pty;
    pty.map_as(L"COM5");
    const VEX_PORT h = uart_OpenEx("COM5:");
    ASSERT_NE(h, VEX_INVALID_PORT);
    EXPECT_EQ(uart_OpenEx("COM5:,9600"), VEX_INVALID_PORT);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);

    // Another process (vexctl, on the same controller and registry) cannot
    // open it either while this one holds it...
    ProcessResult held = run_vexctl({"serial", "COM5:", "$01M", "--timeout", "50"});
    EXPECT_EQ(held.status, 1) << held.output;
    EXPECT_NE(held.output.find("0x14006"), std::string::npos) << held.output;
    EXPECT_EQ(pty.read_all(20), "") << "nothing reached the line";

    // ...and can once it is closed.
    ASSERT_TRUE(uart_Close(h));
    auto peer = std::async(std::launch::async, [&] {
        const std::string command = pty.read_until('\r', 10000);
        pty.write("!01\r");
        return command;
    });
    ProcessResult freed = run_vexctl({"serial", "COM5:", "$01M"});
    EXPECT_EQ(freed.status, 0) << freed.output;
    EXPECT_EQ(freed.output, "!01\n");
    EXPECT_EQ(peer.get(), "$01M\r");
}

TEST_F(SerialOpen, HandlesAreDistinctTokensAndDieWithTheirPort) {
    Pty a, b;
    a.map_as(L"COM5");
    b.map_as(L"COM6");
    const VEX_PORT ha = uart_OpenEx("COM5:");
    const VEX_PORT hb = uart_OpenEx("COM6:");
    ASSERT_NE(ha, VEX_INVALID_PORT);
    ASSERT_NE(hb, VEX_INVALID_PORT);
    EXPECT_NE(ha, hb);
    EXPECT_TRUE(uart_Close(ha));
    EXPECT_FALSE(uart_Close(ha)) << "closing twice";
    EXPECT_FALSE(uart_Close(0));
    // The device is free again and gets a new handle.
    const VEX_PORT again = uart_OpenEx("COM5:");
    ASSERT_NE(again, VEX_INVALID_PORT);
    EXPECT_NE(again, ha);
    uart_Close(again);
    uart_Close(hb);
}

TEST_F(SerialOpen, OpenCompletesTheStringAndRenumbersOldPortNames) {
    Pty com1, com2, com5;
    com1.map_as(L"COM1");
    com2.map_as(L"COM2");
    com5.map_as(L"COM5");
    const Pty* ptys[] = {&com1, &com2, &com5};
    // Which of the three did the handle open?
    auto opened = [&](VEX_PORT h) -> std::string {
        if (h == VEX_INVALID_PORT) return "none";
        uart_Write(h, "x");
        std::string which = "?";
        for (const Pty* p : ptys) {
            if (p->read_all(20) == "x") which = p == &com1 ? "COM1" : p == &com2 ? "COM2" : "COM5";
        }
        uart_Close(h);
        return which;
    };
    const wchar_t* running_mode = L"HKEY_LOCAL_MACHINE\\VORLAN\\RunningMode";
    const wchar_t* backward = L"HKEY_LOCAL_MACHINE\\VORLAN\\BackwardCompatible";

    vex_RegSetDWORD(running_mode, 2);
    vex_RegSetDWORD(backward, 1);
    EXPECT_EQ(opened(uart_Open(nullptr)), "COM2") << "default COM1:, renumbered";
    EXPECT_EQ(opened(uart_Open("COM2")), "COM5") << "colon added, then renumbered";
    vex_RegSetDWORD(running_mode, 0);
    EXPECT_EQ(opened(uart_Open(nullptr)), "COM1") << "default COM0:, renumbered";

    vex_RegSetDWORD(backward, 0);
    vex_RegSetDWORD(running_mode, 2);
    const VEX_PORT h = uart_Open(nullptr);
    ASSERT_NE(h, VEX_INVALID_PORT);
    EXPECT_EQ(serial::find_port(h)->port_name, "COM1:");
    EXPECT_EQ(read_line_settings(com1.master()).baud, 115200u);
    uart_Close(h);
    // An empty first field vanishes: ",9600" names the port "9600:".
    EXPECT_EQ(uart_Open(",9600"), VEX_INVALID_PORT);
    // uart_OpenEx takes "COM1" as the device form $device\COM1: same
    // device, other record name.
    const VEX_PORT ex = uart_OpenEx("COM1");
    ASSERT_NE(ex, VEX_INVALID_PORT);
    EXPECT_EQ(serial::find_port(ex)->port_name, "COM1");
    uart_Close(ex);
}

}  // namespace
}  // namespace vex::test
