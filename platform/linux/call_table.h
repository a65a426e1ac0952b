// The one pattern every Linux backend uses for its operating-system calls:
// a table of function pointers, filled with the real calls, that the
// backend calls through and nothing else. Tests replace an entry by name to
// make that call fail on purpose (a countdown shim that fails the Nth call
// with a chosen errno) and check that the failure is reported and nothing
// leaks; reset(name) or reset_all() put the real calls back. Release builds
// keep the table: the cost is one load before an indirect call, on paths
// that go on to enter the kernel anyway.
//
// A table is a constant-initialised global, so it is usable from the first
// static constructor on. Changing it is not synchronised with the calls
// made through it: change it only while no thread of the library can be in
// that backend (tests do it before they open what they test, or between
// calls). Reading an entry is a plain load.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>

namespace vex::plat {

// Where the entry called `name` sits inside its table.
struct CallSlot {
    const char* name;
    size_t offset;
};

// VEX_CALL_SLOT(Table, read) names the member `read` of Table as "read".
#define VEX_CALL_SLOT(Table, member) ::vex::plat::CallSlot{#member, offsetof(Table, member)}

// POSIX guarantees that a function pointer fits a void* (dlsym relies on it).
static_assert(sizeof(void (*)()) == sizeof(void*));

template <typename Table>
class CallTable {
public:
    constexpr CallTable(const Table& real, std::span<const CallSlot> slots)
        : real_(real), now_(real), slots_(slots) {}

    // The calls in use.
    Table& now() { return now_; }
    // Replaces the entry called `name` with `fn`, a pointer to a function
    // of exactly the entry's type. False for a name the table does not have.
    bool set(const char* name, void* fn) {
        const CallSlot* s = find(name);
        if (!s) return false;
        std::memcpy(reinterpret_cast<char*>(&now_) + s->offset, &fn, sizeof fn);
        return true;
    }
    // The entry called `name` as it is now (nullptr for an unknown name).
    void* get(const char* name) const {
        const CallSlot* s = find(name);
        void* fn = nullptr;
        if (s) std::memcpy(&fn, reinterpret_cast<const char*>(&now_) + s->offset, sizeof fn);
        return fn;
    }
    // Puts the real call back in one entry; false for an unknown name.
    bool reset(const char* name) {
        const CallSlot* s = find(name);
        if (!s) return false;
        std::memcpy(reinterpret_cast<char*>(&now_) + s->offset,
                    reinterpret_cast<const char*>(&real_) + s->offset, sizeof(void*));
        return true;
    }
    void reset_all() { now_ = real_; }
    std::span<const CallSlot> slots() const { return slots_; }

private:
    const CallSlot* find(const char* name) const {
        if (!name) return nullptr;
        for (const CallSlot& s : slots_) {
            if (std::strcmp(s.name, name) == 0) return &s;
        }
        return nullptr;
    }

    const Table real_;
    Table now_;
    std::span<const CallSlot> slots_;
};

}  // namespace vex::plat
