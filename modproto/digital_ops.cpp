// Digital outputs, inputs, latches, counters and stored output values of
// the two unified-path families.
#include "modproto/ops.h"

namespace vex::modproto::ops {
namespace {

// An output write or bit write: '>' done, '!' refused (the module's
// watchdog holds the outputs), anything else (nothing included) unexpected.
bool judge_output(const Reply& r) {
    return settle(r.first() == '>' ? Answer::Accepted : r.first() == '!' ? Answer::Refused : Answer::Unexpected);
}

Command bit_command(uint32_t address, int32_t bit, int32_t do_count, int32_t value) {
    const BitGroup g = bit_group(bit, do_count);
    return make_command(kShortCommand, "#%02X%c%01d%02d", address, g.group, g.bit, value);
}

// A read: a failed exchange is unexpected, a field that does not read
// unparsable.
template <typename T, typename Store>
bool finish_read(const Reply& r, const std::optional<T>& parsed, Store store) {
    if (!r.exchanged()) return settle(Answer::Unexpected);
    if (!parsed) return settle(Answer::Unparsable);
    store(*parsed);
    return true;
}

bool read_pair(const Reply& r, const std::optional<DigitalPair>& p, uint32_t* di, uint32_t* do_) {
    return finish_read(r, p, [&](const DigitalPair& v) {
        *di = v.di;
        *do_ = v.do_;
    });
}

const char* stored_text(Stored which) { return which == Stored::PowerOn ? "P" : "S"; }

}  // namespace

namespace standard {

bool write_do(const Target& t, int32_t do_count, uint32_t value) {
    const uint32_t v = value & channel_mask(do_count);
    Command c;
    switch (field_width_unified(do_count)) {
    case 1: c = make_command(kShortCommand, "@%02X%01X", t.address, v); break;
    case 2: c = make_command(kShortCommand, "@%02X%02X", t.address, v); break;
    case 4: c = make_command(kShortCommand, "@%02X%04X", t.address, v); break;
    case 6: c = make_command(kShortCommand, "@%02X%06X", t.address, v); break;
    default: c = make_command(kShortCommand, "@%02X%08X", t.address, v); break;
    }
    Reply r(kShortAnswer);
    return r.run(t, c) && judge_output(r);
}

bool read_dio(const Target& t, int32_t di_count, int32_t do_count, uint32_t* di, uint32_t* do_) {
    if (!di || !do_) return missing_output();
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kShortCommand, "@%02X", t.address))) return false;
    return read_pair(r, parse_dio_unified(r.text(), di_count, do_count), di, do_);
}

bool write_do_bit(const Target& t, int32_t bit, int32_t do_count, int32_t value) {
    Reply r(kShortAnswer);
    return r.run(t, bit_command(t.address, bit, do_count, value)) && judge_output(r);
}

bool read_latch(const Target& t, int32_t di_count, int32_t do_count, int32_t kind, uint32_t* di_latch,
                uint32_t* do_latch) {
    if (!di_latch || !do_latch) return missing_output();
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kShortCommand, "$%02XL%01d", t.address, kind))) return false;
    return read_pair(r, parse_latch(r.text(), di_count, do_count), di_latch, do_latch);
}

bool clear_latch(const Target& t) {
    Reply r(kShortAnswer);
    return r.run(t, make_command(kShortCommand, "$%02XC", t.address)) && accept_if(r.exchanged(), Answer::Unexpected);
}

bool read_counter(const Target& t, int32_t channel, int32_t di_count, uint32_t* value) {
    if (!value) return missing_output();
    Reply r(kShortAnswer);
    const Command c = di_count > 16 ? make_command(kShortCommand, "#%02X%02X", t.address, channel)
                                    : make_command(kShortCommand, "#%02X%01X", t.address, channel);
    if (!r.run(t, c)) return false;
    return finish_read(r, parse_counter(r.text()), [&](uint32_t v) { *value = v; });
}

bool read_counter_single(const Target& t, int32_t channel, uint32_t* value) {
    if (!value) return missing_output();
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kShortCommand, "#%02X%01X", t.address, channel))) return false;
    return finish_read(r, parse_counter_single(r.text()), [&](uint32_t v) { *value = v; });
}

bool clear_counter(const Target& t, int32_t channel, int32_t di_count) {
    Reply r(kShortAnswer);
    const Command c = di_count > 16 ? make_command(kShortCommand, "$%02XC%02X", t.address, channel)
                                    : make_command(kShortCommand, "$%02XC%01X", t.address, channel);
    return r.run(t, c) && accept_if(r.exchanged(), Answer::Unexpected);
}

// ~AAD: how many digital outputs the module has, in decimal ("!AA16").
static bool ask_output_count(const Target& t, int32_t* count) {
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kShortCommand, "~%02XD", t.address))) return false;
    return finish_read(r, decimal_field(rest(r.text(), 3)), [&](uint32_t v) {
        *count = v > 32 ? 32 : static_cast<int32_t>(v);
    });
}

