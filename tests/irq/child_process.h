// A program started in the background whose output a test reads as it
// comes (vexctl irq watch, vexctl timer, ...).
#pragma once

#include <string>
#include <vector>

namespace vex::test {

class ChildProcess {
public:
    // Starts argv with the current environment; stdout and stderr together.
    explicit ChildProcess(const std::vector<std::string>& argv);
    ~ChildProcess();  // kills it if it still runs
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Reads output until it contains `text` (true) or `ms` pass (false).
    bool wait_for_output(const std::string& text, int ms = 10000);
    // Waits for the exit (SIGKILL after `ms`); returns the exit status or -1.
    int wait_exit(int ms = 10000);
    void kill_now();
    const std::string& output() const { return output_; }
    int pid() const { return pid_; }

private:
    bool read_some(int ms);
    int pid_ = -1;
    int out_ = -1;
    bool reaped_ = false;
    int status_ = -1;
    std::string output_;
};

}  // namespace vex::test
