// Events: the signals that interrupts wake service threads with, and that
// programs receive as VEX_EVENT handles.
//
// An event is a pollable file descriptor (an eventfd), so a program can wait
// on it with poll, epoll or select. It resets itself when a waiter takes the
// signal, and signals that arrive before anyone takes them merge into one
// (an auto-reset event). Handles are never 0.
//
// Any thread may call any of these at any time on events it holds.
#pragma once

namespace vex::plat {

// A new event, not signalled. Returns its handle, or -1 when none can be
// made (out of descriptors).
int create_event();
// Signals the event. The handle must be an event (see is_event).
void signal_event(int event);
// Takes a pending signal without waiting: true when the event was
// signalled (it is reset now).
bool take_event(int event);
void close_event(int event);
// True when `handle` is an open event: an eventfd of this process, whoever
// made it.
bool is_event(int handle);

}  // namespace vex::plat
