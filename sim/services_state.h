// The controller services of a virtual controller as kept in the instance's
// shared state (sim/state.h): the system watchdogs, what the front panel
// shows, the storage card and the Ethernet links. Plain data, fixed-width
// fields, one layout on every platform.
//
// Who writes: the device models (sim/models/system_watchdog.cpp,
// sim/models/panel.cpp), the card and link controls (sim/card.cpp,
// sim/links.cpp), always with the instance lock held. One field is also
// read without the lock: `reset_deadline_ns`, by the OS timer counter's
// lock-free path, with an atomic load (written with atomic stores).
#pragma once

#include <cstddef>
#include <cstdint>

namespace vex::sim {

// The two system watchdogs. Type 0 sits in the backplane's base page
// (register 0 write: bit 7 enable, bits 0..4 time in seconds, 0 counting as
// 32; a read of 0xF000 refreshes it). Type 1 is OS timer match 3: the
// controller resets when the counter reaches it while the watchdog enable
// bit is set or the match-3 interrupt is enabled at the timer and at the
// interrupt controller (the platform reboots on that interrupt).
struct SystemWatchdogState {
    uint8_t enabled;          // type 0: bit 7 of register 0 as last written
    uint8_t time;             // type 0: bits 0..4 as last written
    uint8_t last_reset_type;  // 0 backplane watchdog, 1 OS timer watchdog
    uint8_t pad;
    uint32_t resets;          // watchdog resets since the instance was made
    uint64_t deadline0_ns;    // type 0: instance clock at which it bites; UINT64_MAX unarmed
    uint64_t deadline1_ns;    // type 1: when the counter reaches match 3; UINT64_MAX unarmed
    uint64_t last_reset_ns;   // instance clock of the last watchdog reset, 0 = none
    uint32_t notices;         // platform notices received (enable / disable of type 0)
    uint32_t last_notice;     // the last notice's control code
};
static_assert(sizeof(SystemWatchdogState) == 40);

// What the front panel shows, as last observed by the panel model. Changes
// are recorded in the trace.
struct PanelState {
    uint32_t buzzer_hz;       // tone frequency while sounding, else 0
    uint8_t buzzer_duty;      // percent, while sounding
    uint8_t led_on;
    uint8_t backlight;        // 0..100 percent
    uint8_t backlight_pwm;    // 1 when the level comes from PWM 1, 0 from GPIO 52
    uint32_t beeps;           // times the buzzer started sounding
    uint32_t pad;
};
static_assert(sizeof(PanelState) == 16);

inline constexpr int kCardPartitions = 4;
inline constexpr size_t kCardText = 32;     // partition name, file system, label
inline constexpr size_t kCardPath = 256;    // contents directory, mount folder

struct CardPartitionState {
    char name[kCardText];
    char file_system[kCardText];
    char label[kCardText];
    char contents[kCardPath];    // directory that holds the partition's files
};

struct CardState {
    uint8_t present;          // a card sits in the slot
    uint8_t partitions;       // 0..kCardPartitions
    uint8_t mounted;          // mounted partition index + 1, 0 = none
    uint8_t pad;
    uint32_t changes;         // insertions, removals, mounts, unmounts
    char folder[kCardPath];   // where the mounted partition shows (a link)
    CardPartitionState part[kCardPartitions];
};

inline constexpr int kLinks = 4;
inline constexpr size_t kLinkName = 16;     // interface names, as the kernel limits them

struct LinkEntry {
    char interface[kLinkName];   // empty = unused
    uint8_t up;                  // carrier present
    uint8_t pad[3];
};

struct LinkState {
    uint32_t changes;         // every change of any link
    uint32_t pad;
    LinkEntry link[kLinks];
};

struct ServicesState {
    // Earliest instance time at which a system watchdog resets the
    // controller; UINT64_MAX when none is armed.
    uint64_t reset_deadline_ns;
    SystemWatchdogState watchdog;
    PanelState panel;
    CardState card;
    LinkState links;
};
static_assert(offsetof(ServicesState, watchdog) == 8);
static_assert(sizeof(ServicesState) % 8 == 0);

// Trace entry kinds of the services (sim/state.h TraceEntry::kind; 1 and 2
// are register writes). `offset` and `value` carry:
inline constexpr uint8_t kTraceBuzzer = 0x10;     // offset: frequency in Hz (0 = silent); value: duty %
inline constexpr uint8_t kTraceLed = 0x11;        // value: 1 on, 0 off
inline constexpr uint8_t kTraceBacklight = 0x12;  // value: level %
inline constexpr uint8_t kTraceReset = 0x13;      // offset: watchdog type; value: resets so far
inline constexpr uint8_t kTraceNotice = 0x14;     // offset: control code of a platform notice
inline constexpr uint8_t kTraceCard = 0x15;       // value: 1 inserted, 0 removed, 2 mounted, 3 unmounted
inline constexpr uint8_t kTraceLink = 0x16;       // offset: link index; value: 1 up, 0 down
inline constexpr uint8_t kTracePowerCycle = 0x17; // a reboot asked by the library

}  // namespace vex::sim
