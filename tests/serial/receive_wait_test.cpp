// How long a receive waits, and what ends it: the read time-out bounds the
// wait for each next character to the millisecond, whatever the port's own
// time-outs; a close by another thread or a hung-up line ends it at once,
// without spinning.
#include <gtest/gtest.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "tests/serial/pty_port_fixture.h"

namespace vex::test {
namespace {

using namespace std::chrono_literals;

int64_t thread_cpu_ms() {
    timespec ts{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<int64_t>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

struct Outcome {
    bool ok = false;
    uint32_t code = 0;
    int64_t wall_ms = 0;
    int64_t cpu_ms = 0;
};

// Runs `call` on its own thread, timing it in wall and CPU time.
template <typename F>
std::future<Outcome> timed(F call) {
    return std::async(std::launch::async, [call] {
        Outcome o;
        const int64_t wall = now_ms(), cpu = thread_cpu_ms();
        o.ok = call();
        o.code = vex_GetLastError();
        o.wall_ms = now_ms() - wall;
        o.cpu_ms = thread_cpu_ms() - cpu;
        return o;
    });
}

// A wait that never ends would hang the test: give up loudly instead.
Outcome await(std::future<Outcome>& f) {
    if (f.wait_for(5s) != std::future_status::ready) {
        std::fprintf(stderr, "the receive did not end\n");
        std::_Exit(1);
    }
    return f.get();
}

using ReceiveWait = PtyPort;

TEST_F(ReceiveWait, ACloseByAnotherThreadEndsTheWaitAtOnce) {
    struct Receive {
        const char* name;
        bool (*call)(VEX_PORT);
    };
    const Receive receives[] = {
        {"text", [](VEX_PORT h) { char a[VEX_UART_BUFFER_SIZE]; return uart_Recv(h, a) != 0; }},
        {"binary", [](VEX_PORT h) { char d[16]; return uart_BinRecv(h, d, sizeof d) != 0; }},
    };
    for (const Receive& r : receives) {
        if (port_ == VEX_INVALID_PORT) port_ = uart_OpenEx("COM5:,115200,N,8,1");
        // The longest read time-out: without the close the wait would not end.
        ASSERT_TRUE(uart_SetTimeOut(port_, 0xFFFFFFFFu, 1));
        auto wait = timed([h = port_, call = r.call] { return call(h); });
        std::this_thread::sleep_for(100ms);
        const int64_t closed_at = now_ms();
        ASSERT_TRUE(uart_Close(port_));
        port_ = VEX_INVALID_PORT;
        const Outcome o = await(wait);
        EXPECT_FALSE(o.ok) << r.name;
        EXPECT_EQ(o.code, VEX_ERR_UART_OPEN) << r.name;
        EXPECT_LT(now_ms() - closed_at, 1000) << r.name;
        EXPECT_LT(o.cpu_ms, 30) << r.name << ": waited by spinning";
    }
}

TEST_F(ReceiveWait, AHungUpLineFailsAtOnce) {
    ASSERT_TRUE(uart_SetTimeOut(port_, 0xFFFFFFFFu, 1));
    auto text = timed([this] {
        char answer[VEX_UART_BUFFER_SIZE];
        return uart_Recv(port_, answer) != 0;
    });
    std::this_thread::sleep_for(100ms);
    const int64_t hung_up_at = now_ms();
    pty_.hang_up();
    Outcome o = await(text);
    EXPECT_FALSE(o.ok);
    EXPECT_EQ(o.code, VEX_ERR_UART_OPEN);
    EXPECT_LT(now_ms() - hung_up_at, 1000);
    EXPECT_LT(o.cpu_ms, 30) << "waited by spinning";

    // Later receives on the dead line fail at once as well.
    auto again = timed([this] {
        char data[4];
        return uart_BinRecv(port_, data, sizeof data) != 0;
    });
    o = await(again);
    EXPECT_FALSE(o.ok);
    EXPECT_EQ(o.code, VEX_ERR_UART_OPEN);
    EXPECT_LT(o.wall_ms, 1000);
}

// Silence fails right after the read time-out: never before it, and not a
// whole platform read later. The port's own read time-out (here longer)
// only bounds a single platform read.
TEST_F(ReceiveWait, SilenceFailsWhenTheReadTimeOutRunsOut) {
    ASSERT_TRUE(uart_SetTimeOut(port_, 1000, 2));  // the port's own bound: 1 s
    ASSERT_TRUE(uart_SetTimeOut(port_, 120, 1));   // the read time-out
    std::vector<int64_t> took;
    for (int i = 0; i < 5; ++i) {
        auto text = timed([this] {
            char answer[64];
            return uart_RecvExt(port_, answer, sizeof answer) != 0;
        });
        const Outcome o = await(text);
        EXPECT_FALSE(o.ok);
        EXPECT_EQ(o.code, VEX_ERR_UART_TIMEOUT);
        EXPECT_GE(o.wall_ms, 120) << "gave up before the time-out";
        EXPECT_LT(o.cpu_ms, 20) << "waited by spinning";
        took.push_back(o.wall_ms);
    }
    std::sort(took.begin(), took.end());
    // Generous for a loaded machine, but far below a second wait (1 s here).
    EXPECT_LT(took[2], 220) << "the median silent wait overshoots the time-out";
    EXPECT_LT(took.back(), 600);
}

// The time-out bounds each gap between characters, not the whole answer.
TEST_F(ReceiveWait, AGapInsideAnAnswerIsJudgedAgainstTheTimeOut) {
    ASSERT_TRUE(uart_SetTimeOut(port_, 200, 1));
    auto answer_with_gap = [this](int gap_ms) {
        auto peer = std::async(std::launch::async, [this, gap_ms] {
            pty_.write("!01");
            std::this_thread::sleep_for(std::chrono::milliseconds(gap_ms));
            pty_.write("AB\r");
        });
        char answer[64] = {};
        const bool ok = uart_RecvExt(port_, answer, sizeof answer) != 0;
        const uint32_t code = vex_GetLastError();
        peer.get();
        return std::make_pair(ok ? std::string(answer) : std::string(), ok ? 0u : code);
    };
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(answer_with_gap(80), std::make_pair(std::string("!01AB"), 0u)) << "a gap shorter than the time-out";
        // Accepted before: each platform read waited the port's own 200 ms.
        EXPECT_EQ(answer_with_gap(320).second, VEX_ERR_UART_TIMEOUT) << "a gap longer than the time-out";
        // The rest of the cut answer is still in the port, nothing lost.
        char rest[64] = {};
        EXPECT_TRUE(uart_RecvExt(port_, rest, sizeof rest));
        EXPECT_STREQ(rest, "AB");
    }
}

}  // namespace
}  // namespace vex::test
