// The users of an instance and the host process that serves them (see
// host_process.h).
#include "sim/host_process.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "platform/deadline.h"
#include "platform/exec_wrapper.h"
#include "platform/system.h"
#include "platform/target.h"
#include "sim/host.h"
#include "sim/host_calls.h"

extern char** environ;

namespace vex::sim {
namespace {

constexpr int kWaitMs = 10000;

bool executable(const std::string& path) { return !path.empty() && ::access(path.c_str(), X_OK) == 0; }

// Directory of the library (or of the program the library is linked into).
std::string own_directory() {
    Dl_info info{};
    std::string path;
    if (::dladdr(reinterpret_cast<void*>(&find_host_program), &info) != 0 && info.dli_fname &&
        std::strchr(info.dli_fname, '/'))
        path = info.dli_fname;
    else
        path = plat::executable_path();
    char real[PATH_MAX];
    if (path.empty() || !::realpath(path.c_str(), real)) return "";
    const std::string full(real);
    return full.substr(0, full.rfind('/'));
}

// A process by pid file descriptor, so that a signal never reaches a
// process that took over a recycled pid. -1 when the kernel has none.
int open_pid(int pid) { return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)); }

// Waits up to `wait_ms` for the process to end; true when it has. Without a
// pid file descriptor (older kernels) the process is looked at every 5 ms.
bool process_ended(int pidfd, int pid, int wait_ms) {
    if (pidfd >= 0) {
        pollfd p{pidfd, POLLIN, 0};
        return ::poll(&p, 1, wait_ms) > 0;
    }
    plat::sleep_ms(static_cast<uint32_t>(std::min(wait_ms, 5)));
    return pid > 0 && ::kill(pid, 0) != 0 && errno == ESRCH;
}

void signal_process(int pidfd, int pid, int sig = SIGTERM) {
    if (pidfd >= 0)
        ::syscall(SYS_pidfd_send_signal, pidfd, sig, nullptr, 0);
    else if (pid > 0)
        ::kill(pid, sig);
}

// Waits for a child to end and reaps it; at once when it is no longer ours.
void reap(int pidfd, int pid) {
    // P_PIDFD (Linux 5.4), by number: older C libraries do not name it.
    constexpr auto by_pidfd = static_cast<idtype_t>(3);
    siginfo_t info{};
    if (pidfd >= 0) {
        int rc = 0;
        while ((rc = ::waitid(by_pidfd, static_cast<id_t>(pidfd), &info, WEXITED)) < 0 && errno == EINTR) {
        }
        if (rc == 0 || errno != EINVAL) return;  // EINVAL: a kernel that waits by pid only
    }
    while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// Stops a host process and waits for it to end (it reads stop requests
// from a signalfd, so one signal is enough).
void stop_host(const std::string& instance, int pid) {
    const int pidfd = open_pid(pid);
    if (Host::host_pid(instance) == pid) {
        signal_process(pidfd, pid);
        const plat::Deadline deadline = plat::Deadline::in_ms(kWaitMs);
        while (!process_ended(pidfd, pid, deadline.wait_ms()) && !deadline.expired()) {
        }
    }
    if (pidfd >= 0) ::close(pidfd);
}

}  // namespace

std::string users_lock_path(const std::string& instance) { return plat::instance_dir(instance) + "/users.lock"; }

std::unique_ptr<HostUser> HostUser::join(const std::string& instance, std::string* error) {
    const std::string path = users_lock_path(instance);
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        if (error) *error = "cannot open " + path + ": " + std::strerror(errno);
        return nullptr;
    }
    // Only a host winding down holds the lock exclusively, for as long as
    // it takes its services to stop.
    const plat::Deadline deadline = plat::Deadline::in_ms(kWaitMs);
    while (::flock(fd, LOCK_SH | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || deadline.expired()) {
            if (error) *error = "flock " + path + ": " + (errno == EWOULDBLOCK ? "a host does not stop" : std::strerror(errno));
            ::close(fd);
            return nullptr;
        }
        plat::sleep_ms(1);
    }
    return std::unique_ptr<HostUser>(new HostUser(instance, fd));
}

HostUser::~HostUser() {
    // Only the last user gets the lock exclusively; an automatic host then
    // has nobody left to serve.
    if (::flock(fd_, LOCK_EX | LOCK_NB) == 0 && Host::host_mode(instance_) == "auto") {
        const int pid = Host::host_pid(instance_);
        if (pid > 0) stop_host(instance_, pid);
    }
    ::close(fd_);
}

std::string find_host_program() {
    const std::string chosen = plat::env("VEXSDK_SIM_HOST");
    if (chosen == "none") return "";
    if (!chosen.empty()) return executable(chosen) ? chosen : "";
    const std::string dir = own_directory();
    if (!dir.empty()) {
        for (const char* rel : {"/vexsim", "/../bin/vexsim", "/../../bin/vexsim", "/../vexsim"}) {
            if (executable(dir + rel)) return dir + rel;
        }
    }
    const std::string installed = std::string(VEXSDK_INSTALL_BINDIR) + "/vexsim";
    return executable(installed) ? installed : "";
}

