// The tools' contracts as scripts meet them: exit codes (0 done, 1 refused
// or failed, 2 usage), JSON that a JSON parser accepts, refusals that say
// what is wrong, and bad values on the command line.
#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>
#include <string>
#include <vector>

#include "platform/exec_wrapper.h"
#include "tests/support/sim_fixture.h"

namespace vex::test {
namespace {

// `argv` run with one more environment variable.
std::vector<std::string> with_env(const std::string& assignment, const std::vector<std::string>& argv) {
    std::vector<std::string> out{"/usr/bin/env", assignment};
    for (std::string& word : plat::wrapped_command(argv)) out.push_back(std::move(word));
    return out;
}

// True when the tool exits 0 and its stdout parses as one JSON document.
bool prints_json(const char* tool, const std::vector<std::string>& args) {
    std::string cmd = "set -e; out=$(" + shell_program(tool);
    for (const std::string& a : args) cmd += " " + shell_quote(a);
    cmd += " 2>/dev/null); printf '%s' \"$out\" | python3 -c 'import json,sys; json.load(sys.stdin)'";
    return run_process({"/bin/sh", "-c", cmd}).status == 0;
}

bool contains(const ProcessResult& r, const std::string& text) { return r.output.find(text) != std::string::npos; }

using ToolContract = SimFixture;

TEST_F(ToolContract, HelpVersionAndUsageErrorsExitAsDocumented) {
    for (const char* tool : {VEXCTL_PATH, VEXSIM_PATH}) {
        ProcessResult r = run_process({tool, "--help"});
        EXPECT_EQ(r.status, 0) << r.output;
        EXPECT_TRUE(contains(r, "Exit codes: 0 done, 1")) << r.output;
        r = run_process({tool, "--version"});
        EXPECT_EQ(r.status, 0) << r.output;
        EXPECT_TRUE(contains(r, " 1.") || contains(r, " 0.")) << r.output;
        r = run_process({tool, "frobnicate"});
        EXPECT_EQ(r.status, 2) << r.output;
        EXPECT_TRUE(contains(r, "unknown command 'frobnicate'")) << r.output;
        EXPECT_EQ(run_process({tool}).status, 2);
        EXPECT_EQ(run_process({tool, "--no-such-option"}).status, 2);
    }
}

TEST_F(ToolContract, BadNumbersOnEveryKindOfOptionAreUsageErrors) {
    const std::string huge(5000, '9');
    for (const std::string& bad : {std::string(""), std::string("-1"), std::string("abc"), std::string("\xff\xfe"),
                                   std::string("99999999999999999999"), huge, std::string("0"), std::string("33")}) {
        const ProcessResult r = run_vexctl({"di", "2", "-n", bad});
        EXPECT_EQ(r.status, 2) << "-n '" << bad.substr(0, 20) << "': " << r.output;
    }
    for (const std::string& bad : {std::string(""), std::string("-1"), std::string("x"), std::string("\xc3"), huge}) {
        EXPECT_EQ(run_vexctl({"di", bad, "-n", "8"}).status, 2) << "slot '" << bad.substr(0, 20) << "'";
        EXPECT_EQ(run_vexsim({"set", "inputs", "1", bad}).status, 2) << "inputs '" << bad.substr(0, 20) << "'";
    }
    for (const std::string& bad : {std::string(""), std::string("../x"), std::string("a/b"), std::string("\xff"),
                                   std::string(49, 'a')}) {
        EXPECT_EQ(run_vexctl({"-i", bad, "info"}).status, 2) << "instance '" << bad.substr(0, 20) << "'";
        EXPECT_EQ(run_vexsim({"show", "-i", bad}).status, 2) << "instance '" << bad.substr(0, 20) << "'";
    }
}

TEST_F(ToolContract, WritesAreCheckedAgainstTheModule) {
    // Slot 2 of the built-in controller: 8 inputs, 8 outputs.
    ProcessResult r = run_vexctl({"do", "2", "0x1FF", "-n", "8"});
    EXPECT_EQ(r.status, 2) << r.output;
    EXPECT_TRUE(contains(r, "wider than")) << r.output;
    EXPECT_EQ(run_vexctl({"do", "2", "0x5A", "-n", "8"}).status, 0);
    r = run_vexctl({"do", "2", "-n", "8"});
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(contains(r, "0x0000005A")) << r.output;
    EXPECT_EQ(run_vexctl({"do", "2", "--bit", "8", "--on", "-n", "8"}).status, 2);
    EXPECT_EQ(run_vexsim({"set", "inputs", "2", "0x1FF"}).status, 2);
    EXPECT_EQ(run_vexsim({"set", "inputs", "2", "0xFF"}).status, 0);
    r = run_vexctl({"di", "2", "-n", "8"});
    EXPECT_TRUE(contains(r, "0x000000FF")) << r.output;
    // An empty slot and a serial module are refusals, not usage errors.
    EXPECT_EQ(run_vexctl({"di", "6", "-n", "8"}).status, 1);
    EXPECT_EQ(run_vexctl({"di", "3", "-n", "8"}).status, 1);
}

TEST_F(ToolContract, PlugAndUnplugRefuseWhatWouldLoseAModule) {
    ProcessResult r = run_vexsim({"plug", "2", "--id", "0x13", "--di", "16"});
    EXPECT_EQ(r.status, 1) << r.output;
    EXPECT_TRUE(contains(r, "--replace")) << r.output;
    EXPECT_EQ(run_vexctl({"di", "2", "-n", "8"}).status, 0);  // still the old module
    EXPECT_EQ(run_vexsim({"plug", "2", "--id", "0x13", "--di", "16", "--replace"}).status, 0);
    r = run_vexsim({"unplug", "6"});
    EXPECT_EQ(r.status, 1) << r.output;
    EXPECT_TRUE(contains(r, "empty")) << r.output;
    EXPECT_EQ(run_vexsim({"unplug", "2"}).status, 0);
    EXPECT_EQ(run_vexsim({"unplug", "2"}).status, 1);
}

TEST_F(ToolContract, DataCommandsPrintJsonThatParses) {
    ASSERT_EQ(run_vexctl({"reg", "set", "HKEY_LOCAL_MACHINE\\T\\Odd", "a\"b\\c\td\x01\xff"}).status, 0);
    EXPECT_TRUE(prints_json(VEXCTL_PATH, {"info", "--json"}));
    EXPECT_TRUE(prints_json(VEXCTL_PATH, {"--json", "di", "2", "-n", "8"}));
    EXPECT_TRUE(prints_json(VEXCTL_PATH, {"do", "2", "-n", "8", "--json"}));
    EXPECT_TRUE(prints_json(VEXCTL_PATH, {"reg", "get", "HKEY_LOCAL_MACHINE\\T\\Odd", "--json"}));
    EXPECT_TRUE(prints_json(VEXCTL_PATH, {"reg", "ls", "HKEY_LOCAL_MACHINE\\T", "--json"}));
    ProcessResult r = run_vexctl({"info", "--json"});
    EXPECT_TRUE(contains(r, "\"instance\":\"" + instance_name() + "\"")) << r.output;
    EXPECT_TRUE(prints_json(VEXSIM_PATH, {"show", "--json"}));
    EXPECT_TRUE(prints_json(VEXSIM_PATH, {"--json", "trace", "-n", "5"}));
    EXPECT_TRUE(prints_json(VEXSIM_PATH, {"chips", "--json"}));
    EXPECT_TRUE(prints_json(VEXCTL_PATH, {"device", "--json"}));
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"ports"}, {"mem", "size"}, {"mem", "read", "eeprom", "0", "16"}, {"card", "status"},
          {"card", "info"}, {"hotplug"}, {"read", "2", "dio"}, {"write", "2", "do", "3"}, {"serial", "COM1:", "$01M"},
          {"timer", "1", "-i", "10", "-c", "3"}}) {
        std::vector<std::string> with_json = args;
        with_json.push_back("--json");
        EXPECT_TRUE(prints_json(VEXCTL_PATH, with_json)) << args[0] << " " << args[1];
    }
    // The sections of vexsim show are in its document too.
    const ProcessResult sections = run_process(
        {"/bin/sh", "-c",
         shell_program(VEXSIM_PATH) + " show --json | python3 -c 'import json,sys; d=json.load(sys.stdin); "
                                    "print(sorted(k for k in (\"services\",\"interrupts\",\"serial\") if k in d), "
                                    "len(d[\"interrupts\"][\"timers\"]))'"});
    EXPECT_TRUE(contains(sections, "['interrupts', 'serial', 'services'] 3")) << sections.output;
}

