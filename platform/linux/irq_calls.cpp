#include "platform/linux/irq_calls.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace vex::plat {
namespace {

// Wrapped where the C library's declaration is variadic or carries
// attributes the table's plain types do not.
int real_open(const char* path, int flags) { return ::open(path, flags); }
int real_fstat(int fd, struct stat* st) { return ::fstat(fd, st); }
ssize_t real_readlink(const char* path, char* buf, size_t size) { return ::readlink(path, buf, size); }

constexpr IrqCalls kRealCalls = {
    ::eventfd, ::read,           ::write,          ::close,       ::poll,
    real_open, ::fcntl,   ::socket,         ::bind,           ::sendto,      ::recv,
    ::timerfd_create, ::timerfd_settime, ::epoll_create1, ::epoll_ctl, ::pthread_setschedparam,
    real_fstat, real_readlink,
};

#define SLOT(m) VEX_CALL_SLOT(IrqCalls, m)
constexpr CallSlot kSlots[] = {
    SLOT(eventfd),  SLOT(read),           SLOT(write),           SLOT(close),         SLOT(poll),
    SLOT(open),     SLOT(fcntl),          SLOT(socket),          SLOT(bind),          SLOT(sendto),
    SLOT(recv),     SLOT(timerfd_create), SLOT(timerfd_settime), SLOT(epoll_create1), SLOT(epoll_ctl),
    SLOT(pthread_setschedparam), SLOT(fstat), SLOT(readlink),
};
#undef SLOT

constinit CallTable<IrqCalls> g_table{kRealCalls, kSlots};

}  // namespace

CallTable<IrqCalls>& irq_table() { return g_table; }
IrqCalls& irq_calls() { return g_table.now(); }
void reset_irq_calls() { g_table.reset_all(); }

}  // namespace vex::plat
