#include "irq/service_thread.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/event.h"
#include "platform/interrupt.h"
#include "platform/thread_priority.h"
#include "platform/thread_start.h"

namespace vex::irq {

struct ServiceThread::Run {
    ServiceSetup setup;
    int wake = -1;                  // stop and look-again requests
    std::atomic<bool> stopping{false};
    std::mutex mutex;               // guards `done`, for waiting on it
    std::condition_variable done_cv;
    bool done = false;
    std::thread thread;

    ~Run() { plat::close_event(wake); }

    void loop() {
        plat::InterruptWaiter waiter(setup.interrupt_id);
        for (;;) {
            const auto woke = waiter.wait(setup.event_of(setup.index), wake);
            if (woke == plat::InterruptWaiter::Wake::Failed) break;
            if (woke == plat::InterruptWaiter::Wake::Cancelled) plat::take_event(wake);
            if (stopping.load(std::memory_order_acquire)) break;
            if (woke != plat::InterruptWaiter::Wake::Signalled) continue;  // look again
            const After after = setup.judge(setup.callback());
            if (after == After::End) break;
            if (after == After::Acknowledge) setup.acknowledge(setup.index);
        }
        setup.acknowledge(setup.index);
        std::lock_guard<std::mutex> lock(mutex);
        done = true;
        done_cv.notify_all();
    }
};

std::unique_ptr<ServiceThread> ServiceThread::start(const ServiceSetup& setup) {
    auto run = std::make_shared<Run>();
    run->setup = setup;
    run->wake = plat::create_event();
    if (run->wake < 0) return nullptr;
    // The thread holds the run too: it outlives an abandoned handle. Without
    // a thread the run ends here, closing its event.
    if (!plat::start_thread(run->thread, [r = run] { r->loop(); })) return nullptr;
    return std::unique_ptr<ServiceThread>(new ServiceThread(std::move(run)));
}

ServiceThread::~ServiceThread() {
    if (run_->thread.joinable()) run_->thread.join();
}

void ServiceThread::stop() {
    run_->stopping.store(true, std::memory_order_release);
    plat::signal_event(run_->wake);
}

void ServiceThread::look_again() { plat::signal_event(run_->wake); }

bool ServiceThread::set_priority(int32_t priority) { return plat::set_thread_priority(run_->thread, priority); }

bool ServiceThread::ended() const {
    std::lock_guard<std::mutex> lock(run_->mutex);
    return run_->done;
}

namespace {

// Stopped threads not yet joined. Guarded by g_grave_mutex; never held
// while a thread is joined.
std::mutex g_grave_mutex;
std::vector<std::unique_ptr<ServiceThread>>& grave() {
    static auto* g = new std::vector<std::unique_ptr<ServiceThread>>;  // outlives static destructors
    return *g;
}

std::vector<std::unique_ptr<ServiceThread>> take_ended() {
    std::lock_guard<std::mutex> lock(g_grave_mutex);
    std::vector<std::unique_ptr<ServiceThread>> ended;
    auto& g = grave();
    for (auto it = g.begin(); it != g.end();) {
        if ((*it)->ended()) {
            ended.push_back(std::move(*it));
            it = g.erase(it);
        } else {
            ++it;
        }
    }
    return ended;
}

}  // namespace

void bury(std::unique_ptr<ServiceThread> thread) {
    if (!thread) return;
    std::lock_guard<std::mutex> lock(g_grave_mutex);
    grave().push_back(std::move(thread));
}

void reap_service_threads() { take_ended(); }  // destroying them joins them

int settle_service_threads(uint32_t ms) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    std::vector<std::shared_ptr<ServiceThread::Run>> waiting;
    {
        std::lock_guard<std::mutex> lock(g_grave_mutex);
        for (auto& t : grave()) waiting.push_back(t->run_);
    }
    for (auto& run : waiting) {
        std::unique_lock<std::mutex> lock(run->mutex);
        run->done_cv.wait_until(lock, deadline, [&] { return run->done; });
    }
    take_ended();
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    plat::settle_interrupt_dispatch(static_cast<uint32_t>(std::max<int64_t>(left.count(), 0)));
    std::lock_guard<std::mutex> lock(g_grave_mutex);
    const int abandoned = static_cast<int>(grave().size());
    // A callback that never returns: its thread is left to the process,
    // with its run (kept alive by the thread itself).
    for (auto& t : grave()) {
        t->run_->thread.detach();
        // Never destroyed: its run stays valid for the abandoned thread.
        ServiceThread* leaked = t.release();
        static_cast<void>(leaked);
    }
    grave().clear();
    return abandoned;
}

}  // namespace vex::irq