// Under --json a failure is a document too: the message, the library's code
// when there is one, and the exit code; usage errors included.
TEST_F(ToolContract, FailuresUnderJsonAreOneErrorDocument) {
    const auto error_of = [&](const std::vector<std::string>& args) {
        std::string cmd = shell_program(VEXCTL_PATH);
        for (const std::string& a : args) cmd += " " + shell_quote(a);
        return run_process({"/bin/sh", "-c",
                            cmd + " --json 2>/dev/null; echo \"exit=$?\""});
    };
    ProcessResult r = error_of({"read", "6", "di"});
    EXPECT_TRUE(contains(r, R"({"error":{"exit_code":1,"message":"6: read inputs: error 0x10003: Unknown Module",)"
                            R"("code":65539,"code_message":"Unknown Module"}})"))
        << r.output;
    EXPECT_TRUE(contains(r, "exit=1")) << r.output;
    r = error_of({"di", "2", "-n", "0"});
    EXPECT_TRUE(contains(r, R"({"error":{"exit_code":2,"message":"-n must be)")) << r.output;
    EXPECT_TRUE(contains(r, "exit=2")) << r.output;
    r = error_of({"read"});  // the command-line parser's own refusal
    EXPECT_TRUE(contains(r, R"({"error":{"exit_code":2,)")) << r.output;
    r = error_of({"mem", "read", "eeprom", "0x7FFFFFFF", "4"});
    EXPECT_TRUE(contains(r, R"("exit_code":1,)") && contains(r, R"("code":)") && !contains(r, R"("code":null)"))
        << r.output;
    // A watch that times out ends its JSON lines with the error.
    r = error_of({"irq", "watch", "2", "--timeout", "0.2"});
    EXPECT_TRUE(contains(r, R"({"error":{"exit_code":1,"message":"0 interrupt(s) within 0.2 s)")) << r.output;
}

TEST_F(ToolContract, TraceNamesWritesAndFollowsUntilInterruptedOrThePipeCloses) {
    sim().write8(0x3000, 0x5A);  // slot 2, outputs 0..7
    sim().write8(0x9002, 0x05);
    ProcessResult r = run_vexsim({"trace", "-n", "2"});
    EXPECT_TRUE(contains(r, "slot 2 DO0 <- 0x5A")) << r.output;
    EXPECT_TRUE(contains(r, "backplane DIP <- 0x05")) << r.output;
    EXPECT_TRUE(contains(r, "pid " + std::to_string(::getpid()))) << r.output;
    // Ctrl-C ends a follow at once, and cleanly.
    const std::string vexsim = shell_program(VEXSIM_PATH);
    // (An emulated vexsim takes seconds to start: the signal must not come
    // before it could take it.)
    const std::string settle = under_emulator() ? "3" : "0.5";
    r = run_process({"/bin/sh", "-c", vexsim + " trace -f >/dev/null & p=$!; sleep " + settle + "; kill -INT $p; wait $p"},
                    20000);
    EXPECT_EQ(r.status, 0) << r.output;
    // A reader that goes away ends it too, once there is something to write.
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; !done && i < 2000; ++i) {
            sim().write8(0x3000, static_cast<uint8_t>(i));
            ::usleep(5000);
        }
    });
    r = run_process({"/bin/sh", "-c", vexsim + " trace -f -n 1 | head -n 1 >/dev/null; exit 0"}, 10000);
    done = true;
    writer.join();
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_FALSE(contains(r, "killed")) << r.output;
}

