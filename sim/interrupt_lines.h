// Delivery of the virtual controller's interrupt lines to the processes
// that bound them.
//
// A process that binds a kernel interrupt of the virtual controller opens a
// datagram socket in the abstract namespace, named after the instance and a
// random token, and enters (token, pid, line) in the instance's binding table
// (State::irq.bindings). Whoever raises a line (any process touching the
// models: a register write, an input change, vexsim irq, a timer found due)
// counts it in State::irq.raised and sends one datagram to every binding of
// the line, once it has unlocked the state (send_irq_wakeups, run by every
// unlock), so the woken process never waits for the lock its waker holds. A
// binding whose socket is gone (its process died) is dropped from the table
// then. The counter, not the datagram, says whether the line
// fired, so nothing is lost when a socket's queue is full.
//
// Time-driven sources (the backplane timers, a module watchdog with its
// interrupt enabled) need someone awake at the right moment: each binding
// also holds a timerfd that it arms at the next instant at which its line's
// source can fire, computed from the instance clock. A change of such a
// source bumps State::irq.schedule[line] and wakes the bindings, which arm
// again. No host process is involved: every process computes the same
// instants from the shared state.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/interrupt_source.h"
#include "sim/state.h"

namespace vex::sim {

// The line of a kernel interrupt number, or -1 when there is none.
int irq_line_of(uint32_t id);

// With the state locked. Counts one interrupt on `line` and wakes every
// process bound to it (after the unlock). True when some process is bound
// to it.
bool raise_irq(State& s, int line);
// True when some process is bound to `line`.
bool irq_line_bound(const State& s, int line);
// Tells the processes bound to `line` that its time-driven source changed.
void reschedule_irq(State& s, int line);
// The same for every line (the instance clock jumped).
void reschedule_all_irqs(State& s);

// This process's binding of interrupt `id` on the current instance (the
// platform layer's interrupt source on the virtual controller).
std::unique_ptr<plat::InterruptSource> open_interrupt_source(uint32_t id, std::string* error);

}  // namespace vex::sim
