#include "tests/support/fault_shim.h"

#include <dirent.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace vex::test {
namespace {

// Entries of a /proc directory; `own` of them are the listing's own doing.
int entries(const char* dir_path, int own) {
    DIR* dir = ::opendir(dir_path);
    if (!dir) return -1;
    int n = 0;
    while (dirent* e = ::readdir(dir)) {
        if (e->d_name[0] != '.') ++n;
    }
    ::closedir(dir);
    return n - own;
}

}  // namespace

Holdings holdings() { // The descriptor listing /proc/self/fd is among the entries it lists.
    return {entries("/proc/self/fd", 1), entries("/proc/self/task", 0)}; }

Holdings settled_holdings(const Holdings& limit) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    Holdings now = holdings();
    while (!now.within(limit) && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        now = holdings();
    }
    return now;
}

std::string describe(const Holdings& h) {
    return std::to_string(h.descriptors) + " descriptors, " + std::to_string(h.threads) + " threads";
}

std::string open_files() {
    std::string out;
    DIR* dir = ::opendir("/proc/self/fd");
    if (!dir) return out;
    while (dirent* e = ::readdir(dir)) {
        if (e->d_name[0] == '.') continue;
        char target[256] = {};
        const std::string link = std::string("/proc/self/fd/") + e->d_name;
        if (::readlink(link.c_str(), target, sizeof target - 1) < 0) continue;
        out += std::string(e->d_name) + "=" + target + " ";
    }
    ::closedir(dir);
    return out;
}

}  // namespace vex::test
