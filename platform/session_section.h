// Named memory shared by the processes that have the library loaded, and
// only for as long as one of them has: when the last one lets go (however
// it ends), the contents go with it, and the next process to open the
// section finds it zero-filled. This is the lifetime of a data section that
// every process loading a library shares, which is what the registration
// masks of slot interrupts and backplane timers are.
//
// Each process keeps a shared lock (flock) on the object while it has it
// open; whoever opens it while nobody else holds it clears it first.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace vex::plat {

class SessionSection {
public:
    // `name` is a full object name (see shared_object_name). Null when the
    // object cannot be opened or mapped.
    static std::unique_ptr<SessionSection> open(const std::string& name, size_t size);
    ~SessionSection();
    SessionSection(const SessionSection&) = delete;
    SessionSection& operator=(const SessionSection&) = delete;

    void* data() const { return data_; }

private:
    SessionSection(int fd, void* data, size_t size) : fd_(fd), data_(data), size_(size) {}
    int fd_;
    void* data_;
    size_t size_;
};

}  // namespace vex::plat
