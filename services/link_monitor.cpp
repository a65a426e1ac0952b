#include "services/link_monitor.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/checked_mutex.h"
#include "platform/fork.h"
#include "platform/link_watch.h"
#include "platform/thread_start.h"
#include "platform/text_codec.h"
#include "vexsdk.h"

namespace vex::services {
namespace {

enum MonitorState : int { kStopped = 0, kRunning = 1, kFailed = 2 };

// This process's monitor. Allocated once, never destroyed: unload may run
// after the process's static destructors.
// Lock rules: `lifecycle` guards `watch`, `thread` and the start and stop
// of the monitor (load sequence, a forked child's restart); `mutex` guards
// `changes`, `names` and `problem` and is held briefly. Order: lifecycle,
// then mutex. The flags and `state` are atomics read without a lock.
struct Monitor {
    std::atomic<uint8_t> flag[2] = {0, 0};
    std::atomic<int> state{kStopped};
    std::atomic<bool> restart{false};  // a forked child: the thread stayed with the parent
    plat::CheckedMutex lifecycle;
    plat::LinkWatch* watch = nullptr;
    std::thread* thread = nullptr;
    std::mutex mutex;
    std::condition_variable changed;
    uint32_t changes = 0;
    std::string names[2];
    std::string problem;
};

Monitor& monitor() {
    static Monitor* m = new Monitor;
    return *m;
}

void apply_events(Monitor& m, const std::vector<plat::LinkEvent>& events) {
    std::string names[2];
    {
        std::lock_guard<std::mutex> lock(m.mutex);
        names[0] = m.names[0];
        names[1] = m.names[1];
    }
    bool any = false;
    for (const plat::LinkEvent& e : events) {
        // Both adapters may stand for one interface: each is checked.
        for (int i = 0; i < 2; ++i) {
            if (names[i].empty() || e.interface != names[i]) continue;
            const uint8_t up = e.up ? 1 : 0;
            if (m.flag[i].exchange(up, std::memory_order_relaxed) != up) any = true;
        }
    }
    if (!any) return;
    std::lock_guard<std::mutex> lock(m.mutex);
    ++m.changes;
    m.changed.notify_all();
}

void run(Monitor* m) {
    std::vector<plat::LinkEvent> events;
    while (m->watch->wait(events)) {
        apply_events(*m, events);
        events.clear();
    }
}

}  // namespace

namespace {

const wchar_t* adapter_value(int index) { return index == 1 ? L"LAN1" : L"LAN2"; }

std::string interface_from(uint32_t result, const plat::registry::Value& v, int index) {
    if (result != VEX_REG_SUCCESS) return index == 1 ? "eth0" : "eth1";
    return plat::registry::Value::is_string_type(v.type) ? plat::to_utf8(v.text) : std::string();
}

}  // namespace

std::string adapter_interface(plat::registry::Store& store, int index) {
    plat::registry::Value v;
    return interface_from(store.get_value(plat::registry::Root::LocalMachine, kEthernetKey, adapter_value(index), v),
                          v, index);
}

namespace {

// At load: through the registry snapshot, so that starting the monitor
// runs no SQLite code while the registry is unchanged.
std::string adapter_interface_at_load(int index) {
    plat::registry::Value v;
    return interface_from(
        plat::registry::get_value_at_load(plat::registry::Root::LocalMachine, kEthernetKey, adapter_value(index), v),
        v, index);
}

void start_locked(Monitor& m) {
    VEX_ASSERT_HELD(m.lifecycle);
    if (m.state.load() != kStopped) return;
    const std::string names[2] = {adapter_interface_at_load(1), adapter_interface_at_load(2)};
    {
        std::lock_guard<std::mutex> lock(m.mutex);
        m.names[0] = names[0];
        m.names[1] = names[1];
        m.problem.clear();
    }
    m.flag[0] = 0;
    m.flag[1] = 0;
    std::vector<plat::LinkEvent> now;
    std::string why;
    std::unique_ptr<plat::LinkWatch> watch = plat::open_link_watch(now, &why);
    if (watch) {
        apply_events(m, now);
        m.watch = watch.release();
        auto thread = std::make_unique<std::thread>();
        if (plat::start_thread(*thread, [mp = &m] { run(mp); })) {
            m.thread = thread.release();
            m.state = kRunning;
            return;
        }
        why = std::string("cannot start the link monitor thread: ") + std::strerror(errno);
        delete m.watch;
        m.watch = nullptr;
    }
    // Like a device that would not open: the flags stay 0 and answer.
    std::lock_guard<std::mutex> lock(m.mutex);
    m.problem = why;
    m.state = kFailed;
}

void stop_locked(Monitor& m) {
    VEX_ASSERT_HELD(m.lifecycle);
    if (m.thread) {
        m.watch->cancel();
        m.thread->join();
        delete m.thread;
        m.thread = nullptr;
    }
    delete m.watch;
    m.watch = nullptr;
    m.restart = false;
    m.state = kStopped;
    m.flag[0] = 0;
    m.flag[1] = 0;
}

// fork(): no lock of the monitor may be held by another thread at that
// moment, and the child forgets the parent's thread (it does not exist
// there) and closes its own copies of the watch's descriptors, which never
// disturbs the parent's watch. The child's first query starts its own.
void before_fork() {
    monitor().lifecycle.lock();
    monitor().mutex.lock();
}
void after_fork_parent() {
    monitor().mutex.unlock();
    monitor().lifecycle.unlock();
}
void after_fork_child() {
    Monitor& m = monitor();
    m.thread = nullptr;  // the parent's: neither joined nor destroyed here
    delete m.watch;
    m.watch = nullptr;
    if (m.state.load() == kRunning) {
        m.state = kStopped;
        m.restart = true;
    }
    m.mutex.unlock();
    m.lifecycle.unlock();
}

}  // namespace

void start_link_monitor() {
    static std::once_flag fork_handlers;
    std::call_once(fork_handlers, [] { plat::on_fork(before_fork, after_fork_parent, after_fork_child); });
    Monitor& m = monitor();
    std::lock_guard lock(m.lifecycle);
    start_locked(m);
}

void stop_link_monitor() {
    Monitor& m = monitor();
    std::lock_guard lock(m.lifecycle);
    stop_locked(m);
}

void restart_after_fork() {
    Monitor& m = monitor();
    std::lock_guard lock(m.lifecycle);
    if (!m.restart.exchange(false)) return;
    start_locked(m);
}

std::string monitored_interface(int index) {
    Monitor& m = monitor();
    std::lock_guard<std::mutex> lock(m.mutex);
    return index == 1 || index == 2 ? m.names[index - 1] : std::string();
}

std::string link_monitor_problem() {
    Monitor& m = monitor();
    std::lock_guard<std::mutex> lock(m.mutex);
    return m.problem;
}

uint32_t link_changes() {
    Monitor& m = monitor();
    std::lock_guard<std::mutex> lock(m.mutex);
    return m.changes;
}

uint32_t wait_for_link_change(uint32_t seen, int timeout_ms) {
    Monitor& m = monitor();
    std::unique_lock<std::mutex> lock(m.mutex);
    auto moved = [&] { return m.changes != seen; };
    if (timeout_ms < 0)
        m.changed.wait(lock, moved);
    else
        m.changed.wait_for(lock, std::chrono::milliseconds(timeout_ms), moved);
    return m.changes;
}

}  // namespace vex::services

VEXSDK_EXTERN_C_BEGIN

VEXSDK_API int32_t vex_EthernetLinkState(uint8_t index, uint8_t* state) {
    auto& m = vex::services::monitor();
    if (m.restart.load(std::memory_order_acquire)) vex::services::restart_after_fork();
    if (m.state.load(std::memory_order_acquire) == vex::services::kStopped) return -2;
    if (index != 1 && index != 2) return 0;
    if (!state) return -1;
    *state = m.flag[index - 1].load(std::memory_order_relaxed);
    return 0;
}

VEXSDK_EXTERN_C_END
