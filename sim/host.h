// The host of a virtual controller instance runs what is active in the
// controller: serial modules answering on pseudo-terminals, timers,
// interrupt sources. One process hosts an instance at a time:
//   "auto"     a host process the library starts on demand (vexsim host);
//              it ends when the last program using the instance has left
//              (sim/host_process.h)
//   "serve"    vexsim serve, until it is stopped
//   "library"  the library in-process, when no host program can be found
// Services do not depend on which: they run in whichever process hosts.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sim/instance.h"

namespace vex::sim {

// An active part of the controller; runs from construction to destruction.
class HostService {
public:
    virtual ~HostService() = default;
};

using HostServiceFactory = std::unique_ptr<HostService> (*)(Instance& instance, std::string* error);

// Adds a service that every host starts (call from a static initialiser).
bool register_host_service(const char* name, HostServiceFactory factory);

class Host {
public:
    // Becomes the host of the instance unless another process already is
    // (then returns null with an empty *error). A service that fails to
    // start is reported in *error and the others still run. `mode` says
    // what kind of host this is ("auto", "serve", "library").
    static std::unique_ptr<Host> try_start(Instance& instance, std::string* error, const char* mode = "library");
    // Process id of the instance's current host, or 0 if nobody hosts it
    // (-1: hosted, pid unknown: a host that is still starting its services
    // names itself once they are up).
    static int host_pid(const std::string& instance);
    // The mode of the current host ("" when nobody hosts it).
    static std::string host_mode(const std::string& instance);
    // Both at one look (a host may stop between two).
    static int host_pid(const std::string& instance, std::string& mode);
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

private:
    Host(int lock_fd) : lock_fd_(lock_fd) {}
    int lock_fd_;
    std::vector<std::unique_ptr<HostService>> services_;
};

}  // namespace vex::sim
