#include "sim/host_calls.h"

#include <fcntl.h>
#include <unistd.h>

namespace vex::sim {
namespace {

constexpr HostCalls kReal = {::pipe2, ::posix_spawn, ::poll, ::read};

#define SLOT(m) VEX_CALL_SLOT(HostCalls, m)
constexpr plat::CallSlot kSlots[] = {SLOT(pipe2), SLOT(posix_spawn), SLOT(poll), SLOT(read)};
#undef SLOT

constinit plat::CallTable<HostCalls> g_table{kReal, kSlots};

}  // namespace

plat::CallTable<HostCalls>& host_table() { return g_table; }

}  // namespace vex::sim
