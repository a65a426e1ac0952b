#include "platform/linux/com_calls.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace vex::plat {
namespace {

// The C library declares open and ioctl variadic; the table's entries are
// not, so that a test's replacement has a plain type.
int real_open(const char* path, int flags) { return ::open(path, flags); }
int real_close(int fd) { return ::close(fd); }
int real_ioctl(int fd, unsigned long request, void* arg) { return ::ioctl(fd, request, arg); }
int real_fstat(int fd, struct stat* st) { return ::fstat(fd, st); }

constexpr ComCalls kReal = {real_open, real_close, ::read,    ::write,     real_ioctl,
                            ::poll,    ::flock,    ::eventfd, real_fstat};

#define SLOT(m) VEX_CALL_SLOT(ComCalls, m)
constexpr CallSlot kSlots[] = {SLOT(open), SLOT(close), SLOT(read),    SLOT(write), SLOT(ioctl),
                               SLOT(poll), SLOT(flock), SLOT(eventfd), SLOT(fstat)};
#undef SLOT

constinit CallTable<ComCalls> g_table{kReal, kSlots};

}  // namespace

CallTable<ComCalls>& com_table() { return g_table; }

}  // namespace vex::plat
