// The controller services' members of the load sequence (frame/library.cpp):
// the storage card's store, the buzzer, and the Ethernet link monitor, the
// one thread the library keeps from load to unload. Detach stops them in
// reverse order, before the controller disconnects.
#pragma once

namespace vex::services {

void attach_services();
void detach_services();

}  // namespace vex::services
