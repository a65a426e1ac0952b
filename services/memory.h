// Non-volatile memory as the load sequence sees it (the exports are in
// include/vexsdk/memory.h).
#pragma once

#include <string>

namespace vex::services {

// Load: the EEPROM lines and the "VEX_EEP" lock. Returns "" or a problem
// to report (memory calls then fail with their codes).
std::string attach_memory();
void detach_memory();

}  // namespace vex::services
