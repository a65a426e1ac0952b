// Hosting that outlives the program that started it, with real processes:
// the peers are programs using the shared library; this test process only
// watches (it is not a user of the instance).
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "platform/target.h"
#include "sim/host.h"
#include "sim/host_process.h"
#include "sim/instance.h"
#include "tests/support/peer.h"
#include "tests/support/sim_fixture.h"

namespace vex::test {
namespace {

// Running: there, and not a zombie waiting for whoever adopted it.
bool alive(int pid) {
    if (pid <= 0 || ::kill(pid, 0) != 0) return false;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(stat, line);
    const size_t paren = line.rfind(')');
    return paren == std::string::npos || paren + 2 >= line.size() || line[paren + 2] != 'Z';
}

class HostProcess : public ::testing::Test {
protected:
    void SetUp() override {
        char templ[] = "/tmp/vexsdk-test-XXXXXX";
        ASSERT_NE(::mkdtemp(templ), nullptr);
        dir_ = templ;
        name_ = "h" + std::to_string(::getpid());
        ::setenv("VEXSDK_SIM_DIR", dir_.c_str(), 1);
        ::setenv("VEXSDK_TARGET", ("sim:" + name_).c_str(), 1);
        ::setenv("VEXSDK_SIM_HOST", VEXSIM_PATH, 1);
        plat::reload_target();
    }
    void TearDown() override {
        EXPECT_TRUE(sim::wait_until_unhosted(name_, 10000));
        expect_clean_host_log(name_);
        sim::Instance::destroy(name_);
        EXPECT_EQ(shared_objects_with(plat::sim_object_prefix(name_)), 0) << "shared memory left behind";
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    int host() const { return sim::Host::host_pid(name_); }
    // The host a program started: the load does not wait for it to come up
    // (and a host writes its pid just after taking the lock: -1 until then).
    int hosted() const {
        for (int i = 0; i < 10000; ++i) {
            if (const int pid = host(); pid > 0) return pid;
            ::usleep(1000);
        }
        return 0;
    }
    // Size and modification time of the registry database and its log
    // (an empty log holds nothing).
    std::string registry_files() const {
        std::string state;
        for (const char* suffix : {"", "-wal"}) {
            struct stat st {};
            const std::string path = plat::instance_dir(name_) + "/registry.db" + suffix;
            if (::stat(path.c_str(), &st) == 0 && st.st_size > 0)
                state += std::to_string(st.st_size) + "@" + std::to_string(st.st_mtim.tv_sec) + "." +
                         std::to_string(st.st_mtim.tv_nsec) + " ";
        }
        return state;
    }

    std::string name_;
    std::string dir_;
};

TEST_F(HostProcess, TheHostOutlivesItsStarterAndAnOpenPortKeepsWorking) {
    auto starter = std::make_unique<Peer>();
    ASSERT_TRUE(starter->ready());
    const int h = hosted();
    ASSERT_GT(h, 0);
    EXPECT_NE(h, starter->pid()) << "a process of its own";
    EXPECT_EQ(sim::Host::host_mode(name_), "auto");

    Peer user;
    ASSERT_TRUE(user.ready());
    EXPECT_EQ(host(), h) << "the second program uses the running host";
    ASSERT_EQ(user.command("open COM1:,115200,N,8,1"), "opened");
    EXPECT_EQ(user.command("ask $01M"), "!014408");

    EXPECT_EQ(starter->quit(), 0);
    starter.reset();
    EXPECT_EQ(host(), h) << "the starter's exit does not take the host along";
    EXPECT_EQ(user.command("ask $01M"), "!014408") << "the port held open across the change still works";
    EXPECT_EQ(user.command("ask #013"), ">+05.000");

    EXPECT_EQ(user.quit(), 0);
    EXPECT_FALSE(alive(h)) << "the last user waits until its host has stopped";
    EXPECT_EQ(host(), 0);
}

TEST_F(HostProcess, AProgramThatDiesLeavesNoHostBehind) {
    Peer a;
    ASSERT_TRUE(a.ready());
    const int h = hosted();
    ASSERT_GT(h, 0);
    // (Looking the port up brings the registry into the controller's
    // power-up generation: a write, once per power-up.)
    ASSERT_EQ(a.command("open COM1:,115200,N,8,1"), "opened");
    a.kill();
    EXPECT_TRUE(sim::wait_until_unhosted(name_, 10000)) << "the host sees that nobody uses the instance";
    // It lets go of the instance just before it ends; a watcher that looks
    // only then has no pid to wait for, so wait here.
    for (int i = 0; i < 1000 && alive(h); ++i) ::usleep(10000);
    EXPECT_FALSE(alive(h));
    const std::string link = plat::instance_dir(name_) + "/ports/COM1";
    struct stat st {};
    EXPECT_NE(::lstat(link.c_str(), &st), 0) << "no host, no port";

    // The next program starts a new host, on new pseudo-terminals.
    Peer b;
    ASSERT_TRUE(b.ready());
    EXPECT_GT(hosted(), 0);
    EXPECT_NE(host(), h);
    ASSERT_EQ(b.command("open COM1:,115200,N,8,1"), "opened");
    EXPECT_EQ(b.command("ask $02M"), "!024216");
    EXPECT_EQ(b.quit(), 0);

    // And the one after it under the same names, so the registry is not
    // written (a write would make every program's next load read the
    // database instead of its snapshot).
    const std::string registry = registry_files();
    Peer c;
    ASSERT_TRUE(c.ready());
    ASSERT_EQ(c.command("open COM1:,115200,N,8,1"), "opened");
    EXPECT_EQ(c.command("ask $02M"), "!024216");
    EXPECT_EQ(c.quit(), 0);
    EXPECT_EQ(registry_files(), registry);
}

TEST_F(HostProcess, ProgramsStartingTogetherShareOneHost) {
    std::vector<std::unique_ptr<Peer>> peers;
    for (int i = 0; i < 4; ++i) peers.push_back(std::make_unique<Peer>());
    for (auto& p : peers) ASSERT_TRUE(p->ready());
    const int h = hosted();
    ASSERT_GT(h, 0);
    const char* ports[] = {"COM0:", "COM1:", "COM2:"};
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(peers[i]->command(std::string("open ") + ports[i]), "opened") << ports[i];
    EXPECT_EQ(peers[1]->command("ask $10M"), "!10RU2");
    for (size_t i = 0; i + 1 < peers.size(); ++i) EXPECT_EQ(peers[i]->quit(), 0);
    EXPECT_EQ(host(), h);
    EXPECT_EQ(peers.back()->quit(), 0);
    EXPECT_EQ(host(), 0);
}

TEST_F(HostProcess, AChildForkedBeforeTheHostReportedLeavesTheReportToItsParent) {
    Peer p;
    ASSERT_TRUE(p.ready());
    // The parent has not needed the host yet: its launch is pending.
    EXPECT_EQ(p.command("fork-open COM1:"), "child opened") << "the child waits for the host";
    ASSERT_EQ(p.command("open COM1:"), "opened");
    EXPECT_EQ(sim::Host::host_mode(name_), "auto") << "the parent still read the host's report";
    EXPECT_EQ(p.command("ask $01M"), "!014408");
    EXPECT_EQ(p.quit(), 0);
}

TEST_F(HostProcess, WithoutAHostProgramTheLibraryHostsInProcess) {
    // /bin/false starts but never reports: the program finds out when it
    // first needs the host, here at its first open.
    for (const char* choice : {"none", "/nonexistent/vexsim", "/bin/false"}) {
        Peer p({std::string("VEXSDK_SIM_HOST=") + choice});
        ASSERT_TRUE(p.ready()) << choice;
        ASSERT_EQ(p.command("open COM1:"), "opened") << choice;
        EXPECT_EQ(host(), p.pid()) << choice;
        EXPECT_EQ(sim::Host::host_mode(name_), "library");
        EXPECT_EQ(p.command("ask $01M"), "!014408");
        EXPECT_EQ(p.quit(), 0);
        EXPECT_EQ(host(), 0);
    }
}

TEST_F(HostProcess, AHostOfAnotherBuildLeavesTheStateAlone) {
    std::string error;
    {
        auto inst = sim::Instance::attach(name_, &error);
        ASSERT_TRUE(inst) << error;
        inst->state().layout = sim::kStateLayout + 1;  // as another build would have made it
    }
    // Run by hand, its output comes here (the forked host keeps the pipe).
    const ProcessResult r = run_vexsim({"host", "-i", name_});
    EXPECT_EQ(r.status, 0) << "the started process only forks the host off";
    EXPECT_NE(r.output.find("was made by an incompatible build"), std::string::npos) << r.output;
    EXPECT_EQ(host(), 0);
    auto inst = sim::Instance::attach(name_, &error, false);
    EXPECT_FALSE(inst) << "the state is as it was";
}

TEST(HostProgram, FoundByTheVariableOrBesideTheProgram) {
    ::setenv("VEXSDK_SIM_HOST", VEXSIM_PATH, 1);
    EXPECT_EQ(sim::find_host_program(), VEXSIM_PATH);
    ::setenv("VEXSDK_SIM_HOST", "none", 1);
    EXPECT_EQ(sim::find_host_program(), "");
    ::setenv("VEXSDK_SIM_HOST", "/etc/passwd", 1);
    EXPECT_EQ(sim::find_host_program(), "") << "not executable";
    ::unsetenv("VEXSDK_SIM_HOST");
    // The test program lives in <build>/tests, vexsim in <build>.
    EXPECT_EQ(std::filesystem::canonical(sim::find_host_program()), std::filesystem::canonical(VEXSIM_PATH));
}

}  // namespace
}  // namespace vex::test
