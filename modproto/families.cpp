// The two family tables, and what their operations share.
#include "frame/errors.h"
#include "modproto/ops.h"
#include "platform/system.h"
#include "vexsdk.h"

namespace vex::modproto {

namespace ops {

bool missing_output() { return settle(Answer::BadArgument); }
bool unsupported() { return settle(Answer::Unsupported); }
void settle_pause() { plat::sleep_ms(10); }

}  // namespace ops

const SerialFamily& standard_family() {
    using namespace ops::standard;
    static constexpr SerialFamily kFamily = {
        write_do,   read_dio,       write_do_bit,    read_latch,  clear_latch,      read_counter,
        read_counter_single,        clear_counter,   read_stored_do,                store_do,
        read_ai,    read_ai_hex,    read_ai_all,     read_ai_all_hex,               write_ao,
        read_ao,    read_ao_power_on, set_ao_power_on, read_ao_safe, set_ao_safe,
    };
    return kFamily;
}

const SerialFamily& unit_family() {
    using namespace ops::unit;
    static constexpr SerialFamily kFamily = {
        write_do,   read_dio,       write_do_bit,    read_latch,  clear_latch,      read_counter,
        read_counter_single,        clear_counter,   read_stored_do,                store_do,
        read_ai,    read_ai_hex,    read_ai_all,     read_ai_all_hex,               write_ao,
        read_ao,    read_ao_power_on, set_ao_power_on, read_ao_safe, set_ao_safe,
    };
    return kFamily;
}

uint8_t test_bit(uint32_t value, int32_t count, int32_t bit) {
    if (bit < 0 || bit >= count || bit >= 32) return 0;
    return static_cast<uint8_t>((value >> bit) & 1u);
}

}  // namespace vex::modproto
