// What each part of a careful command exchange costs the calling thread in
// the kernel, over pseudo-terminals whose far end answers at once
// (bench/pty_peer.h). No library code runs here: every shape is made of
// plain system calls, taken in turns within one loop so that the machine's
// load falls on all of them alike. Each shape's counter is its CPU time per
// exchange against the bare round trip's (<shape>_cpu_x_bare).
//
//   bare         write the command, block in read() until the answer's CR
//   careful      what the library's exchange must do: read the stale input
//                empty (a non-blocking read that finds nothing first waits
//                for the driver's pending receive work, so it drops
//                everything the line has taken in), write, poll the tty and
//                a cancel eventfd with a time-out, read
//   no_purge     careful without the purge (a stale answer would be taken)
//   no_cancel    careful polling the tty alone (a close could not end it)
//   no_timeout   careful polling without a time-out (a silent module would
//                hang it)
//   fionread     the purge asks FIONREAD first and reads only when bytes
//                are queued (misses bytes the driver has not handed on)
//   edge         the purge asks an edge-triggered epoll whether anything
//                arrived since the last wait, and the waits go through it
//                (misses the same bytes, for as long as the driver's
//                receive work is late)
//
//   build/default/bench/vexsdk_bench --benchmark_filter=BM_ExchangeShapes
//       --benchmark_repetitions=3 --benchmark_report_aggregates_only=true
#include <benchmark/benchmark.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/pty_peer.h"

namespace {

using vex::bench::PeerProtocol;
using vex::bench::PtyPeer;

constexpr char kCommand[] = "$016\r";
constexpr size_t kCommandSize = sizeof kCommand - 1;

double thread_cpu_s() {
    timespec ts{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

void drain(int fd) {
    char buf[256];
    while (::read(fd, buf, sizeof buf) > 0) {
    }
}

bool send(int fd) { return ::write(fd, kCommand, kCommandSize) == static_cast<ssize_t>(kCommandSize); }

// Reads up to the answer's CR, waiting with `wait` (false: failed) before
// each read; a read that finds nothing waits again. A template, so that no
// shape pays for a wrapper the bare one does not.
template <typename Wait>
bool answer(int fd, Wait wait) {
    char buf[64];
    size_t got = 0;
    while (got == 0 || buf[got - 1] != '\r') {
        if (!wait()) return false;
        const ssize_t n = ::read(fd, buf + got, sizeof buf - got);
        if (n < 0 && errno == EAGAIN) continue;
        if (n <= 0) return false;
        got += static_cast<size_t>(n);
    }
    return true;
}

struct Shape {
    std::string name;
    bool nonblocking = true;
    std::unique_ptr<PtyPeer> peer;
    int fd = -1;
    double cpu = 0;
    std::function<bool(Shape&)> exchange;
};

void BM_ExchangeShapes(benchmark::State& state) {
    vex::bench::ScopedPin pin(vex::bench::caller_cpu());
    const int cancel = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    const int ep = ::epoll_create1(EPOLL_CLOEXEC);
    if (cancel < 0 || ep < 0) std::abort();
    auto poll_tty = [cancel](int fd, nfds_t n, int timeout_ms) {
        return [=] {
            pollfd p[2] = {{fd, POLLIN, 0}, {cancel, POLLIN, 0}};
            return ::poll(p, n, timeout_ms) > 0 && !p[1].revents;
        };
    };
    std::vector<Shape> shapes;
    shapes.push_back({"bare", false, nullptr, -1, 0, [](Shape& s) { return send(s.fd) && answer(s.fd, [] { return true; }); }});
    shapes.push_back({"careful", true, nullptr, -1, 0, [&](Shape& s) {
                          drain(s.fd);
                          return send(s.fd) && answer(s.fd, poll_tty(s.fd, 2, 200));
                      }});
    shapes.push_back({"no_purge", true, nullptr, -1, 0,
                      [&](Shape& s) { return send(s.fd) && answer(s.fd, poll_tty(s.fd, 2, 200)); }});
    shapes.push_back({"no_cancel", true, nullptr, -1, 0, [&](Shape& s) {
                          drain(s.fd);
                          return send(s.fd) && answer(s.fd, poll_tty(s.fd, 1, 200));
                      }});
    shapes.push_back({"no_timeout", true, nullptr, -1, 0, [&](Shape& s) {
                          drain(s.fd);
                          return send(s.fd) && answer(s.fd, poll_tty(s.fd, 2, -1));
                      }});
    shapes.push_back({"fionread", true, nullptr, -1, 0, [&](Shape& s) {
                          int queued = 0;
                          if (::ioctl(s.fd, FIONREAD, &queued) == 0 && queued > 0) drain(s.fd);
                          return send(s.fd) && answer(s.fd, poll_tty(s.fd, 2, 200));
                      }});
    shapes.push_back({"edge", true, nullptr, -1, 0, [ep](Shape& s) {
                          epoll_event events[2];
                          if (::epoll_wait(ep, events, 2, 0) > 0) drain(s.fd);
                          return send(s.fd) && answer(s.fd, [ep] {
                                     epoll_event e[2];
                                     const int n = ::epoll_wait(ep, e, 2, 200);
                                     for (int i = 0; i < n; ++i) {
                                         if (e[i].data.u32 == 1) return false;
                                     }
                                     return n > 0;
                                 });
                      }});
    for (Shape& s : shapes) {
        s.peer = std::make_unique<PtyPeer>(PeerProtocol::Ascii);
        s.fd = vex::bench::open_raw_tty(s.peer->slave(), s.nonblocking);
    }
    // The edge shape's tty reports arrivals once each; its cancel eventfd
    // stays readable for every waiter once written.
    epoll_event e{};
    e.events = EPOLLIN | EPOLLET;
    e.data.u32 = 0;
    ::epoll_ctl(ep, EPOLL_CTL_ADD, shapes.back().fd, &e);
    e.events = EPOLLIN;
    e.data.u32 = 1;
    ::epoll_ctl(ep, EPOLL_CTL_ADD, cancel, &e);

    for (auto _ : state) {
        for (Shape& s : shapes) {
            const double c = thread_cpu_s();
            if (!s.exchange(s)) {
                state.SkipWithError(("exchange failed: " + s.name).c_str());
                break;
            }
            s.cpu += thread_cpu_s() - c;
        }
    }
    for (const Shape& s : shapes) {
        if (&s != &shapes.front() && shapes.front().cpu > 0)
            state.counters[s.name + "_cpu_x_bare"] = s.cpu / shapes.front().cpu;
        ::close(s.fd);
    }
    if (state.iterations() > 0)
        state.counters["bare_cpu_us"] = shapes.front().cpu / static_cast<double>(state.iterations()) * 1e6;
    ::close(ep);
    ::close(cancel);
}
BENCHMARK(BM_ExchangeShapes)->UseRealTime();

}  // namespace
