// Hosting that outlives the program that started it.
//
// Every program that loads the library on a virtual controller is a *user*
// of its instance: it holds a shared flock on <instance dir>/users.lock from
// attach to detach (the kernel drops it if the program dies). When a user
// finds nobody hosting the instance, the library starts a host process,
// "vexsim host", detached from the program (its own session, not its
// child). That process hosts the instance (serial ports, modules, every
// host service) and waits for an exclusive flock on users.lock: it gets it
// when the last user has left, then stops its services and ends. So the
// ports and their devices stay the same for as long as any program uses the
// instance, whichever program started the host, and a port held open by one
// program never breaks because another one exited.
//
// A user that attaches while a host is winding down waits for it (the host
// holds the exclusive lock until it has stopped), then starts a new one. The
// last user to leave makes sure its host has stopped before it goes, so that
// nothing of the instance runs after the last program has ended (tests and
// scripts may then remove the instance at once).
//
// The host program is found, in this order: $VEXSDK_SIM_HOST (a path; "none"
// hosts in-process instead, as the library did before); "vexsim" beside the
// library or program (build tree), in ../bin or ../../bin of it (installed
// SDK: lib/ or lib/<arch>/ beside bin/), in .. of it (build tree tests and
// benchmarks); the SDK's installed bin directory. Without one the library
// hosts in-process and says so in its load problem (VEXSDK_DEBUG). The load
// only launches the host; what needs it waits (plat::await_host()).
//
// posix_spawn is used, never fork() in the library: the program may run
// threads.
#pragma once

#include <memory>
#include <string>

namespace vex::sim {

class HostUser {
public:
    // Joins the users of the instance, waiting (at most 10 s) while a host
    // is winding down. Null with a reason when the lock cannot be had.
    static std::unique_ptr<HostUser> join(const std::string& instance, std::string* error);
    // Leaves. The last user of an "auto" host stops it and waits for it to
    // end (at most 10 s).
    ~HostUser();
    HostUser(const HostUser&) = delete;
    HostUser& operator=(const HostUser&) = delete;

private:
    HostUser(std::string instance, int fd) : instance_(std::move(instance)), fd_(fd) {}
    std::string instance_;
    int fd_;
};

enum class HostStart {
    Started,  // the new host process hosts the instance
    Taken,    // another host came first; it hosts
    Failed,   // no host program, or it could not start (see *error)
};
// Starting a host process for the instance, in two steps, so that a program
// need not wait at load for a host that it may need only later.
// launch_host_process spawns the host program (false, with a reason, when
// there is none or it cannot be spawned); finish_host_launch waits for its
// report (at most 10 s) and reaps the spawned process. In a process forked
// from the starter (which inherited the launch) it waits instead until a
// host has named itself: Taken, or Failed after 10 s.
struct HostLaunch {
    int pid = -1;      // the spawned process, which forks the host off
    int pidfd = -1;    // and its pid file descriptor (-1 on older kernels)
    int fd = -1;       // read end of the report pipe; -1: nothing on its way
    int starter = 0;   // pid of the process that launched it
    std::string program;
    std::string instance;
};
bool launch_host_process(const std::string& instance, HostLaunch& launch, std::string* error);
HostStart finish_host_launch(HostLaunch& launch, std::string* error);

// The host program's path, or "" when there is none (or VEXSDK_SIM_HOST is
// "none").
std::string find_host_program();

// Path of the users lock of an instance (for the host's side).
std::string users_lock_path(const std::string& instance);

// Waits until nobody hosts the instance (and an automatic host process has
// ended), at most `timeout_ms`; true when nobody does.
bool wait_until_unhosted(const std::string& instance, int timeout_ms);

}  // namespace vex::sim
