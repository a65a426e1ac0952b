#include "platform/exec_wrapper.h"

#include "platform/system.h"

namespace vex::plat {

std::vector<std::string> wrapped_command(std::vector<std::string> argv) {
    const std::string wrapper = env("VEXSDK_EXEC_WRAPPER");
    if (!wrapper.empty()) argv.insert(argv.begin(), wrapper);
    return argv;
}

std::vector<char*> exec_argv(std::vector<std::string>& argv) {
    std::vector<char*> out;
    out.reserve(argv.size() + 1);
    for (std::string& a : argv) out.push_back(a.data());
    out.push_back(nullptr);
    return out;
}

}  // namespace vex::plat
