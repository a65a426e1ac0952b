// Backplane timers: registration with a callback served by a service
// thread, timer 0's output, and the millisecond and microsecond counters.
//
// Lock rules: g_timer_mutex guards each entry's callback, thread and event;
// the event handle is also an atomic, read by the service thread without
// it. Never held while a callback runs or a thread is joined, never taken
// together with the slot table's mutex.
#include <atomic>
#include <memory>
#include <mutex>

#include "frame/backplane.h"
#include "frame/errors.h"
#include "irq/irq.h"
#include "irq/masks.h"
#include "irq/service_thread.h"
#include "irq/tick_counter.h"
#include "platform/event.h"
#include "platform/interrupt.h"
#include "vexsdk.h"

using namespace vex;
using namespace vex::irq;

namespace {

constexpr uint32_t kTimers = 3;
constexpr int32_t kServicePriority = 100;
constexpr uint32_t kRegControl = 0x900A;
constexpr uint32_t kRegTimerAck = 0x900E;
constexpr uint32_t kRegEndOfInterrupt = 0x9006;
constexpr uint8_t kTimer0Output = 0x04;  // bit 2 of the control register
constexpr uint8_t kAckValue[kTimers] = {0x04, 0x01, 0x02};
constexpr uint32_t kRegTimer0First = 0x9020;   // low 0x9020, high 0x9022
constexpr uint32_t kRegTimer0Second = 0x9024;  // low 0x9024, high 0x9026
constexpr uint32_t kRegInterval[kTimers] = {0, 0x9038, 0x903C};  // low byte; high byte at +2

struct TimerEntry {
    std::atomic<int> event{-1};  // read by the service thread without the mutex
    VEX_IRQ_CALLBACK callback = nullptr;
    std::unique_ptr<ServiceThread> thread;
};

std::mutex g_timer_mutex;
TimerEntry g_timers[kTimers];

bool single_slot() { return frame::controller_model() == frame::kModelSingleSlot; }

bool refuse_on_single_slot() {
    if (!single_slot()) return false;
    frame::set_last_error(VEX_ERR_NOT_SUPPORTED);
    return true;
}

void write16(uint32_t low, uint16_t value) {
    plat::bus_write8(low, static_cast<uint8_t>(value & 0xFF));
    plat::bus_write8(low + 2, static_cast<uint8_t>(value >> 8));
}

void acknowledge_timer(uint32_t timer) {
    plat::bus_write8(kRegTimerAck, kAckValue[timer]);
    plat::bus_write8(kRegEndOfInterrupt, 0xFF);
}

After judge(int32_t result) {
    if (result == 0) return After::Acknowledge;
    if (result == 3) return After::End;
    return After::Nothing;  // 1 included: only 0 acknowledges a timer
}

int timer_event(uint32_t timer) { return g_timers[timer].event.load(std::memory_order_acquire); }

bool register_timer(uint32_t timer, uint16_t interval, VEX_IRQ_CALLBACK callback) {
    if (refuse_on_single_slot()) return false;
    if (timer >= kTimers || !callback) return false;  // no table entry is touched
    {
        std::lock_guard<std::mutex> lock(g_timer_mutex);
        TimerEntry& e = g_timers[timer];
        if (e.callback) {
            frame::set_last_error(VEX_ERR_TIMER_ALREADY_SET);
            return false;
        }
        if (mask_has(shared_mask(Mask::Timers), timer)) {
            frame::set_last_error(VEX_ERR_SLOT_IN_USE);
            return false;
        }
        // From here a failure keeps the callback (and an event once made):
        // the timer stays set up in this process until it is killed.
        e.callback = callback;
        if (e.event.load() < 0) {
            const int event = plat::create_event();
            if (event < 0) return false;
            e.event = event;
            if (!plat::bind_interrupt(plat::kIrqTimer0 + timer, event)) return false;
        }
        if (!e.thread) {
            e.thread = ServiceThread::start(
                ServiceSetup{plat::kIrqTimer0 + timer, timer, callback, judge, acknowledge_timer, timer_event});
            if (!e.thread) return false;
        }
    }
    vex_SetBPTimerInterruptPriority(timer, kServicePriority);  // without real-time rights: normal priority
    change_mask(Mask::Timers, timer, true);
    if (timer != 0) write16(kRegInterval[timer], interval);
    return true;
}

}  // namespace

