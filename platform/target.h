// Which controller this process talks to: the real hardware or an instance
// of the virtual controller. Chosen once from VEXSDK_TARGET:
//   hw             the controller the process runs on (/dev/mem, /dev/tty*)
//   sim            the virtual controller's default instance
//   sim:<name>     a named virtual controller instance
//   (unset)        same as sim
// These are matched exactly, in lower case ("HW" is refused, and the
// problem names the closest documented value); instance names are taken as
// written. Any other text selects no controller at all:
// a control program with a typo in its target must not drive a simulation
// and report success. Such a target is not hardware and names no instance;
// `problem` says why, and the library connects to nothing (registers
// float, ports fail to open).
#pragma once

#include <string>

namespace vex::plat {

struct Target {
    bool hardware = false;
    std::string instance;  // virtual controller instance name (sim only)
    std::string problem;   // non-empty: the text names no controller, and why

    bool none() const { return !problem.empty(); }
};

// The target chosen by the environment; parsed on first use.
const Target& target();
// Parses VEXSDK_TARGET again (tests and tools that switch instances).
void reload_target();
// Parses one VEXSDK_TARGET text; false when it names no valid target.
bool parse_target(const std::string& text, Target& out);
// Why a VEXSDK_TARGET text names no controller, for logs and tools.
std::string target_problem(const std::string& text);
// A valid instance name: 1..48 characters of [A-Za-z0-9_.-], not "." or "..".
bool valid_instance_name(const std::string& name);

// Short text naming the target in shared-object names: "hw", "sim.<name>",
// or "none" for an unrecognised target.
std::string target_tag();

// Directory that holds the virtual controller's instances:
// $VEXSDK_SIM_DIR, else $XDG_STATE_HOME/vexsdk/sim, else ~/.local/state/vexsdk/sim.
std::string sim_base_dir();
// Directory of one instance (created on demand by the simulator).
std::string instance_dir(const std::string& instance);

// Registry store file of the current target: $VEXSDK_REGISTRY, else
// /var/lib/vexsdk/registry.db on hw, else <instance dir>/registry.db; ""
// (no store) for an unrecognised target.
std::string registry_path();

// Name of a POSIX shared-memory object for this target, e.g. "SHARED" ->
// "/vexsdk.hw.SHARED" (see hw_object_prefix) or
// "/vexsdk.<uid>.sim.<instance>.SHARED".
std::string shared_object_name(const std::string& what);

// Prefix of the hardware target's shared-memory objects: "/vexsdk.hw.", or
// with a file standing in for physical memory (VEXSDK_PHYSMEM), one of that
// file's own ("/vexsdk.hw.<hash of the path as given>."): each such file is a
// controller of its own, so programs on different files never share
// registration masks or output shadows.
std::string hw_object_prefix();

// Prefix of every shared-memory object of one virtual controller instance:
// "/vexsdk.<uid>.sim.<instance>." (uid keeps users' instances apart).
std::string sim_object_prefix(const std::string& instance);

// A text that changes whenever the target restarts: the kernel's boot id on
// hardware, the instance's power-up generation on the virtual controller.
// Volatile registry keys belong to one generation.
std::string volatile_generation();

}  // namespace vex::plat
