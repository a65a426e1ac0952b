// Named mutexes shared by every process of one target ("VEX_EEP", the GPIO
// lock): a robust process-shared mutex in a small POSIX shared-memory
// object, named with shared_object_name().
//
// Robust: when a process dies holding the mutex, the next lock() gets it
// and is told so, and can repair what the mutex guards. Initialisation is
// serialised by an flock on the object, which the kernel drops if the
// initialising process dies, so no process ever sees a half-made mutex.
// Not recursive: a thread that locks twice deadlocks.
#pragma once

#include <memory>
#include <string>

namespace vex::plat {

class NamedMutex {
public:
    // Opens the mutex, creating it when it does not exist. Null with a
    // reason (naming the call and the object) on failure.
    static std::unique_ptr<NamedMutex> open(const std::string& name, std::string* error);
    // Removes the object (the mutex lives on in processes that have it).
    static bool remove(const std::string& name);
    ~NamedMutex();
    NamedMutex(const NamedMutex&) = delete;
    NamedMutex& operator=(const NamedMutex&) = delete;

    // Waits without limit. True when the previous owner died holding it.
    bool lock();
    void unlock();

private:
    struct Shared;
    explicit NamedMutex(Shared* shared) : shared_(shared) {}
    Shared* shared_;
};

}  // namespace vex::plat
