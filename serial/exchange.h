// Framing of the serial-module command protocol, shared by the command
// exchange and the module command set.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vex::serial {

// The sum of the text's bytes modulo 256.
uint8_t checksum(const char* text, size_t length);
// Writes the checksum as two upper-case hexadecimal digits, high first.
void checksum_digits(uint8_t sum, char out[2]);
// True when the last two characters of text are the checksum of the rest
// (upper-case digits only). A text shorter than two characters has no
// checksum to hold.
bool checksum_holds(const char* text, size_t length);

}  // namespace vex::serial
