// Analog inputs and outputs of the two unified-path families.
#include "frame/catalogue.h"
#include "modproto/ops.h"

namespace vex::modproto::ops {
namespace {

// A read whose value comes after the echoed address.
bool finish_value(const Reply& r, float* value) {
    if (!r.exchanged()) return settle(Answer::Unexpected);
    const auto v = parse_value_after_address(r.text());
    if (!v) return settle(Answer::Unparsable);
    *value = *v;
    return true;
}

// A single reading: '>' required (a failed exchange leaves no '>'), the
// value is stored even when a range marker fails the call.
bool finish_ai(const Reply& r, float* value) {
    const AnalogReading a = parse_ai(r.text());
    if (a.answer == Answer::Accepted || a.answer == Answer::UnderRange || a.answer == Answer::OverRange)
        *value = a.value;
    return settle(a.answer);
}

bool finish_ai_hex(const Reply& r, uint32_t* value) {
    const CountReading a = parse_ai_hex(r.text());
    if (a.answer == Answer::Accepted || a.answer == Answer::UnderRange || a.answer == Answer::OverRange)
        *value = a.value;
    return settle(a.answer);
}

// The AO write's answer: exactly "!" is a refusal (reported with the DO
// message, as the command set does for every refused output), any other
// accepted answer is done.
bool judge_ao_write(const Reply& r) {
    if (!r.exchanged()) return settle(Answer::Unexpected);
    return settle(r.text() == "!" ? Answer::Refused : Answer::Accepted);
}

Command ao_write_command(const Target& t, int32_t channel, int32_t count, float value) {
    char v[48];
    if (!format_ao_value(value, count >= 3, v, sizeof v)) return Command{};
    if (count < 2) return make_command(kShortCommand, "#%02X%s", t.address, v);
    if (count <= 16) return make_command(kShortCommand, "#%02X%01X%s", t.address, channel, v);
    return make_command(kShortCommand, "#%02X%02X%s", t.address, channel, v);
}

// A channel command of the form <prefix><AA><op>[N]: no channel field for
// a single channel, one digit up to 16 channels, two above.
Command channel_command(char prefix, const Target& t, char op, int32_t channel, int32_t count) {
    if (count < 2) return make_command(kShortCommand, "%c%02X%c", prefix, t.address, op);
    if (count <= 16) return make_command(kShortCommand, "%c%02X%c%01X", prefix, t.address, op, channel);
    return make_command(kShortCommand, "%c%02X%c%02X", prefix, t.address, op, channel);
}

// "$AAM": the module's name text (after "!AA") and its number.
struct Name {
    bool ok = false;
    int number = 0;
    char text[kShortAnswer] = {};
};
Name ask_name(const Target& t) {
    Name n;
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kShortCommand, "$%02XM", t.address))) return n;
    if (!r.exchanged()) {
        settle(Answer::Unexpected);
        return n;
    }
    const auto number = parse_name_number(r.text());
    if (!number) {
        settle(Answer::Unparsable);
        return n;
    }
    const std::string_view text = rest(r.text(), 3);
    text.copy(n.text, sizeof n.text - 1);
    n.number = *number;
    n.ok = true;
    return n;
}

}  // namespace

