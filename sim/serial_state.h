// Shared state of the virtual controller's serial modules: the modules in
// local slots, on the external buses and in the slots of remote expansion
// units, the per-port settings the modules honour (terminator, pacing,
// faults), and the trace of serial exchanges. Part of sim::State, so every
// process attached to the instance sees it (vexsim show, vexsim set, the
// host answering on the pseudo-terminals).
//
// Lock rule: every field is read and written with the instance's state lock
// held (Instance::with_lock), by the host's serial thread while it answers a
// command and by control operations (vexsim, tests). Plain data, fixed-width
// fields, no pointers: one layout for every process.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vex::sim {

inline constexpr int kSerialModules = 48;
inline constexpr int kSerialUnits = 8;
inline constexpr int kSerialBusPorts = 8;
inline constexpr int kSerialTraceEntries = 128;
inline constexpr int kSerialTraceText = 48;
inline constexpr int kSerialChannels = 32;
inline constexpr int kUnitSlots = 16;

// What a misbehaving module or line does to an exchange.
enum class SerialFaultKind : uint8_t {
    None = 0,
    Silent = 1,       // no answer at all
    Garbage = 2,      // `param` bytes of noise before the answer
    BadChecksum = 3,  // the answer carries a checksum that does not match
    Cut = 4,          // the answer stops after `param` characters (no terminator)
    Dribble = 5,      // `param` milliseconds between the answer's characters
    Refuse = 6,       // every command answered with "?AA"
    Removed = 7,      // the module is pulled out (modules only); clearing re-inserts it
};

struct SerialFault {
    uint8_t kind;        // SerialFaultKind
    uint8_t pad[3];
    uint32_t param;
    uint32_t remaining;  // exchanges it still spoils; 0 = until cleared
};
static_assert(sizeof(SerialFault) == 12);

// Where a serial module sits.
enum class SerialSite : uint8_t { Unused = 0, Slot = 1, Bus = 2, Unit = 3 };

// Number format of analog input answers, a setting of the module.
enum class SerialFormat : uint8_t { Engineering = 0, Hex = 1 };

// One serial module. Its channel counts and abilities come from its kind in
// the product catalogue (found by its name text).
struct SerialModuleState {
    uint8_t site;            // SerialSite
    uint8_t port;            // index in SerialBusState::ports
    uint8_t address;         // Bus: its address; Unit: the unit's; Slot: its own (00)
    uint8_t slot;            // Slot: backplane slot; Unit: slot within the unit
    char name[16];           // name text answered to "$AAM", e.g. "4504P"
    uint8_t present;         // 0 while pulled out
    uint8_t checksum;        // expects checksummed commands, checksums its answers
    uint8_t format;          // SerialFormat
    uint8_t wdt_enabled;     // host watchdog armed
    uint8_t wdt_timeout;     // tenths of a second; 0 never runs out
    uint8_t wdt_expired;     // outputs held at their safe values
    uint8_t pad0[6];
    uint64_t wdt_deadline_ns;  // instance clock at which the armed watchdog runs out
    uint32_t di;             // input lines, bit n = channel n energised
    uint32_t do_value;       // outputs as driven
    uint32_t di_latch[2];    // [0] inputs that went off, [1] went on, since the last clear
    uint32_t do_latch[2];    // the same for the outputs
    uint32_t do_power_on;    // module memory: outputs at power-up
    uint32_t do_safe;        // module memory: outputs when the watchdog runs out
    uint32_t counter[kSerialChannels];
    uint8_t overflow[kSerialChannels];  // counter wrapped since it was last cleared
    float ai[kSerialChannels];          // inputs in engineering units
    float ao[kSerialChannels];          // outputs in engineering units
    float ao_power_on[kSerialChannels]; // module memory
    float ao_safe[kSerialChannels];     // module memory
    SerialFault fault;
    uint32_t born;           // digest of the description the module memory was made from
};
static_assert(offsetof(SerialModuleState, wdt_deadline_ns) % 8 == 0);
static_assert(sizeof(SerialModuleState) == 760);

// A remote expansion unit on a bus: it answers at its own address and
// passes commands with a slot field on to the module in that slot.
struct SerialUnitState {
    uint8_t used;
    uint8_t port;            // index in SerialBusState::ports
    uint8_t address;
    uint8_t slots;           // 1..kUnitSlots
    uint8_t present;
    uint8_t pad0[3];
    char name[16];           // answered to "$AAM"
    SerialFault fault;
};
static_assert(sizeof(SerialUnitState) == 36);

// One COM port of the controller as its modules see it.
struct SerialBusPort {
    char name[19];           // "COM0:", "COM1:"; empty = unused
    uint8_t modem_loopback;  // DTR and RTS wired back to the port's inputs
    char terminator[8];      // ends commands and answers; "\r" by default
    uint8_t pacing;          // answers go out at the line's character rate
    uint8_t checksum;        // default of the modules described on it
    uint16_t turnaround_ms;  // extra pause before an answer (with pacing)
    SerialFault fault;       // spoils every exchange on the port
};
static_assert(sizeof(SerialBusPort) == 44);

// One serial exchange as it went over the line: the bytes received and the
// bytes answered (after any fault), both cut to kSerialTraceText.
inline constexpr uint8_t kTraceCommandCut = 0x01;  // command longer than recorded
inline constexpr uint8_t kTraceAnswerCut = 0x02;   // answer longer than recorded
inline constexpr uint8_t kTraceNoAnswer = 0x04;    // nobody answered
inline constexpr uint8_t kTraceFault = 0x08;       // a fault spoiled the answer
struct SerialTraceEntry {
    uint64_t when_ns;        // instance clock
    uint8_t port;            // index in SerialBusState::ports
    uint8_t flags;
    uint8_t command_len;
    uint8_t answer_len;
    uint8_t pad[4];
    char command[kSerialTraceText];
    char answer[kSerialTraceText];
};
static_assert(sizeof(SerialTraceEntry) == 112);

struct SerialBusState {
    SerialBusPort ports[kSerialBusPorts];
    SerialUnitState units[kSerialUnits];
    SerialModuleState modules[kSerialModules];
    uint32_t trace_next;     // exchanges recorded so far (ring index = trace_next % entries)
    uint32_t noise_seed;     // makes garbage differ from exchange to exchange
    SerialTraceEntry trace[kSerialTraceEntries];
};
static_assert(sizeof(SerialBusState) % 8 == 0);

}  // namespace vex::sim