namespace vex::irq {

void release_timers() {
    std::lock_guard<std::mutex> lock(g_timer_mutex);
    for (TimerEntry& e : g_timers) {
        e.callback = nullptr;
        if (e.thread) e.thread->stop();
        bury(std::move(e.thread));
        plat::close_event(e.event.exchange(-1));
    }
}

}  // namespace vex::irq

extern "C" {

VEXSDK_API VEX_BOOL32 vex_SetBPTimer(uint32_t timer, uint16_t interval, VEX_IRQ_CALLBACK callback) {
    return register_timer(timer, interval, callback) ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API VEX_BOOL32 vex_SetBPTimerOut(uint16_t first, uint16_t second, VEX_IRQ_CALLBACK callback) {
    if (!register_timer(0, 0, callback)) return VEX_FALSE;
    const uint8_t control = plat::bus_read8(kRegControl);
    const bool output = first != 0 || second != 0;
    plat::bus_write8(kRegControl, static_cast<uint8_t>(output ? (control | kTimer0Output) : (control & ~kTimer0Output)));
    write16(kRegTimer0First, first);
    write16(kRegTimer0Second, second);
    return VEX_TRUE;
}

VEXSDK_API void vex_KillBPTimer(uint32_t timer) {
    if (refuse_on_single_slot() || timer >= kTimers) return;
    const uint16_t mask = shared_mask(Mask::Timers);
    if (!mask_has(mask, timer)) {
        // Not in use; but a registration of this process that failed
        // half-way left its callback, event or thread here, which would
        // refuse every later registration: they go, silently.
        std::unique_ptr<ServiceThread> thread;
        {
            std::lock_guard<std::mutex> lock(g_timer_mutex);
            TimerEntry& e = g_timers[timer];
            e.callback = nullptr;
            thread = std::move(e.thread);
            if (thread) thread->stop();
            plat::close_event(e.event.exchange(-1));
        }
        bury(std::move(thread));
        reap_service_threads();
        return;
    }
    if (mask != mask_copy(Mask::Timers)) {
        frame::set_last_error(VEX_ERR_SLOT_NOT_REGISTERED);
        return;
    }
    if (timer == 0) {
        plat::bus_write8(kRegControl, static_cast<uint8_t>(plat::bus_read8(kRegControl) & ~kTimer0Output));
        write16(kRegTimer0First, 0);
        write16(kRegTimer0Second, 0);
    } else {
        write16(kRegInterval[timer], 0);
    }
    acknowledge_timer(timer);
    change_mask(Mask::Timers, timer, false);
    // The interrupt stays bound to the old event; a new registration makes
    // a new event and moves the binding there.
    std::unique_ptr<ServiceThread> thread;
    {
        std::lock_guard<std::mutex> lock(g_timer_mutex);
        TimerEntry& e = g_timers[timer];
        if (!e.callback) {
            frame::set_last_error(VEX_ERR_TIMER_NOT_SET);
            return;
        }
        e.callback = nullptr;
        thread = std::move(e.thread);
        if (thread) thread->stop();  // before its event closes
        plat::close_event(e.event.exchange(-1));
    }
    bury(std::move(thread));
    reap_service_threads();
}

VEXSDK_API VEX_BOOL32 vex_SetBPTimerInterruptPriority(uint32_t timer, int32_t priority) {
    if (timer >= kTimers) return VEX_FALSE;
    std::lock_guard<std::mutex> lock(g_timer_mutex);
    return g_timers[timer].thread && g_timers[timer].thread->set_priority(priority) ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API uint32_t vex_GetBPTimerTimeTick_ms(void) {
    if (refuse_on_single_slot()) return 0;
    return read_ms_counter([](uint32_t offset) { return plat::bus_read8(offset); });
}

VEXSDK_API uint32_t vex_GetBPTimerTimeTick_us(void) {
    if (refuse_on_single_slot()) return 0;
    return plat::bus_read8(kRegUsCounter);
}

}  // extern "C"