namespace standard {

bool read_ai(const Target& t, int32_t channel, int32_t count, float* value) {
    if (!value) return missing_output();
    const Command c = count < 2     ? make_command(kShortCommand, "#%02X", t.address)
                      : count <= 16 ? make_command(kShortCommand, "#%02X%01X", t.address, channel)
                                    : make_command(kShortCommand, "#%02X%02X", t.address, channel);
    Reply r(kShortAnswer);
    return r.run(t, c) && finish_ai(r, value);
}

// The hexadecimal read prints the address in lower case (the module's
// own command for counts), except for a single channel.
bool read_ai_hex(const Target& t, int32_t channel, int32_t count, uint32_t* value) {
    if (!value) return missing_output();
    const Command c = count < 2     ? make_command(kShortCommand, "#%02X", t.address)
                      : count <= 16 ? make_command(kShortCommand, "#%02x%01X", t.address, channel)
                                    : make_command(kShortCommand, "#%02x%02X", t.address, channel);
    Reply r(kShortAnswer);
    return r.run(t, c) && finish_ai_hex(r, value);
}

bool read_ai_all(const Target& t, float* values, size_t capacity, size_t* count) {
    if ((!values && capacity > 0) || !count) return missing_output();
    Reply r(kAllChannelsAnswer);
    if (!r.run(t, make_command(kShortCommand, "#%02X", t.address))) return false;
    const AllReadings a = parse_ai_all(r.text(), values, capacity);
    *count = a.count;
    return settle(a.answer);
}

bool read_ai_all_hex(const Target& t, uint32_t* values, size_t capacity, size_t* count) {
    if ((!values && capacity > 0) || !count) return missing_output();
    Reply r(kAllChannelsAnswer);
    if (!r.run(t, make_command(kShortCommand, "#%02X", t.address))) return false;
    const AllReadings a = parse_ai_all_hex(r.text(), values, capacity);
    *count = a.count;
    return settle(a.answer);
}

bool write_ao(const Target& t, int32_t channel, int32_t count, float value) {
    Reply r(kShortAnswer);
    return r.run(t, ao_write_command(t, channel, count, value)) && judge_ao_write(r);
}

bool read_ao(const Target& t, int32_t channel, int32_t count, float* value) {
    if (!value) return missing_output();
    Reply r(kShortAnswer);
    return r.run(t, channel_command('$', t, '6', channel, count)) && finish_value(r, value);
}

// Only some kinds can tell their power-on value (the catalogue says which,
// and with which command); the others report the call as unsupported.
bool read_ao_power_on(const Target& t, int32_t channel, int32_t count, float* value) {
    if (!value) return missing_output();
    const Name name = ask_name(t);
    if (!name.ok) return false;
    const catalogue::SerialKind* kind = catalogue::find_serial_kind_by_number(name.number);
    if (!kind || kind->ao_power_on_read == catalogue::AoPowerOnRead::None ||
        !catalogue::has_variant_mark(name.text, kind->ao_power_on_variant))
        return unsupported();
    const Command c = kind->ao_power_on_read == catalogue::AoPowerOnRead::Tilde
                          ? make_command(kShortCommand, "~%02X7%01X", t.address, channel)
                          : channel_command('$', t, '7', channel, count);
    Reply r(kShortAnswer);
    return r.run(t, c) && finish_value(r, value);
}

bool set_ao_power_on(const Target& t, int32_t channel, int32_t count, float value) {
    if (!write_ao(t, channel, count, value)) return settle(Answer::Unexpected);
    settle_pause();
    Command c = channel_command('$', t, '4', channel, count);
    if (count < 2) {
        const Name name = ask_name(t);
        if (!name.ok) return false;
        const catalogue::SerialKind* kind = catalogue::find_serial_kind_by_number(name.number);
        if (kind && kind->ao_power_on_set == catalogue::AoPowerOnSet::SingleS)
            c = make_command(kShortCommand, "$%02XS", t.address);
    }
    Reply r(kShortAnswer);
    return r.run(t, c) && accept_if(r.exchanged(), Answer::Unexpected);
}

bool read_ao_safe(const Target& t, int32_t channel, int32_t count, float* value) {
    if (!value) return missing_output();
    Reply r(kShortAnswer);
    return r.run(t, channel_command('~', t, '4', channel, count)) && finish_value(r, value);
}

bool set_ao_safe(const Target& t, int32_t channel, int32_t count, float value) {
    if (!write_ao(t, channel, count, value)) return settle(Answer::Unexpected);
    settle_pause();
    Reply r(kShortAnswer);
    return r.run(t, channel_command('~', t, '5', channel, count)) && accept_if(r.exchanged(), Answer::Unexpected);
}

}  // namespace standard

