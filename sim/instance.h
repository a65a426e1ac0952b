// One virtual controller instance, attached in this process.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/peripherals.h"
#include "platform/registry_store.h"
#include "platform/shared_section.h"
#include "sim/description.h"
#include "sim/state.h"

namespace vex::sim {

// Sets a value in the registry of the instance whose folder is `dir`, unless
// it already holds exactly that value. The check is answered from the
// registry's snapshot file while the database is unchanged
// (platform/linux/registry_snapshot.cpp), so a value that stays the same
// from one power-up or host to the next costs neither a write (which would
// void the snapshot for every program's next load) nor any SQLite code.
bool keep_registry_value(const std::string& dir, plat::registry::Root root, const std::wstring& key,
                         const std::wstring& name, const plat::registry::Value& want);

// Sends the interrupt wake-ups that models queued on this thread while the
// state was locked (sim/interrupt_lines.h); run after every unlock.
void send_irq_wakeups();

class Instance {
public:
    // Attaches to the named instance. When it does not exist yet (or its
    // state was never finished), creates it and powers it up from
    // <instance dir>/description.toml, or the built-in default. A state left
    // by an incompatible build is replaced when nobody hosts it, unless
    // `replace_foreign` is false (a host process started for its users
    // must not pull the state from under them). A state made by a process
    // of another word size is refused, never replaced.
    static std::unique_ptr<Instance> attach(const std::string& name, std::string* error,
                                            bool replace_foreign = true);
    // True when the named instance has been made (by any program); looks
    // without creating anything.
    static bool exists(const std::string& name);
    // Removes an instance completely: its shared memory and its directory.
    static bool destroy(const std::string& name);
    // Powers the instance up again from its description: registers, modules
    // and the OS timer start afresh (the registry keeps its contents).
    bool power_cycle(std::string* error);

    const std::string& name() const { return name_; }
    State& state() { return *state_; }

    // Register access as the library sees it.
    uint8_t read8(uint32_t offset);
    void write8(uint32_t offset, uint8_t value);
    uint16_t read16(uint32_t offset);
    void write16(uint32_t offset, uint16_t value);
    uint32_t os_timer();
    // The processor's peripheral pages (32-bit registers).
    uint32_t page_read32(plat::Page page, uint32_t offset);
    void page_write32(plat::Page page, uint32_t offset, uint32_t value);
    // The instance's clock: the monotonic clock plus any time let pass.
    uint64_t now_ns() const;
    // Lets time pass at once for the instance's timers and watchdogs.
    void advance(uint64_t ns);

    // Control, for vexsim and tests.
    bool plug(int slot, const SlotDescription& module);
    bool unplug(int slot);
    void set_dip_switch(uint8_t positions);
    // Sets the input lines of a parallel-bus or serial module in a slot.
    bool set_inputs(int slot, uint32_t lines);
    // Runs f with the state locked; models may be called from f.
    template <typename F>
    auto with_lock(F&& f) {
        Guard g(*state_);
        return f(*state_);
    }

    // The description this instance was powered up from.
    std::optional<Description> description(std::string* error) const;

    ~Instance();

private:
    struct Guard {
        explicit Guard(State& s) : s_(s) { s_.lock.lock(); }
        ~Guard() {
            s_.lock.unlock();
            send_irq_wakeups();
        }
        State& s_;
    };
    Instance(std::string name, std::unique_ptr<plat::SharedSection> section);
    // `keep_ports`: the host's published COM ports, kept across a power
    // cycle (the host and its pseudo-terminals stay), with the state's lock
    // held by the caller and kept; null on a fresh state (new lock).
    void power_up(const Description& d, const SerialPortState* keep_ports = nullptr);
    void trace(uint32_t offset, uint16_t value, uint8_t kind, uint64_t now);

    std::string name_;
    std::unique_ptr<plat::SharedSection> section_;
    State* state_;
};

// The instance the library's platform layer talks to in this process (null
// on hardware or before the library attached).
Instance* current();
void set_current(Instance* instance);

}  // namespace vex::sim
