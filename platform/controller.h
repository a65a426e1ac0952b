// The connection of this process to its target controller.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vex::plat {

// On the virtual controller: attaches the instance (creating it when it
// does not exist) and hosts it in this process when nobody else does. On
// hardware: nothing to do. Returns false with a reason on failure; the
// library then runs without a controller (reads float high).
bool connect_controller(std::string* error);
void disconnect_controller();

// Waits until the host process that connect_controller started hosts the
// instance (at most 10 s); when it did not come up, hosts the instance in
// this process instead. At once when no start is on its way (hardware, a
// host that was already there, a start already waited for). Whatever needs
// the host's services (opening a COM port) calls it first. Any thread.
void await_host();
// Why the host process that await_host() waited for was replaced by hosting
// in this process; "" when it was not.
const char* host_problem();

// Maps `size` bytes of physical memory at `physical` uncached (hardware
// only): from $VEXSDK_PHYSMEM, else /dev/mem. Null on failure.
volatile void* map_physical(uint64_t physical, size_t size);
void unmap_physical(volatile void* address, size_t size);

}  // namespace vex::plat
