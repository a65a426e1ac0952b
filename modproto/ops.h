// The operations behind the two family tables (modproto/families.h), and
// the helpers they share. Internal to modproto/.
#pragma once

#include "modproto/families.h"

namespace vex::modproto::ops {

// Judges an answer into Accepted or `otherwise` and settles it.
inline bool accept_if(bool ok, Answer otherwise) { return settle(ok ? Answer::Accepted : otherwise); }
// Null output arguments.
bool missing_output();
// The family has no command for this.
bool unsupported();
// The pause a module needs between driving an output and storing it.
void settle_pause();

namespace standard {
bool write_do(const Target&, int32_t, uint32_t);
bool read_dio(const Target&, int32_t, int32_t, uint32_t*, uint32_t*);
bool write_do_bit(const Target&, int32_t, int32_t, int32_t);
bool read_latch(const Target&, int32_t, int32_t, int32_t, uint32_t*, uint32_t*);
bool clear_latch(const Target&);
bool read_counter(const Target&, int32_t, int32_t, uint32_t*);
bool read_counter_single(const Target&, int32_t, uint32_t*);
bool clear_counter(const Target&, int32_t, int32_t);
bool read_stored_do(const Target&, int32_t, Stored, uint32_t*);
bool store_do(const Target&, int32_t, Stored, uint32_t);
bool read_ai(const Target&, int32_t, int32_t, float*);
bool read_ai_hex(const Target&, int32_t, int32_t, uint32_t*);
bool read_ai_all(const Target&, float*, size_t, size_t*);
bool read_ai_all_hex(const Target&, uint32_t*, size_t, size_t*);
bool write_ao(const Target&, int32_t, int32_t, float);
bool read_ao(const Target&, int32_t, int32_t, float*);
bool read_ao_power_on(const Target&, int32_t, int32_t, float*);
bool set_ao_power_on(const Target&, int32_t, int32_t, float);
bool read_ao_safe(const Target&, int32_t, int32_t, float*);
bool set_ao_safe(const Target&, int32_t, int32_t, float);
}  // namespace standard

namespace unit {
bool write_do(const Target&, int32_t, uint32_t);
bool read_dio(const Target&, int32_t, int32_t, uint32_t*, uint32_t*);
bool write_do_bit(const Target&, int32_t, int32_t, int32_t);
bool read_latch(const Target&, int32_t, int32_t, int32_t, uint32_t*, uint32_t*);
bool clear_latch(const Target&);
bool read_counter(const Target&, int32_t, int32_t, uint32_t*);
bool read_counter_single(const Target&, int32_t, uint32_t*);
bool clear_counter(const Target&, int32_t, int32_t);
bool read_stored_do(const Target&, int32_t, Stored, uint32_t*);
bool store_do(const Target&, int32_t, Stored, uint32_t);
bool read_ai(const Target&, int32_t, int32_t, float*);
bool read_ai_hex(const Target&, int32_t, int32_t, uint32_t*);
bool read_ai_all(const Target&, float*, size_t, size_t*);
bool read_ai_all_hex(const Target&, uint32_t*, size_t, size_t*);
bool write_ao(const Target&, int32_t, int32_t, float);
bool read_ao(const Target&, int32_t, int32_t, float*);
bool read_ao_power_on(const Target&, int32_t, int32_t, float*);
bool set_ao_power_on(const Target&, int32_t, int32_t, float);
bool read_ao_safe(const Target&, int32_t, int32_t, float*);
bool set_ao_safe(const Target&, int32_t, int32_t, float);
}  // namespace unit

}  // namespace vex::modproto::ops
