// Modem lines of the virtual controller's ports, the line-status monitor,
// queue counts and port numbering.
#include <gtest/gtest.h>

#include "serial/port_table.h"
#include "sim/serial_ports.h"
#include "tests/serial/pty_port_fixture.h"

namespace vex::test {
namespace {

class SerialLineStatus : public SimFixture {
protected:
    // COM1: and COM2: have loopback wiring; COM3: does not.
    std::string description() override {
        return "[[port]]\nname = \"COM1:\"\n[[port]]\nname = \"COM3:\"\nmodem_loopback = false\n";
    }
};

TEST_F(SerialLineStatus, LoopbackWiringFollowsDtrAndRts) {
    const VEX_PORT h = uart_OpenEx("COM1:,9600");
    ASSERT_NE(h, VEX_INVALID_PORT);
    // The open raised DTR and RTS; the first call already sees the lines.
    EXPECT_EQ(uart_GetLineStatus(h, VEX_LINE_CTS), 1);
    EXPECT_EQ(uart_GetLineStatus(h, VEX_LINE_DSR), 1);
    EXPECT_EQ(uart_GetLineStatus(h, VEX_LINE_CD), 1);
    EXPECT_EQ(uart_GetLineStatus(h, VEX_LINE_RING), 0);

    ASSERT_TRUE(uart_SetLineStatus(h, VEX_LINE_DTR, 0));
    EXPECT_TRUE(eventually([&] { return uart_GetLineStatus(h, VEX_LINE_DSR) == 0; }));
    EXPECT_EQ(uart_GetLineStatus(h, VEX_LINE_CD), 0);
    EXPECT_EQ(uart_GetLineStatus(h, VEX_LINE_CTS), 1);
    ASSERT_TRUE(uart_SetLineStatus(h, VEX_LINE_RTS, 0));
    EXPECT_TRUE(eventually([&] { return uart_GetLineStatus(h, VEX_LINE_CTS) == 0; }));
    EXPECT_EQ(serial::last_comm_state().rts_control, plat::kRtsDisable);

    // States other than 0 and 1 change nothing on one line...
    EXPECT_TRUE(uart_SetLineStatus(h, VEX_LINE_RTS, 5));
    // ...while for both lines any non-zero state is on.
    ASSERT_TRUE(uart_SetLineStatus(h, VEX_LINE_DTR_RTS, 7));
    EXPECT_TRUE(eventually([&] {
        return uart_GetLineStatus(h, VEX_LINE_CTS) == 1 && uart_GetLineStatus(h, VEX_LINE_DSR) == 1;
    }));
    EXPECT_FALSE(uart_SetLineStatus(h, 4, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
    uart_Close(h);
}

TEST_F(SerialLineStatus, TheFarEndsLinesReachTheMonitor) {
    const VEX_PORT h = uart_OpenEx("COM3:");
    ASSERT_NE(h, VEX_INVALID_PORT);
    EXPECT_EQ(uart_GetLineStatus(h, VEX_LINE_DSR), 0) << "no loopback on COM3:";
    auto far_end = [&](uint32_t bits) {
        sim().with_lock([&](sim::State& s) {
            sim::serial_port_set_far_lines(s, sim::serial_port_by_name(s, "COM3:"), bits);
            return 0;
        });
    };
    far_end(plat::kModemRing | plat::kModemDsr);
    EXPECT_TRUE(eventually([&] { return uart_GetLineStatus(h, VEX_LINE_RING) == 1; }));
    EXPECT_EQ(uart_GetLineStatus(h, VEX_LINE_DSR), 1);
    far_end(plat::kModemCts);
    EXPECT_TRUE(eventually([&] { return uart_GetLineStatus(h, VEX_LINE_RING) == 0; }));
    EXPECT_EQ(uart_GetLineStatus(h, VEX_LINE_CTS), 1);
    uart_Close(h);
}

TEST_F(SerialLineStatus, TheMonitorThreadEndsWithItsPort) {
    Pty pty;  // no modem lines at all: its monitor waits for nothing
    pty.map_as(L"COM5");
    for (const char* name : {"COM1:", "COM5:"}) {
        const VEX_PORT h = uart_OpenEx(name);
        ASSERT_NE(h, VEX_INVALID_PORT);
        uart_GetLineStatus(h, VEX_LINE_CTS);
        const serial::PortPtr record = serial::find_port(h);
        EXPECT_TRUE(record->monitor_running) << name;
        const int64_t start = now_ms();
        ASSERT_TRUE(uart_Close(h));
        EXPECT_LT(now_ms() - start, 500) << name << ": close ends the monitor's wait";
        EXPECT_FALSE(record->monitor_running) << name;
        EXPECT_FALSE(record->monitor_thread.joinable()) << name;
    }
}

TEST_F(SerialLineStatus, RefusalsAndTheirCodes) {
    const VEX_PORT h = uart_OpenEx("COM1:");
    ASSERT_NE(h, VEX_INVALID_PORT);
    plat::ComSettings last = serial::last_comm_state();
    last.dtr_control = plat::kDtrHandshake;
    serial::set_last_comm_state(last);
    EXPECT_FALSE(uart_SetLineStatus(h, VEX_LINE_DTR, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
    last.dtr_control = plat::kDtrEnable;
    last.rts_control = plat::kRtsToggle;
    serial::set_last_comm_state(last);
    EXPECT_FALSE(uart_SetLineStatus(h, VEX_LINE_DTR_RTS, 1)) << "DTR goes, then RTS is refused";
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);

    Pty pty;
    pty.map_as(L"COM5");
    const VEX_PORT plain = uart_OpenEx("COM5:");
    ASSERT_NE(plain, VEX_INVALID_PORT);
    EXPECT_FALSE(uart_SetLineStatus(plain, VEX_LINE_DTR, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_MODEM_STATUS) << "a pseudo-terminal has no modem lines";
    EXPECT_FALSE(uart_SetLineStatus(VEX_INVALID_PORT, VEX_LINE_DTR, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
    EXPECT_EQ(uart_GetLineStatus(0, VEX_LINE_CTS), 0);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
    EXPECT_EQ(uart_GetLineStatus(plain, 4), 0);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
    uart_Close(plain);
    EXPECT_EQ(uart_GetLineStatus(plain, VEX_LINE_CTS), 0);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
    EXPECT_EQ(uart_GetOutputLineStatus(), 0);
    uart_Close(h);
}

TEST_F(SerialLineStatus, QueueCounts) {
    Pty pty;
    pty.map_as(L"COM5");
    const VEX_PORT h = uart_OpenEx("COM5:");
    ASSERT_NE(h, VEX_INVALID_PORT);
    EXPECT_EQ(uart_GetDataSize(h, 0), 0u);
    pty.write("12345");
    EXPECT_TRUE(eventually([&] { return uart_GetDataSize(h, 0) == 5; }));
    EXPECT_EQ(uart_GetDataSize(h, 2), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
    uart_Close(h);
    EXPECT_EQ(uart_GetDataSize(h, 0), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_MODEM_STATUS);
}

TEST_F(SerialLineStatus, ComMappingFollowsBackwardCompatibleNumbering) {
    EXPECT_EQ(vex_GetComMapping(2), 2);
    EXPECT_EQ(vex_GetComMapping(-3), -3);
    EXPECT_EQ(vex_GetComMapping(7), -1);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_COM_PORT);
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\VORLAN\\BackwardCompatible", 1));
    const int32_t expected[] = {1, 2, 5, 3, 4};
    for (int32_t port = 0; port < 5; ++port) EXPECT_EQ(vex_GetComMapping(port), expected[port]) << port;
    EXPECT_EQ(vex_GetComMapping(5), -1);
}

}  // namespace
}  // namespace vex::test
