// The service thread of one registered slot interrupt or backplane timer.
//
// It waits, without time limit and without polling, on its event (and, while
// the interrupt is bound to that event, on the interrupt itself: see
// plat::InterruptWaiter), then calls the program's callback on this very
// thread, with no lock of the library held, and acts on the result:
// acknowledge the interrupt, do nothing (the program acknowledges later),
// or end. Stopping is a flag and a wake-up; whoever stops a thread does not
// wait for it (its callback may be running, or may be the caller), and the
// thread is joined later by the graveyard below, once it has ended.
//
// After its loop the thread acknowledges once more, as the hardware's
// driver does on the way out.
#pragma once

#include <cstdint>
#include <memory>

#include "vexsdk.h"

namespace vex::irq {

enum class After { Acknowledge, Nothing, End };

struct ServiceSetup {
    uint32_t interrupt_id;                 // taken directly while bound to the event
    uint32_t index;                        // slot or timer number
    VEX_IRQ_CALLBACK callback;
    After (*judge)(int32_t result);
    void (*acknowledge)(uint32_t index);
    int (*event_of)(uint32_t index);       // the event to wait on, read anew at every wait
};

class ServiceThread {
public:
    // Starts the thread. Null when no thread (or no wake-up event for it)
    // can be made.
    static std::unique_ptr<ServiceThread> start(const ServiceSetup& setup);
    ~ServiceThread();  // only for a thread that has ended or never ran; see bury()
    ServiceThread(const ServiceThread&) = delete;
    ServiceThread& operator=(const ServiceThread&) = delete;

    // Asks the thread to end when it next wakes, and wakes it. Returns at once.
    void stop();
    // Wakes the thread so that it looks at its event again (it was replaced).
    void look_again();
    bool set_priority(int32_t priority);
    bool ended() const;

    struct Run;  // shared with the thread itself

private:
    friend int settle_service_threads(uint32_t ms);
    explicit ServiceThread(std::shared_ptr<Run> run) : run_(std::move(run)) {}
    std::shared_ptr<Run> run_;
};

// Hands a stopped thread over to be joined once it has ended.
void bury(std::unique_ptr<ServiceThread> thread);
// Joins the buried threads that have ended.
void reap_service_threads();
// Waits up to `ms` for every buried thread to end and joins them; threads
// still running a callback after that are abandoned (never joined, never
// destroyed) and counted in the result. Within the same time it waits for
// the dispatch thread to let go of unbound interrupts. For unload and tests.
int settle_service_threads(uint32_t ms);

}  // namespace vex::irq
