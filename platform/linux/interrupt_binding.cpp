// Interrupt bindings of this process, the dispatch thread that signals
// their events, and the direct path of service threads.
//
// Lock rules: Registry::mutex guards `bindings`, the dispatch thread's
// handle, `stopping` and `dispatched`; it is never held while waiting
// (settling waits on `caught_up`, which releases it) or while taking an
// interrupt. Binding::take_mutex serialises takes of one source (the
// dispatch thread and a service thread may both see it readable); it is
// taken without Registry::mutex held. Lock order: Registry::mutex, then
// Binding::take_mutex (only unbind takes both, to mark the binding ended).
#include <fcntl.h>
#include <poll.h>

#include <cerrno>
#include <cstring>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/checked_mutex.h"
#include "platform/event.h"
#include "platform/interrupt.h"
#include "platform/interrupt_source.h"
#include "platform/linux/irq_calls.h"
#include "platform/system.h"
#include "platform/target.h"
#include "platform/thread_priority.h"
#include "platform/thread_start.h"
#include "sim/interrupt_lines.h"

namespace vex::plat {
namespace {

// Priority of the dispatch thread: that of the service threads it stands
// in for.
constexpr int32_t kDispatchPriority = 100;
constexpr uint32_t kRetryMs = 10;

struct Binding {
    uint32_t id = 0;
    std::unique_ptr<InterruptSource> source;
    int event = -1;         // the handle as bound (what waiters compare)
    int event_ref = -1;     // this binding's own reference to the event
    std::atomic<int> servers{0};    // service threads taking it directly
    std::atomic<bool> broken{false};  // its descriptor reported an error: not waited on
    std::mutex take_mutex;
    bool ended = false;     // unbound; guarded by take_mutex

    ~Binding() { close_event(event_ref); }

    // True when the interrupt fired and this binding still stands.
    bool take() {
        std::lock_guard<std::mutex> lock(take_mutex);
        return source->take() && !ended;
    }
};

struct Registry {
    CheckedMutex mutex;
    std::map<uint32_t, std::shared_ptr<Binding>> bindings;
    std::atomic<uint64_t> version{1};   // changes with every bind and unbind
    uint64_t dispatched = 0;            // the version the dispatch thread last took up
    std::condition_variable_any caught_up;
    std::thread dispatcher;
    int wake = -1;                      // tells the dispatch thread to look again
    bool stopping = false;
};

// Never destroyed: the library unloads from the process's finalisers.
Registry& registry() {
    static Registry* r = new Registry;
    return *r;
}

void kick(Registry& r) {
    if (r.wake > 0) signal_event(r.wake);
}

// The dispatch thread: waits on every source that no service thread takes
// directly, and signals the bound events.
void dispatch(Registry& r) {
    set_current_thread_priority(kDispatchPriority);  // best effort: works without it
    std::vector<std::shared_ptr<Binding>> watched;
    std::vector<pollfd> fds;
    for (;;) {
        watched.clear();
        fds.assign(1, pollfd{r.wake, POLLIN, 0});
        {
            std::lock_guard lock(r.mutex);
            if (r.stopping) return;
            for (auto& [id, b] : r.bindings) {
                if (b->servers.load(std::memory_order_acquire) != 0 || b->broken.load()) continue;
                watched.push_back(b);
                fds.push_back(pollfd{b->source->fd(), POLLIN, 0});
            }
            // Ended bindings are let go of by now (`watched` was cleared).
            r.dispatched = r.version.load(std::memory_order_acquire);
        }
        r.caught_up.notify_all();
        if (irq_calls().poll(fds.data(), fds.size(), -1) < 0) {
            // Only a starved system fails a poll other than by a signal:
            // give it a moment rather than spin.
            if (errno != EINTR) sleep_ms(kRetryMs);
            continue;
        }
        if (fds[0].revents) take_event(r.wake);
        for (size_t i = 1; i < fds.size(); ++i) {
            Binding& b = *watched[i - 1];
            if (fds[i].revents & POLLIN) {
                if (b.take()) signal_event(b.event_ref);
            } else if (fds[i].revents) {
                b.broken = true;
            }
        }
    }
}

// Starts the dispatch thread on first use. Called with r.mutex held.
bool ensure_dispatcher(Registry& r, std::string* error) {
    VEX_ASSERT_HELD(r.mutex);
    if (r.dispatcher.joinable()) return true;
    if (r.wake <= 0) r.wake = create_event();
    if (r.wake <= 0) {
        if (error) *error = "cannot create an event";
        return false;
    }
    r.stopping = false;
    if (!start_thread(r.dispatcher, [&r] { dispatch(r); })) {
        if (error) *error = std::string("cannot start the interrupt dispatch thread: ") + std::strerror(errno);
        // Nothing waits on it: the next attempt makes another.
        close_event(r.wake);
        r.wake = -1;
        return false;
    }
    return true;
}

std::unique_ptr<InterruptSource> open_source(uint32_t id, std::string* error) {
    if (target().hardware) return open_uio_source(id, error);
    return sim::open_interrupt_source(id, error);
}

void end(Binding& b) {
    std::lock_guard<std::mutex> lock(b.take_mutex);
    b.ended = true;
}

}  // namespace

std::string uio_device_name(uint32_t id) {
    if (id >= kIrqSlot0 && id < kIrqSlot0 + 8) return "vex-slot" + std::to_string(id - kIrqSlot0);
    if (id == kIrqSingleSlot) return "vex-slot";
    if (id >= kIrqTimer0 && id < kIrqTimer0 + 3) return "vex-timer" + std::to_string(id - kIrqTimer0);
    return {};
}

bool bind_interrupt(uint32_t id, int event, std::string* error) {
    if (!is_event(event)) {
        if (error) *error = "not an event";
        return false;
    }
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    auto b = std::make_shared<Binding>();
    b->id = id;
    b->event = event;
    // The binding's own reference: a duplicate shares the event's counter.
    b->event_ref = irq_calls().fcntl(event, F_DUPFD_CLOEXEC, 1);
    if (b->event_ref < 0) {
        if (error) *error = "out of descriptors";
        return false;
    }
    if (auto it = r.bindings.find(id); it != r.bindings.end()) {
        // Rebinding: the old source goes first, so the controller never
        // sees two bindings of this process for one interrupt.
        end(*it->second);
        r.bindings.erase(it);
    }
    b->source = open_source(id, error);
    if (!b->source || !ensure_dispatcher(r, error)) {
        r.version.fetch_add(1, std::memory_order_release);
        return false;
    }
    r.bindings[id] = std::move(b);
    r.version.fetch_add(1, std::memory_order_release);
    kick(r);
    return true;
}

void unbind_interrupt(uint32_t id) {
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    auto it = r.bindings.find(id);
    if (it == r.bindings.end()) return;
    end(*it->second);
    r.bindings.erase(it);
    r.version.fetch_add(1, std::memory_order_release);
    kick(r);
}

bool settle_interrupt_dispatch(uint32_t ms) {
    Registry& r = registry();
    std::unique_lock lock(r.mutex);
    if (!r.dispatcher.joinable()) return true;
    const uint64_t wanted = r.version.load(std::memory_order_acquire);
    kick(r);
    return r.caught_up.wait_for(lock, std::chrono::milliseconds(ms), [&] { return r.dispatched >= wanted; });
}

bool interrupt_bound(uint32_t id) {
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    return r.bindings.count(id) != 0;
}

void unbind_all_interrupts() {
    Registry& r = registry();
    std::thread dispatcher;
    {
        std::lock_guard lock(r.mutex);
        for (auto& [id, b] : r.bindings) end(*b);
        r.bindings.clear();
        r.version.fetch_add(1, std::memory_order_release);
        r.stopping = true;
        dispatcher = std::move(r.dispatcher);
        kick(r);
    }
    if (dispatcher.joinable()) dispatcher.join();
    std::lock_guard lock(r.mutex);
    close_event(r.wake);
    r.wake = -1;
}

// ---- The direct path of a service thread ---------------------------------

struct InterruptWaiter::Impl {
    uint32_t id;
    std::shared_ptr<Binding> served;  // the binding this thread takes itself
    uint64_t version = 0;             // registry version `served` was chosen at
    int chosen_for = -1;              // the event `served` was chosen for
    int bad_event = -1;               // an event handle that proved not open

