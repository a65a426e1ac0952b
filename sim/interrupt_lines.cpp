#include "sim/interrupt_lines.h"

#include <signal.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <random>
#include <vector>

#include "platform/interrupt.h"
#include "platform/linux/irq_calls.h"
#include "platform/system.h"
#include "platform/target.h"
#include "sim/instance.h"
#include "sim/models/models.h"

namespace vex::sim {
namespace {

using plat::irq_calls;

// The binding whose own take() is advancing the models on this thread: it
// sees the count at once and needs no datagram.
thread_local uint64_t t_taking_token = 0;

// Wake-ups are queued while the state is locked and sent after the unlock,
// so that a woken process never finds the lock still held by its waker.
// The queue is flushed by the unlock of the same lock, so `state` is alive.
struct Wakeup {
    sockaddr_un addr;
    socklen_t len;
    uint64_t token;
    State* state;
};
thread_local std::vector<Wakeup> t_wakeups;

// A binding whose socket refused a wake-up belongs to a process that has
// ended: it leaves the table.
void drop_binding(State& s, uint64_t token) {
    s.lock.lock();
    for (IrqBinding& b : s.irq.bindings) {
        if (b.token == token) b = IrqBinding{};
    }
    s.lock.unlock();
}

socklen_t address_of(const State& s, uint64_t token, sockaddr_un& addr) {
    addr = sockaddr_un{};
    addr.sun_family = AF_UNIX;
    const std::string instance(s.instance, strnlen(s.instance, sizeof s.instance));
    char name[sizeof addr.sun_path];
    const int n = std::snprintf(name, sizeof name, "%sirq.%016llx", plat::sim_object_prefix(instance).c_str(),
                                static_cast<unsigned long long>(token));
    const size_t len = std::min(static_cast<size_t>(n > 0 ? n : 0), sizeof addr.sun_path - 1);
    std::memcpy(addr.sun_path + 1, name, len);  // sun_path[0] = 0: the abstract namespace
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + len);
}

// One unbound socket per process sends every wake-up.
int sender() {
    static std::once_flag once;
    static int fd = -1;
    std::call_once(once, [] { fd = irq_calls().socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0); });
    return fd;
}

// Queues wake-ups for the bindings of `line`. True when any is bound.
bool wake_bound(State& s, int line) {
    bool bound = false;
    for (IrqBinding& b : s.irq.bindings) {
        if (b.token == 0 || b.line != static_cast<uint32_t>(line)) continue;
        bound = true;
        if (b.token == t_taking_token) continue;
        Wakeup w{};
        w.len = address_of(s, b.token, w.addr);
        w.token = b.token;
        w.state = &s;
        t_wakeups.push_back(w);
    }
    return bound;
}

// When the line's time-driven source must be looked at next (instance clock).
uint64_t line_deadline(const State& s, int line) {
    if (line >= kIrqLineTimer0) return models::timer_deadline(s, line - kIrqLineTimer0);
    if (line < kSlots) return models::parallel_irq_deadline(s, line);
    return UINT64_MAX;
}

void advance_line(State& s, int line, uint64_t now) {
    if (line >= kIrqLineTimer0) models::timers_advance(s, now);
    else if (line < kSlots && s.slots[line].kind == static_cast<uint8_t>(ModuleKind::Parallel))
        models::parallel_advance(s, line, now);
}

uint64_t random_token() {
    std::random_device rd;
    uint64_t t = 0;
    while (t == 0) t = (static_cast<uint64_t>(rd()) << 32) ^ rd();
    return t;
}

class SimSource final : public plat::InterruptSource {
public:
    SimSource(Instance& inst, int line) : inst_(inst), line_(line), token_(random_token()) {}

    ~SimSource() override {
        // After the library let go of the instance there is nothing to
        // tidy: the entry goes when the next raise finds the socket gone.
        if (registered_ && current() == &inst_) {
            inst_.with_lock([&](State& s) {
                for (IrqBinding& b : s.irq.bindings) {
                    if (b.token == token_) b = IrqBinding{};
                }
            });
        }
        for (int fd : {epoll_, timer_, socket_}) {
            if (fd >= 0) irq_calls().close(fd);
        }
    }

    bool open(std::string* error) {
        auto fail = [&](const char* call) {
            if (error) *error = std::string(call) + ": " + std::strerror(errno);
            return false;
        };
        socket_ = irq_calls().socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (socket_ < 0) return fail("socket");
        sockaddr_un addr;
        const socklen_t len = address_of(inst_.state(), token_, addr);
        if (irq_calls().bind(socket_, reinterpret_cast<const sockaddr*>(&addr), len) != 0) return fail("bind");
        timer_ = irq_calls().timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
        if (timer_ < 0) return fail("timerfd_create");
        epoll_ = irq_calls().epoll_create1(EPOLL_CLOEXEC);
        if (epoll_ < 0) return fail("epoll_create1");
        for (int fd : {socket_, timer_}) {
            epoll_event ev{};
            ev.events = EPOLLIN;
            ev.data.fd = fd;
            if (irq_calls().epoll_ctl(epoll_, EPOLL_CTL_ADD, fd, &ev) != 0) return fail("epoll_ctl");
        }
        bool pending = false;
        const bool entered = inst_.with_lock([&](State& s) {
            IrqBinding* slot = free_entry(s);
            if (!slot) return false;
            *slot = IrqBinding{token_, static_cast<int32_t>(::getpid()), static_cast<uint32_t>(line_)};
            seen_raised_ = s.irq.raised[line_];
            // A slot interrupt that waited for someone to take it is this
            // binding's first interrupt.
            if ((line_ < kSlots || line_ == kIrqLineSingleSlot) && models::slot_irq_take_pending(s, line_)) {
                --seen_raised_;
                pending = true;
            }
            seen_schedule_ = s.irq.schedule[line_];
            arm(s);
            return true;
        });
        if (!entered) {
            if (error) *error = "all " + std::to_string(kIrqBindings) + " interrupt bindings of the instance are in use";
            return false;
        }
        registered_ = true;
        if (pending) kick_self();
        return true;
    }

