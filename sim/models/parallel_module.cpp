// Parallel-bus digital modules: identification, inputs, output latches,
// read-back, and on modules that carry one the module watchdog with its
// parameter memory (power-on and safe output values).
//
// Registers sit at even offsets (the bus has a stride of 2). The read and
// write sides of one offset are different registers: offset 0 reads the
// module ID but writes outputs 0..7, and 0x16 reads outputs 24..31 back on
// the read-back type but selects the parameter access mode when written.
//
//   read                                write
//   0x00        module ID               0x00..0x06  outputs, 8 bits each
//   0x02..0x08  inputs, active low      0x16        parameter mode (1 write, 0 read)
//   0x0E        capability              0x18        parameter index
//   0x10..0x16  outputs read back       0x1A        parameter value
//   0x1A        parameter value         0x1C        watchdog enable (bit 0)
//   0x1E        watchdog timeout        0x1E        watchdog timeout, half-seconds
//   0x20        status: bit 4 expired,  0x22        watchdog interrupt enable
//               bits 0..3 last source   0x24        refresh (0x55)
//
// Module watchdog. Enabling (1 to 0x1C) arms it for the timeout (0x1E
// half-seconds; 0 counts as 256, like the 8-bit reload counter it is);
// 0x55 to 0x24 re-arms a running one. When it runs out the module drives
// its outputs to the safe value (parameters 9..12), sets status bit 4 and
// last source 2, and from then on ignores output writes: the outputs stay
// at the safe value until the watchdog is enabled again, and after that
// until the host writes them. Disabling does not clear an expiry. Expiry is
// computed from the instance clock whenever the module is touched or time
// is let pass, so it is exact without a thread.
//
// Parameter memory is the module's non-volatile memory: it survives power
// cycles of the controller (a file in the instance directory) and belongs to
// the module in the slot. A module plugged in later is a new module and
// starts from its description, as does one whose description changed.
// At power-up a module whose power-on value is enabled (parameter 0)
// drives it, with last source 1.
//
// Interrupt line. The module holds its slot's interrupt line high while its
// watchdog has expired with the watchdog interrupt enabled (2 at 0x22) and
// the watchdog still switched on; switching the watchdog off (0 to 0x1C) or
// the interrupt off drops it. An edge of an input that the description
// names (interrupt_rising, interrupt_falling) sends a short pulse.
#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string>

#include "platform/target.h"
#include "sim/interrupt_lines.h"
#include "sim/models/models.h"
#include "sim/models/services.h"

