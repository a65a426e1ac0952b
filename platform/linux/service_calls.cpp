#include "platform/linux/service_calls.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vex::plat::oscalls {
namespace {

// The real calls. Wrapped where the C library's declaration differs from
// the table's type (variadic or with attributes).
int real_reboot(int command) { return ::reboot(command); }
void real_sync() { ::sync(); }
int real_open(const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }
int real_close(int fd) { return ::close(fd); }

constexpr ServiceCalls kReal = {
    ::socket, ::bind, ::sendto, ::recvfrom, ::poll, ::eventfd, ::inotify_init1, ::inotify_add_watch,
    ::read,   ::write, real_open, real_close, ::mount, ::umount2, ::mkdir, real_reboot, real_sync,
};

constexpr CallSlot kSlots[] = {
    VEX_CALL_SLOT(ServiceCalls, socket),        VEX_CALL_SLOT(ServiceCalls, bind),
    VEX_CALL_SLOT(ServiceCalls, sendto),        VEX_CALL_SLOT(ServiceCalls, recvfrom),
    VEX_CALL_SLOT(ServiceCalls, poll),          VEX_CALL_SLOT(ServiceCalls, eventfd),
    VEX_CALL_SLOT(ServiceCalls, inotify_init1), VEX_CALL_SLOT(ServiceCalls, inotify_add_watch),
    VEX_CALL_SLOT(ServiceCalls, read),          VEX_CALL_SLOT(ServiceCalls, write),
    VEX_CALL_SLOT(ServiceCalls, open),          VEX_CALL_SLOT(ServiceCalls, close),
    VEX_CALL_SLOT(ServiceCalls, mount),
    VEX_CALL_SLOT(ServiceCalls, umount2),       VEX_CALL_SLOT(ServiceCalls, mkdir),
    VEX_CALL_SLOT(ServiceCalls, reboot),        VEX_CALL_SLOT(ServiceCalls, sync),
};

constinit CallTable<ServiceCalls> g_table{kReal, kSlots};

}  // namespace

CallTable<ServiceCalls>& table() { return g_table; }
ServiceCalls& calls() { return g_table.now(); }
bool set_call(const char* name, void* fn) { return g_table.set(name, fn); }
bool reset_call(const char* name) { return g_table.reset(name); }
void reset_calls() { g_table.reset_all(); }

}  // namespace vex::plat::oscalls
