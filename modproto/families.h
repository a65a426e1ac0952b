// The serial module families as the unified I/O calls use them.
//
// The unified dispatch resolves an I/O address once into a target kind and,
// for a serial module, into a Target (modproto/link.h) and the family of
// that kind, then calls through the family's table. Two families exist:
//
//   standard_family()  a module on a bus (remote form) or in a local slot:
//                      the @AA, #AA, $AA, ~AA commands
//   unit_family()      a module in a slot of a remote expansion unit: the
//                      #AAS, @AAS, $AAS, ~AAS commands
//
// Every operation returns true on success; on failure it has recorded its
// code in the calling thread's last error (the codes are those of the
// answer table in modproto/codes.h) and has left the outputs unchanged,
// except where said. Null outputs fail with VEX_ERR_UART_BUFFER_OVERFLOW.
// Operations a family has no command for fail with
// VEX_ERR_CARD_API_UNSUPPORTED. Channel counts and bit numbers may be any
// value: they only choose field widths and never index past an array.
//
// Thread safety: as modproto/link.h; no state is kept between calls.
#pragma once

#include <cstddef>
#include <cstdint>

#include "modproto/link.h"
#include "modproto/parse.h"

namespace vex::modproto {

struct SerialFamily {
    // Digital outputs and inputs.
    bool (*write_do)(const Target&, int32_t do_count, uint32_t value);
    bool (*read_dio)(const Target&, int32_t di_count, int32_t do_count, uint32_t* di, uint32_t* do_);
    bool (*write_do_bit)(const Target&, int32_t bit, int32_t do_count, int32_t value);
    // Latches (kind 0 or 1, as the module numbers them) and counters.
    bool (*read_latch)(const Target&, int32_t di_count, int32_t do_count, int32_t kind, uint32_t* di_latch,
                       uint32_t* do_latch);
    bool (*clear_latch)(const Target&);
    bool (*read_counter)(const Target&, int32_t channel, int32_t di_count, uint32_t* value);
    bool (*read_counter_single)(const Target&, int32_t channel, uint32_t* value);
    bool (*clear_counter)(const Target&, int32_t channel, int32_t di_count);
    // Power-on and safe output values of a digital module: the read asks
    // for one of them; the store drives the outputs to `value`, waits 10 ms
    // and has the module keep its present outputs as that value.
    bool (*read_stored_do)(const Target&, int32_t do_count, Stored which, uint32_t* value);
    bool (*store_do)(const Target&, int32_t do_count, Stored which, uint32_t value);

    // Analog inputs: one channel in engineering units (the value is stored
    // also when a range marker fails the call) or as a count; all channels
    // at once into `values` (at most `capacity`; *count says how many the
    // module gave; the values that read are stored also on failure).
    bool (*read_ai)(const Target&, int32_t channel, int32_t channel_count, float* value);
    bool (*read_ai_hex)(const Target&, int32_t channel, int32_t channel_count, uint32_t* value);
    bool (*read_ai_all)(const Target&, float* values, size_t capacity, size_t* count);
    bool (*read_ai_all_hex)(const Target&, uint32_t* values, size_t capacity, size_t* count);
    // Analog outputs.
    bool (*write_ao)(const Target&, int32_t channel, int32_t channel_count, float value);
    bool (*read_ao)(const Target&, int32_t channel, int32_t channel_count, float* value);
    bool (*read_ao_power_on)(const Target&, int32_t channel, int32_t channel_count, float* value);
    bool (*set_ao_power_on)(const Target&, int32_t channel, int32_t channel_count, float value);
    bool (*read_ao_safe)(const Target&, int32_t channel, int32_t channel_count, float* value);
    bool (*set_ao_safe)(const Target&, int32_t channel, int32_t channel_count, float value);
};

const SerialFamily& standard_family();
const SerialFamily& unit_family();

// SplitBits and the bit test: 1 when `bit` is a channel below `count` (and
// below 32) whose bit is set in `value`, else 0.
uint8_t test_bit(uint32_t value, int32_t count, int32_t bit);

}  // namespace vex::modproto
