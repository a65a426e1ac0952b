// A serial module played by a test on the far side of a pseudo-terminal:
// every command line it hears is answered by the next step of a script,
// well or badly (silent, garbage, wrong checksum, cut, dribbled, refused).
// It records the exact bytes of every command.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/pty.h"

namespace vex::test {

class ModulePeer {
public:
    explicit ModulePeer(Pty& pty);
    ~ModulePeer();
    ModulePeer(const ModulePeer&) = delete;
    ModulePeer& operator=(const ModulePeer&) = delete;

    // The next command gets `text` followed by "\r" (with its checksum
    // first when checksums are on).
    void reply(const std::string& text);
    // ... no answer at all.
    void silent();
    // ... exactly these bytes (no terminator or checksum added).
    void raw(const std::string& bytes);
    // ... `text` and "\r", one character every `gap_ms`.
    void dribble(const std::string& text, int gap_ms);
    // Commands carry and answers get a checksum (a module configured for
    // it); a command whose checksum does not hold is recorded with "<bad>".
    void use_checksum(bool on);

    // Commands heard so far, without terminator (and checksum), and forgets
    // them. Waits up to `wait_ms` for at least `count` of them.
    std::vector<std::string> take(size_t count = 0, int wait_ms = 1000);

private:
    struct Step {
        enum Kind { Text, Silent, Raw, Dribble } kind;
        std::string bytes;
        int gap_ms = 0;
    };
    void serve();
    void answer(const std::string& command);

    Pty& pty_;
    std::mutex mutex_;
    std::condition_variable heard_;
    std::deque<Step> script_;
    std::vector<std::string> commands_;
    bool checksum_ = false;
    bool stop_ = false;
    std::thread thread_;
};

}  // namespace vex::test
