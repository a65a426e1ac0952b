// Serial modules, units, ports and exchanges as text for people (vexsim
// show, vexsim trace). Call with the state locked.
#pragma once

#include <cstdint>
#include <string>

#include "sim/state.h"

namespace vex::sim::serial {

// One module: place, kind, address, its I/O and settings; several lines,
// each indented by `indent` spaces.
std::string describe_module(const State& s, int index, int indent);
// One expansion unit.
std::string describe_unit(const State& s, int index, int indent);
// A port's module settings: terminator, checksum default, pacing, fault.
std::string describe_port_settings(const State& s, int port);
// A fault: "dribble 50 ms (3 more exchanges)", "none".
std::string describe_fault(const SerialFault& f);
// Bytes with \r, \n, \t, \\ and \xNN for what is not printable.
std::string escape_bytes(const char* data, size_t size);
// One exchange of the serial trace: "COM1:  $01M\r -> !014408\r".
std::string describe_exchange(const State& s, const SerialTraceEntry& e);

}  // namespace vex::sim::serial