namespace vex::sim::models {
namespace {

constexpr uint32_t kParamMemory = sizeof(ParallelModule::params);
constexpr uint8_t kParamPowerOnEnabled = 0;
constexpr uint8_t kParamPowerOnValue = 1;
constexpr uint8_t kParamSafeValue = 9;
constexpr uint64_t kHalfSecondNs = 500000000ull;

ParallelModule& mod(State& s, int slot) { return s.slots[slot].parallel; }

uint32_t channel_mask(uint8_t channels) {
    return channels >= 32 ? 0xFFFFFFFFu : ((1u << channels) - 1u);
}

uint8_t byte_of(uint32_t v, int i) { return static_cast<uint8_t>(v >> (8 * i)); }

uint32_t param_word(const ParallelModule& m, uint8_t first) {
    uint32_t v = 0;
    for (int i = 0; i < 4; ++i) v |= static_cast<uint32_t>(m.params[first + i]) << (8 * i);
    return v;
}

void set_param_word(ParallelModule& m, uint8_t first, uint32_t v) {
    for (int i = 0; i < 4; ++i) m.params[first + i] = byte_of(v, i);
}

// ---- Parameter memory on file: one record per slot. ----

constexpr uint32_t kRecordMagic = 0x4D505856;  // "VXPM"

struct MemoryRecord {
    uint32_t magic;
    uint8_t id;               // the module the memory belongs to
    uint8_t pad[3];
    uint32_t born_power_on;   // the description it was made from
    uint32_t born_safe;
    uint8_t params[kParamMemory];
};

std::string memory_path(const State& s) {
    return plat::instance_dir(std::string(s.instance, strnlen(s.instance, sizeof s.instance))) + "/module-memory";
}

MemoryRecord record_for(const State& s, int slot, const SlotDescription& d) {
    MemoryRecord r{};
    r.magic = kRecordMagic;
    r.id = s.slots[slot].id;
    r.born_power_on = d.power_on;
    r.born_safe = d.safe;
    return r;
}

off_t record_offset(int slot) { return static_cast<off_t>(slot) * static_cast<off_t>(sizeof(MemoryRecord)); }

bool read_record(const State& s, int slot, MemoryRecord& r) {
    const int fd = ::open(memory_path(s).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const ssize_t n = ::pread(fd, &r, sizeof r, record_offset(slot));
    ::close(fd);
    return n == static_cast<ssize_t>(sizeof r) && r.magic == kRecordMagic && r.id == s.slots[slot].id;
}

// The caller holds the state lock, so processes take turns. A lost write
// (no instance directory) costs only the persistence.
void write_record(const State& s, int slot, const MemoryRecord& r) {
    const int fd = ::open(memory_path(s).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return;
    if (::pwrite(fd, &r, sizeof r, record_offset(slot)) != static_cast<ssize_t>(sizeof r)) {
        // See above: the module keeps working from its registers.
    }
    ::close(fd);
}

// Loads the slot's memory when the file holds it for this very module.
bool load_memory(const State& s, int slot, const SlotDescription& d, ParallelModule& m) {
    MemoryRecord r{};
    if (!read_record(s, slot, r) || r.born_power_on != d.power_on || r.born_safe != d.safe) return false;
    std::memcpy(m.params, r.params, kParamMemory);
    return true;
}

void save_memory(const State& s, int slot, const SlotDescription& d, const ParallelModule& m) {
    MemoryRecord r = record_for(s, slot, d);
    std::memcpy(r.params, m.params, kParamMemory);
    write_record(s, slot, r);
}

// After a parameter write: the record keeps what it was made from.
void update_memory(const State& s, int slot, const ParallelModule& m) {
    MemoryRecord r{};
    if (!read_record(s, slot, r)) {
        r = MemoryRecord{};
        r.magic = kRecordMagic;
        r.id = s.slots[slot].id;
    }
    std::memcpy(r.params, m.params, kParamMemory);
    write_record(s, slot, r);
}

// ---- Watchdog ----

uint64_t period_ns(const ParallelModule& m) {
    return (m.wdt_timeout ? m.wdt_timeout : 256u) * kHalfSecondNs;
}

void arm(ParallelModule& m, uint64_t now) { m.wdt_deadline_ns = now + period_ns(m); }

uint8_t status(const ParallelModule& m) {
    return static_cast<uint8_t>((m.wdt_expired ? 0x10 : 0x00) | (m.last_source & 0x0F));
}

constexpr uint8_t kWdtIrqOn = 2;

bool irq_line_high(const ParallelModule& m) {
    return m.watchdog && m.wdt_irq_enable == kWdtIrqOn && m.wdt_expired && m.wdt_enabled;
}

void sync_line(State& s, int slot, uint64_t now) { slot_line_level(s, slot, irq_line_high(mod(s, slot)), now); }

uint8_t watchdog_read(const ParallelModule& m, uint32_t offset) {
    switch (offset) {
    case 0x1A:
        return m.param_index < kParamMemory ? m.params[m.param_index] : 0xFF;
    case 0x1E:
        return m.wdt_timeout;
    case 0x20:
        return status(m);
    default:
        return 0xFF;
    }
}

void watchdog_write(State& s, int slot, uint32_t offset, uint8_t value, uint64_t now) {
    ParallelModule& m = mod(s, slot);
    switch (offset) {
    case 0x16:
        m.param_mode = value & 1;
        return;
    case 0x18:
        m.param_index = value;
        return;
    case 0x1A:
        if (m.param_mode == 1 && m.param_index < kParamMemory && m.params[m.param_index] != value) {
            m.params[m.param_index] = value;
            update_memory(s, slot, m);
        }
        return;
    case 0x1C:
        if (value & 1) {
            // Enabling re-arms, even after expiry; the outputs stay as
            // they are (at the safe value) until the host writes them.
            m.wdt_enabled = 1;
            m.wdt_expired = 0;
            arm(m, now);
        } else {
            m.wdt_enabled = 0;
        }
        sync_line(s, slot, now);
        reschedule_irq(s, slot);
        return;
    case 0x1E:
        m.wdt_timeout = value;  // takes effect when next armed or refreshed
        return;
    case 0x22:
        m.wdt_irq_enable = value;
        sync_line(s, slot, now);
        reschedule_irq(s, slot);
        return;
    case 0x24:
        if (value == 0x55 && m.wdt_enabled && !m.wdt_expired) arm(m, now);
        return;
    default:
        return;
    }
}

}  // namespace

void parallel_power_up(State& s, int slot, const SlotDescription& d, uint64_t) {
    ParallelModule& m = mod(s, slot);
    m.di_channels = d.di_channels;
    m.do_channels = d.do_channels;
    m.readback = d.readback;
    m.watchdog = d.watchdog;
    m.subtype = d.subtype;
    m.capability = d.capability ? *d.capability
                                : static_cast<uint8_t>(((d.readback || d.watchdog) ? 0x20 : 0) |
                                                       (d.version & 0x1F));
    m.di = d.di & channel_mask(d.di_channels);
    m.do_latch = 0;
    m.last_source = kSourceHost;
    m.wdt_enabled = 0;
    m.wdt_expired = 0;
    m.wdt_irq_enable = 0;
    m.wdt_deadline_ns = 0;
    m.param_mode = 0;
    m.param_index = 0;
    std::memset(m.params, 0, sizeof m.params);
    if (!m.watchdog) return;
    m.wdt_timeout = d.wdt_timeout;
    // While the instance powers up its state is not yet marked finished:
    // modules that stayed in their slots keep their memory. A plug brings
    // a new module, made from its description.
    const bool powering_up = s.magic != kStateMagic;
    if (!(powering_up && load_memory(s, slot, d, m))) {
        m.params[kParamPowerOnEnabled] = d.power_on != 0 ? 1 : 0;
        set_param_word(m, kParamPowerOnValue, d.power_on);
        set_param_word(m, kParamSafeValue, d.safe);
        save_memory(s, slot, d, m);
    }
    if (m.params[kParamPowerOnEnabled] != 0) {
        m.do_latch = param_word(m, kParamPowerOnValue) & channel_mask(m.do_channels);
        m.last_source = kSourcePowerOn;
    }
}

void parallel_reset(State& s, int slot, uint64_t) {
    ParallelModule& m = mod(s, slot);
    m.do_latch = 0;
    m.last_source = kSourceHost;
    m.wdt_enabled = 0;
    m.wdt_expired = 0;
    m.wdt_irq_enable = 0;
    m.wdt_deadline_ns = 0;
    m.param_mode = 0;
    m.param_index = 0;
    if (m.watchdog && m.params[kParamPowerOnEnabled] != 0) {
        m.do_latch = param_word(m, kParamPowerOnValue) & channel_mask(m.do_channels);
        m.last_source = kSourcePowerOn;
    }
}

void parallel_advance(State& s, int slot, uint64_t now) {
    ParallelModule& m = mod(s, slot);
    if (!m.watchdog || !m.wdt_enabled || m.wdt_expired || now < m.wdt_deadline_ns) return;
    m.wdt_expired = 1;
    m.do_latch = param_word(m, kParamSafeValue) & channel_mask(m.do_channels);
    m.last_source = kSourceSafe;
    sync_line(s, slot, now);
}

uint64_t parallel_irq_deadline(const State& s, int slot) {
    if (s.slots[slot].kind != static_cast<uint8_t>(ModuleKind::Parallel)) return UINT64_MAX;
    const ParallelModule& m = s.slots[slot].parallel;
    if (!m.watchdog || !m.wdt_enabled || m.wdt_expired || m.wdt_irq_enable != kWdtIrqOn) return UINT64_MAX;
    return m.wdt_deadline_ns;
}

void parallel_set_inputs(State& s, int slot, uint32_t lines, uint64_t now) {
    parallel_advance(s, slot, now);
    ParallelModule& m = mod(s, slot);
    const uint32_t before = m.di;
    m.di = lines & channel_mask(m.di_channels);
    const uint32_t rising = m.di & ~before & s.irq.input_rising[slot];
    const uint32_t falling = ~m.di & before & s.irq.input_falling[slot];
    if (rising | falling) slot_line_pulse(s, slot, Pulse::Full, now);
}

uint8_t parallel_read(State& s, int slot, uint32_t offset, uint64_t now) {
    parallel_advance(s, slot, now);
    ParallelModule& m = mod(s, slot);
    switch (offset) {
    case 0x00:
        return s.slots[slot].id;
    case 0x02:
    case 0x04:
    case 0x06:
    case 0x08: {
        // Inputs read active low; lines beyond the module's width float high.
        const int i = static_cast<int>(offset / 2 - 1);
        return static_cast<uint8_t>(~byte_of(m.di & channel_mask(m.di_channels), i));
    }
    case 0x0E:
        return m.capability;
    case 0x10:
    case 0x12:
    case 0x14:
    case 0x16:
        if (m.readback) return byte_of(m.do_latch, static_cast<int>((offset - 0x10) / 2));
        return offset == 0x10 ? m.subtype : 0xFF;
    default:
        return m.watchdog ? watchdog_read(m, offset) : 0xFF;
    }
}

void parallel_write(State& s, int slot, uint32_t offset, uint8_t value, uint64_t now) {
    parallel_advance(s, slot, now);
    ParallelModule& m = mod(s, slot);
    if (offset <= 0x06 && offset % 2 == 0) {
        if (m.wdt_expired) return;  // held at the safe value until re-armed
        const int shift = static_cast<int>(offset / 2) * 8;
        const uint32_t keep = ~(0xFFu << shift);
        m.do_latch = ((m.do_latch & keep) | (static_cast<uint32_t>(value) << shift)) &
                     channel_mask(m.do_channels);
        m.last_source = kSourceHost;
        return;
    }
    if (m.watchdog) watchdog_write(s, slot, offset, value, now);
}

}  // namespace vex::sim::models
