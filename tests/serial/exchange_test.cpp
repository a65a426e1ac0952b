// Command exchange on a pseudo-terminal: the bytes on the line, answers,
// time-outs and the error codes of every way an exchange can go wrong.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "serial/slot_command.h"
#include "tests/serial/pty_port_fixture.h"

namespace vex::test {
namespace {

class SerialExchange : public PtyPort {
protected:
    // The far end answers the next command line (ending in '\r') with
    // `answer` and hands back what it received.
    std::future<std::string> answer_with(std::string answer) {
        return std::async(std::launch::async, [this, answer] {
            std::string command = pty_.read_until('\r');
            if (!answer.empty()) pty_.write(answer);
            return command;
        });
    }

};

TEST_F(SerialExchange, FramesCommandsWithChecksumAndTerminator) {
    ASSERT_TRUE(uart_Send(port_, "$01M"));
    EXPECT_EQ(pty_.read_all(), "$01M\r");
    ASSERT_TRUE(uart_EnableCheckSum(port_, 1));
    ASSERT_TRUE(uart_Send(port_, "$01M"));
    EXPECT_EQ(pty_.read_all(), "$01MD2\r");
    ASSERT_TRUE(uart_SetTerminator(port_, "\r\n"));
    ASSERT_TRUE(uart_SendExt(port_, "#02", 2048));
    EXPECT_EQ(pty_.read_all(), "#0285\r\n") << "the whole terminator goes out";
}

TEST_F(SerialExchange, AnswersEndAtTheTerminatorsFirstCharacter) {
    ASSERT_TRUE(uart_SetTerminator(port_, "\r\n"));
    auto peer = answer_with("!01\r\n");
    char answer[VEX_UART_BUFFER_SIZE];
    ASSERT_TRUE(uart_SendCmd(port_, "$01M", answer));
    EXPECT_EQ(peer.get(), "$01M\r");
    EXPECT_STREQ(answer, "!01");
    // The line feed stays in the port (until the next command's purge:
    // Purge.StaleInputOfEveryShapeIsDropped).
    EXPECT_TRUE(eventually([&] { return uart_GetDataSize(port_, 0) == 1; }));
}

TEST_F(SerialExchange, ChecksumsOfAnswersAreCheckedAndStripped) {
    ASSERT_TRUE(uart_EnableCheckSum(port_, 1));
    char answer[64];
    pty_.write("!0182\r");
    ASSERT_TRUE(uart_RecvExt(port_, answer, sizeof answer));
    EXPECT_STREQ(answer, "!01");
    pty_.write("!0182\r");
    ASSERT_TRUE(uart_ReadExt(port_, answer, sizeof answer));
    EXPECT_STREQ(answer, "!0182") << "uart_ReadExt keeps the checksum";
    pty_.write("00\r");
    ASSERT_TRUE(uart_RecvExt(port_, answer, sizeof answer));
    EXPECT_STREQ(answer, "00") << "two characters: nothing to strip";

    for (const char* bad : {"!0183\r", "$01Md2\r", "A\r", "\r"}) {
        pty_.write(bad);
        std::strcpy(answer, "untouched");
        EXPECT_FALSE(uart_RecvExt(port_, answer, sizeof answer)) << bad;
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_CHECKSUM) << bad;
        EXPECT_STREQ(answer, "") << "a bad answer is emptied";
    }
}

TEST_F(SerialExchange, SilenceTimesOutAndASuccessClearsTheError) {
    ASSERT_TRUE(uart_SetTimeOut(port_, 50, 0));
    char answer[VEX_UART_BUFFER_SIZE];
    auto silent = answer_with("");
    const int64_t start = now_ms();
    EXPECT_FALSE(uart_SendCmd(port_, "$01M", answer));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_TIMEOUT);
    const int64_t took = now_ms() - start;
    EXPECT_GE(took, 50);
    EXPECT_LT(took, 1500);
    silent.get();

    vex_SetLastError(VEX_ERR_UART_TIMEOUT);
    pty_.write(">ok\r");
    ASSERT_TRUE(uart_Recv(port_, answer));
    EXPECT_EQ(vex_GetLastError(), 0u);
}

TEST_F(SerialExchange, AnAnswerMayTakeLongerThanTheTimeOutWhileItFlows) {
    ASSERT_TRUE(uart_SetTimeOut(port_, 150, 0));
    // 30 characters 10 ms apart: 300 ms in all, never 150 ms of silence.
    std::thread slow([this] {
        for (int i = 0; i < 30; ++i) {
            pty_.write("x");
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        pty_.write("\r");
    });
    char answer[VEX_UART_BUFFER_SIZE];
    const int64_t start = now_ms();
    EXPECT_TRUE(uart_Recv(port_, answer));
    slow.join();
    EXPECT_EQ(std::string(answer), std::string(30, 'x'));
    EXPECT_GE(now_ms() - start, 150);
}

TEST_F(SerialExchange, AnswersThatDoNotFitFail) {
    char answer[VEX_UART_BUFFER_SIZE];
    // size 10 takes 7 characters and the terminator...
    pty_.write("1234567\r");
    ASSERT_TRUE(uart_ReadExt(port_, answer, 10));
    EXPECT_STREQ(answer, "1234567");
    // ...but not 8.
    pty_.write("12345678\r");
    EXPECT_FALSE(uart_ReadExt(port_, answer, 10));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_LENGTH);

    // A line that never ends, garbage included, fills the 512-byte buffer.
    std::string garbage;
    for (int i = 0; i < 600; ++i) garbage += static_cast<char>(0x80 + i % 0x70);
    pty_.write(garbage);
    EXPECT_FALSE(uart_Recv(port_, answer));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_LENGTH);
    EXPECT_LT(std::strlen(answer), sizeof answer);
}

