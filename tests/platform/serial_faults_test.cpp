// COM ports whose system calls fail: every step of an open, an exchange and
// the queue and modem calls, each made to fail in turn. Each failure must
// give the code the export documents, leave nothing behind, and leave the
// port usable (or cleanly unopened).
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <string>
#include <thread>

#include "platform/linux/com_calls.h"
#include "tests/support/fault_shim.h"
#include "tests/support/pty.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

using plat::ComCalls;
using plat::com_table;

class SerialFaults : public SimFixture {
protected:
    // COM1: is a port of the virtual controller, with modem lines wired
    // back on themselves.
    std::string description() override { return "[[port]]\nname = \"COM1:\"\n"; }

    void SetUp() override {
        SimFixture::SetUp();
        pty_.map_as(L"COM5");
    }

    // Opens COM5: and closes it again; true when the open succeeded.
    static bool open_and_close() {
        const VEX_PORT h = uart_OpenEx("COM5:,9600,N,8,1");
        if (h == VEX_INVALID_PORT) return false;
        EXPECT_TRUE(uart_Close(h));
        return true;
    }

    Pty pty_;
};

// A far end that answers every command line with ">OK\r".
class Responder {
public:
    explicit Responder(int master) : master_(master), thread_([this] { run(); }) {}
    ~Responder() {
        stop_ = true;
        thread_.join();
    }

private:
    void run() {
        std::string line;
        while (!stop_) {
            pollfd p{master_, POLLIN, 0};
            if (::poll(&p, 1, 10) <= 0) continue;
            char buf[256];
            const ssize_t n = ::read(master_, buf, sizeof buf);
            if (n <= 0) continue;
            for (ssize_t i = 0; i < n; ++i) {
                if (buf[i] != '\r') continue;
                // Best effort: a test that misses the answer reports it.
                if (::write(master_, ">OK\r", 4) != 4) return;
            }
        }
    }

