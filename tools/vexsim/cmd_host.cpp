// vexsim host: the host process the library starts when a program uses an
// instance that nobody hosts (sim/host_process.h). It is not meant to be
// run by hand (vexsim serve is): it hosts until the last program using the
// instance has left, then stops.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <thread>

#include "sim/host.h"
#include "sim/host_process.h"
#include "tools/vexsim/commands.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexsim_cmd_host {

void notify(int fd, char what) {
    if (fd < 0) return;
    if (::write(fd, &what, 1) != 1) {
        // The starter is gone; it no longer waits for the answer.
    }
    ::close(fd);
}

int host(const std::string& name, int notify_fd) {
    // Out of the starter's way: a process of our own that the starter need
    // not wait for, in a session of its own, so that a terminal's signals to
    // the starter's group do not reach it. Nothing runs threads yet.
    const pid_t child = ::fork();
    if (child < 0) {
        std::fprintf(stderr, "vexsim host: fork: %s\n", std::strerror(errno));
        return 1;
    }
    if (child > 0) ::_exit(0);
    ::setsid();
    // Stop requests are read from a descriptor, not caught by a handler:
    // blocked before any thread starts, so every thread inherits the mask.
    sigset_t stop;
    sigemptyset(&stop);
    for (int sig : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&stop, sig);
    ::pthread_sigmask(SIG_BLOCK, &stop, nullptr);
    const int stop_fd = ::signalfd(-1, &stop, SFD_CLOEXEC);
    ::signal(SIGPIPE, SIG_IGN);

    std::string error;
    // The users made the state; a host of another build must not replace it.
    auto inst = vex::sim::Instance::attach(name, &error, false);
    if (!inst) {
        std::fprintf(stderr, "vexsim host: %s\n", error.c_str());
        return 1;
    }
    const std::string users_path = vex::sim::users_lock_path(name);
    const int users = ::open(users_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (users < 0) {
        std::fprintf(stderr, "vexsim host: open %s: %s\n", users_path.c_str(), std::strerror(errno));
        return 1;
    }
    auto h = vex::sim::Host::try_start(*inst, &error, "auto");
    if (!h) {
        notify(notify_fd, 'B');
        ::close(users);
        return 0;
    }
    if (!error.empty()) std::fprintf(stderr, "vexsim host: warning: %s\n", error.c_str());
    std::fprintf(stderr, "vexsim host: hosting instance '%s' (pid %d)\n", name.c_str(), static_cast<int>(::getpid()));
    notify(notify_fd, 'R');
    // The exclusive lock comes when no program uses the instance any more.
    // flock cannot be polled, so a thread waits for it and says so on an
    // eventfd; the main thread waits for that or a stop request.
    const int free_fd = ::eventfd(0, EFD_CLOEXEC);
    std::thread waiter([users, free_fd] {
        while (::flock(users, LOCK_EX) != 0 && errno == EINTR) {
        }
        const uint64_t one = 1;
        if (::write(free_fd, &one, sizeof one) < 0) {
            // An eventfd write of 1 cannot fail.
        }
    });
    pollfd fds[2] = {{stop_fd, POLLIN, 0}, {free_fd, POLLIN, 0}};
    while (::poll(fds, 2, -1) < 0 && errno == EINTR) {
    }
    // A stop request may leave the waiter inside flock, which nothing can
    // interrupt; the process ends under it.
    waiter.detach();
    h.reset();  // services stop, ports go, the host lock is released
    inst.reset();
    std::fprintf(stderr, "vexsim host: instance '%s' %s; stopped\n", name.c_str(),
                 fds[0].revents ? "asked to stop" : "has no users left");
    ::close(users);
    return 0;
}

}  // namespace vexsim_cmd_host
}  // namespace

void register_host_command(CLI::App& app) {
    using namespace vexsim_cmd_host;
    static InstanceOption inst;
    static int notify_fd = -1;
    CLI::App* h = app.add_subcommand("host", "Host an instance for as long as programs use it (started by the library)");
    h->group("");  // not for people: vexsim serve is
    inst.add_to(h);
    h->add_option("--notify-fd", notify_fd, "Descriptor to report on: R hosting, B hosted elsewhere");
    h->callback([] { std::exit(host(inst.resolve(), notify_fd)); });
}
