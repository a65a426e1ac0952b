#include "platform/linux/service_calls.h"

#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

namespace vex::plat::oscalls {
namespace {

// The real calls. Wrapped where the C library's declaration differs from
// the table's type (variadic or with attributes).
int real_reboot(int command) { return ::reboot(command); }
void real_sync() { ::sync(); }

constexpr ServiceCalls kReal = {
    ::socket, ::bind, ::sendto, ::recvfrom, ::poll, ::eventfd, ::inotify_init1, ::inotify_add_watch,
    ::read,   ::mount, ::umount2, ::mkdir, real_reboot, real_sync,
};

ServiceCalls g_calls = kReal;

// POSIX guarantees that a function pointer fits a void* (dlsym relies on it).
static_assert(sizeof(void (*)()) == sizeof(void*));

struct Slot {
    const char* name;
    void* where;  // the member holding the function pointer
};

template <typename F>
void* slot(F& f) {
    return &f;
}

}  // namespace

ServiceCalls& calls() { return g_calls; }

bool set_call(const char* name, void* fn) {
    const Slot slots[] = {
        {"socket", slot(g_calls.socket)},       {"bind", slot(g_calls.bind)},
        {"sendto", slot(g_calls.sendto)},       {"recvfrom", slot(g_calls.recvfrom)},
        {"poll", slot(g_calls.poll)},           {"eventfd", slot(g_calls.eventfd)},
        {"inotify_init1", slot(g_calls.inotify_init1)}, {"inotify_add_watch", slot(g_calls.inotify_add_watch)},
        {"read", slot(g_calls.read)},           {"mount", slot(g_calls.mount)},
        {"umount2", slot(g_calls.umount2)},     {"mkdir", slot(g_calls.mkdir)},
        {"reboot", slot(g_calls.reboot)},       {"sync", slot(g_calls.sync)},
    };
    for (const Slot& s : slots) {
        if (std::strcmp(s.name, name) == 0) {
            std::memcpy(s.where, &fn, sizeof fn);
            return true;
        }
    }
    return false;
}

void reset_calls() { g_calls = kReal; }

}  // namespace vex::plat::oscalls
