// Serial module device models: what a module does with a decoded command
// and what it answers, on its state in the instance's shared memory.
//
// Every function here runs with the instance's state lock held (the host's
// serial thread while it answers, or a control operation). `now` is the
// instance clock (time let pass with vexsim advance included).
//
// Answers, by the families of the command set:
//   '>' + data              reads of the '#' and '@AA' forms, accepted output writes
//   "!AA" + data            configuration and settings, '$' and '~' reads, '@AADO'/'@AADI'
//   "?AA"                   a command the module does not know or cannot do
//   "!AA" / "!"             an output write refused while the host watchdog holds
//                           the outputs ("!" alone for analog outputs); '@AADO'
//                           writes are refused with "?AA"
#pragma once

#include <cstdint>
#include <string>

#include "frame/catalogue.h"
#include "sim/serial_modules/command.h"
#include "sim/state.h"

namespace vex::sim::serial {

// Time unit of the host watchdog's time-out.
inline constexpr uint64_t kWatchdogTickNs = 100000000ull;  // 0.1 s

struct Exec {
    State& state;
    SerialModuleState& m;
    const catalogue::SerialKind& kind;
    int index;       // in SerialBusState::modules
    uint8_t echo;    // the address answers carry (the unit's, for a module in a unit)
    uint64_t now;
};

// Runs one request and returns the answer text (no checksum, no terminator).
std::string execute(Exec& x, const Request& r);

// The kind of a module (null for an unused or unknown entry).
const catalogue::SerialKind* kind_of(const SerialModuleState& m);
uint32_t channel_mask(int channels);

// Powers a module up: outputs at their power-on values, latches and
// counters cleared, the watchdog armed when its memory says so.
void module_power_up(State& s, int index, uint64_t now);
// Lets the host watchdog run out when its time has come.
void module_advance(SerialModuleState& m, const catalogue::SerialKind& k, uint64_t now);
// "~**": the host is alive.
void module_refresh(SerialModuleState& m, const catalogue::SerialKind& k, uint64_t now);
// The module drives its outputs; the output latches follow.
void module_drive(SerialModuleState& m, const catalogue::SerialKind& k, uint32_t outputs);
// The wiring changes the inputs; latches and counters follow the edges.
void module_set_inputs(SerialModuleState& m, const catalogue::SerialKind& k, uint32_t lines);
// `pulses` quick on-off pulses on one input: counted, both latches set.
void module_pulse(SerialModuleState& m, const catalogue::SerialKind& k, int channel, uint32_t pulses);

// Module memory (power-on and safe values, watchdog settings) survives a
// restart of the instance: kept in <instance dir>/serial-module-memory.
void memory_save(const State& s, int index);
// Loads the memory of the module at `index` if the file holds it for this
// very module: same place, same name, made from the same description
// (SerialModuleState::born). False leaves the module as it is.
bool memory_load(State& s, int index);

// Answer pieces.
std::string hex2(unsigned v);
std::string ack(uint8_t address);      // "!AA"
std::string refuse(uint8_t address);   // "?AA"

// Handlers of the operations, by topic (digital.cpp, analog.cpp, watchdog.cpp).
namespace handlers {
std::string dio_read(Exec& x, const Request& r);
std::string do_write(Exec& x, const Request& r);
std::string do_bit(Exec& x, const Request& r);
std::string latch_read(Exec& x, const Request& r);
std::string latch_clear(Exec& x, const Request& r);
std::string counter_read(Exec& x, const Request& r);
std::string counter_clear(Exec& x, const Request& r);
std::string output_width(Exec& x, const Request& r);
std::string ai_read(Exec& x, const Request& r);
std::string ai_read_all(Exec& x, const Request& r);
std::string ao_write(Exec& x, const Request& r);
std::string ao_read(Exec& x, const Request& r);
std::string ao_power_on_read(Exec& x, const Request& r);
std::string ao_power_on_set(Exec& x, const Request& r);
std::string ao_safe_read(Exec& x, const Request& r);
std::string ao_safe_set(Exec& x, const Request& r);
std::string do_values_read(Exec& x, const Request& r);
std::string do_values_write(Exec& x, const Request& r);
std::string do_value_store(Exec& x, const Request& r);
std::string wdt_status(Exec& x, const Request& r);
std::string wdt_reset(Exec& x, const Request& r);
std::string wdt_config_read(Exec& x, const Request& r);
std::string wdt_config_set(Exec& x, const Request& r);
}  // namespace handlers

}  // namespace vex::sim::serial
