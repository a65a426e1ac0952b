// The serial exchange against the line it runs on, all over pseudo-
// terminals whose far end is a pinned thread (bench/pty_peer.h):
//
//   BM_RawPtyRoundTrip   the bare round trip of the same bytes (write the
//                        command, read the answer up to CR): the baseline
//   BM_UartSendCmd       one uart_SendCmd ("$016" -> "!00FF00")
//   BM_ModbusRtuRead     libmodbus reading one holding register over RTU,
//                        the usual library for such a job
//   BM_InterleavedExchanges
//                        the three above taken in turns within one loop, so
//                        that the machine's load falls on all of them alike;
//                        counters give each one's wall and CPU time per
//                        exchange and the ratios to the bare round trip.
//                        This is the figure to quote on a shared machine.
//                        A fourth exchange, the "floor", makes with plain
//                        system calls what any exchange with a purge, a
//                        time-out and a cancellable wait must make (a read
//                        of the stale input, the write, a poll of the tty
//                        and an eventfd, the read); uart_cpu_x_floor is
//                        then what the library adds over those calls.
//   BM_UartSendCmdSlowModule / BM_RawPtySlowModule
//                        the same against a module that answers after 5 ms:
//                        CPU time must stay a small part of wall time (no
//                        busy waiting); the counter cpu_share says how much
//
// Real time and the calling thread's CPU time are both reported; compare
// the runs of one invocation, e.g.
//   build/default/bench/vexsdk_bench --benchmark_filter='Pty|Uart|Modbus'
//       --benchmark_repetitions=3 --benchmark_report_aggregates_only=true
// (one line).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <modbus/modbus.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "bench/bench_targets.h"
#include "bench/pty_peer.h"
#include "vexsdk.h"

