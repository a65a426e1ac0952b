#include "sim/instance.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

#include "platform/registry_store.h"
#include "platform/system.h"
#include "platform/target.h"
#include "platform/text_codec.h"
#include "sim/host.h"
#include "sim/links.h"
#include "sim/interrupt_lines.h"
#include "sim/models/memory.h"
#include "sim/models/models.h"
#include "sim/models/peripherals.h"
#include "sim/serial_modules/control.h"
#include "sim/serial_ports.h"
#include "sim/models/services.h"

namespace vex::sim {
namespace {

Instance* g_current = nullptr;

// Serialises creation of an instance between processes: whoever holds it
// either finds a finished state or finishes it.
class FileLock {
public:
    explicit FileLock(const std::string& path) {
        fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd_ >= 0) ::flock(fd_, LOCK_EX);
    }
    ~FileLock() {
        if (fd_ >= 0) ::close(fd_);  // closing releases the lock
    }
    bool ok() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

uint64_t random64() {
    std::random_device rd;
    return (static_cast<uint64_t>(rd()) << 32) ^ rd();
}

std::string description_path(const std::string& name) {
    return plat::instance_dir(name) + "/description.toml";
}

void copy_text(char* dst, size_t size, const std::string& src) {
    std::memset(dst, 0, size);
    std::memcpy(dst, src.data(), std::min(size - 1, src.size()));
}

}  // namespace

bool keep_registry_value(const std::string& dir, plat::registry::Root root, const std::wstring& key,
                         const std::wstring& name, const plat::registry::Value& want) {
    const std::string db = dir + "/registry.db";
    std::string generation;
    {
        std::ifstream in(dir + "/generation");
        std::getline(in, generation);
    }
    plat::registry::Value v;
    const bool dword = want.type == plat::registry::kTypeDword;
    if (plat::registry::get_value_at_load(db, generation, root, key, name, v) == 0 && v.type == want.type &&
        (dword ? v.number == want.number : v.text == want.text))
        return true;
    return (dword ? plat::registry::preset_dword(db, root, key, name, want.number)
                  : plat::registry::preset_string(db, root, key, name, want.text)) == 0;
}

namespace {

// Writes the description's registry values into the instance's registry,
// skipping those it already holds (keep_registry_value). Runs after
// power_up(), which wrote the new generation.
bool write_registry_presets(const std::string& dir, const Description& d) {
    using plat::registry::Root;
    using plat::registry::Value;
    bool ok = keep_registry_value(dir, Root::LocalMachine, L"HARDWARE\\MODULETYPE", L"HWID", Value::string(plat::from_utf8(d.hardware_id)));
    for (const RegistryPreset& p : d.registry) {
        // Presets name full paths; split off the root and the value name.
        static const std::pair<const wchar_t*, Root> roots[] = {
            {L"HKEY_LOCAL_MACHINE\\", Root::LocalMachine}, {L"HKEY_CURRENT_USER\\", Root::CurrentUser},
            {L"HKEY_CLASSES_ROOT\\", Root::ClassesRoot},   {L"HKEY_USERS\\", Root::Users}};
        for (const auto& [prefix, root] : roots) {
            const std::wstring pre(prefix);
            if (p.path.compare(0, pre.size(), pre) != 0) continue;
            const std::wstring rest = p.path.substr(pre.size());
            const size_t cut = rest.rfind(L'\\');
            const std::wstring key = cut == std::wstring::npos ? L"" : rest.substr(0, cut);
            const std::wstring value = cut == std::wstring::npos ? rest : rest.substr(cut + 1);
            ok &= keep_registry_value(dir, root, key, value, p.is_number ? Value::dword(p.number) : Value::string(p.text));
        }
    }
    return ok;
}

// Keeps the register image of a slot page equal to what its registers read,
// so loads through the library's window pointer see the module. Modules
// decode byte registers at even offsets of the start of their page.
constexpr uint32_t kDecodedPageBytes = 0x28;

void mirror_slot(State& s, int slot, uint64_t now) {
    uint8_t* page = s.image + (static_cast<uint32_t>(slot) + 1) * 0x1000;
    for (uint32_t off = 0; off < kDecodedPageBytes; off += 2) page[off] = models::slot_read(s, slot, off, now);
}

void mirror_all_slots(State& s, uint64_t now) {
    for (int i = 0; i < kSlots; ++i) mirror_slot(s, i, now);
}

// A system watchdog that ran out resets the controller before anything
// else sees it (sim/models/system_watchdog.cpp). Caller holds the lock.
void settle_resets(State& s, uint64_t now) {
    if (!models::system_catch_up(s, now)) return;
    mirror_all_slots(s, now);
    reschedule_all_irqs(s);  // the timers stopped: waiters arm again
}

// getpid() is a system call each time, and the trace asks for it on every
// register write with the instance lock held (twice per timer tick, for the
// acknowledge). Kept per process; a forked child asks again.
pid_t own_pid() {
    static std::atomic<pid_t> pid{0};
    [[maybe_unused]] static const bool forget_on_fork =
        ::pthread_atfork(nullptr, nullptr, [] { pid.store(0, std::memory_order_relaxed); }) == 0;
    pid_t p = pid.load(std::memory_order_relaxed);
    if (p == 0) {
        p = ::getpid();
        pid.store(p, std::memory_order_relaxed);
    }
    return p;
}

}  // namespace

Instance* current() { return g_current; }
void set_current(Instance* instance) { g_current = instance; }

Instance::Instance(std::string name, std::unique_ptr<plat::SharedSection> section)
    : name_(std::move(name)), section_(std::move(section)),
      state_(static_cast<State*>(section_->data())) {}

Instance::~Instance() {
    if (g_current == this) g_current = nullptr;
    models::close_chip_images(*state_);
}

std::optional<Description> Instance::description(std::string* error) const {
    const std::string path = description_path(name_);
    if (std::filesystem::exists(path)) return load_description_file(path, error);
    return default_description();
}

std::unique_ptr<Instance> Instance::attach(const std::string& name, std::string* error, bool replace_foreign) {
    auto fail = [&](const std::string& why) -> std::unique_ptr<Instance> {
        if (error) *error = why;
        return nullptr;
    };
    if (!plat::valid_instance_name(name)) return fail("invalid instance name '" + name + "'");
    const std::string dir = plat::instance_dir(name);
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    if (ec) return fail("cannot create " + dir + ": " + ec.message());

    FileLock creating(dir + "/create.lock");
    if (!creating.ok()) return fail("cannot lock " + dir);
    auto section = plat::SharedSection::open(plat::sim_object_prefix(name) + "state", sizeof(State));
    if (!section) return fail("cannot map the shared state of instance '" + name + "'");
    std::unique_ptr<Instance> inst(new Instance(name, std::move(section)));
    State& s = inst->state();
    // The chips' contents are files of the instance directory; the EEPROM's
    // is made with the description's factory record when it is missing.
    std::string chip_error;
    if (!models::open_chip_images(s, dir, [&](std::string* e) { return inst->description(e); }, &chip_error))
        return fail("instance '" + name + "': " + chip_error);
    const bool foreign = s.magic == kStateMagic && (s.layout != kStateLayout || s.size != sizeof(State));
    // Same build, other word size (a 32-bit program beside a 64-bit one on
    // a PC): the state would fit, but the lock inside it would not. Never
    // replaced: its makers may be running without a host of their own.
    if (!foreign && s.magic == kStateMagic && !s.lock.compatible())
        return fail("instance '" + name + "' was made by " + s.lock.maker() + "; this " +
                    std::to_string(sizeof(void*) * 8) + "-bit process cannot share its locks "
                    "(use an instance of its own, or remove this one with vexsim destroy)");
    if (foreign && !replace_foreign)
        return fail("instance '" + name + "' was made by an incompatible build (state layout " +
                    std::to_string(s.layout) + ", this build " + std::to_string(kStateLayout) + ")");
    if (foreign && Host::host_pid(name) != 0)
        return fail("instance '" + name + "' is hosted by a program of an incompatible build; stop it first");
    // A state nobody finished, or one an older build left behind with nobody
    // hosting it any more: power the controller up afresh.
    if (foreign || s.magic != kStateMagic) {
        std::string why;
        auto d = inst->description(&why);
        if (!d) return fail(why);
        inst->power_up(*d);
        if (!write_registry_presets(dir, *d) || !preset_port_names(dir, s))
            return fail("cannot preset the registry of instance '" + name + "'");
    }
    return inst;
}

bool Instance::power_cycle(std::string* error) {
    auto d = description(error);
    if (!d) return false;
    FileLock creating(plat::instance_dir(name_) + "/create.lock");
    // Other processes (the host's serial thread among them) may be using the
    // lock: it stays as it is and is held while the rest starts afresh.
    SerialPortState ports[kSerialPorts];
    state_->lock.lock();
    models::memory_settle(*state_);  // a page a dead process left half copied
    state_->magic = 0;
    std::memcpy(ports, state_->serial_ports, sizeof ports);
    power_up(*d, ports);
    state_->lock.unlock();
    const std::string dir = plat::instance_dir(name_);
    return write_registry_presets(dir, *d) && preset_port_names(dir, *state_);
}

void Instance::power_up(const Description& d, const SerialPortState* keep_ports) {
    State& s = *state_;
    // Callers hold the creation lock, so nobody else initialises. A fresh
    // state gets a new lock; a running one (a power cycle, `keep_ports`
    // given, its lock held by the caller) keeps it.
    auto* bytes = reinterpret_cast<unsigned char*>(&s);
    const size_t lock_at = offsetof(State, lock), lock_end = lock_at + sizeof s.lock;
    if (keep_ports) {
        std::memset(bytes, 0, lock_at);
        std::memset(bytes + lock_end, 0, sizeof s - lock_end);
        std::memcpy(s.serial_ports, keep_ports, sizeof s.serial_ports);
    } else {
        std::memset(bytes, 0, sizeof s);
        s.lock.init();
    }
    s.layout = kStateLayout;
    s.size = sizeof(State);
    s.generation = random64();
    const uint64_t now = plat::monotonic_ns();
    s.epoch_ns = now;
    copy_text(s.instance, sizeof s.instance, name_);
    copy_text(s.hardware_id, sizeof s.hardware_id, d.hardware_id);
    models::backplane_power_up(s, d);
    models::peripherals_power_up(s);
    serial::power_up(s, d, now);
    models::memory_power_up(s, d);
    models::services_power_up(s, d, now);
    for (int i = 0; i < kSlots && i < d.slot_count; ++i) {
        if (d.slots[static_cast<size_t>(i)].kind != ModuleKind::Empty)
            models::slot_install(s, i, d.slots[static_cast<size_t>(i)], now);
    }
    mirror_all_slots(s, now);
    std::ofstream(plat::instance_dir(name_) + "/generation") << std::hex << s.generation << "\n";
    __atomic_store_n(&s.magic, kStateMagic, __ATOMIC_RELEASE);
    ring_link_doorbell(name_);  // the links are as described now: watchers read them again
}

bool Instance::exists(const std::string& name) {
    return plat::valid_instance_name(name) && plat::SharedSection::exists(plat::sim_object_prefix(name) + "state");
}

bool Instance::destroy(const std::string& name) {
    if (!plat::valid_instance_name(name)) return false;
    plat::remove_shared_objects(plat::sim_object_prefix(name));
    std::error_code ec;
    std::filesystem::remove_all(plat::instance_dir(name), ec);
    return !ec;
}

void Instance::trace(uint32_t offset, uint16_t value, uint8_t kind, uint64_t now) {
    TraceEntry& e = state_->trace[state_->trace_next % kTraceEntries];
    e.when_ns = now;
    e.offset = offset;
    e.value = value;
    e.kind = kind;
    e.pid = static_cast<uint32_t>(own_pid());
    state_->trace_next++;
}

uint8_t Instance::read8(uint32_t offset) {
    if (offset >= sizeof(State::image)) return 0xFF;  // nothing decodes there
    Guard g(*state_);
    State& s = *state_;
    const uint64_t now = now_ns();
    settle_resets(s, now);
    if (models::memory_decodes(s, offset)) return models::memory_read(s, offset, now);
    if (offset >= 0x1000 && offset < 0x9000)
        return s.image[offset] = models::slot_read(s, static_cast<int>(offset / 0x1000) - 1, offset & 0xFFF, now);
    if (offset >= 0x9000 && offset < 0x9100) return models::backplane_read(s, offset, now);
    if (offset < 0x1000 || offset >= 0xF000) return models::base_page_read(s, offset, now);
    return s.image[offset];
}

void Instance::write8(uint32_t offset, uint8_t value) {
    if (offset >= sizeof(State::image)) return;
    Guard g(*state_);
    State& s = *state_;
    const uint64_t now = now_ns();
    settle_resets(s, now);
    trace(offset, value, 1, now);
    if (models::memory_decodes(s, offset)) {
        models::memory_write(s, offset, value, now);
    } else if (offset >= 0x1000 && offset < 0x9000) {
        const int slot = static_cast<int>(offset / 0x1000) - 1;
        models::slot_write(s, slot, offset & 0xFFF, value, now);
        mirror_slot(s, slot, now);
    } else if (offset >= 0x9000 && offset < 0x9100)
        models::backplane_write(s, offset, value, now);
    else if (offset < 0x1000 || offset >= 0xF000)
        models::base_page_write(s, offset, value, now);
    else
        s.image[offset] = value;
}

// The bus is 8 bits wide towards the slots and the backplane block: a word
// access is two byte accesses, low byte first.
uint16_t Instance::read16(uint32_t offset) {
    const uint8_t lo = read8(offset);
    const uint8_t hi = read8(offset + 1);
    return static_cast<uint16_t>(lo | (hi << 8));
}

void Instance::write16(uint32_t offset, uint16_t value) {
    write8(offset, static_cast<uint8_t>(value & 0xFF));
    write8(offset + 1, static_cast<uint8_t>(value >> 8));
}

uint32_t Instance::os_timer() {
    const uint64_t now = now_ns();
    if (now >= models::reset_deadline(*state_)) {  // a watchdog bit: the counter restarted
        Guard g(*state_);
        settle_resets(*state_, now);
    }
    return models::os_timer_count(*state_, now);
}

uint32_t Instance::page_read32(plat::Page page, uint32_t offset) {
    // The counter depends only on the clock: no lock for the busiest register.
    if (page == plat::Page::OsTimer && offset == plat::ost::kCount) return os_timer();
    Guard g(*state_);
    const uint64_t now = now_ns();
    settle_resets(*state_, now);
    return models::peripheral_read(*state_, page, offset, now);
}

void Instance::page_write32(plat::Page page, uint32_t offset, uint32_t value) {
    Guard g(*state_);
    const uint64_t now = now_ns();
    settle_resets(*state_, now);
    models::peripheral_write(*state_, page, offset, value, now);
}

uint64_t Instance::now_ns() const {
    return plat::monotonic_ns() + __atomic_load_n(&state_->skew_ns, __ATOMIC_RELAXED);
}

void Instance::advance(uint64_t ns) {
    Guard g(*state_);
    state_->skew_ns += ns;
    settle_resets(*state_, now_ns());
    for (int i = 0; i < kSlots; ++i) {
        if (state_->slots[i].kind == static_cast<uint8_t>(ModuleKind::Parallel))
            models::parallel_advance(*state_, i, now_ns());
    }
    serial::advance_all(*state_, now_ns());
    models::timers_advance(*state_, now_ns());
    // Processes waiting for timers and watchdogs count on the old clock.
    reschedule_all_irqs(*state_);
    mirror_all_slots(*state_, now_ns());
}

bool Instance::plug(int slot, const SlotDescription& module) {
    if (slot < 0 || slot >= kSlots || module.kind == ModuleKind::Empty) return false;
    Guard g(*state_);
    const int count = state_->slot_count_code == 7 ? 8 : state_->slot_count_code;
    if (slot >= count) return false;
    models::slot_install(*state_, slot, module, now_ns());
    models::hotplug_event(*state_);
    mirror_slot(*state_, slot, now_ns());
    return true;
}

bool Instance::unplug(int slot) {
    if (slot < 0 || slot >= kSlots) return false;
    Guard g(*state_);
    const bool was_there = state_->slots[slot].kind != static_cast<uint8_t>(ModuleKind::Empty);
    models::slot_remove(*state_, slot, now_ns());
    if (was_there) models::hotplug_event(*state_);
    mirror_slot(*state_, slot, now_ns());
    return true;
}

void Instance::set_dip_switch(uint8_t positions) {
    Guard g(*state_);
    state_->dip_switch = positions;
    state_->image[0x9002] = static_cast<uint8_t>(~positions);
}

bool Instance::set_inputs(int slot, uint32_t lines) {
    if (slot < 0 || slot >= kSlots) return false;
    Guard g(*state_);
    Slot& sl = state_->slots[slot];
    switch (static_cast<ModuleKind>(sl.kind)) {
    case ModuleKind::Parallel:
        models::parallel_set_inputs(*state_, slot, lines, now_ns());
        mirror_slot(*state_, slot, now_ns());
        return sl.parallel.di_channels > 0;
    case ModuleKind::Serial: {
        serial::Place place;
        return serial::find_place(*state_, std::to_string(slot), place, nullptr) &&
               serial::set_inputs(*state_, place.index, lines, nullptr);
    }
    case ModuleKind::Empty:
        break;
    }
    return false;
}

}  // namespace vex::sim
