// Each test gets its own virtual controller instance in its own directory,
// and the library attached to it; everything is removed afterwards.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sim/instance.h"

namespace vex::test {

struct ProcessResult {
    int status = -1;      // exit status, or -1 when it did not exit normally
    std::string output;   // stdout and stderr together
};

// Runs a program with the current environment and collects its output.
ProcessResult run_process(const std::vector<std::string>& argv, int timeout_ms = 30000);
// Runs vexsim / vexctl of this build.
ProcessResult run_vexsim(const std::vector<std::string>& args);
ProcessResult run_vexctl(const std::vector<std::string>& args);

// `s` as one word of a /bin/sh command line.
std::string shell_quote(const std::string& s);
// A program of the build as /bin/sh command words (behind the emulator's
// wrapper in a cross build).
std::string shell_program(const char* path);

// True when the test runs under the cross build's user-mode emulator
// (qemu-arm through cmake/armhf-run), which some behaviours of a real
// kernel are beyond.
bool under_emulator();

// How many POSIX shared memory objects have names starting with `prefix`
// (a name as shm_open takes it, "/vexsdk...").
int shared_objects_with(const std::string& prefix);

// Fails the test when the instance's host process reported a problem in its
// log (a sanitizer report, a failed start), since nobody else reads it.
void expect_clean_host_log(const std::string& instance);

class SimFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A description (TOML) for the test's controller; empty = built-in.
    virtual std::string description() { return ""; }

    sim::Instance& sim();
    const std::string& instance_name() const { return name_; }
    const std::string& base_dir() const { return dir_; }
    // Detaches and attaches the library again (e.g. after a registry change
    // that the load sequence reads).
    void reattach();

private:
    std::string name_;
    std::string dir_;
};

}  // namespace vex::test
