// The purge before each command: whatever the module said before the
// command (a late answer, a cut one, a burst of noise, bytes the line had
// just taken in) is never taken for the answer to this command.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <string>
#include <thread>

#include "tests/serial/pty_port_fixture.h"

namespace vex::test {
namespace {

class Purge : public PtyPort {
protected:
    // One exchange whose far end answers `fresh` to the command.
    std::string exchange(const std::string& fresh) {
        auto peer = std::async(std::launch::async, [this, fresh] {
            const std::string command = pty_.read_until('\r');
            pty_.write(fresh);
            return command;
        });
        char answer[VEX_UART_BUFFER_SIZE] = {};
        const bool ok = uart_SendCmd(port_, "$01M", answer);
        EXPECT_EQ(peer.get(), "$01M\r");
        return ok ? answer : "<failed>";
    }
};

TEST_F(Purge, StaleInputOfEveryShapeIsDropped) {
    // A whole late answer, a cut one, and a burst larger than any buffer.
    for (const std::string& stale : {std::string("!01STALE\r"), std::string("!01CUT"), std::string(3000, 'x')}) {
        pty_.write(stale);
        ASSERT_TRUE(eventually([&] { return uart_GetDataSize(port_, 0) >= stale.size(); }));
        EXPECT_EQ(exchange("!01FRESH\r"), "!01FRESH");
        EXPECT_EQ(uart_GetDataSize(port_, 0), 0u);
    }
}

TEST_F(Purge, BytesReadAheadOfTheLastAnswerAreDropped) {
    // Two answers in one burst: the second sits in the port's read-ahead
    // after the first exchange and must not answer the next command.
    EXPECT_EQ(exchange("!01ONE\r!01TWO\r"), "!01ONE");
    EXPECT_EQ(exchange("!01THREE\r"), "!01THREE");
}

// The far end writes a stale answer and only then lets the command go:
// bytes that the line had taken in before the purge, even if the driver
// had not handed them on yet, are gone; repeated to catch the race.
TEST_F(Purge, InputTakenInJustBeforeTheCommandIsDropped) {
    for (int i = 0; i < 200; ++i) {
        pty_.write("!01STALE\r");
        ASSERT_EQ(exchange("!01FRESH\r"), "!01FRESH") << "round " << i;
    }
}

// Output the far end has not read is on the line already (a pty has no
// transmit queue of its own); the purge leaves it, as a UART cannot call
// back bytes it has sent.
TEST_F(Purge, SentBytesStaySent) {
    ASSERT_TRUE(uart_Write(port_, "#01A\r"));
    auto peer = std::async(std::launch::async, [this] {
        std::string line = pty_.read_until('\r');
        line += pty_.read_until('\r');
        pty_.write("!01X\r");
        return line;
    });
    char answer[VEX_UART_BUFFER_SIZE] = {};
    EXPECT_TRUE(uart_SendCmd(port_, "$01M", answer));
    EXPECT_STREQ(answer, "!01X");
    EXPECT_EQ(peer.get(), "#01A\r$01M\r");
}

}  // namespace
}  // namespace vex::test
