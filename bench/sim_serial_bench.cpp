// How fast the virtual controller's serial modules answer, against the bare
// pseudo-terminal round trip of the same bytes with a peer that answers at
// once without looking at them (bench/pty_peer.h).
//
// BM_SimInterleavedExchanges runs, in every iteration and in turn:
//   echo     write "$01M\r" to a pseudo-terminal, a pinned thread answers
//            "!00FF00\r", read it (the baseline)
//   module   the same bytes to module 01 of the virtual controller's COM1:
//            ("!014408\r"), raw reads and writes
//   sendcmd  the same exchange through uart_SendCmd
//   readdi   vex_ReadDI_MF of the serial module in local slot 3 (slot
//            select, "@00DI" on COM0:)
// and reports each one's mean time and its ratio to the echo. Interleaving
// keeps the ratios of one run comparable on a busy machine: all four see
// the same load. The caller runs on one processor, the echo thread and
// every thread of the virtual controller's host process on another.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <sched.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <cwchar>
#include <string>

#include "bench/bench_targets.h"
#include "bench/pty_peer.h"
#include "platform/target.h"
#include "sim/host.h"
#include "vexsdk.h"

namespace {

constexpr char kFrame[] = "$01M\r";

// Pins every thread of a process (best effort: an unpinned run is only
// noisier).
void pin_process(int pid, int cpu) {
    if (pid <= 0) return;
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    const std::string dir = "/proc/" + std::to_string(pid) + "/task";
    DIR* d = ::opendir(dir.c_str());
    if (!d) return;
    while (dirent* e = ::readdir(d)) {
        if (e->d_name[0] != '.') sched_setaffinity(static_cast<pid_t>(std::atoi(e->d_name)), sizeof set, &set);
    }
    ::closedir(d);
}

bool round_trip(int fd) {
    if (::write(fd, kFrame, sizeof kFrame - 1) != static_cast<ssize_t>(sizeof kFrame - 1)) return false;
    char buf[64];
    size_t got = 0;
    while (got == 0 || buf[got - 1] != '\r') {
        const ssize_t n = ::read(fd, buf + got, sizeof buf - got);
        if (n <= 0) return false;
        got += static_cast<size_t>(n);
    }
    return true;
}

double wall_s() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

struct Timed {
    double wall = 0;
    template <typename F>
    bool run(F exchange) {
        const double t = wall_s();
        const bool ok = exchange();
        wall += wall_s() - t;
        return ok;
    }
};

void BM_SimInterleavedExchanges(benchmark::State& state) {
    vex::bench::use_sim();
    {
        vex::bench::ScopedPin pin(vex::bench::caller_cpu());
        pin_process(vex::sim::Host::host_pid(vex::plat::target().instance), vex::bench::peer_cpu());
        vex::bench::PtyPeer echo_peer(vex::bench::PeerProtocol::Ascii);
        const int echo_fd = vex::bench::open_raw_tty(echo_peer.slave());
        wchar_t path[256] = {};
        if (!vex_RegGetString(L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports\\COM1", path, sizeof path)) std::abort();
        // COM0: first: its open waits for the host, which makes the ports.
        // Then the raw descriptor of COM1: before the library's: the
        // library's open makes the port exclusive, which keeps later openers
        // out, not earlier ones. The two never talk at the same time.
        const VEX_PORT com0 = uart_OpenEx("COM0:,115200,N,8,1");
        const int raw_fd = vex::bench::open_raw_tty(std::string(path, path + std::wcslen(path)));
        const VEX_PORT port = uart_OpenEx("COM1:,115200,N,8,1");
        if (port == VEX_INVALID_PORT || com0 == VEX_INVALID_PORT) std::abort();
        Timed echo, module, sendcmd, readdi;
        char answer[VEX_UART_BUFFER_SIZE];
        uint32_t di = 0;
        for (auto _ : state) {
            const bool ok = echo.run([&] { return round_trip(echo_fd); }) &&
                            module.run([&] { return round_trip(raw_fd); }) &&
                            sendcmd.run([&] { return uart_SendCmd(port, "$01M", answer) != 0; }) &&
                            readdi.run([&] { return vex_ReadDI_MF(com0, 3, 8, &di) != 0; });
            if (!ok) {
                state.SkipWithError("exchange failed");
                break;
            }
        }
        const auto n = static_cast<double>(state.iterations());
        if (n > 0) {
            state.counters["echo_us"] = echo.wall / n * 1e6;
            state.counters["module_us"] = module.wall / n * 1e6;
            state.counters["sendcmd_us"] = sendcmd.wall / n * 1e6;
            state.counters["readdi_us"] = readdi.wall / n * 1e6;
            state.counters["module_x_echo"] = module.wall / echo.wall;
            state.counters["sendcmd_x_echo"] = sendcmd.wall / echo.wall;
            state.counters["readdi_x_echo"] = readdi.wall / echo.wall;
        }
        uart_Close(port);
        uart_Close(com0);
        ::close(raw_fd);
        ::close(echo_fd);
    }
    vex::bench::release();
}
BENCHMARK(BM_SimInterleavedExchanges)->UseRealTime();

}  // namespace
