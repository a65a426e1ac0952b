#include "tests/support/sim_fixture.h"

#include <fcntl.h>
#include <signal.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "frame/library.h"
#include "platform/exec_wrapper.h"
#include "platform/controller.h"
#include "platform/target.h"
#include "platform/system.h"
#include "sim/host_process.h"

extern char** environ;

namespace vex::test {

ProcessResult run_process(const std::vector<std::string>& argv, int timeout_ms) {
    ProcessResult result;
    int pipefd[2];
    if (::pipe2(pipefd, O_CLOEXEC) != 0) return result;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, pipefd[1], 1);
    ::posix_spawn_file_actions_adddup2(&actions, pipefd[1], 2);
    ::posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    std::vector<std::string> command = plat::wrapped_command(argv);
    std::vector<char*> args = plat::exec_argv(command);
    pid_t pid = -1;
    const int rc = ::posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(pipefd[1]);
    if (rc != 0) {
        ::close(pipefd[0]);
        result.output = "cannot start " + argv[0];
        return result;
    }
    const uint64_t deadline = plat::monotonic_ns() + static_cast<uint64_t>(timeout_ms) * 1000000ull;
    char buf[4096];
    for (;;) {
        pollfd p{pipefd[0], POLLIN, 0};
        const int64_t left = static_cast<int64_t>(deadline - plat::monotonic_ns()) / 1000000;
        if (left <= 0) {
            ::kill(pid, SIGKILL);
            result.output += "\n[killed: time-out]";
            break;
        }
        if (::poll(&p, 1, static_cast<int>(left)) <= 0) continue;
        const ssize_t n = ::read(pipefd[0], buf, sizeof buf);
        if (n <= 0) break;
        result.output.append(buf, static_cast<size_t>(n));
    }
    ::close(pipefd[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

ProcessResult run_vexsim(const std::vector<std::string>& args) {
    std::vector<std::string> argv{VEXSIM_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    return run_process(argv);
}

ProcessResult run_vexctl(const std::vector<std::string>& args) {
    std::vector<std::string> argv{VEXCTL_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    return run_process(argv);
}

void expect_clean_host_log(const std::string& instance) {
    std::ifstream in(plat::instance_dir(instance) + "/host.log");
    std::string line;
    while (std::getline(in, line)) {
        for (const char* bad : {"Sanitizer", "runtime error", "vexsim host: warning", "cannot"})
            EXPECT_EQ(line.find(bad), std::string::npos) << "host of " << instance << ": " << line;
    }
}

namespace {

// Test instances are named after the process that made them. One whose
// process died without its teardown (a crash, a killed run) leaves shared
// memory objects behind: the first test of each later process removes them,
// so aborted runs do not fill /dev/shm on a build machine.
void remove_instances_of_dead_tests() {
    static std::atomic<bool> done{false};
    if (done.exchange(true)) return;
    // Shared memory object names ("/vexsdk.<uid>.sim.t<pid>-<n>.<what>") are
    // files of /dev/shm on Linux.
    std::string stem = plat::sim_object_prefix("t");
    stem = stem.substr(1, stem.size() - 2);
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", ec)) {
        const std::string file = entry.path().filename().string();
        if (file.compare(0, stem.size(), stem) != 0) continue;
        const long pid = std::strtol(file.c_str() + stem.size(), nullptr, 10);
        if (pid <= 0 || pid == ::getpid() || ::kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH) continue;
        std::filesystem::remove(entry.path(), ec);
    }
}

}  // namespace

int shared_objects_with(const std::string& prefix) {
    int n = 0;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", ec))
        n += entry.path().filename().string().compare(0, prefix.size() - 1, prefix, 1) == 0;
    return n;
}

void SimFixture::SetUp() {
    remove_instances_of_dead_tests();
    static std::atomic<int> counter{0};
    name_ = "t" + std::to_string(::getpid()) + "-" + std::to_string(counter++);
    char templ[] = "/tmp/vexsdk-test-XXXXXX";
    ASSERT_NE(::mkdtemp(templ), nullptr);
    dir_ = templ;
    ::setenv("VEXSDK_SIM_DIR", dir_.c_str(), 1);
    ::setenv("VEXSDK_TARGET", ("sim:" + name_).c_str(), 1);
    ::unsetenv("VEXSDK_REGISTRY");
    // The host process the library starts is this build's vexsim.
    ::setenv("VEXSDK_SIM_HOST", VEXSIM_PATH, 1);
    ::unsetenv("VEXSDK_PHYSMEM");
    plat::reload_target();
    const std::string text = description();
    if (!text.empty()) {
        std::filesystem::create_directories(plat::instance_dir(name_));
        std::ofstream(plat::instance_dir(name_) + "/description.toml") << text;
    }
    frame::library_attach();
    ASSERT_NE(sim::current(), nullptr) << "the library did not attach to instance " << name_;
    // Tests look at the host (vexsim show, its log) as well as the ports.
    plat::await_host();
}

void SimFixture::TearDown() {
    frame::library_detach();
    // The last user stops the host; one that a test's own processes started
    // may still be on its way out.
    EXPECT_TRUE(sim::wait_until_unhosted(name_, 10000)) << "the host of " << name_ << " did not stop";
    expect_clean_host_log(name_);
    sim::Instance::destroy(name_);
    std::error_code ec;
    std::filesystem::remove_all(dir_, ec);
}

sim::Instance& SimFixture::sim() { return *sim::current(); }

void SimFixture::reattach() {
    frame::library_detach();
    frame::library_attach();
    plat::await_host();
}

std::string shell_quote(const std::string& s) {
    std::string out = "'";
    for (char c : s) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

std::string shell_program(const char* path) {
    std::string out;
    for (const std::string& word : plat::wrapped_command({path})) out += (out.empty() ? "" : " ") + shell_quote(word);
    return out;
}

bool under_emulator() { return !plat::wrapped_command({}).empty(); }

}  // namespace vex::test
