// How fast the virtual controller's serial modules answer: one exchange
// with module 01 of the built-in controller's COM1: ("$01M" -> "!014408"),
// against the bare pseudo-terminal round trip of the same bytes with a peer
// that answers at once without looking at them.
//
//   BM_SimPtyEchoRoundTrip     write, a thread echoes the answer, read it (baseline)
//   BM_SimModuleRawRoundTrip   the same bytes to the virtual controller's module
//   BM_SimModuleSendCmd        the same exchange through uart_SendCmd
//
// The caller runs on one processor, the answering side (peer thread, or
// every thread of the host process) on another, so that rounds agree.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <termios.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <thread>

#include "bench/bench_targets.h"
#include "platform/target.h"
#include "sim/host.h"
#include "vexsdk.h"

namespace {

constexpr char kFrame[] = "$01M\r";
constexpr char kAnswer[] = "!014408\r";

// Two processors to keep the caller and the answering side apart; none
// when the machine has only one.
bool two_cpus(int& caller, int& peer) {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) != 0) return false;
    int found = 0;
    for (int c = 0; c < CPU_SETSIZE && found < 2; ++c) {
        if (!CPU_ISSET(c, &set)) continue;
        (found++ == 0 ? caller : peer) = c;
    }
    return found == 2;
}

void pin(pid_t tid, int cpu) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    sched_setaffinity(tid, sizeof set, &set);  // best effort: an unpinned run is only noisier
}

// Pins every thread of a process.
void pin_process(int pid, int cpu) {
    const std::string dir = "/proc/" + std::to_string(pid) + "/task";
    DIR* d = ::opendir(dir.c_str());
    if (!d) return;
    while (dirent* e = ::readdir(d)) {
        if (e->d_name[0] != '.') pin(static_cast<pid_t>(std::atoi(e->d_name)), cpu);
    }
    ::closedir(d);
}

int open_raw(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios t{};
    if (fd < 0 || ::tcgetattr(fd, &t) != 0) std::abort();
    ::cfmakeraw(&t);
    ::tcsetattr(fd, TCSANOW, &t);
    return fd;
}

void round_trip(int fd) {
    if (::write(fd, kFrame, sizeof kFrame - 1) != static_cast<ssize_t>(sizeof kFrame - 1)) std::abort();
    char buf[64];
    size_t got = 0;
    while (got == 0 || buf[got - 1] != '\r') {
        const ssize_t n = ::read(fd, buf + got, sizeof buf - got);
        if (n <= 0) std::abort();
        got += static_cast<size_t>(n);
    }
    benchmark::DoNotOptimize(buf);
}

// The virtual controller's COM1: device, from the registry.
std::string com1_device() {
    wchar_t path[256] = {};
    if (!vex_RegGetString(L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports\\COM1", path, sizeof path)) std::abort();
    return std::string(path, path + wcslen(path));
}

// Uses a private virtual controller and pins its host's threads.
void use_sim_pinned() {
    vex::bench::use_sim();
    int caller = 0, peer = 0;
    if (!two_cpus(caller, peer)) return;
    pin(0, caller);
    pin_process(vex::sim::Host::host_pid(vex::plat::target().instance), peer);
}

void BM_SimPtyEchoRoundTrip(benchmark::State& state) {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    char name[PATH_MAX];
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0 || ::ptsname_r(master, name, sizeof name) != 0)
        std::abort();
    const int fd = open_raw(name);
    int caller = 0, peer_cpu = 0;
    const bool pinned = two_cpus(caller, peer_cpu);
    std::thread peer([&] {
        if (pinned) pin(0, peer_cpu);
        char buf[64];
        for (;;) {
            const ssize_t n = ::read(master, buf, sizeof buf);
            if (n <= 0 || buf[0] == 'Q') return;
            if (buf[n - 1] == '\r' && ::write(master, kAnswer, sizeof kAnswer - 1) < 0) return;
        }
    });
    if (pinned) pin(0, caller);
    for (auto _ : state) round_trip(fd);
    if (::write(fd, "Q\r", 2) != 2) std::abort();
    peer.join();
    ::close(fd);
    ::close(master);
}
BENCHMARK(BM_SimPtyEchoRoundTrip)->UseRealTime();

void BM_SimModuleRawRoundTrip(benchmark::State& state) {
    use_sim_pinned();
    const int fd = open_raw(com1_device());
    for (auto _ : state) round_trip(fd);
    ::close(fd);
    vex::bench::release();
}
BENCHMARK(BM_SimModuleRawRoundTrip)->UseRealTime();

void BM_SimModuleSendCmd(benchmark::State& state) {
    use_sim_pinned();
    const VEX_PORT port = uart_OpenEx("COM1:,115200,N,8,1");
    if (port == VEX_INVALID_PORT) std::abort();
    char answer[VEX_UART_BUFFER_SIZE];
    for (auto _ : state) {
        if (!uart_SendCmd(port, "$01M", answer)) state.SkipWithError("exchange failed");
    }
    uart_Close(port);
    vex::bench::release();
}
BENCHMARK(BM_SimModuleSendCmd)->UseRealTime();

}  // namespace