// ~AA4P / ~AA4S: one stored value, in the width of the outputs. A caller
// that does not know the module's outputs (a count outside 1..32) gets the
// width from the module itself.
bool read_stored_do(const Target& t, int32_t do_count, Stored which, uint32_t* value) {
    if (!value) return missing_output();
    if ((do_count < 1 || do_count > 32) && !ask_output_count(t, &do_count)) return false;
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kShortCommand, "~%02X4%s", t.address, stored_text(which)))) return false;
    const size_t w = static_cast<size_t>(field_width_mf(do_count));
    const std::string_view field = rest(r.text(), 3);
    return finish_read(r, field.size() == w ? hex_field(field) : std::nullopt, [&](uint32_t v) { *value = v; });
}

bool store_do(const Target& t, int32_t do_count, Stored which, uint32_t value) {
    if (!write_do(t, do_count, value)) return false;
    settle_pause();
    Reply r(kShortAnswer);
    return r.run(t, make_command(kShortCommand, "~%02X5%s", t.address, stored_text(which))) &&
           accept_if(r.exchanged(), Answer::Unexpected);
}

}  // namespace standard

namespace unit {

bool write_do(const Target& t, int32_t do_count, uint32_t value) {
    const uint32_t v = value & channel_mask(do_count);
    Command c;
    if (do_count < 9)
        c = make_command(kShortCommand, "#%02XS%01X00%02X", t.address, t.unit_slot, v);
    else if (do_count > 16)
        c = make_command(kShortCommand, "@%02XS%01X%08X", t.address, t.unit_slot, v);
    else
        c = make_command(kShortCommand, "#%02XS%01X00%04X", t.address, t.unit_slot, v);
    Reply r(kShortAnswer);
    return r.run(t, c) && judge_output(r);
}

bool read_dio(const Target& t, int32_t di_count, int32_t do_count, uint32_t* di, uint32_t* do_) {
    if (!di || !do_) return missing_output();
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kShortCommand, "$%02XS%1X6", t.address, t.unit_slot))) return false;
    return read_pair(r, parse_dio_unit(r.text(), di_count, do_count), di, do_);
}

// The bit goes to the unit's address without a slot field, as the unit's
// command set has it.
bool write_do_bit(const Target& t, int32_t bit, int32_t do_count, int32_t value) {
    Reply r(kShortAnswer);
    return r.run(t, bit_command(t.address, bit, do_count, value)) && judge_output(r);
}

bool read_latch(const Target& t, int32_t di_count, int32_t do_count, int32_t kind, uint32_t* di_latch,
                uint32_t* do_latch) {
    if (!di_latch || !do_latch) return missing_output();
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kShortCommand, "$%02XS%01dL%01d", t.address, t.unit_slot, kind))) return false;
    return read_pair(r, parse_latch_unit(r.text(), di_count, do_count), di_latch, do_latch);
}

bool clear_latch(const Target& t) {
    Reply r(kShortAnswer);
    return r.run(t, make_command(kShortCommand, "$%02XS%01XC", t.address, t.unit_slot)) &&
           accept_if(r.exchanged(), Answer::Unexpected);
}

bool read_counter(const Target& t, int32_t channel, int32_t di_count, uint32_t* value) {
    if (!value) return missing_output();
    Reply r(kShortAnswer);
    const Command c = di_count > 16
                          ? make_command(kShortCommand, "#%02XS%01XC%02X", t.address, t.unit_slot, channel)
                          : make_command(kShortCommand, "#%02XS%01XC%01X", t.address, t.unit_slot, channel);
    if (!r.run(t, c)) return false;
    return finish_read(r, parse_counter(r.text()), [&](uint32_t v) { *value = v; });
}

bool read_counter_single(const Target& t, int32_t channel, uint32_t* value) {
    if (!value) return missing_output();
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kShortCommand, "#%02XS%01XC%01X", t.address, t.unit_slot, channel))) return false;
    return finish_read(r, parse_counter_single(r.text()), [&](uint32_t v) { *value = v; });
}

bool clear_counter(const Target& t, int32_t channel, int32_t di_count) {
    Reply r(kShortAnswer);
    const Command c = di_count > 16
                          ? make_command(kShortCommand, "$%02XS%01XC%02X", t.address, t.unit_slot, channel)
                          : make_command(kShortCommand, "$%02XS%01XC%01X", t.address, t.unit_slot, channel);
    return r.run(t, c) && accept_if(r.exchanged(), Answer::Unexpected);
}

bool read_stored_do(const Target& t, int32_t do_count, Stored which, uint32_t* value) {
    if (!value) return missing_output();
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kShortCommand, "~%02XS%01X4%s", t.address, t.unit_slot, stored_text(which))))
        return false;
    const size_t w = static_cast<size_t>(field_width_mf(do_count));
    const std::string_view field = rest(r.text(), 3);
    return finish_read(r, field.size() == w ? hex_field(field) : std::nullopt, [&](uint32_t v) { *value = v; });
}

bool store_do(const Target& t, int32_t do_count, Stored which, uint32_t value) {
    if (!write_do(t, do_count, value)) return false;
    settle_pause();
    Reply r(kShortAnswer);
    return r.run(t, make_command(kShortCommand, "~%02XS%01X5%s", t.address, t.unit_slot, stored_text(which))) &&
           accept_if(r.exchanged(), Answer::Unexpected);
}

}  // namespace unit
}  // namespace vex::modproto::ops
