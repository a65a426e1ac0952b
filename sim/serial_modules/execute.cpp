// One request, one answer: the table from operations to their handlers.
#include <cstring>

#include "sim/serial_modules/module.h"

namespace vex::sim::serial {
namespace {

std::string name(Exec& x, const Request&) {
    return ack(x.echo) + std::string(x.m.name, strnlen(x.m.name, sizeof x.m.name));
}

std::string unknown(Exec& x, const Request&) { return refuse(x.echo); }

using Handler = std::string (*)(Exec&, const Request&);

// Indexed by Op; the static_assert keeps it in step with the enumeration.
constexpr Handler kHandlers[] = {
    unknown,                         // Unknown
    name,                            // Name
    handlers::dio_read,              // DioRead
    handlers::do_write,              // DoWrite
    handlers::do_bit,                // DoBit
    handlers::latch_read,            // LatchRead
    handlers::latch_clear,           // LatchClear
    handlers::counter_read,          // CounterRead
    handlers::counter_clear,         // CounterClear
    handlers::ai_read,               // AiRead
    handlers::ai_read_all,           // AiReadAll
    handlers::ao_write,              // AoWrite
    handlers::ao_read,               // AoRead
    handlers::ao_power_on_read,      // AoPowerOnRead
    handlers::ao_power_on_set,       // AoPowerOnSet
    handlers::ao_safe_read,          // AoSafeRead
    handlers::ao_safe_set,           // AoSafeSet
    handlers::do_values_read,        // DoValuesRead
    handlers::do_values_write,       // DoValuesWrite
    handlers::do_value_store,        // DoValueStore
    handlers::wdt_status,            // WdtStatus
    handlers::wdt_reset,             // WdtReset
    handlers::wdt_config_read,       // WdtConfigRead
    handlers::wdt_config_set,        // WdtConfigSet
    handlers::output_width,          // OutputWidth
};
static_assert(sizeof kHandlers / sizeof kHandlers[0] == static_cast<size_t>(Op::OutputWidth) + 1);

}  // namespace

std::string hex2(unsigned v) {
    static const char digits[] = "0123456789ABCDEF";
    return {digits[(v >> 4) & 0xF], digits[v & 0xF]};
}

std::string ack(uint8_t address) { return "!" + hex2(address); }
std::string refuse(uint8_t address) { return "?" + hex2(address); }

uint32_t channel_mask(int channels) {
    if (channels <= 0) return 0;
    return channels >= 32 ? 0xFFFFFFFFu : ((1u << channels) - 1u);
}

const catalogue::SerialKind* kind_of(const SerialModuleState& m) {
    if (m.site == static_cast<uint8_t>(SerialSite::Unused)) return nullptr;
    return catalogue::find_serial_kind(std::string_view(m.name, strnlen(m.name, sizeof m.name)));
}

std::string execute(Exec& x, const Request& r) {
    // Time first: a watchdog that ran out since the last command holds the
    // outputs before this command sees them.
    module_advance(x.m, x.kind, x.now);
    const size_t op = static_cast<size_t>(r.op);
    return op < sizeof kHandlers / sizeof kHandlers[0] ? kHandlers[op](x, r) : refuse(x.echo);
}

}  // namespace vex::sim::serial