TEST_F(ToolContract, RegGetEscapesStringsUnlessRaw) {
    ASSERT_EQ(run_vexctl({"reg", "set", "HKEY_LOCAL_MACHINE\\T\\Two", "line1\nline2\x1b[31m"}).status, 0);
    ProcessResult r = run_vexctl({"reg", "get", "HKEY_LOCAL_MACHINE\\T\\Two"});
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(contains(r, "\"line1\\nline2\\x1B[31m\"")) << r.output;
    r = run_vexctl({"reg", "get", "--raw", "HKEY_LOCAL_MACHINE\\T\\Two"});
    EXPECT_TRUE(contains(r, "line1\nline2\x1b[31m")) << r.output;
    EXPECT_EQ(run_vexctl({"reg", "get", "HKEY_LOCAL_MACHINE\\T\\Missing"}).status, 1);
}

// Looking at an instance that is not there must not make it.
TEST_F(ToolContract, ReadOnlyCommandsNeverCreateAnInstance) {
    const std::string ghost = "ghost-" + instance_name();
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"show", "-i", ghost}, {"trace", "-i", ghost}, {"destroy", "-i", ghost}}) {
        const ProcessResult r = run_vexsim(args);
        EXPECT_EQ(r.status, 1) << args[0] << ": " << r.output;
        EXPECT_TRUE(contains(r, "does not exist")) << args[0] << ": " << r.output;
        EXPECT_FALSE(sim::Instance::exists(ghost)) << args[0];
        EXPECT_FALSE(std::filesystem::exists(base_dir() + "/" + ghost)) << args[0];
    }
    EXPECT_EQ(run_process(with_env("VEXSDK_TARGET=sim:" + ghost, {VEXCTL_PATH, "--help"})).status, 0);
    EXPECT_FALSE(sim::Instance::exists(ghost));
    EXPECT_EQ(run_vexsim({"show"}).status, 0);  // the test's own instance exists
}

