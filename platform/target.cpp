#include "platform/target.h"

#include <unistd.h>

#include <fstream>
#include <mutex>

#include "platform/system.h"

namespace vex::plat {
namespace {

// Constant-initialised or leaked: the load sequence may run before, and the
// unload sequence after, this file's static constructors and destructors.
// g_mutex guards g_parsed and the stored target: the first reader of the
// target parses the environment under it, reload_target() parses again
// under it; readers copy the target out under it.
std::mutex g_mutex;
bool g_parsed = false;
Target& stored() {
    static Target* t = new Target;
    return *t;
}

}  // namespace

bool valid_instance_name(const std::string& name) {
    if (name.empty() || name.size() > 48 || name == "." || name == "..") return false;
    for (char c : name) {
        const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                        c == '_' || c == '-' || c == '.';
        if (!ok) return false;
    }
    return true;
}

bool parse_target(const std::string& text, Target& out) {
    if (text.empty() || text == "sim") {
        out = Target{false, "default"};
        return true;
    }
    if (text == "hw") {
        out = Target{true, ""};
        return true;
    }
    if (text.rfind("sim:", 0) == 0 && valid_instance_name(text.substr(4))) {
        out = Target{false, text.substr(4)};
        return true;
    }
    return false;
}

void reload_target() {
    std::lock_guard<std::mutex> lock(g_mutex);
    Target t;
    // An unusable VEXSDK_TARGET falls back to the default virtual
    // controller rather than to hardware: never touch /dev/mem by mistake.
    if (!parse_target(env("VEXSDK_TARGET"), t)) t = Target{false, "default"};
    stored() = t;
    g_parsed = true;
}

const Target& target() {
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        if (g_parsed) return stored();
    }
    reload_target();
    return stored();
}

std::string target_tag() {
    const Target& t = target();
    return t.hardware ? "hw" : "sim." + t.instance;
}

std::string sim_base_dir() {
    std::string dir = env("VEXSDK_SIM_DIR");
    if (!dir.empty()) return dir;
    dir = env("XDG_STATE_HOME");
    if (!dir.empty()) return dir + "/vexsdk/sim";
    dir = env("HOME");
    if (dir.empty()) dir = "/tmp";
    return dir + "/.local/state/vexsdk/sim";
}

std::string instance_dir(const std::string& instance) { return sim_base_dir() + "/" + instance; }

std::string registry_path() {
    std::string path = env("VEXSDK_REGISTRY");
    if (!path.empty()) return path;
    const Target& t = target();
    if (t.hardware) return "/var/lib/vexsdk/registry.db";
    return instance_dir(t.instance) + "/registry.db";
}

std::string sim_object_prefix(const std::string& instance) {
    return "/vexsdk." + std::to_string(::getuid()) + ".sim." + instance + ".";
}

std::string shared_object_name(const std::string& what) {
    const Target& t = target();
    if (t.hardware) return "/vexsdk.hw." + what;
    return sim_object_prefix(t.instance) + what;
}

std::string volatile_generation() {
    const Target& t = target();
    const std::string file =
        t.hardware ? "/proc/sys/kernel/random/boot_id" : instance_dir(t.instance) + "/generation";
    std::ifstream in(file);
    std::string id;
    std::getline(in, id);
    return id;
}

}  // namespace vex::plat
