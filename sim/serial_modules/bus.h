// Serial buses of the virtual controller: who hears a command on a port and
// what goes back on the line.
//
// - COM0:, the backplane's internal port, reaches the serial module of the
//   slot that the slot-select register selects (exactly one slot selected,
//   holding a serial module that is in place); otherwise nobody answers.
//   "~**" reaches that module only.
// - Any other port is a bus: a command reaches the module or the expansion
//   unit at its address; "~**" reaches every module on the bus, those in
//   units included. A unit answers "$UUM" with its name and passes commands
//   with a slot field ("S<slot>") to the module in that slot ("?UU" for an
//   empty slot or anything else).
// - A module configured for checksums ignores a command whose checksum does
//   not hold, and checksums its answers; a unit uses its port's setting.
//   Every answer ends with the port's terminator.
// - Faults, most specific first (module, unit, port): one of them spoils
//   the answer and counts down if it was set for a number of exchanges.
//   A silent module still acts on the command; a refusing one does not.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "sim/state.h"

namespace vex::sim::serial {

struct Answer {
    std::string bytes;      // what goes on the line (empty: nothing)
    uint32_t gap_ms = 0;    // pause between characters (a dribbling fault)
};

// Answers one command that arrived complete on port `port` (index in
// SerialBusState::ports); `received` is the command without its terminator.
// Records the exchange in the serial trace. Call with the state locked.
Answer answer_command(State& s, int port, std::string_view received, uint64_t now);

// Index of the port named `name` ("COM1:"), or -1.
int bus_port_index(const State& s, std::string_view name);

}  // namespace vex::sim::serial
