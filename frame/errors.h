// The per-thread last error and the message table.
#pragma once

#include <cstdint>

namespace vex::frame {

void set_last_error(uint32_t code);
uint32_t last_error();
void clear_last_error();
// The English message of a code, or null for codes without one.
const wchar_t* error_message(uint32_t code);

}  // namespace vex::frame
