#include "platform/linux/irq_calls.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace vex::plat {
namespace {

constexpr IrqCalls kRealCalls = {
    ::eventfd, ::read,           ::write,          ::close,       ::poll,
    ::open,    ::fcntl,   ::socket,         ::bind,           ::sendto,      ::recv,
    ::timerfd_create, ::timerfd_settime, ::epoll_create1, ::epoll_ctl, ::pthread_setschedparam,
};

IrqCalls g_calls = kRealCalls;

}  // namespace

IrqCalls& irq_calls() { return g_calls; }
void reset_irq_calls() { g_calls = kRealCalls; }

}  // namespace vex::plat
