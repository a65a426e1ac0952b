// vexsim's command groups.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "sim/instance.h"

// The instance named by --instance, else by VEXSDK_TARGET, else "default".
struct InstanceOption {
    std::string name;
    bool given = false;  // -i was on the command line (even as -i '')
    void add_to(CLI::App* cmd);
    std::string resolve() const;
};

// Attaches to the instance or exits with a message.
std::unique_ptr<vex::sim::Instance> attach_or_exit(const std::string& name);
// The same for commands that only look: an instance that does not exist is
// not made, the command says so and exits 1.
std::unique_ptr<vex::sim::Instance> attach_existing_or_exit(const std::string& name);
// Parses a number in decimal or 0x hexadecimal; exits with a message if bad.
uint32_t parse_number_or_exit(const std::string& text, const char* what, uint32_t max);

void register_lifecycle_commands(CLI::App& app);   // serve, destroy, power-cycle
void register_show_commands(CLI::App& app);        // show
void register_trace_command(CLI::App& app);        // trace
// vexsim show --json (state locked and brought up to `now` by the caller,
// as for the text).
void show_json(const std::string& name, int host_pid, vex::sim::State& s, uint64_t now);
namespace vex::tools {
class Json;
}
// Its sections, in show_json_sections.cpp.
void show_json_services(vex::tools::Json& j, const vex::sim::State& s, uint64_t now);
void show_json_interrupts(vex::tools::Json& j, const vex::sim::State& s, uint64_t now);
void show_json_serial(vex::tools::Json& j, const vex::sim::State& s);
void register_control_commands(CLI::App& app);     // set, plug, unplug
void register_time_commands(CLI::App& app);        // advance
void register_host_command(CLI::App& app);         // host (started by the library)
void register_serial_commands(CLI::App& app);      // set di/ai/pulses/format, fault (after control)
void register_service_commands(CLI::App& app);     // card, set link (after control)

// The services' part of vexsim show (state locked by the caller), and the
// text of a services' trace entry (false for other kinds).
void show_services(vex::sim::State& s, uint64_t now);
bool describe_service_event(const vex::sim::TraceEntry& e, char* buf, size_t size);
void register_irq_commands(CLI::App& app);         // irq
// The interrupt, timer and hot-plug part of vexsim show (state locked).
void show_interrupts(const vex::sim::State& s, uint64_t now);
void register_describe_command(CLI::App& app);     // describe
void register_chip_commands(CLI::App& app);        // chips, fault, set battery/rotary (after control)
