// The virtual controller's serial modules from the outside: built from the
// description at power-up, plugged into slots, found by a place text, and
// driven by control operations (vexsim, tests). Every function runs with
// the instance's state lock held (Instance::with_lock), except where said.
//
// Place texts, as vexsim takes them:
//   3, slot3         the serial module in local slot 3
//   COM1:01          the module (or expansion unit) at bus address 01 of COM1:
//   COM1:10/1        the module in slot 1 of the expansion unit at 10 of COM1:
//   COM1:            the port itself (faults only)
// Addresses are hexadecimal, slots decimal; the colon after the port name
// may be left out when an address follows ("COM1 01" is not a place).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "sim/description.h"
#include "sim/state.h"

namespace vex::sim::serial {

// Sets up the ports, the bus modules and the units of a description and
// powers the modules up; the slots' modules follow with slot_install. Module
// memory left by an earlier run of the same module is kept (the instance
// directory's serial-module-memory).
void power_up(State& s, const Description& d, uint64_t now);
// A serial module put into a local slot, at power-up (keeping its memory)
// or plugged (a new module: memory from the description); or pulled out.
// False when no module entry is free.
bool slot_install(State& s, int slot, const SerialModuleDescription& d, uint64_t now);
void slot_remove(State& s, int slot);
// True when local slot `slot` holds a serial module that is in place (not
// pulled out by a fault).
bool slot_module_present(const State& s, int slot);
// Lets time pass: host watchdogs that run out drive their safe values.
void advance_all(State& s, uint64_t now);

struct Place {
    enum class What : uint8_t { Module, Unit, Port } what = What::Module;
    int index = -1;   // in SerialBusState::modules, ::units or ::ports
};
// Resolves a place text; false with a reason (naming what exists) if none.
bool find_place(const State& s, std::string_view text, Place& out, std::string* error);
// The place text of a module ("slot3", "COM1:01", "COM1:10/1").
std::string place_of(const State& s, int module);

// Control operations. False with a reason when the module cannot do it.
bool set_inputs(State& s, int module, uint32_t lines, std::string* error);
bool set_analog_input(State& s, int module, int channel, float value, std::string* error);
bool add_pulses(State& s, int module, int channel, uint32_t pulses, std::string* error);
bool set_format(State& s, int module, SerialFormat format, std::string* error);
// Sets or clears (kind None) a fault. Clearing a removed module puts it
// back: it powers up anew. A removed module in a local slot also leaves
// the slot's presence bit.
bool set_fault(State& s, const Place& place, const FaultDescription& fault, uint64_t now, std::string* error);

// Fault names as the description and vexsim spell them ("bad-checksum").
const char* fault_name(SerialFaultKind kind);
bool fault_from_name(std::string_view name, SerialFaultKind& out);

}  // namespace vex::sim::serial