TEST_F(SerialExchange, SlotCommandsSelectTheSlotAndJudgeTheAnswer) {
    char answer[VEX_UART_BUFFER_SIZE];
    auto ok = answer_with(">00FF\r");
    EXPECT_TRUE(serial::send_slot_command(port_, 0x103, "$00M", 512, answer, sizeof answer));
    EXPECT_EQ(ok.get(), "$00M\r");
    EXPECT_STREQ(answer, ">00FF");
    // The select register is active low: slot 3 (low 8 bits of 0x103).
    EXPECT_EQ(static_cast<uint8_t>(~sim().state().slot_select), 1u << 3);

    // Garbage on the line is a transport success but no module answer.
    auto garbage = answer_with("\x01\xFEzz?\r");
    EXPECT_FALSE(serial::send_slot_command(port_, 2, "$00M", 512, answer, sizeof answer));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_RESPONSE);
    garbage.get();
    EXPECT_FALSE(serial::send_slot_command(0, 2, "$00M", 512, answer, sizeof answer));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
}

TEST_F(SerialExchange, WriteLimitsAndTheCarriageReturnException) {
    std::string text(512, 'a');
    ASSERT_TRUE(uart_WriteExt(port_, (text + "\r").c_str(), 512));
    EXPECT_EQ(pty_.read_all().size(), 513u) << "a terminator just past the limit goes too";
    ASSERT_TRUE(uart_WriteExt(port_, (text + "b").c_str(), 512));
    EXPECT_EQ(pty_.read_all().size(), 512u);
    EXPECT_FALSE(uart_WriteExt(port_, "", 512));

    const std::string too_long(2049, 'c');
    EXPECT_FALSE(uart_Send(port_, too_long.c_str()));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
    EXPECT_FALSE(uart_SendExt(port_, too_long.c_str(), 4096));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_LENGTH);
    char answer[VEX_UART_BUFFER_SIZE];
    EXPECT_FALSE(uart_SendCmd(port_, std::string(513, 'c').c_str(), answer));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
    EXPECT_EQ(pty_.read_all(20), "") << "nothing of a refused text reaches the line";
}

TEST_F(SerialExchange, BinaryBlocksGoAsTheyAre) {
    const uint8_t block[] = {0x00, '\r', 0xFF, '$', 0x0A};
    ASSERT_TRUE(uart_BinSend(port_, block, sizeof block));
    EXPECT_EQ(pty_.read_all(), std::string(reinterpret_cast<const char*>(block), sizeof block));

    ASSERT_TRUE(uart_SetTimeOut(port_, 50, 0));
    pty_.write(std::string("\0\r\1\2", 4));
    uint8_t got[4] = {};
    ASSERT_TRUE(uart_BinRecv(port_, got, 4));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(got), 4), std::string("\0\r\1\2", 4));
    pty_.write("ab");
    EXPECT_FALSE(uart_BinRecv(port_, got, 3));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_TIMEOUT);

    auto peer = std::async(std::launch::async, [this] {
        const std::string request = pty_.read_until('\x03');
        pty_.write("\x06\x07");
        return request;
    });
    const uint8_t request[] = {0x01, 0x02, 0x03};
    ASSERT_TRUE(uart_BinSendCmd(port_, request, 3, got, 2));
    EXPECT_EQ(peer.get(), "\x01\x02\x03");
    EXPECT_EQ(got[0], 0x06);
    EXPECT_EQ(got[1], 0x07);
    EXPECT_FALSE(uart_BinSend(port_, block, 2049));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_LENGTH);
}

