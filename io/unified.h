// The unified I/O calls: one address names a module anywhere the
// controller can reach, and the call goes through the operation table of
// the kind of target that address resolves to.
//
// Address forms (signed 32-bit, compared as signed):
//   address >= 0x100000         slot (bits 0..7) of the remote expansion
//                               unit at bus address (bits 8..15)
//   0x1000 <= address < 0x100000  the serial module at bus address
//                               (address - 0x1000)
//   address < 0x1000            local slot (address & 0xFF); its ID
//                               register tells a serial module (255) from
//                               a parallel-bus one
//
// resolve() reads at most the presence register and the slot's ID
// register; it keeps no state and takes no lock. The serial table's
// operations take the serial exchange lock for local slots (modproto/).
//
// Every operation returns true on success; on failure it has recorded its
// code in the calling thread's last error (or none, where the parallel-bus
// output write refuses without one) and has written no output, except the
// analog reads, which keep the serial families' rule (a reading at a range
// marker is stored and the call fails with the range code).
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/backplane.h"
#include "io/module_registers.h"
#include "modproto/families.h"

namespace vex::io::unified {

using modproto::Stored;

struct UnifiedOps;

// A resolved address: the table of its kind and what the table needs.
// Three words, passed by value: it travels in registers from the export to
// the operation, so a control loop's read of a parallel-bus module builds
// nothing in memory. The serial operations derive their family and command
// target from it (serial_family(), serial_target()).
struct Located {
    const UnifiedOps* ops;
    uint32_t port;
    // Parallel-bus module, empty slot or serial module in a local slot: the
    // slot (low 8 bits of the address). Module on a bus or in a unit slot:
    // the address as given (0x1000 and above).
    int32_t where;
    uint32_t slot() const { return static_cast<uint32_t>(where); }
};

struct UnifiedOps {
    bool (*read_di)(Located, int32_t di_count, uint32_t* value);
    bool (*read_do)(Located, int32_t do_count, uint32_t* value);
    bool (*read_dio)(Located, int32_t di_count, int32_t do_count, uint32_t* di, uint32_t* do_);
    bool (*write_do)(Located, int32_t do_count, uint32_t value);
    bool (*write_do_bit)(Located, int32_t do_count, int32_t channel, int32_t value);
    bool (*read_stored_do)(Located, int32_t do_count, Stored which, uint32_t* value);
    bool (*store_do)(Located, int32_t do_count, Stored which, uint32_t value);
    bool (*read_latch)(Located, int32_t di_count, int32_t do_count, int32_t kind, uint32_t* di,
                       uint32_t* do_);
    bool (*clear_latch)(Located);
    bool (*read_counter)(Located, int32_t channel, int32_t di_count, uint32_t* value);
    bool (*read_counter_single)(Located, int32_t channel, uint32_t* value);
    bool (*clear_counter)(Located, int32_t channel, int32_t di_count);
    bool (*read_counter_overflow)(Located, int32_t channel, uint32_t* value);
    bool (*read_ai)(Located, int32_t channel, int32_t channel_count, float* value);
    bool (*read_ai_hex)(Located, int32_t channel, int32_t channel_count, uint32_t* value);
    bool (*read_ai_all)(Located, float* values, size_t capacity, size_t* count);
    bool (*read_ai_all_hex)(Located, uint32_t* values, size_t capacity, size_t* count);
    bool (*write_ao)(Located, int32_t channel, int32_t channel_count, float value);
    bool (*read_ao)(Located, int32_t channel, int32_t channel_count, float* value);
    bool (*read_ao_stored)(Located, int32_t channel, int32_t channel_count, Stored which, float* value);
    bool (*store_ao)(Located, int32_t channel, int32_t channel_count, Stored which, float value);
};

// The tables, one file each.
extern const UnifiedOps kParallelOps;  // parallel-bus module in a local slot
extern const UnifiedOps kSerialOps;    // serial module: local slot, bus or unit slot
extern const UnifiedOps kEmptyOps;     // local slot without a module: 0x10003

// Whether an address of 0x100000 and above means a unit slot (most calls)
// or is taken as a local slot by its low byte (three of the analog output
// value calls, whose serial path has no unit form).
enum class UnitForm : uint8_t { UnitSlot, LocalSlot };

// The serial family and command target of a serial kind of Located.
const modproto::SerialFamily& serial_family(Located at);
modproto::Target serial_target(Located at);

namespace detail {
// A local slot below 8: the presence register (active low, one bit per
// slot), then the slot's ID register, each read through `read8`.
template <typename Read8>
inline Located resolve_slot(uint32_t port, int32_t slot, Read8 read8) {
    if (((read8(frame::kRegSlotPresence) >> slot) & 1u) != 0) return Located{&kEmptyOps, port, slot};
    if (read8(frame::slot_page(static_cast<uint32_t>(slot)) + kRegId) == kSerialModuleId) [[unlikely]]
        return Located{&kSerialOps, port, slot};
    return Located{&kParallelOps, port, slot};
}
// The same through the bus accessors (virtual controller, or no
// controller at all), out of line.
Located resolve_slot_on_bus(uint32_t port, int32_t slot);
}  // namespace detail

// Local slots 8 and above have no module page and no presence bit: they
// resolve as empty, so that no slot selection is made for a slot the
// backplane does not have. Inline: on hardware a control loop reading a
// parallel-bus module pays two loads through the mapped window and no call
// for it.
VEXSDK_DEVICE_ACCESS inline Located resolve(uint32_t port, int32_t address, UnitForm unit = UnitForm::UnitSlot) {
    if (address >= 0x1000 && (address < 0x100000 || unit == UnitForm::UnitSlot)) [[unlikely]]
        return Located{&kSerialOps, port, address};
    const int32_t slot = address & 0xFF;
    if (slot >= static_cast<int32_t>(kModuleSlots)) return Located{&kEmptyOps, port, slot};
    if (volatile uint8_t* base = plat::g_backplane_direct) [[likely]]
        return detail::resolve_slot(port, slot, [base](uint32_t offset) -> uint8_t { return base[offset]; });
    return detail::resolve_slot_on_bus(port, slot);
}

// The refusal of every operation a target kind cannot do:
// VEX_ERR_UNKNOWN_MODULE.
bool refuse();
// refused<&UnifiedOps::member>: an operation of that signature that refuses.
template <typename F>
struct Refused;
template <typename... A>
struct Refused<bool (*)(A...)> {
    static bool call(A...) { return refuse(); }
};
#define VEX_UNIFIED_REFUSED(member) (::vex::io::unified::Refused<decltype(UnifiedOps::member)>::call)

// The largest number of analog inputs the calls without a bound store.
inline constexpr size_t kAiAllMax = 32;

}  // namespace vex::io::unified
