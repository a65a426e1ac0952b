#include "platform/target.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <vector>

#include "platform/edit_distance.h"
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

namespace {

std::string lower(const std::string& text) {
    std::string out = text;
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}


// The documented value a mistyped target most likely meant, or "" when
// none is close. Case is forgiven here, never when parsing.
std::string closest_value(const std::string& text) {
    const std::string word = lower(text.substr(0, 64));
    if (word.rfind("sim:", 0) == 0) return "sim:" + text.substr(4);
    const char* best = "";
    size_t best_distance = 3;  // at most two edits away
    for (const char* value : {"hw", "sim"}) {
        const size_t d = edit_distance(word, value);
        if (d < best_distance) {
            best = value;
            best_distance = d;
        }
    }
    // Spelled out or abbreviated differently: "simulation", "hardware".
    if (!*best && word.rfind("sim", 0) == 0) best = "sim";
    if (!*best && word.rfind("hard", 0) == 0) best = "hw";
    return best;
}

std::string shown(const std::string& text) {
    std::string out;
    for (unsigned char c : text) {
        if (out.size() >= 64) {
            out += "...";
            break;
        }
        if (c >= 0x20 && c < 0x7F) {
            out += static_cast<char>(c);
        } else {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02X", c);
            out += hex;
        }
    }
    return out;
}

}  // namespace

// The documented values are matched exactly: a deployed program's target is
// written once and read by scripts, packages and people; "HW" working on one
// controller and failing on the next release would be worse than a clear
// refusal now.
bool parse_target(const std::string& text, Target& out) {
    if (text.empty() || text == "sim") {
        out = Target{false, "default", ""};
        return true;
    }
    if (text == "hw") {
        out = Target{true, "", ""};
        return true;
    }
    if (text.rfind("sim:", 0) == 0 && valid_instance_name(text.substr(4))) {
        out = Target{false, text.substr(4), ""};
        return true;
    }
    return false;
}

std::string target_problem(const std::string& text) {
    std::string why = "target '" + shown(text) + "' is not recognised; ";
    const std::string guess = closest_value(text);
    if (lower(text.substr(0, 4)) == "sim:" && (text.rfind("sim:", 0) == 0 || !valid_instance_name(text.substr(4))))
        why += "an instance name is 1 to 48 letters, digits, '_', '-' or '.' (not '.' or '..'); ";
    else if (!guess.empty())
        why += "did you mean \"" + shown(guess) + "\"? ";
    return why + "use hw, sim or sim:<instance>, in lower case (connected to no controller)";
}

void reload_target() {
    std::lock_guard<std::mutex> lock(g_mutex);
    Target t;
    // An unusable VEXSDK_TARGET connects to nothing: neither /dev/mem by
    // mistake nor a simulation the program would take for the machine.
    const std::string text = env("VEXSDK_TARGET");
    if (!parse_target(text, t)) t = Target{false, "", target_problem(text)};
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
    if (t.none()) return "none";
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
    if (t.none()) return "";
    return instance_dir(t.instance) + "/registry.db";
}

std::string sim_object_prefix(const std::string& instance) {
    return "/vexsdk." + std::to_string(::getuid()) + ".sim." + instance + ".";
}

std::string hw_object_prefix() {
    const std::string file = env("VEXSDK_PHYSMEM");
    if (file.empty()) return "/vexsdk.hw.";
    uint32_t hash = 2166136261u;  // FNV-1a of the path as given
    for (const char c : file) hash = (hash ^ static_cast<uint8_t>(c)) * 16777619u;
    char tag[16];
    std::snprintf(tag, sizeof tag, "%08x", hash);
    return "/vexsdk.hw." + std::string(tag) + ".";
}

std::string shared_object_name(const std::string& what) {
    const Target& t = target();
    if (t.hardware) return hw_object_prefix() + what;
    if (t.none()) return "/vexsdk." + std::to_string(::getuid()) + ".none." + what;
    return sim_object_prefix(t.instance) + what;
}

std::string volatile_generation() {
    const Target& t = target();
    if (t.none()) return "";
    const std::string file =
        t.hardware ? "/proc/sys/kernel/random/boot_id" : instance_dir(t.instance) + "/generation";
    std::ifstream in(file);
    std::string id;
    std::getline(in, id);
    return id;
}

}  // namespace vex::plat
