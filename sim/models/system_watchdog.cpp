// The system watchdogs and the controller reset they cause.
//
// Type 0 lives in the backplane's base page. Register 0, write side: bit 7
// enable, bits 0..4 the time in seconds (0 counts as 32, like the 5-bit
// reload counter it is). Read side, as the backplane reports it: on the
// single-slot controllers (hardware ID "LT4...") bit 2 enabled and bits
// 3..7 the time; on the others bit 4 enabled, bits 5..7 the time's low
// three bits and bits 0..1 of register 1 its high two (bits 5..7 of
// register 1 are the CPU ID, the top of the word at offset 0). Enabling
// arms it for the time; rewriting it while enabled, or any read of 0xF000,
// re-arms it.
//
// Type 1 is match 3 of the OS timer: the controller resets when the counter
// reaches match 3 while the watchdog enable bit is set, or while the match-3
// interrupt is enabled both at the timer (bit 3) and at the interrupt
// controller (source 29), as the platform reboots on that interrupt.
//
// Expiry is computed from the instance clock: each arming stores the time
// at which the watchdog bites, and every access to the controller first
// applies the resets that are due, at the time they were due. So the reset
// is exact whichever process looks next, and `advance` runs it out at once.
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <random>

#include "platform/target.h"
#include "sim/models/models.h"
#include "sim/models/peripherals.h"
#include "sim/models/services.h"

