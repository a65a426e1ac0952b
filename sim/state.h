// The shared state of one virtual controller instance. It lives in POSIX
// shared memory so that every process attached to the instance sees the
// same hardware, as processes on a real controller do. Plain data only:
// no pointers, fixed-width fields, one layout for every process.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/shared_section.h"
#include "sim/chip_state.h"
#include "sim/peripheral_state.h"
#include "sim/serial_state.h"
#include "sim/services_state.h"

namespace vex::sim {

inline constexpr uint32_t kStateMagic = 0x56584331;  // "VXC1"
inline constexpr uint32_t kStateLayout = 9;
inline constexpr int kSlots = 8;

enum class ModuleKind : uint8_t { Empty = 0, Parallel = 1, Serial = 2 };

// A parallel-bus module: registers in its slot page.
struct ParallelModule {
    uint32_t di;            // input lines, bit n = channel n energised
    uint32_t do_latch;      // outputs as the module drives them
    uint8_t di_channels;    // 0, 4, 8, 16 or 32
    uint8_t do_channels;
    uint8_t capability;     // register 0x0E
    uint8_t subtype;        // register 0x10 (identification) on modules without read-back
    uint8_t readback;       // outputs readable at 0x10..0x16
    uint8_t watchdog;       // carries a module watchdog and parameter memory
    // Module watchdog (modules with `watchdog` only).
    uint8_t wdt_enabled;    // register 0x1C as last written (bit 0)
    uint8_t wdt_timeout;    // register 0x1E: half-seconds; 0 counts as 256
    uint8_t wdt_expired;    // status bit 4: outputs held at the safe value
    uint8_t wdt_irq_enable; // register 0x22 as last written (2 = on, 0 = off)
    uint8_t last_source;    // status bits 0..3, one of kSource*
    uint8_t param_mode;     // register 0x16: 1 = write, 0 = read
    uint8_t param_index;    // register 0x18
    uint8_t pad0[3];
    uint64_t wdt_deadline_ns;  // instance clock at which the armed watchdog expires
    // The module's own parameter memory (0 = power-on value enabled, 1..4
    // power-on value, 9..12 safe value). Kept across power cycles in the
    // instance directory, like the module's non-volatile memory it models.
    uint8_t params[32];
};
static_assert(sizeof(ParallelModule) == 64 && offsetof(ParallelModule, wdt_deadline_ns) == 24,
              "one layout for every process");

// Last-output-source codes of the virtual controller's modules (status
// register 0x20, bits 0..3): what last drove the outputs.
inline constexpr uint8_t kSourceHost = 0;     // the host's writes, or the reset state (all off)
inline constexpr uint8_t kSourcePowerOn = 1;  // the stored power-on value, at power-up
inline constexpr uint8_t kSourceSafe = 2;     // the stored safe value, when the watchdog expired

struct Slot {
    uint8_t kind;           // ModuleKind
    uint8_t id;             // register 0x00 (255 for a serial module)
    uint8_t pad[6];
    ParallelModule parallel;
    // A serial module in the slot lives in State::serial (site Slot).
};
static_assert(sizeof(Slot) == 72, "one layout for every process");

// A trace entry: one register write or serial exchange note.
struct TraceEntry {
    uint64_t when_ns;
    uint32_t offset;
    uint16_t value;
    uint8_t kind;           // 1 = byte write, 2 = word write; 0x10.. services' events (sim/services_state.h)
    uint8_t pad;
    uint32_t pid;           // the process that wrote or caused it
    uint32_t pad2;
};
static_assert(sizeof(TraceEntry) == 24, "one layout for every process");
inline constexpr uint32_t kTraceEntries = 256;

// One of the controller's own COM ports (the internal backplane port and the
// external bus ports), as the host publishes it: a pseudo-terminal plus the
// modem lines it lacks. DTR and RTS are driven by whoever has the port open;
// the far end drives its own lines, and with loopback wiring DTR also
// drives DSR and carrier detect, RTS drives CTS. Each input line counts its
// transitions, so a waiter never misses a short pulse.
inline constexpr int kSerialPorts = 8;
struct SerialPortState {
    char name[20];          // "COM1:"; empty when the entry is unused
    char device[64];        // slave side of the pseudo-terminal
    uint8_t loopback;
    uint8_t dtr;
    uint8_t rts;
    uint8_t far_lines;      // CTS 0x10, DSR 0x20, RING 0x40, carrier 0x80
    uint32_t transitions[4];  // CTS, DSR, RING, carrier detect
};
static_assert(sizeof(SerialPortState) == 104, "one layout for every process");

// Interrupt lines from the backplane to the processor: 0..7 slot n
// (kernel interrupt 38 + n), 8 the single-slot controller's slot (66),
// 9..11 backplane timer n (67 + n).
inline constexpr int kIrqLines = 12;
inline constexpr int kIrqLineSingleSlot = 8;
inline constexpr int kIrqLineTimer0 = 9;
inline constexpr int kIrqBindings = 32;

// A process bound to an interrupt line. It is woken through a datagram
// socket whose abstract name carries `token` (see sim/interrupt_lines.h).
struct IrqBinding {
    uint64_t token;         // 0 = free entry
    int32_t pid;
    uint32_t line;
};
static_assert(sizeof(IrqBinding) == 16, "one layout for every process");

// One backplane timer, counted on the instance clock.
struct BackplaneTimer {
    uint64_t start_ns;      // when it was loaded; 0 = stopped
    uint64_t next_ns;       // its next tick
    uint64_t period_ns;
    uint64_t ticks;         // since it was loaded
    uint64_t merged;        // ticks that found the previous one unacknowledged
};
static_assert(sizeof(BackplaneTimer) == 40, "one layout for every process");

// Interrupts, backplane timers and hot plug (registers 0x9006..0x901A,
// 0x9020..0x9044). Bit n of the slot masks is slot n.
struct IrqState {
    uint8_t enable[3];      // per trigger type: 0x9010 rising, 0x9014 level, 0x9018 falling
    uint8_t latch[3];       // 0x9012, 0x9016, 0x901A
    uint8_t gate;           // 0x9044
    uint8_t retrigger;      // 0x900C
    uint8_t line;           // level of each slot's interrupt line
    uint8_t pending;        // latched, enabled and gated, as last computed
    uint8_t in_service;     // delivered and not yet ended by an end of interrupt
    uint8_t deferred;       // became pending again while in service
    uint8_t control;        // 0x900A: bit 2 timer 0 output, bit 3 hot-plug enable
    uint8_t status;         // 0x900E: bit 0 timer 1, bit 1 timer 2, bit 2 timer 0, bit 3 hot plug
    uint8_t timer_regs[8];  // 0x9020/22/24/26 (timer 0), 0x9038/3A (timer 1), 0x903C/3E (timer 2)
    uint8_t single_slot;    // the single-slot controller: slot 0's line is GPIO 3
    uint8_t pad;
    uint32_t input_rising[kSlots];   // inputs whose rising edge pulses the module's line
    uint32_t input_falling[kSlots];  // inputs whose falling edge does
    BackplaneTimer timers[3];
    uint32_t raised[kIrqLines];      // interrupts raised on each line (wraps)
    uint32_t schedule[kIrqLines];    // changes when a line's time-driven source changes
    IrqBinding bindings[kIrqBindings];
};
static_assert(sizeof(IrqState) == 816, "one layout for every process");

struct State {
    uint32_t magic;         // kStateMagic once the creator has finished
    uint32_t layout;
    uint32_t size;
    uint32_t pad0;
    plat::ProcessMutex lock;
    uint64_t generation;    // random, new each power-up
    uint64_t epoch_ns;      // monotonic time of power-up (OS timer zero)
    uint64_t skew_ns;       // time let pass on purpose (vexsim advance)
    char instance[64];
    char hardware_id[64];

