// Named memory shared by every process of one target (POSIX shared memory).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace vex::plat {

class SharedSection {
public:
    // Opens the named section, creating it zero-filled when it does not
    // exist yet. `name` is a full object name (see shared_object_name).
    // Returns null when the object cannot be created or mapped.
    static std::unique_ptr<SharedSection> open(const std::string& name, size_t size);
    ~SharedSection();
    SharedSection(const SharedSection&) = delete;
    SharedSection& operator=(const SharedSection&) = delete;

    void* data() const { return data_; }
    size_t size() const { return size_; }
    // True when this call created the object (its creator).
    bool created() const { return created_; }

    static bool remove(const std::string& name);
    // True when the named object exists (nothing is created).
    static bool exists(const std::string& name);

private:
    SharedSection(void* data, size_t size, bool created)
        : data_(data), size_(size), created_(created) {}
    void* data_;
    size_t size_;
    bool created_;
};

// A mutex that lives in shared memory and works across processes. It is
// robust: when its owner dies, the next locker gets it and carries on. It
// inherits priority: its owner runs at least at the priority of the
// highest-priority thread waiting for it.
//
// The C library's lock differs between 32- and 64-bit processes (size,
// field order, robust-list pointers), so processes of different word
// sizes must never share one. init() tags the storage with the maker's
// kind; whoever opens shared memory made by another process checks
// compatible() before locking, and refuses with maker() in its message.
class ProcessMutex {
public:
    // Initialises the mutex in place (only the creator of the memory does).
    void init();
    // True when a process of this kind made the mutex (not when it was
    // never initialised, or by a process of another word size).
    bool compatible() const;
    // The maker, for messages: "a 64-bit process", "a 32-bit process", or
    // "an unknown process" for storage that carries no tag.
    std::string maker() const;
    void lock();
    // Like lock(); true when the previous owner died holding the mutex, so
    // the caller may repair what the mutex guards.
    bool lock_recovering();
    void unlock();
    bool try_lock();

private:
    alignas(8) unsigned char storage_[64];
};

// Removes every shared object whose name starts with prefix (e.g.
// "/vexsdk.0.sim.test1."). Returns how many were removed.
int remove_shared_objects(const std::string& prefix);

}  // namespace vex::plat
