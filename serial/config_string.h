// The COM port configuration string "port,baud,parity,data bits,stop bits",
// e.g. "COM1:,9600,N,8,1", and the device name that its port field stands
// for. Pure functions: no port is touched here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/com_port.h"

namespace vex::serial {

inline constexpr const char* kDefaultConfig = "COM0:,115200,N,8,1";

// Each field holds at most 19 characters and its NUL.
inline constexpr size_t kFieldSize = 20;
inline constexpr int kFieldCount = 5;
enum Field { kPort = 0, kBaud, kParity, kDataBits, kStopBits };

struct ConfigFields {
    char field[kFieldCount][kFieldSize];
    const char* operator[](int i) const { return field[i]; }
};

// Presets the fields to default_port, "115200", "N", "8", "1", then copies
// the first five tokens of text over them in order; later tokens are
// ignored. Tokens are split at ',' the way strtok splits: runs of commas
// count as one and empty fields vanish, so "COM1:,,E" gives the baud field
// "E". A token longer than 19 characters keeps its first 19 (the rest is
// dropped, never copied past the field).
ConfigFields split_config(const char* text, const char* default_port);

// The decimal value of a field as atoi reads it: leading blanks, an optional
// sign, then digits up to the first non-digit; 0 when there are none. Too
// many digits wrap modulo 2^32 rather than overflowing.
int32_t decimal_value(const char* text);

// Applies the baud, parity, data-bits and stop-bits fields to a control
// block. Parity is judged by its first character, case-sensitively (E, M,
// N, O, S); stop bits by the whole field ("1", "1.5", "2"). Anything else
// leaves that setting as it was. The data bits take the low 8 bits of the
// field's value, the baud rate all 32 (0 for a field without digits); the
// platform refuses a block it cannot apply. Then clears parity checking and
// every kind of output and XON/XOFF flow control, and nothing else.
void apply_config(const ConfigFields& fields, plat::ComSettings& settings);

// What a port field names.
struct PortName {
    std::string record_name;  // as the port table keeps it: "COM1:", "COM10"
    std::string device;       // "COM1:", or "$device\COM10"
    std::string mapping;      // registry value naming the device: "COM1", "COM10"
};

// A field whose fifth character is ':' (COMn:) is used as it stands. Any
// other field is cut after its fifth character and stands for the device
// "$device\<cut>": COM10: opens $device\COM10, and COM123: is cut to
// COM12 on purpose. The registry value is the name up to its first colon.
PortName port_name(const char* field);

}  // namespace vex::serial