    // Backplane facts from the description.
    uint8_t slot_count_code;   // register 0x9046, low three bits
    uint8_t backplane_version; // register 0x9000
    uint8_t dip_switch;        // switch positions, bit set = on
    uint8_t cpu_id;            // bits 13..15 of the word at offset 0
    uint8_t slot_select;       // last value written to 0x9004
    uint8_t pad1[3];

    Slot slots[kSlots];

    uint32_t trace_next;
    uint32_t pad2;
    TraceEntry trace[kTraceEntries];

    SerialPortState serial_ports[kSerialPorts];

    Peripherals peripherals;   // the processor's own pages (sim/models/peripherals.cpp)
    MemoryChips chips;         // SRAM, EEPROM, NVRAM and board facts (sim/models/memory.h)

    ServicesState services;    // system watchdogs, panel, card, links (sim/services_state.h)
    IrqState irq;              // interrupts, backplane timers, hot plug (sim/models/slot_irq.cpp, timer_block.cpp)

    // Serial modules, expansion units, bus settings and the exchange trace.
    SerialBusState serial;

    // Read side of every register of the window. Device models keep it
    // current; the library's _vex_map pointer looks straight into it.
    alignas(8) uint8_t image[0x10000];
};
// The header every build reads first (magic, layout, size and the lock)
// sits where any build, 32- or 64-bit, finds it; 64-bit fields that are
// read and written atomically are 8-aligned (ARM's exclusive doubleword
// accesses fault otherwise).
static_assert(sizeof(plat::ProcessMutex) == 64 && alignof(plat::ProcessMutex) == 8);
static_assert(offsetof(State, lock) == 16 && offsetof(State, generation) == 80);
static_assert(offsetof(State, slots) % 8 == 0 && offsetof(State, trace) % 8 == 0);
static_assert(offsetof(State, image) % 8 == 0 && sizeof(State) % 8 == 0);

}  // namespace vex::sim