namespace unit {

bool read_ai(const Target& t, int32_t channel, int32_t, float* value) {
    if (!value) return missing_output();
    Reply r(kShortAnswer);
    return r.run(t, make_command(kShortCommand, "#%02XS%XC%01X", t.address, t.unit_slot, channel)) &&
           finish_ai(r, value);
}

bool read_ai_hex(const Target& t, int32_t channel, int32_t, uint32_t* value) {
    if (!value) return missing_output();
    Reply r(kShortAnswer);
    return r.run(t, make_command(kShortCommand, "#%02XS%XC%01X", t.address, t.unit_slot, channel)) &&
           finish_ai_hex(r, value);
}

bool read_ai_all(const Target& t, float* values, size_t capacity, size_t* count) {
    if ((!values && capacity > 0) || !count) return missing_output();
    Reply r(kAllChannelsAnswer);
    if (!r.run(t, make_command(kShortCommand, "#%02XS%1X", t.address, t.unit_slot))) return false;
    const AllReadings a = parse_ai_all(r.text(), values, capacity);
    *count = a.count;
    return settle(a.answer);
}

bool read_ai_all_hex(const Target& t, uint32_t* values, size_t capacity, size_t* count) {
    if ((!values && capacity > 0) || !count) return missing_output();
    Reply r(kAllChannelsAnswer);
    if (!r.run(t, make_command(kShortCommand, "#%02XS%1X", t.address, t.unit_slot))) return false;
    const AllReadings a = parse_ai_all_hex(r.text(), values, capacity);
    *count = a.count;
    return settle(a.answer);
}

// Always signed, whatever the channel count.
bool write_ao(const Target& t, int32_t channel, int32_t, float value) {
    char v[48];
    Command c;
    if (format_ao_value(value, true, v, sizeof v))
        c = make_command(kShortCommand, "#%02XS%01dC%01d%s", t.address, t.unit_slot, channel, v);
    Reply r(kShortAnswer);
    return r.run(t, c) && judge_ao_write(r);
}

bool read_ao(const Target& t, int32_t channel, int32_t, float* value) {
    if (!value) return missing_output();
    Reply r(kShortAnswer);
    return r.run(t, make_command(kShortCommand, "$%02XS%dC%d6", t.address, t.unit_slot, channel)) &&
           finish_value(r, value);
}

// The unit answers a single digit, a decimal number, or four hexadecimal
// digits (a count), by the length of its answer.
bool read_ao_power_on(const Target& t, int32_t channel, int32_t, float* value) {
    if (!value) return missing_output();
    Reply r(kShortAnswer);
    if (!r.run(t, make_command(kShortCommand, "$%02XS%01XC%01X7", t.address, t.unit_slot, channel))) return false;
    if (!r.exchanged()) return settle(Answer::Unexpected);
    const std::string_view data = rest(r.text(), 3);
    const auto v = data.size() == 4 ? hex_field(data) : decimal_field(data);
    if (!v) return settle(Answer::Unparsable);
    *value = static_cast<float>(*v);
    return true;
}

bool set_ao_power_on(const Target& t, int32_t channel, int32_t count, float value) {
    if (!write_ao(t, channel, count, value)) return settle(Answer::Unexpected);
    settle_pause();
    Reply r(kShortAnswer);
    return r.run(t, make_command(kShortCommand, "$%02XS%01XC%01X4", t.address, t.unit_slot, channel)) &&
           accept_if(r.exchanged(), Answer::Unexpected);
}

bool read_ao_safe(const Target&, int32_t, int32_t, float*) { return unsupported(); }
bool set_ao_safe(const Target&, int32_t, int32_t, float) { return unsupported(); }

}  // namespace unit
}  // namespace vex::modproto::ops
