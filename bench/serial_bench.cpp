// One uart_SendCmd exchange over a pseudo-terminal, against the bare
// pseudo-terminal round trip of the same bytes: what the library's framing,
// purge, locks and character-at-a-time reading cost on top of the line.
// The far end is a thread that answers each line at once.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "bench/bench_targets.h"
#include "vexsdk.h"

namespace {

constexpr char kCommand[] = "$016";      // read the digital I/O of module 01
constexpr char kAnswer[] = "!00FF00\r";  // its answer, terminator included

// The master side of a pseudo-terminal, answering every line ending in a
// carriage return with kAnswer until it reads "QUIT".
class Peer {
public:
    Peer() {
        master_ = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        char name[PATH_MAX];
        if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0 ||
            ::ptsname_r(master_, name, sizeof name) != 0)
            std::abort();
        slave_ = name;
        thread_ = std::thread([this] { serve(); });
    }
    ~Peer() {
        thread_.join();
        ::close(master_);
    }
    const std::string& slave() const { return slave_; }

private:
    void serve() {
        std::string line;
        char buf[256];
        for (;;) {
            const ssize_t n = ::read(master_, buf, sizeof buf);
            if (n <= 0) return;
            for (ssize_t i = 0; i < n; ++i) {
                line += buf[i];
                if (buf[i] != '\r') continue;
                if (line == "QUIT\r") return;
                if (::write(master_, kAnswer, sizeof kAnswer - 1) < 0) return;
                line.clear();
            }
        }
    }

    int master_ = -1;
    std::string slave_;
    std::thread thread_;
};

void BM_UartSendCmd(benchmark::State& state) {
    vex::bench::use_hw();
    {
        Peer peer;
        const std::wstring device(peer.slave().begin(), peer.slave().end());
        vex_RegSetString(L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports\\COM9", device.c_str(),
                         static_cast<uint32_t>(device.size() * sizeof(wchar_t)));
        const VEX_PORT port = uart_OpenEx("COM9:,115200,N,8,1");
        if (port == VEX_INVALID_PORT) std::abort();
        char answer[VEX_UART_BUFFER_SIZE];
        for (auto _ : state) {
            if (!uart_SendCmd(port, kCommand, answer)) state.SkipWithError("exchange failed");
        }
        uart_Write(port, "QUIT\r");
        uart_Close(port);
    }
    vex::bench::release();
}
BENCHMARK(BM_UartSendCmd)->UseRealTime();

void BM_RawPtyRoundTrip(benchmark::State& state) {
    Peer peer;
    const int fd = ::open(peer.slave().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios t{};
    if (fd < 0 || ::tcgetattr(fd, &t) != 0) std::abort();
    ::cfmakeraw(&t);
    ::tcsetattr(fd, TCSANOW, &t);
    const std::string framed = std::string(kCommand) + "\r";
    for (auto _ : state) {
        if (::write(fd, framed.data(), framed.size()) != static_cast<ssize_t>(framed.size())) std::abort();
        // Read the answer up to its carriage return.
        char buf[64];
        size_t got = 0;
        while (got == 0 || buf[got - 1] != '\r') {
            const ssize_t n = ::read(fd, buf + got, sizeof buf - got);
            if (n <= 0) std::abort();
            got += static_cast<size_t>(n);
        }
        benchmark::DoNotOptimize(buf);
    }
    if (::write(fd, "QUIT\r", 5) != 5) std::abort();
    ::close(fd);
}
BENCHMARK(BM_RawPtyRoundTrip)->UseRealTime();

}  // namespace
