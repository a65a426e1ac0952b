// Kernel interrupts bound to events: the "interrupt number -> event"
// service of the controller's kernel.
//
// Interrupt numbers are the controller's: slot n of a multi-slot
// controller is 38 + n, the single-slot controller's slot is 66, backplane
// timer n is 67 + n. Once bound, every occurrence of the interrupt signals
// its event; occurrences before the signal is taken merge into one, as with
// an auto-reset event.
//
// Where interrupts come from is chosen once per binding: on the hardware
// target a Linux UIO device per interrupt (see uio_device_name), on the
// virtual controller the instance delivers its interrupt lines to every
// process that bound them. A thread of this process (the dispatch thread,
// started at the first binding and stopped by unbind_all_interrupts)
// signals the events; a service thread that waits on a bound event through
// InterruptWaiter takes the interrupt itself instead, one thread wake-up
// sooner.
//
// All calls are thread-safe.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace vex::plat {

inline constexpr uint32_t kIrqSlot0 = 38;       // slots 0..7: 38..45
inline constexpr uint32_t kIrqSingleSlot = 66;  // the single-slot controller's slot
inline constexpr uint32_t kIrqTimer0 = 67;      // backplane timers 0..2: 67..69

// Binds interrupt `id` to `event` (an event of platform/event.h; the
// binding keeps its own reference, so closing the handle later does not
// disturb it). Binding an id that is bound already moves it to the new
// event. False (with a reason in *error when given) when the controller has
// no such interrupt or its source cannot be opened.
bool bind_interrupt(uint32_t id, int event, std::string* error = nullptr);
// Ends a binding: the event is not signalled any more. An id that is not
// bound is ignored.
void unbind_interrupt(uint32_t id);
bool interrupt_bound(uint32_t id);
// Waits up to `ms` until the dispatch thread has let go of the bindings
// ended so far (it holds them, and their descriptors, until it next wakes).
// False when it did not within the time. For unload and tests.
bool settle_interrupt_dispatch(uint32_t ms);
// Ends every binding and stops the dispatch thread (library unload).
void unbind_all_interrupts();

// Name of the UIO device that carries interrupt `id` on the hardware
// target ("vex-slot0".."vex-slot7", "vex-slot", "vex-timer0".."vex-timer2"),
// or "" for an interrupt the controller does not have.
std::string uio_device_name(uint32_t id);

// The waiting side of one service thread. Not shared between threads.
class InterruptWaiter {
public:
    // `id`: the interrupt this thread serves. While it is bound to the very
    // event the thread waits on, the thread takes it directly.
    explicit InterruptWaiter(uint32_t id);
    ~InterruptWaiter();
    InterruptWaiter(const InterruptWaiter&) = delete;
    InterruptWaiter& operator=(const InterruptWaiter&) = delete;

    enum class Wake { Signalled, Cancelled, Failed };
    // Blocks without time limit until `event` is signalled (the signal is
    // taken) or the interrupt bound to it fires, or until `cancel` is
    // signalled (that signal is left for the caller). A handle that is not
    // an open event is not waited on, so a bad event never makes this spin.
    // Failed: the system cannot wait (poll failed other than by a signal).
    Wake wait(int event, int cancel);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace vex::plat
