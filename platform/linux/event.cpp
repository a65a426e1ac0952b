// Events on eventfd. Events are non-blocking so that taking a signal never
// waits; a program's own eventfd may be blocking, so is_event callers that
// take from it first poll (see the interrupt waiter).
#include "platform/event.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/linux/irq_calls.h"

namespace vex::plat {

int create_event() {
    int fd = irq_calls().eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (fd == 0) {
        // Handle 0 means "no event" to programs: move it (stdin was closed).
        const int moved = irq_calls().fcntl(fd, F_DUPFD_CLOEXEC, 1);
        irq_calls().close(fd);
        fd = moved;
    }
    return fd < 0 ? -1 : fd;
}

void signal_event(int event) {
    const uint64_t one = 1;
    // Fails only when the counter is saturated: the event is signalled then.
    if (irq_calls().write(event, &one, sizeof one) != static_cast<ssize_t>(sizeof one)) return;
}

bool take_event(int event) {
    uint64_t count = 0;
    return irq_calls().read(event, &count, sizeof count) == static_cast<ssize_t>(sizeof count) && count != 0;
}

void close_event(int event) {
    if (event > 0) irq_calls().close(event);
}

bool is_event(int handle) {
    if (handle <= 0) return false;
    char link[64];
    char target[32] = {};
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", handle);
    const ssize_t n = irq_calls().readlink(link, target, sizeof target - 1);
    return n > 0 && std::strcmp(target, "anon_inode:[eventfd]") == 0;
}

}  // namespace vex::plat