    void serve(std::shared_ptr<Binding> b) {
        if (b == served) return;
        Registry& r = registry();
        if (served) served->servers.fetch_sub(1, std::memory_order_release);
        served = std::move(b);
        if (served) served->servers.fetch_add(1, std::memory_order_release);
        std::lock_guard lock(r.mutex);
        kick(r);  // the dispatch thread leaves it to us, or takes it back
    }

    void choose(int event) {
        Registry& r = registry();
        const uint64_t v = r.version.load(std::memory_order_acquire);
        if (v == version && event == chosen_for) return;
        std::shared_ptr<Binding> b;
        {
            std::lock_guard lock(r.mutex);
            auto it = r.bindings.find(id);
            if (it != r.bindings.end() && it->second->event == event && !it->second->broken.load()) b = it->second;
        }
        serve(std::move(b));
        version = v;
        chosen_for = event;
    }
};

InterruptWaiter::InterruptWaiter(uint32_t id) : impl_(std::make_unique<Impl>()) { impl_->id = id; }

InterruptWaiter::~InterruptWaiter() { impl_->serve(nullptr); }

InterruptWaiter::Wake InterruptWaiter::wait(int event, int cancel) {
    Impl& w = *impl_;
    if (event != w.bad_event) w.bad_event = -1;
    for (;;) {
        w.choose(event);
        pollfd fds[3] = {{cancel, POLLIN, 0}, {-1, POLLIN, 0}, {-1, POLLIN, 0}};
        if (event > 0 && event != w.bad_event) fds[1].fd = event;
        if (w.served) fds[2].fd = w.served->source->fd();
        if (irq_calls().poll(fds, 3, -1) < 0) {
            if (errno == EINTR) continue;
            return Wake::Failed;
        }
        if (fds[0].revents) return Wake::Cancelled;
        if (fds[1].revents & (POLLNVAL | POLLERR)) w.bad_event = event;
        else if ((fds[1].revents & POLLIN) && take_event(event)) return Wake::Signalled;
        if (fds[2].revents & POLLIN) {
            if (w.served->take()) return Wake::Signalled;
        } else if (fds[2].revents) {
            w.served->broken = true;
            w.version = 0;  // choose again, without it
        }
    }
}

}  // namespace vex::plat