namespace {

using vex::bench::PeerProtocol;
using vex::bench::PtyPeer;
using vex::bench::ScopedPin;

constexpr char kCommand[] = "$016";  // read the digital I/O of module 01

double thread_cpu_s() {
    timespec ts{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

double wall_s() {
    timespec ts{};
    ::clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

// Runs `exchange` in the benchmark loop and reports the share of wall time
// the calling thread spent on the processor.
template <typename F>
void measure(benchmark::State& state, F exchange) {
    const double cpu0 = thread_cpu_s(), wall0 = wall_s();
    for (auto _ : state) {
        if (!exchange()) {
            state.SkipWithError("exchange failed");
            break;
        }
    }
    const double wall = wall_s() - wall0;
    state.counters["cpu_share"] = wall > 0 ? (thread_cpu_s() - cpu0) / wall : 0;
}

void uart_send_cmd(benchmark::State& state, uint32_t delay_us) {
    vex::bench::use_hw();
    {
        ScopedPin pin(vex::bench::caller_cpu());
        PtyPeer peer(PeerProtocol::Ascii, delay_us);
        const std::wstring device(peer.slave().begin(), peer.slave().end());
        vex_RegSetString(L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports\\COM9", device.c_str(),
                         static_cast<uint32_t>(device.size() * sizeof(wchar_t)));
        const VEX_PORT port = uart_OpenEx("COM9:,115200,N,8,1");
        if (port == VEX_INVALID_PORT) std::abort();
        char answer[VEX_UART_BUFFER_SIZE];
        measure(state, [&] { return uart_SendCmd(port, kCommand, answer) != 0; });
        uart_Close(port);
    }
    vex::bench::release();
}

void raw_round_trip(benchmark::State& state, uint32_t delay_us) {
    ScopedPin pin(vex::bench::caller_cpu());
    PtyPeer peer(PeerProtocol::Ascii, delay_us);
    const int fd = vex::bench::open_raw_tty(peer.slave());
    const std::string framed = std::string(kCommand) + "\r";
    measure(state, [&] {
        if (::write(fd, framed.data(), framed.size()) != static_cast<ssize_t>(framed.size())) return false;
        char buf[64];
        size_t got = 0;
        while (got == 0 || buf[got - 1] != '\r') {
            const ssize_t n = ::read(fd, buf + got, sizeof buf - got);
            if (n <= 0) return false;
            got += static_cast<size_t>(n);
        }
        benchmark::DoNotOptimize(buf);
        return true;
    });
    ::close(fd);
}

void BM_RawPtyRoundTrip(benchmark::State& state) { raw_round_trip(state, 0); }
BENCHMARK(BM_RawPtyRoundTrip)->UseRealTime();

void BM_UartSendCmd(benchmark::State& state) { uart_send_cmd(state, 0); }
BENCHMARK(BM_UartSendCmd)->UseRealTime();

void BM_ModbusRtuRead(benchmark::State& state) {
    ScopedPin pin(vex::bench::caller_cpu());
    PtyPeer peer(PeerProtocol::Modbus);
    modbus_t* ctx = modbus_new_rtu(peer.slave().c_str(), 115200, 'N', 8, 1);
    if (!ctx || modbus_set_slave(ctx, 1) != 0 || modbus_connect(ctx) != 0) {
        state.SkipWithError("libmodbus cannot open the pseudo-terminal");
        if (ctx) modbus_free(ctx);
        return;
    }
    uint16_t value = 0;
    measure(state, [&] { return modbus_read_registers(ctx, 0, 1, &value) == 1 && value == 0x1234; });
    modbus_close(ctx);
    modbus_free(ctx);
}
BENCHMARK(BM_ModbusRtuRead)->UseRealTime();

// One kind of exchange with its own peer, timed per call.
struct Timed {
    double wall = 0, cpu = 0;
    template <typename F>
    bool run(F exchange) {
        const double w = wall_s(), c = thread_cpu_s();
        const bool ok = exchange();
        cpu += thread_cpu_s() - c;
        wall += wall_s() - w;
        return ok;
    }
};

void BM_InterleavedExchanges(benchmark::State& state) {
    vex::bench::use_hw();
    {
        ScopedPin pin(vex::bench::caller_cpu());
        PtyPeer raw_peer(PeerProtocol::Ascii), uart_peer(PeerProtocol::Ascii), modbus_peer(PeerProtocol::Modbus);

        const int fd = vex::bench::open_raw_tty(raw_peer.slave());
        const std::string framed = std::string(kCommand) + "\r";

        const std::wstring device(uart_peer.slave().begin(), uart_peer.slave().end());
        vex_RegSetString(L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports\\COM9", device.c_str(),
                         static_cast<uint32_t>(device.size() * sizeof(wchar_t)));
        const VEX_PORT port = uart_OpenEx("COM9:,115200,N,8,1");
        modbus_t* ctx = modbus_new_rtu(modbus_peer.slave().c_str(), 115200, 'N', 8, 1);
        if (port == VEX_INVALID_PORT || !ctx || modbus_set_slave(ctx, 1) != 0 || modbus_connect(ctx) != 0)
            std::abort();

        PtyPeer floor_peer(PeerProtocol::Ascii);
        const int floor_fd = vex::bench::open_raw_tty(floor_peer.slave(), true);
        const int wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        if (wake < 0) std::abort();
        auto floor_exchange = [&] {
            char buf[64];
            while (::read(floor_fd, buf, sizeof buf) > 0) {
            }
            if (::write(floor_fd, framed.data(), framed.size()) != static_cast<ssize_t>(framed.size())) return false;
            size_t got = 0;
            while (got == 0 || buf[got - 1] != '\r') {
                pollfd p[2] = {{floor_fd, POLLIN, 0}, {wake, POLLIN, 0}};
                if (::poll(p, 2, 200) <= 0 || p[1].revents) return false;
                const ssize_t n = ::read(floor_fd, buf + got, sizeof buf - got);
                if (n <= 0) return false;
                got += static_cast<size_t>(n);
            }
            return true;
        };

        Timed raw, uart, modbus, floor;
        char answer[VEX_UART_BUFFER_SIZE];
        uint16_t value = 0;
        for (auto _ : state) {
            const bool ok = raw.run([&] {
                if (::write(fd, framed.data(), framed.size()) != static_cast<ssize_t>(framed.size())) return false;
                char buf[64];
                size_t got = 0;
                while (got == 0 || buf[got - 1] != '\r') {
                    const ssize_t n = ::read(fd, buf + got, sizeof buf - got);
                    if (n <= 0) return false;
                    got += static_cast<size_t>(n);
                }
                return true;
            }) && uart.run([&] { return uart_SendCmd(port, kCommand, answer) != 0; }) &&
                            modbus.run([&] { return modbus_read_registers(ctx, 0, 1, &value) == 1; }) &&
                            floor.run(floor_exchange);
            if (!ok) {
                state.SkipWithError("exchange failed");
                break;
            }
        }
        const auto n = static_cast<double>(state.iterations());
        if (n > 0) {
            state.counters["raw_us"] = raw.wall / n * 1e6;
            state.counters["uart_us"] = uart.wall / n * 1e6;
            state.counters["modbus_us"] = modbus.wall / n * 1e6;
            state.counters["raw_cpu_us"] = raw.cpu / n * 1e6;
            state.counters["uart_cpu_us"] = uart.cpu / n * 1e6;
            state.counters["modbus_cpu_us"] = modbus.cpu / n * 1e6;
            state.counters["uart_x_raw"] = uart.wall / raw.wall;
            state.counters["uart_cpu_x_raw"] = uart.cpu / raw.cpu;
            state.counters["uart_x_modbus"] = uart.wall / modbus.wall;
            state.counters["floor_cpu_us"] = floor.cpu / n * 1e6;
            state.counters["floor_cpu_x_raw"] = floor.cpu / raw.cpu;
            state.counters["uart_cpu_x_floor"] = uart.cpu / floor.cpu;
            state.counters["uart_x_floor"] = uart.wall / floor.wall;
        }
        modbus_close(ctx);
        modbus_free(ctx);
        uart_Close(port);
        ::close(fd);
        ::close(floor_fd);
        ::close(wake);
    }
    vex::bench::release();
}
BENCHMARK(BM_InterleavedExchanges)->UseRealTime();

// The purge before a command on an idle pseudo-terminal: flushing input
// and output, as the exchange did before, against reading the line
// discipline empty (output needs nothing on a pseudo-terminal).
void purge_bench(benchmark::State& state, bool flush) {
    PtyPeer peer(PeerProtocol::Ascii);
    const int fd = ::open(peer.slave().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) std::abort();
    char buf[256];
    for (auto _ : state) {
        if (flush) {
            ::tcflush(fd, TCIOFLUSH);  // what the exchange did before
        } else {
            while (::read(fd, buf, sizeof buf) > 0) {
            }
        }
    }
    ::close(fd);
}
void BM_PurgeByFlush(benchmark::State& state) { purge_bench(state, true); }
BENCHMARK(BM_PurgeByFlush);
void BM_PurgeByRead(benchmark::State& state) { purge_bench(state, false); }
BENCHMARK(BM_PurgeByRead);

void BM_RawPtySlowModule(benchmark::State& state) { raw_round_trip(state, 5000); }
BENCHMARK(BM_RawPtySlowModule)->UseRealTime()->Iterations(200);

void BM_UartSendCmdSlowModule(benchmark::State& state) { uart_send_cmd(state, 5000); }
BENCHMARK(BM_UartSendCmdSlowModule)->UseRealTime()->Iterations(200);

}  // namespace