    const int master_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

// A check that every failure fails the call with `code`.
auto fails_with(uint32_t code) {
    return [code](long n, bool ok) {
        EXPECT_FALSE(ok) << "call " << n;
        EXPECT_EQ(vex_GetLastError(), code) << "call " << n;
    };
}

template <auto Member>
long each_call_fails(int err, const std::function<bool()>& attempt, uint32_t code) {
    Fault<Member> f(com_table());
    return fail_each_call(f, err, attempt, fails_with(code));
}

TEST_F(SerialFaults, OpenFailsWithTheOpenCodeAtEveryCallItCannotDoWithout) {
    EXPECT_EQ(each_call_fails<&ComCalls::open>(EACCES, open_and_close, VEX_ERR_UART_OPEN), 1);
    each_call_fails<&ComCalls::flock>(EWOULDBLOCK, open_and_close, VEX_ERR_UART_OPEN);
    each_call_fails<&ComCalls::eventfd>(EMFILE, open_and_close, VEX_ERR_UART_OPEN);
    // The first ioctls read and set the raw mode, which the port cannot do
    // without; the settings applied afterwards may fail and leave the port
    // as it was, and the open succeeds all the same.
    {
        Fault<&ComCalls::ioctl> f(com_table());
        long failed_opens = 0;
        const long calls = fail_each_call(f, EIO, open_and_close, [&](long n, bool ok) {
            if (n == 1) {
                EXPECT_FALSE(ok) << "reading the line settings failed";
            }
            if (!ok) {
                ++failed_opens;
                EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
            }
        });
        EXPECT_GE(failed_opens, 2) << "getting and setting the raw mode both matter";
        EXPECT_GT(calls, failed_opens) << "later settings do not fail the open";
    }
    // Telling a pseudo-terminal from a UART is an optimisation only.
    {
        Fault<&ComCalls::fstat> f(com_table());
        fail_each_call(f, EIO, open_and_close, [](long, bool ok) { EXPECT_TRUE(ok); });
    }
}

TEST_F(SerialFaults, AFailedCallInAnExchangeGivesItsCodeAndThePortGoesOn) {
    const VEX_PORT h = uart_OpenEx("COM5:,9600,N,8,1");
    ASSERT_NE(h, VEX_INVALID_PORT);
    ASSERT_TRUE(uart_SetTimeOut(h, 100, 0));
    Responder far_end(pty_.master());
    auto exchange = [h] {
        char answer[VEX_UART_BUFFER_SIZE] = {};
        if (!uart_SendCmd(h, "$01M", answer)) return false;
        EXPECT_STREQ(answer, ">OK");
        return true;
    };
    ASSERT_TRUE(exchange());

    // The command never leaves: nothing answers it.
    each_call_fails<&ComCalls::write>(EIO, exchange, VEX_ERR_UART_TIMEOUT);
    // Reading or waiting for the answer fails: the port is reported gone
    // for this call. Reads made while purging the input only end the purge.
    {
        Fault<&ComCalls::read> f(com_table());
        fail_each_call(f, EIO, exchange, [](long, bool ok) {
            if (!ok) {
                EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
            }
        });
    }
    each_call_fails<&ComCalls::poll>(ENOMEM, exchange, VEX_ERR_UART_OPEN);
    // Interrupted calls are retried, not reported.
    {
        Fault<&ComCalls::write> w(com_table());
        Fault<&ComCalls::poll> p(com_table());
        w.fail_nth(1, EINTR);
        p.fail_nth(1, EINTR);
        EXPECT_TRUE(exchange());
        EXPECT_TRUE(w.fired() && p.fired());
    }
    EXPECT_TRUE(uart_Close(h));
}

TEST_F(SerialFaults, ShortReadsAndWritesStillMakeWholeFrames) {
    const VEX_PORT h = uart_OpenEx("COM5:,9600,N,8,1");
    ASSERT_NE(h, VEX_INVALID_PORT);
    Responder far_end(pty_.master());
    Fault<&ComCalls::write> w(com_table());
    Fault<&ComCalls::read> r(com_table());
    w.short_transfer(1);
    r.short_transfer(1);
    char answer[VEX_UART_BUFFER_SIZE] = {};
    ASSERT_TRUE(uart_SendCmd(h, "$01M", answer));
    EXPECT_STREQ(answer, ">OK");
    EXPECT_GE(w.calls(), 5) << "one byte per write";
    EXPECT_GE(r.calls(), 4) << "one byte per read";
    EXPECT_TRUE(uart_Close(h));
}

TEST_F(SerialFaults, QueueAndLineCallsOfATtyReportTheModemCode) {
    const VEX_PORT h = uart_OpenEx("COM5:,9600,N,8,1");
    ASSERT_NE(h, VEX_INVALID_PORT);
    each_call_fails<&ComCalls::ioctl>(
        EIO,
        [h] {
            vex_SetLastError(0);
            return uart_GetDataSize(h, 0) == 0 && vex_GetLastError() == 0;
        },
        VEX_ERR_UART_MODEM_STATUS);
    EXPECT_TRUE(uart_Close(h));
}

TEST_F(SerialFaults, APortOfTheVirtualControllerNeverAsksTheTtyForItsLines) {
    const VEX_PORT h = uart_OpenEx("COM1:,9600");
    ASSERT_NE(h, VEX_INVALID_PORT);
    // Every ioctl fails from now on: the lines live in the controller's
    // model, chosen when the port was opened, so they still work.
    Fault<&ComCalls::ioctl> f(com_table());
    f.fail_nth(1, ENOTTY, Persist::FromThenOn);
    EXPECT_TRUE(uart_SetLineStatus(h, VEX_LINE_DTR_RTS, 1));
    EXPECT_EQ(uart_GetLineStatus(h, VEX_LINE_DSR), 1) << "DTR is wired back to DSR";
    EXPECT_TRUE(uart_Close(h));
    f.disarm();
}

}  // namespace
}  // namespace vex::test