namespace vex::sim::models {
namespace {

constexpr uint64_t kNever = UINT64_MAX;
constexpr uint32_t kRefreshOffset = 0xF000;
constexpr uint64_t kSecondNs = 1000000000ull;

bool single_slot_layout(const State& s) {
    const char* id = s.hardware_id;
    auto up = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
    return up(id[0]) == 'L' && up(id[1]) == 'T' && id[2] == '4';
}

uint64_t type0_period_ns(const SystemWatchdogState& w) { return (w.time ? w.time : 32u) * kSecondNs; }

void publish_deadline(State& s) {
    const SystemWatchdogState& w = s.services.watchdog;
    const uint64_t d = w.deadline0_ns < w.deadline1_ns ? w.deadline0_ns : w.deadline1_ns;
    __atomic_store_n(&s.services.reset_deadline_ns, d, __ATOMIC_RELEASE);
}

bool ost_watchdog_armed(const State& s) {
    const OsTimerState& t = s.peripherals.os_timer;
    const uint32_t mask = s.peripherals.intc.word[plat::intc::kMask / 4];
    const bool irq = (t.irq_enable & 8u) != 0 && (mask & (1u << plat::intc::kOsTimerMatch3)) != 0;
    return (t.watchdog_enable & 1u) != 0 || irq;
}

// The instance time at which the counter next steps onto match 3.
uint64_t next_match3_ns(const State& s, uint64_t now) {
    const uint64_t tick = os_timer_ticks(s, now);
    uint64_t distance = static_cast<uint32_t>(s.peripherals.os_timer.match[3] - static_cast<uint32_t>(tick));
    if (distance == 0) distance = 1ull << 32;
    const uint64_t target = tick + distance;
    // Inverse of ticks = ns * 13 / 4000, rounded up to the first ns of the tick.
    return __atomic_load_n(&s.epoch_ns, __ATOMIC_ACQUIRE) + (target * 4000 + 12) / 13;
}

void rearm_type1(State& s, uint64_t now) {
    s.services.watchdog.deadline1_ns = ost_watchdog_armed(s) ? next_match3_ns(s, now) : kNever;
    publish_deadline(s);
}

void mirror_base(State& s) {
    s.image[0] = base_page_read(s, 0, 0);
    s.image[1] = base_page_read(s, 1, 0);
}

void write_generation(const State& s, uint64_t generation) {
    const std::string dir = plat::instance_dir(std::string(s.instance, strnlen(s.instance, sizeof s.instance)));
    const std::string tmp = dir + "/generation.tmp";
    {
        std::ofstream out(tmp);
        out << std::hex << generation << "\n";
        if (!out) return;  // no instance directory: only volatile keys outlive the reset
    }
    std::rename(tmp.c_str(), (dir + "/generation").c_str());
}

// The backplane's registers from the facts of the instance.
void reset_backplane(State& s) {
    std::memset(s.image + 0x9000, 0, 0x100);
    Description d;
    d.cpu_id = s.cpu_id;
    d.backplane_version = s.backplane_version;
    d.dip_switch = s.dip_switch;
    d.slot_count = static_cast<uint8_t>(s.slot_count_code == 7 ? 8 : s.slot_count_code);
    backplane_power_up(s, d);
}

void apply_reset(State& s, uint64_t at, uint8_t type) {
    // The OS timer and the backplane timers count from the reset.
    __atomic_store_n(&s.epoch_ns, at, __ATOMIC_RELEASE);
    for (int i = 0; i < kSlots; ++i) {
        if (s.slots[i].kind == static_cast<uint8_t>(ModuleKind::Parallel)) {
            parallel_advance(s, i, at);  // a module watchdog that ran out first
            parallel_reset(s, i, at);
        }
        // A serial module is a processor of its own: the controller's reset
        // does not reach it (its host watchdog sees the silence instead).
    }
    reset_backplane(s);
    peripherals_power_up(s);
    s.peripherals.power.word[plat::power::kResetStatus / 4] = plat::power::kResetWatchdog;

    SystemWatchdogState& w = s.services.watchdog;
    w.enabled = 0;
    w.time = 0;
    w.deadline0_ns = kNever;
    w.deadline1_ns = kNever;
    w.resets++;
    w.last_reset_ns = at;
    w.last_reset_type = type;
    publish_deadline(s);
    mirror_base(s);

    std::random_device rd;
    s.generation = (static_cast<uint64_t>(rd()) << 32) ^ rd();
    write_generation(s, s.generation);
    trace_event(s, kTraceReset, type, static_cast<uint16_t>(w.resets), at);
    panel_observe(s, at);
}

}  // namespace

uint8_t base_page_read(State& s, uint32_t offset, uint64_t now) {
    SystemWatchdogState& w = s.services.watchdog;
    // Registers 0 and 1 are shared: on the multi-slot boards the low nibble
    // of 0 is the rotary switch (inverted) and bits 2..7 of 1 the CPU board
    // version, whose top three bits are the CPU ID of the word at offset 0;
    // the watchdog's bits fill the rest. The single-slot board keeps its
    // rotary switch and board version at 0x8000 instead.
    const BoardState& board = s.chips.board;
    if (offset == 0) {
        if (single_slot_layout(s)) return static_cast<uint8_t>((w.enabled ? 0x04 : 0) | (w.time << 3));
        return static_cast<uint8_t>((w.enabled ? 0x10 : 0) | ((w.time & 7u) << 5) | ((15u - board.rotary) & 15u));
    }
    if (offset == 1) {
        if (single_slot_layout(s)) return static_cast<uint8_t>(s.cpu_id << 5);
        return static_cast<uint8_t>((board.board_version << 2) | ((w.time >> 3) & 3u));
    }
    if (offset == kRefreshOffset) {
        if (w.enabled) {
            w.deadline0_ns = now + type0_period_ns(w);
            publish_deadline(s);
        }
        return 0xFF;  // nothing drives the data lines: only the strobe counts
    }
    return s.image[offset];
}

void base_page_write(State& s, uint32_t offset, uint8_t value, uint64_t now) {
    if (offset != 0) {
        if (offset != 1) s.image[offset] = value;  // the CPU ID word is read-only
        return;
    }
    SystemWatchdogState& w = s.services.watchdog;
    w.enabled = (value & 0x80) ? 1 : 0;
    w.time = value & 0x1F;
    w.deadline0_ns = w.enabled ? now + type0_period_ns(w) : kNever;
    publish_deadline(s);
    mirror_base(s);
}

void services_after_page_write(State& s, plat::Page page, uint64_t now) {
    switch (page) {
    case plat::Page::OsTimer:
    case plat::Page::IrqController:
        rearm_type1(s, now);
        return;
    case plat::Page::Pwm0:
    case plat::Page::Pwm1:
    case plat::Page::Clock:
    case plat::Page::Gpio:
        panel_observe(s, now);
        return;
    default:
        return;
    }
}

uint64_t reset_deadline(const State& s) { return __atomic_load_n(&s.services.reset_deadline_ns, __ATOMIC_ACQUIRE); }

bool system_catch_up(State& s, uint64_t now) {
    bool reset = false;
    for (int guard = 0; guard < 4 && now >= s.services.reset_deadline_ns; ++guard) {
        const SystemWatchdogState& w = s.services.watchdog;
        const uint8_t type = w.deadline0_ns <= w.deadline1_ns ? 0 : 1;
        apply_reset(s, s.services.reset_deadline_ns, type);
        reset = true;
    }
    return reset;
}

void platform_notice(State& s, uint32_t code, uint64_t now) {
    s.services.watchdog.notices++;
    s.services.watchdog.last_notice = code;
    trace_event(s, kTraceNotice, code, 0, now);
}

void trace_event(State& s, uint8_t kind, uint32_t offset, uint16_t value, uint64_t now) {
    TraceEntry& e = s.trace[s.trace_next % kTraceEntries];
    e.when_ns = now;
    e.offset = offset;
    e.value = value;
    e.kind = kind;
    e.pid = static_cast<uint32_t>(::getpid());
    s.trace_next++;
}

}  // namespace vex::sim::models
