// Another process using the virtual controller: the test peer program (a
// user of the shared library), driven over pipes.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace vex::test {

class Peer {
public:
    // Starts the peer with the test's environment plus `env` ("NAME=value").
    explicit Peer(const std::vector<std::string>& env = {});
    ~Peer();  // ends it (quit, then SIGKILL if it does not go)
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    pid_t pid() const { return pid_; }
    // Waits for "ready" (the library loaded); false after `timeout_ms`.
    bool ready(int timeout_ms = 15000);
    // Sends one command line and returns the reply line ("" on time-out).
    std::string command(const std::string& line, int timeout_ms = 15000);
    // Asks it to quit and waits for its exit status (-1 on time-out).
    int quit(int timeout_ms = 15000);
    // Kills it outright (as a crash would end it) and reaps it.
    void kill();

private:
    std::string read_line(int timeout_ms);
    int wait(int timeout_ms);
    pid_t pid_ = -1;
    int in_ = -1;   // its standard input
    int out_ = -1;  // its standard output
    std::string buffer_;
};

}  // namespace vex::test
