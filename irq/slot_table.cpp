#include "irq/slot_table.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "frame/backplane.h"
#include "irq/service_thread.h"
#include "irq/slot_registers.h"
#include "platform/checked_mutex.h"
#include "platform/event.h"
#include "platform/interrupt.h"

namespace vex::irq {
namespace {

struct SlotEntry {
    // Read by the service thread without the mutex.
    std::atomic<int> event{-1};        // the slot's event, -1 for none
    std::atomic<bool> waitable{false}; // the event is an eventfd (worth waiting on)
    std::atomic<int32_t> trigger{0};
    // Under g_slot_mutex.
    bool event_owned = false;          // made by the library, which closes it
    VEX_IRQ_CALLBACK callback = nullptr;
    std::unique_ptr<ServiceThread> thread;
};

plat::CheckedMutex g_slot_mutex;
SlotEntry g_slots[kIrqSlots];
// Events the library made and then replaced by a program's handle: a
// program may still hold them (from vex_GetSlotInterruptEvent), so they
// are closed only at unload. Under g_slot_mutex.
std::vector<int>* g_retired = new std::vector<int>;

bool has_entry(uint32_t slot) { return slot < kIrqSlots; }

After judge(int32_t result) {
    if (result == 0 || result == 1) return After::Acknowledge;
    if (result == 3) return After::End;
    return After::Nothing;  // the program acknowledges with vex_InterruptDone
}

int waitable_event(uint32_t slot) {
    const SlotEntry& e = g_slots[slot];
    return e.waitable.load(std::memory_order_acquire) ? e.event.load(std::memory_order_acquire) : -1;
}

uint32_t interrupt_of(uint32_t slot) {
    return frame::controller_model() == frame::kModelSingleSlot ? plat::kIrqSingleSlot : plat::kIrqSlot0 + slot;
}

// Replaces the slot's event. Called with g_slot_mutex held.
void replace_event(SlotEntry& e, int handle, bool owned, bool waitable) {
    VEX_ASSERT_HELD(g_slot_mutex);
    const int old = e.event.exchange(handle, std::memory_order_acq_rel);
    if (old > 0 && e.event_owned) g_retired->push_back(old);
    e.event_owned = owned;
    e.waitable.store(waitable, std::memory_order_release);
    if (e.thread) e.thread->look_again();
}

// Called with g_slot_mutex held.
void close_retired() {
    VEX_ASSERT_HELD(g_slot_mutex);
    for (int fd : *g_retired) plat::close_event(fd);
    g_retired->clear();
}

}  // namespace

void reset_slot_table() {
    std::lock_guard lock(g_slot_mutex);
    for (SlotEntry& e : g_slots) {
        e.event = -1;
        e.waitable = false;
        e.trigger = 0;
        e.event_owned = false;
        e.callback = nullptr;
    }
}

void release_slot_table() {
    std::lock_guard lock(g_slot_mutex);
    for (SlotEntry& e : g_slots) {
        if (e.thread) e.thread->stop();
        bury(std::move(e.thread));
        replace_event(e, -1, false, false);
        e.callback = nullptr;
    }
    close_retired();
}

int32_t slot_trigger_type(uint32_t slot) { return has_entry(slot) ? g_slots[slot].trigger.load() : 0; }

void store_slot_trigger_type(uint32_t slot, int32_t type) {
    if (has_entry(slot)) g_slots[slot].trigger.store(type);
}

void acknowledge_slot(uint32_t slot) { acknowledge_slot_interrupt(slot, slot_trigger_type(slot)); }

int renew_slot_event(uint32_t slot) {
    if (!has_entry(slot)) return -1;
    const int event = plat::create_event();
    if (event < 0) return -1;
    std::lock_guard lock(g_slot_mutex);
    SlotEntry& e = g_slots[slot];
    // The previous event the library made can go at once: its binding (if
    // any) moves to the new one, and nothing was handed out but the handle.
    const int old = e.event.exchange(event, std::memory_order_acq_rel);
    if (old > 0 && e.event_owned) plat::close_event(old);
    e.event_owned = true;
    e.waitable.store(true, std::memory_order_release);
    if (e.thread) e.thread->look_again();
    return event;
}

void store_slot_event(uint32_t slot, int32_t handle) {
    if (!has_entry(slot)) return;
    std::lock_guard lock(g_slot_mutex);
    replace_event(g_slots[slot], handle, false, plat::is_event(handle));
}

int slot_event(uint32_t slot) { return has_entry(slot) ? g_slots[slot].event.load() : -1; }

Claim claim_slot(uint32_t slot, VEX_IRQ_CALLBACK callback) {
    if (!has_entry(slot)) return Claim::NoEntry;
    std::lock_guard lock(g_slot_mutex);
    if (g_slots[slot].callback) return Claim::AlreadyHeld;
    g_slots[slot].callback = callback;
    return Claim::Claimed;
}

bool holds_slot(uint32_t slot) {
    if (!has_entry(slot)) return false;
    std::lock_guard lock(g_slot_mutex);
    return g_slots[slot].callback != nullptr;
}

bool start_slot_thread(uint32_t slot) {
    if (!has_entry(slot)) return false;
    std::lock_guard lock(g_slot_mutex);
    SlotEntry& e = g_slots[slot];
    if (!e.callback) return false;
    ServiceSetup setup{interrupt_of(slot), slot, e.callback, judge, acknowledge_slot, waitable_event};
    auto thread = ServiceThread::start(setup);
    if (!thread) return false;
    // A thread left from an earlier registration that ended on its own
    // (its callback returned 3) goes to be joined.
    bury(std::move(e.thread));
    e.thread = std::move(thread);
    return true;
}

bool set_slot_thread_priority(uint32_t slot, int32_t priority) {
    if (!has_entry(slot)) return false;
    std::lock_guard lock(g_slot_mutex);
    return g_slots[slot].thread && g_slots[slot].thread->set_priority(priority);
}

void release_slot(uint32_t slot) {
    if (!has_entry(slot)) return;
    std::unique_ptr<ServiceThread> thread;
    {
        std::lock_guard lock(g_slot_mutex);
        SlotEntry& e = g_slots[slot];
        e.callback = nullptr;
        thread = std::move(e.thread);
        // The thread is told to stop before its event closes, so it never
        // waits on a handle that has been reused.
        if (thread) thread->stop();
        const int old = e.event.exchange(-1, std::memory_order_acq_rel);
        e.waitable = false;
        if (old > 0 && e.event_owned) plat::close_event(old);
        e.event_owned = false;
    }
    bury(std::move(thread));
    reap_service_threads();
}

}  // namespace vex::irq
