#include "tests/modproto/module_peer.h"

#include <chrono>
#include <cstdio>

namespace vex::test {
namespace {

std::string checksum_of(const std::string& text) {
    unsigned sum = 0;
    for (unsigned char c : text) sum += c;
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", sum & 0xFFu);
    return digits;
}

}  // namespace

ModulePeer::ModulePeer(Pty& pty) : pty_(pty) { thread_ = std::thread([this] { serve(); }); }

ModulePeer::~ModulePeer() {
    {
        std::lock_guard lock(mutex_);
        stop_ = true;
    }
    thread_.join();
}

void ModulePeer::reply(const std::string& text) {
    std::lock_guard lock(mutex_);
    script_.push_back({Step::Text, text});
}
void ModulePeer::silent() {
    std::lock_guard lock(mutex_);
    script_.push_back({Step::Silent, ""});
}
void ModulePeer::raw(const std::string& bytes) {
    std::lock_guard lock(mutex_);
    script_.push_back({Step::Raw, bytes});
}
void ModulePeer::dribble(const std::string& text, int gap_ms) {
    std::lock_guard lock(mutex_);
    script_.push_back({Step::Dribble, text, gap_ms});
}
void ModulePeer::use_checksum(bool on) {
    std::lock_guard lock(mutex_);
    checksum_ = on;
}

std::vector<std::string> ModulePeer::take(size_t count, int wait_ms) {
    std::unique_lock lock(mutex_);
    heard_.wait_for(lock, std::chrono::milliseconds(wait_ms), [&] { return commands_.size() >= count; });
    std::vector<std::string> out;
    out.swap(commands_);
    return out;
}

// Reads command lines in slices of 20 ms so that the destructor's stop is
// seen soon; a test peer may poll, the library may not.
void ModulePeer::serve() {
    std::string line;
    for (;;) {
        {
            std::lock_guard lock(mutex_);
            if (stop_) return;
        }
        line += pty_.read_until('\r', 20);
        if (line.empty() || line.back() != '\r') continue;
        line.pop_back();
        answer(line);
        line.clear();
    }
}

void ModulePeer::answer(const std::string& received) {
    std::string command = received;
    Step step{Step::Silent, ""};
    bool checksum;
    {
        std::lock_guard lock(mutex_);
        checksum = checksum_;
        if (checksum) {
            const bool holds = command.size() >= 2 &&
                               checksum_of(command.substr(0, command.size() - 2)) == command.substr(command.size() - 2);
            command = holds ? command.substr(0, command.size() - 2) : "<bad>" + command;
        }
        commands_.push_back(command);
        if (!script_.empty()) {
            step = script_.front();
            script_.pop_front();
        }
        heard_.notify_all();
    }
    switch (step.kind) {
    case Step::Silent: break;
    case Step::Raw: pty_.write(step.bytes); break;
    case Step::Text: pty_.write(step.bytes + (checksum ? checksum_of(step.bytes) : "") + "\r"); break;
    case Step::Dribble:
        for (char c : step.bytes + "\r") {
            pty_.write(std::string(1, c));
            std::this_thread::sleep_for(std::chrono::milliseconds(step.gap_ms));
        }
        break;
    }
}

}  // namespace vex::test