TEST_F(SerialExchange, RejectedAndClosedHandlesReportTheirOwnCodes) {
    char buf[VEX_UART_BUFFER_SIZE];
    uint8_t bin[4] = {};
    struct Call {
        const char* name;
        uint32_t rejected_code;
        std::function<int32_t(VEX_PORT)> call;
    };
    const std::vector<Call> calls = {
        {"SendExt", VEX_ERR_UART_BUFFER_OVERFLOW, [](VEX_PORT h) { return uart_SendExt(h, "x", 9); }},
        {"Send", VEX_ERR_UART_OPEN, [](VEX_PORT h) { return uart_Send(h, "x"); }},
        {"RecvExt", VEX_ERR_UART_BUFFER_OVERFLOW, [&](VEX_PORT h) { return uart_RecvExt(h, buf, 9); }},
        {"Recv", VEX_ERR_UART_OPEN, [&](VEX_PORT h) { return uart_Recv(h, buf); }},
        {"SendCmdExt", VEX_ERR_UART_BUFFER_OVERFLOW,
         [&](VEX_PORT h) { return uart_SendCmdExt(h, "x", 9, buf, 9); }},
        {"SendCmd", VEX_ERR_UART_OPEN, [&](VEX_PORT h) { return uart_SendCmd(h, "x", buf); }},
        {"WriteExt", VEX_ERR_UART_BUFFER_OVERFLOW, [](VEX_PORT h) { return uart_WriteExt(h, "x", 9); }},
        {"Write", VEX_ERR_UART_BUFFER_OVERFLOW, [](VEX_PORT h) { return uart_Write(h, "x"); }},
        {"ReadExt", VEX_ERR_UART_BUFFER_OVERFLOW, [&](VEX_PORT h) { return uart_ReadExt(h, buf, 9); }},
        {"Read", VEX_ERR_UART_BUFFER_OVERFLOW, [&](VEX_PORT h) { return uart_Read(h, buf); }},
        {"BinSend", VEX_ERR_UART_OPEN, [&](VEX_PORT h) { return uart_BinSend(h, bin, 1); }},
        {"BinRecv", VEX_ERR_UART_OPEN, [&](VEX_PORT h) { return uart_BinRecv(h, bin, 1); }},
        {"BinSendCmd", VEX_ERR_UART_OPEN, [&](VEX_PORT h) { return uart_BinSendCmd(h, bin, 1, bin, 1); }},
        {"SetTimeOut", VEX_ERR_UART_OPEN, [](VEX_PORT h) { return uart_SetTimeOut(h, 10, 0); }},
        {"SetTerminator", VEX_ERR_UART_OPEN, [](VEX_PORT h) { return uart_SetTerminator(h, "\n"); }},
        {"EnableCheckSum", VEX_ERR_UART_OPEN, [](VEX_PORT h) { return uart_EnableCheckSum(h, 1); }},
    };
    const VEX_PORT closed = port_;
    ASSERT_TRUE(uart_Close(closed));
    for (const Call& c : calls) {
        for (const VEX_PORT bad : {VEX_PORT{0}, VEX_INVALID_PORT}) {
            vex_ClearLastError();
            EXPECT_FALSE(c.call(bad)) << c.name;
            EXPECT_EQ(vex_GetLastError(), c.rejected_code) << c.name << " with handle " << bad;
        }
        vex_ClearLastError();
        const int64_t start = now_ms();
        EXPECT_FALSE(c.call(closed)) << c.name;
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN) << c.name << " on a closed port";
        EXPECT_LT(now_ms() - start, 150) << c.name << " fails at once, not after a time-out";
    }
    port_ = VEX_INVALID_PORT;
}

TEST_F(SerialExchange, TwoPortsWorkInParallel) {
    Pty other;
    other.map_as(L"COM6");
    const VEX_PORT second = uart_OpenEx("COM6:");
    ASSERT_NE(second, VEX_INVALID_PORT);
    // Each far end answers every command with its own name and the command.
    auto serve = [](const Pty& pty, const std::string& name) {
        return std::async(std::launch::async, [&pty, name] {
            for (int i = 0; i < 20; ++i) pty.write(name + pty.read_until('\r'));
        });
    };
    auto peer_a = serve(pty_, "A");
    auto peer_b = serve(other, "B");
    auto client = [](VEX_PORT h, const std::string& name) {
        return std::async(std::launch::async, [h, name] {
            int good = 0;
            char answer[VEX_UART_BUFFER_SIZE];
            for (int i = 0; i < 20; ++i) {
                const std::string command = "$" + std::to_string(i);
                if (uart_SendCmd(h, command.c_str(), answer) && answer == name + command) ++good;
            }
            return good;
        });
    };
    auto a = client(port_, "A");
    auto b = client(second, "B");
    EXPECT_EQ(a.get(), 20);
    EXPECT_EQ(b.get(), 20);
    peer_a.get();
    peer_b.get();
    uart_Close(second);
}

TEST_F(SerialExchange, TheReadTimeOutIsSharedByEveryPort) {
    Pty other;
    other.map_as(L"COM6");
    const VEX_PORT second = uart_OpenEx("COM6:");
    ASSERT_NE(second, VEX_INVALID_PORT);
    ASSERT_TRUE(uart_SetTimeOut(second, 30, 0));  // second's own waits: 30 ms
    ASSERT_TRUE(uart_SetTimeOut(port_, 300, 1));  // every port's read time-out
    char answer[16];
    const int64_t start = now_ms();
    EXPECT_FALSE(uart_ReadExt(second, answer, sizeof answer));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_TIMEOUT);
    const int64_t took = now_ms() - start;
    EXPECT_GE(took, 300);
    EXPECT_LT(took, 2000);
    uart_Close(second);
}

}  // namespace
}  // namespace vex::test
