#include "tests/irq/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include "platform/exec_wrapper.h"

extern char** environ;

namespace vex::test {

ChildProcess::ChildProcess(const std::vector<std::string>& argv) {
    int pipefd[2];
    if (::pipe2(pipefd, O_CLOEXEC) != 0) return;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, pipefd[1], 1);
    ::posix_spawn_file_actions_adddup2(&actions, pipefd[1], 2);
    ::posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    std::vector<std::string> command = plat::wrapped_command(argv);
    std::vector<char*> args = plat::exec_argv(command);
    pid_t pid = -1;
    if (::posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ) == 0) pid_ = pid;
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(pipefd[1]);
    out_ = pipefd[0];
}

ChildProcess::~ChildProcess() {
    if (pid_ > 0 && !reaped_) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    if (out_ >= 0) ::close(out_);
}

bool ChildProcess::read_some(int ms) {
    pollfd p{out_, POLLIN, 0};
    if (::poll(&p, 1, ms) <= 0) return false;
    char buf[4096];
    const ssize_t n = ::read(out_, buf, sizeof buf);
    if (n <= 0) return false;
    output_.append(buf, static_cast<size_t>(n));
    return true;
}

bool ChildProcess::wait_for_output(const std::string& text, int ms) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (output_.find(text) == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0 || !read_some(static_cast<int>(left.count()))) return output_.find(text) != std::string::npos;
    }
    return true;
}

int ChildProcess::wait_exit(int ms) {
    if (pid_ <= 0) return -1;
    if (!reaped_) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
        // Collect the output as it comes, so a full pipe never blocks the child.
        while (read_some(50) || std::chrono::steady_clock::now() < end) {
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                reaped_ = true;
                status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
                break;
            }
        }
        if (!reaped_) kill_now();
    }
    while (read_some(0)) {
    }
    return status_;
}

void ChildProcess::kill_now() {
    if (pid_ <= 0 || reaped_) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    reaped_ = true;
    status_ = -1;
}

}  // namespace vex::test
