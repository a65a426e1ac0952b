#include "platform/linux/registry_calls.h"

#include <fcntl.h>
#include <unistd.h>

namespace vex::plat {
namespace {

// open is variadic in the C library; the table's entry is not.
int real_open(const char* path, int flags) { return ::open(path, flags); }
int real_fsync(int fd) { return ::fsync(fd); }
int real_close(int fd) { return ::close(fd); }

constexpr RegistryCalls kReal = {real_open, real_fsync, real_close};

#define SLOT(m) VEX_CALL_SLOT(RegistryCalls, m)
constexpr CallSlot kSlots[] = {SLOT(open), SLOT(fsync), SLOT(close)};
#undef SLOT

constinit CallTable<RegistryCalls> g_table{kReal, kSlots};

}  // namespace

CallTable<RegistryCalls>& registry_table() { return g_table; }

}  // namespace vex::plat