    int fd() const override { return epoll_; }

    bool take() override {
        char drain[16];
        while (irq_calls().recv(socket_, drain, sizeof drain, MSG_DONTWAIT) >= 0) {
        }
        uint64_t expirations = 0;
        const bool due = irq_calls().read(timer_, &expirations, sizeof expirations) == sizeof expirations;
        State& st = inst_.state();
        if (due || __atomic_load_n(&st.irq.schedule[line_], __ATOMIC_ACQUIRE) != seen_schedule_) {
            inst_.with_lock([&](State& s) {
                t_taking_token = token_;
                advance_line(s, line_, inst_.now_ns());
                t_taking_token = 0;
                seen_schedule_ = s.irq.schedule[line_];
                arm(s);
            });
        }
        const uint32_t raised = __atomic_load_n(&st.irq.raised[line_], __ATOMIC_ACQUIRE);
        const bool fired = raised != seen_raised_;
        seen_raised_ = raised;
        return fired;
    }

private:
    IrqBinding* free_entry(State& s) {
        for (int pass = 0; pass < 2; ++pass) {
            for (IrqBinding& b : s.irq.bindings) {
                if (b.token == 0) return &b;
            }
            // Full: forget the entries of processes that have ended.
            for (IrqBinding& b : s.irq.bindings) {
                if (b.token != 0 && b.pid > 0 && ::kill(b.pid, 0) != 0 && errno == ESRCH) b = IrqBinding{};
            }
        }
        return nullptr;
    }

    // Arms the timerfd at the line's next deadline. State locked.
    void arm(const State& s) {
        const uint64_t deadline = line_deadline(s, line_);
        itimerspec when{};
        if (deadline != UINT64_MAX) {
            // The instance clock runs ahead of the monotonic clock by the skew.
            const uint64_t skew = __atomic_load_n(&s.skew_ns, __ATOMIC_RELAXED);
            const uint64_t mono = deadline > skew ? deadline - skew : 1;
            when.it_value.tv_sec = static_cast<time_t>(mono / 1000000000ull);
            when.it_value.tv_nsec = static_cast<long>(mono % 1000000000ull);
            if (mono == 0) when.it_value.tv_nsec = 1;
        }
        // Cannot fail with a valid descriptor and value.
        if (irq_calls().timerfd_settime(timer_, TFD_TIMER_ABSTIME, &when, nullptr) != 0) return;
    }

    void kick_self() {
        sockaddr_un addr;
        const socklen_t len = address_of(inst_.state(), token_, addr);
        const char kick = 1;
        // A full queue is awake already.
        if (irq_calls().sendto(sender(), &kick, 1, MSG_DONTWAIT | MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&addr),
                               len) < 0)
            return;
    }

    Instance& inst_;
    int line_;
    uint64_t token_;
    int socket_ = -1;
    int timer_ = -1;
    int epoll_ = -1;
    bool registered_ = false;
    uint32_t seen_raised_ = 0;
    uint32_t seen_schedule_ = 0;
};

}  // namespace

void send_irq_wakeups() {
    if (t_wakeups.empty()) return;
    std::vector<Wakeup> wakeups;
    wakeups.swap(t_wakeups);
    const char kick = 1;
    for (const Wakeup& w : wakeups) {
        if (irq_calls().sendto(sender(), &kick, 1, MSG_DONTWAIT | MSG_NOSIGNAL,
                               reinterpret_cast<const sockaddr*>(&w.addr), w.len) < 0 &&
            (errno == ECONNREFUSED || errno == ENOENT))
            drop_binding(*w.state, w.token);
        // EAGAIN: its queue is full, so it is awake anyway.
    }
}

int irq_line_of(uint32_t id) {
    if (id >= plat::kIrqSlot0 && id < plat::kIrqSlot0 + kSlots) return static_cast<int>(id - plat::kIrqSlot0);
    if (id == plat::kIrqSingleSlot) return kIrqLineSingleSlot;
    if (id >= plat::kIrqTimer0 && id < plat::kIrqTimer0 + 3) return kIrqLineTimer0 + static_cast<int>(id - plat::kIrqTimer0);
    return -1;
}

bool irq_line_bound(const State& s, int line) {
    for (const IrqBinding& b : s.irq.bindings) {
        if (b.token != 0 && b.line == static_cast<uint32_t>(line)) return true;
    }
    return false;
}

bool raise_irq(State& s, int line) {
    __atomic_fetch_add(&s.irq.raised[line], 1u, __ATOMIC_RELEASE);
    return wake_bound(s, line);
}

void reschedule_irq(State& s, int line) {
    __atomic_fetch_add(&s.irq.schedule[line], 1u, __ATOMIC_RELEASE);
    wake_bound(s, line);
}

void reschedule_all_irqs(State& s) {
    for (int line = 0; line < kIrqLines; ++line) reschedule_irq(s, line);
}

std::unique_ptr<plat::InterruptSource> open_interrupt_source(uint32_t id, std::string* error) {
    Instance* inst = current();
    const int line = irq_line_of(id);
    if (!inst || line < 0) {
        if (error) *error = inst ? "the controller has no interrupt " + std::to_string(id) : "no controller";
        return nullptr;
    }
    auto source = std::make_unique<SimSource>(*inst, line);
    if (!source->open(error)) return nullptr;
    return source;
}

}  // namespace vex::sim