TEST_F(ToolContract, UnrecognisedTargetConnectsToNothingAndSaysSo) {
    for (const char* text : {"HW", "Sim", "simulator", "sim:../x", "hardware", "sim:"}) {
        const std::string env = std::string("VEXSDK_TARGET=") + text;
        ProcessResult r = run_process(with_env(env, {VEXCTL_PATH, "info"}));
        EXPECT_EQ(r.status, 1) << text << ": " << r.output;
        EXPECT_TRUE(contains(r, std::string("target '") + text + "' is not recognised")) << r.output;
        r = run_process(with_env(env, {VEXCTL_PATH, "di", "2", "-n", "8"}));
        EXPECT_TRUE(r.status == 1 || contains(r, "0xFFFFFFFF")) << text << ": " << r.output;
        EXPECT_EQ(run_process(with_env(env, {VEXSIM_PATH, "show"})).status, 2) << text;
    }
    // Nothing new appeared beside the test's own instance.
    size_t entries = 0;
    for (const auto& e : std::filesystem::directory_iterator(base_dir())) entries += e.path().filename() != instance_name();
    EXPECT_EQ(entries, 0u);
    const ProcessResult r = run_process({"/bin/sh", "-c",
                                         "VEXSDK_TARGET=bogus " + shell_program(VEXCTL_PATH) +
                                             " info --json 2>/dev/null | python3 -c 'import json,sys; "
                                             "d=json.load(sys.stdin); sys.exit(0 if d[\"target\"] is None else 1)'"});
    EXPECT_EQ(r.status, 0) << r.output;
    // The documented values only in lower case, and the refusal says which.
    const ProcessResult hw = run_process(with_env("VEXSDK_TARGET=HW", {VEXCTL_PATH, "info"}));
    EXPECT_TRUE(contains(hw, "did you mean \"hw\"?")) << hw.output;
}

}  // namespace
}  // namespace vex::test