bool launch_host_process(const std::string& instance, HostLaunch& launch, std::string* error) {
    auto fail = [&](const std::string& why) {
        if (error) *error = why;
        return false;
    };
    const std::string chosen = plat::env("VEXSDK_SIM_HOST");
    if (chosen == "none") return fail("");  // in-process hosting asked for
    const std::string program = find_host_program();
    if (program.empty())
        return fail(chosen.empty() ? "no host program (vexsim) found"
                                   : "VEXSDK_SIM_HOST=" + chosen + " is not an executable program");
    int pipefd[2];
    if (host_calls().pipe2(pipefd, O_CLOEXEC) != 0) return fail(std::string("pipe2: ") + std::strerror(errno));
    const std::string log = plat::instance_dir(instance) + "/host.log";
    // Each host adds a few lines; an instance that lives for years keeps
    // the latest ones only.
    struct stat st {};
    if (::stat(log.c_str(), &st) == 0 && st.st_size > 256 * 1024 && ::truncate(log.c_str(), 0) != 0) {
        // A log that stays long harms nothing.
    }
    // The host reports on fd 3: 'R' when it hosts, 'B' when another host
    // came first; nothing (end of file) when it failed.
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, 1, log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    ::posix_spawn_file_actions_adddup2(&actions, 1, 2);
    ::posix_spawn_file_actions_adddup2(&actions, pipefd[1], 3);
    // A host starts with default signal handling, whatever its starter
    // blocked or ignored.
    posix_spawnattr_t attr;
    ::posix_spawnattr_init(&attr);
    sigset_t none, defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    for (int sig : {SIGTERM, SIGINT, SIGHUP, SIGPIPE, SIGCHLD}) sigaddset(&defaults, sig);
    ::posix_spawnattr_setsigmask(&attr, &none);
    ::posix_spawnattr_setsigdefault(&attr, &defaults);
    ::posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::vector<std::string> args =
        plat::wrapped_command({program, "host", "--instance", instance, "--notify-fd", "3"});
    std::vector<char*> argv = plat::exec_argv(args);
    pid_t pid = -1;
    const int rc = host_calls().posix_spawn(&pid, args[0].c_str(), &actions, &attr, argv.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attr);
    ::close(pipefd[1]);
    if (rc != 0) {
        ::close(pipefd[0]);
        return fail("posix_spawn " + program + ": " + std::strerror(rc));
    }
    launch = HostLaunch{pid, open_pid(pid), pipefd[0], static_cast<int>(::getpid()), program, instance};
    return true;
}

HostStart finish_host_launch(HostLaunch& launch, std::string* error) {
    if (launch.fd < 0) return HostStart::Taken;  // nothing on its way
    const HostLaunch l = std::exchange(launch, HostLaunch{});
    // A process forked from the starter shares the report's pipe but not
    // the child: the report is the starter's to read. It waits instead
    // until a host names itself in its lock file, which it does once its
    // services are up (a few milliseconds; looked at every 1 ms, as the
    // file cannot be waited on).
    if (l.starter != static_cast<int>(::getpid())) {
        ::close(l.fd);
        if (l.pidfd >= 0) ::close(l.pidfd);
        const plat::Deadline deadline = plat::Deadline::in_ms(kWaitMs);
        while (Host::host_pid(l.instance) <= 0) {
            if (deadline.expired()) {
                if (error) *error = l.program + " did not come up to host '" + l.instance + "'";
                return HostStart::Failed;
            }
            plat::sleep_ms(1);
        }
        return HostStart::Taken;
    }
    char answer = 0;
    pollfd p{l.fd, POLLIN, 0};
    const plat::Deadline deadline = plat::Deadline::in_ms(kWaitMs);
    int got = 0;
    while ((got = host_calls().poll(&p, 1, deadline.wait_ms())) < 0 && errno == EINTR) {
    }
    const bool answered = got > 0 && host_calls().read(l.fd, &answer, 1) == 1;
    ::close(l.fd);
    // The spawned process only forks the host off and ends; reap it. The
    // program may have reaped it already with a wait for any child, and its
    // pid may since belong to another child of the program: through the pid
    // file descriptor neither the signal nor the wait can reach that one.
    if (!answered) signal_process(l.pidfd, l.pid, SIGKILL);
    reap(l.pidfd, l.pid);
    if (l.pidfd >= 0) ::close(l.pidfd);
    if (answered && answer == 'R') return HostStart::Started;
    if (answered && answer == 'B') return HostStart::Taken;
    if (error)
        *error = l.program + " did not come up to host '" + l.instance + "' (see " + plat::instance_dir(l.instance) +
                 "/host.log)";
    return HostStart::Failed;
}

bool wait_until_unhosted(const std::string& instance, int timeout_ms) {
    const plat::Deadline deadline = plat::Deadline::in_ms(static_cast<uint32_t>(std::max(timeout_ms, 0)));
    for (;;) {
        std::string mode;
        const int pid = Host::host_pid(instance, mode);
        if (pid == 0) return true;
        // An automatic host lets go of the host lock just before it ends;
        // wait for the end itself, so that nothing of it runs afterwards.
        const bool automatic = mode == "auto";
        const int pidfd = pid > 0 ? open_pid(pid) : -1;
        while (Host::host_pid(instance) == pid && !deadline.expired())
            if (process_ended(pidfd, pid, std::min(deadline.wait_ms(), 50))) break;
        if (automatic && pidfd >= 0 && Host::host_pid(instance) == 0) process_ended(pidfd, pid, deadline.wait_ms());
        if (pidfd >= 0) ::close(pidfd);
        if (deadline.expired()) return Host::host_pid(instance) == 0;
    }
}

}  // namespace vex::sim
