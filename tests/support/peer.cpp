#include "tests/support/peer.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "platform/exec_wrapper.h"
#include "platform/system.h"

extern char** environ;

namespace vex::test {

Peer::Peer(const std::vector<std::string>& env) {
    int to[2], from[2];
    if (::pipe2(to, O_CLOEXEC) != 0 || ::pipe2(from, O_CLOEXEC) != 0) return;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, to[0], 0);
    ::posix_spawn_file_actions_adddup2(&actions, from[1], 1);
    std::vector<std::string> vars;
    for (char** e = environ; *e; ++e) vars.emplace_back(*e);
    for (const std::string& v : env) {
        const std::string name = v.substr(0, v.find('=') + 1);
        for (auto it = vars.begin(); it != vars.end();) it = it->rfind(name, 0) == 0 ? vars.erase(it) : it + 1;
        vars.push_back(v);
    }
    std::vector<char*> envp;
    for (std::string& v : vars) envp.push_back(v.data());
    envp.push_back(nullptr);
    std::vector<std::string> command = plat::wrapped_command({VEXSDK_TEST_PEER_PATH});
    std::vector<char*> argv = plat::exec_argv(command);
    if (::posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), envp.data()) != 0) pid_ = -1;
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(to[0]);
    ::close(from[1]);
    in_ = to[1];
    out_ = from[0];
}

Peer::~Peer() {
    if (pid_ > 0 && quit(5000) == -1) kill();
    if (in_ >= 0) ::close(in_);
    if (out_ >= 0) ::close(out_);
}

std::string Peer::read_line(int timeout_ms) {
    const uint64_t deadline = plat::monotonic_ns() + static_cast<uint64_t>(timeout_ms) * 1000000u;
    for (;;) {
        const size_t nl = buffer_.find('\n');
        if (nl != std::string::npos) {
            std::string line = buffer_.substr(0, nl);
            buffer_.erase(0, nl + 1);
            return line;
        }
        const uint64_t now = plat::monotonic_ns();
        if (now >= deadline) return "";
        pollfd p{out_, POLLIN, 0};
        if (::poll(&p, 1, static_cast<int>((deadline - now) / 1000000u) + 1) <= 0) continue;
        char buf[512];
        const ssize_t n = ::read(out_, buf, sizeof buf);
        if (n <= 0) return "";
        buffer_.append(buf, static_cast<size_t>(n));
    }
}

bool Peer::ready(int timeout_ms) { return read_line(timeout_ms).rfind("ready ", 0) == 0; }

std::string Peer::command(const std::string& line, int timeout_ms) {
    const std::string text = line + "\n";
    if (::write(in_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) return "";
    return read_line(timeout_ms);
}

int Peer::wait(int timeout_ms) {
    const uint64_t deadline = plat::monotonic_ns() + static_cast<uint64_t>(timeout_ms) * 1000000u;
    int status = 0;
    while (::waitpid(pid_, &status, WNOHANG) == 0) {
        if (plat::monotonic_ns() > deadline) return -1;
        ::usleep(2000);  // reaping a child has no descriptor to wait on here
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128;
}

int Peer::quit(int timeout_ms) {
    if (pid_ <= 0) return -1;
    if (::write(in_, "quit\n", 5) != 5) {
        // It may be gone already; the wait tells.
    }
    return wait(timeout_ms);
}

void Peer::kill() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
}

}  // namespace vex::test
