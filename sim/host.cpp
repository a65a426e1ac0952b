#include "sim/host.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "platform/target.h"

namespace vex::sim {
namespace {

std::vector<std::pair<const char*, HostServiceFactory>>& factories() {
    static std::vector<std::pair<const char*, HostServiceFactory>> list;
    return list;
}

std::string lock_path(const std::string& instance) { return plat::instance_dir(instance) + "/host.lock"; }

}  // namespace

bool register_host_service(const char* name, HostServiceFactory factory) {
    factories().emplace_back(name, factory);
    return true;
}

std::unique_ptr<Host> Host::try_start(Instance& instance, std::string* error, const char* mode) {
    // The host lock is an flock on a file of the instance directory: the
    // kernel drops it when the hosting process ends, however it ends, so a
    // crashed host never blocks the next one.
    const int fd = ::open(lock_path(instance.name()).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        if (error) *error = "cannot open " + lock_path(instance.name());
        return nullptr;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        if (error) error->clear();
        return nullptr;
    }
    // The file says nothing (-1 to readers: hosted, pid unknown) until the
    // services are up; then it names this process. A process waiting for
    // the ports to exist waits for the pid.
    if (::ftruncate(fd, 0) != 0) {
        // A stale pid may show until the write below replaces it.
    }
    std::unique_ptr<Host> host(new Host(fd));
    std::string problems;
    for (const auto& [name, factory] : factories()) {
        std::string why;
        if (auto service = factory(instance, &why))
            host->services_.push_back(std::move(service));
        else if (!why.empty())
            problems += std::string(problems.empty() ? "" : "; ") + name + ": " + why;
    }
    const std::string pid = std::to_string(::getpid()) + " " + mode + "\n";
    if (::pwrite(fd, pid.data(), pid.size(), 0) < 0) {
        // The pid is only informative; hosting works without it.
    }
    if (error) *error = problems;
    return host;
}

namespace {

// What the host lock file says while it is held: "<pid> <mode>".
bool read_host_lock(const std::string& instance, int& pid, std::string& mode) {
    pid = 0;
    mode.clear();
    const int fd = ::open(lock_path(instance).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool held = ::flock(fd, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (held) {
        char buf[64] = {};
        if (::pread(fd, buf, sizeof buf - 1, 0) > 0) {
            char* end = nullptr;
            pid = static_cast<int>(std::strtol(buf, &end, 10));
            while (end && *end == ' ') ++end;
            if (end) mode.assign(end, std::strcspn(end, "\n"));
        }
        if (pid <= 0) pid = -1;  // hosted, pid unknown
    }
    ::close(fd);
    return held;
}

}  // namespace

int Host::host_pid(const std::string& instance) {
    int pid = 0;
    std::string mode;
    read_host_lock(instance, pid, mode);
    return pid;
}

int Host::host_pid(const std::string& instance, std::string& mode) {
    int pid = 0;
    if (read_host_lock(instance, pid, mode) && mode.empty()) mode = "?";
    return pid;
}

std::string Host::host_mode(const std::string& instance) {
    int pid = 0;
    std::string mode;
    return read_host_lock(instance, pid, mode) ? (mode.empty() ? "?" : mode) : "";
}

Host::~Host() {
    // Services stop in reverse order of their start.
    while (!services_.empty()) services_.pop_back();
    ::close(lock_fd_);
}

}  // namespace vex::sim
