// The command line that starts another program of this build.
//
// A build for another processor runs under an emulator (the armhf build
// under qemu-arm). The emulator cannot start foreign programs by itself,
// so a program of the build that starts another one (the library its
// virtual-controller host, the tests vexctl and their peers) asks here for
// the command line: VEXSDK_EXEC_WRAPPER, when set, names a program that is
// put in front of it (cmake/armhf-run sets it to itself). Unset, the
// command line is returned as given. Only whole command lines are
// affected; the wrapper never sees the environment or the file actions.
#pragma once

#include <string>
#include <vector>

namespace vex::plat {

// argv with the wrapper (if any) in front; argv[0] of the result is the
// program to hand to posix_spawn.
std::vector<std::string> wrapped_command(std::vector<std::string> argv);

// Pointers into the strings of `argv`, ending with nullptr, for exec calls.
std::vector<char*> exec_argv(std::vector<std::string>& argv);

}  // namespace vex::plat
