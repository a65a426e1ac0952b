// Decoding of serial module commands (see command.h).
#include "sim/serial_modules/command.h"

#include <cstdlib>

namespace vex::sim::serial {
namespace {

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Width of a channel field for a module with `count` channels: none for a
// single channel, one hexadecimal digit up to 16, two above.
size_t field_width(int count) { return count < 2 ? 0 : (count <= 16 ? 1 : 2); }

// A channel field of exactly the width `count` channels take.
bool channel_field(std::string_view text, int count, int& channel) {
    if (text.size() != field_width(count)) return false;
    uint32_t v = 0;
    if (!text.empty() && !parse_hex(text, v)) return false;
    channel = text.empty() ? -1 : static_cast<int>(v);
    return true;
}

// One or two hexadecimal digits (unit-slot commands print "%01X" or "%02X").
bool short_channel(std::string_view text, int& channel) {
    uint32_t v = 0;
    if (text.empty() || text.size() > 2 || !parse_hex(text, v)) return false;
    channel = static_cast<int>(v);
    return true;
}

Request make(Op op, Dialect dialect = Dialect::Plain, int channel = -1) {
    Request r;
    r.op = op;
    r.dialect = dialect;
    r.channel = channel;
    return r;
}

// "[channel][sign]value" of an analog output write.
Request ao_write(std::string_view body, const Shape& shape) {
    const size_t width = field_width(shape.ao);
    int channel = -1;
    if (shape.ao == 0 || body.size() <= width || !channel_field(body.substr(0, width), shape.ao, channel)) return {};
    Request r = make(Op::AoWrite, Dialect::Plain, channel);
    if (!parse_decimal(body.substr(width), r.analog)) return {};
    return r;
}

// "@AA" + DO value, 1..8 hexadecimal digits.
Request do_write(std::string_view digits, Dialect dialect, const Shape& shape) {
    Request r = make(Op::DoWrite, dialect);
    if (shape.dout == 0 || !parse_hex(digits, r.value)) return {};
    return r;
}

// Counter forms "RE"/"REC<n>" and "CE"/"CEC<n>" of the '@' commands, for a
// module with counters: the field is absent for a one-counter module.
bool mf_counter(std::string_view body, std::string_view word, const Shape& shape, int& channel) {
    if (shape.counters == 0 || body.substr(0, 2) != word) return false;
    const std::string_view rest = body.substr(2);
    if (rest.empty()) {
        channel = 0;
        return shape.counters == 1;
    }
    return rest[0] == 'C' && channel_field(rest.substr(1), shape.di > 16 ? 32 : 16, channel);
}

Request decode_hash(std::string_view body, const Shape& shape) {
    if (body.empty()) return make(shape.ai == 1 ? Op::AiRead : shape.ai > 1 ? Op::AiReadAll : Op::Unknown);
    if (body.size() == 4 && body[0] >= 'A' && body[0] <= 'D' && is_digit(body[1]) && is_digit(body[2]) &&
        is_digit(body[3]) && shape.dout > 0) {
        Request r = make(Op::DoBit, Dialect::Plain, (body[0] - 'A') * 8 + (body[1] - '0'));
        r.value = static_cast<uint32_t>((body[2] - '0') * 10 + (body[3] - '0')) != 0 ? 1 : 0;
        return r;
    }
    int channel = -1;
    if (shape.ai > 1 && channel_field(body, shape.ai, channel)) return make(Op::AiRead, Dialect::Plain, channel);
    if (shape.counters > 0 && channel_field(body, shape.di > 16 ? 32 : 16, channel))
        return make(Op::CounterRead, Dialect::Plain, channel);
    return ao_write(body, shape);
}

// "$AA" + letter + an optional channel field for analog outputs.
Request ao_channel_op(Op op, std::string_view field, const Shape& shape) {
    int channel = -1;
    if (shape.ao == 0 || !channel_field(field, shape.ao, channel)) return {};
    return make(op, Dialect::Plain, channel);
}

Request decode_dollar(std::string_view body, const Shape& shape) {
    if (body == "M") return make(Op::Name);
    if (body.empty()) return {};
    const std::string_view field = body.substr(1);
    int channel = -1;
    switch (body[0]) {
    case '6':
        if (field.empty() && shape.ao == 0 && (shape.di > 0 || shape.dout > 0))
            return make(Op::DioRead, Dialect::Dollar);
        return ao_channel_op(Op::AoRead, field, shape);
    case '7':
        return shape.ao_power_on_read == catalogue::AoPowerOnRead::Dollar
                   ? ao_channel_op(Op::AoPowerOnRead, field, shape)
                   : Request{};
    case '4':
        return shape.ao_power_on_set == catalogue::AoPowerOnSet::Channel
                   ? ao_channel_op(Op::AoPowerOnSet, field, shape)
                   : Request{};
    case 'S':
        if (field.empty() && shape.ao == 1 && shape.ao_power_on_set == catalogue::AoPowerOnSet::SingleS)
            return make(Op::AoPowerOnSet);
        return {};
    case 'L':
        if (shape.latches && (field == "0" || field == "1")) {
            Request r = make(Op::LatchRead);
            r.which = field[0];
            return r;
        }
        return {};
    case 'C':
        if (field.empty()) return shape.latches ? make(Op::LatchClear) : Request{};
        if (shape.counters > 0 && channel_field(field, shape.di > 16 ? 32 : 16, channel))
            return make(Op::CounterClear, Dialect::Plain, channel);
        return {};
    default:
        return {};
    }
}

Request decode_at(std::string_view body, const Shape& shape) {
    if (body.empty()) return make(Op::DioRead);
    if (body == "DI") return make(Op::DioRead, Dialect::Mf);
    if (body.substr(0, 2) == "DO" && body.size() > 2) return do_write(body.substr(2), Dialect::Mf, shape);
    int channel = -1;
    if (mf_counter(body, "RE", shape, channel)) return make(Op::CounterRead, Dialect::Mf, channel);
    if (mf_counter(body, "CE", shape, channel)) return make(Op::CounterClear, Dialect::Mf, channel);
    return do_write(body, Dialect::Plain, shape);
}

// "P" or "S" after the 4/5 of the output value commands.
bool which_value(std::string_view field, char& which) {
    if (field != "P" && field != "S") return false;
    which = field[0];
    return true;
}

Request decode_tilde(std::string_view body, const Shape& shape) {
    if (body.empty()) return {};
    const std::string_view field = body.substr(1);
    Request r;
    const bool digital = shape.dout > 0;
    switch (body[0]) {
    case '0':
    case '1':
    case '2':
        if (!field.empty() || !shape.watchdog) return {};
        return make(body[0] == '0' ? Op::WdtStatus : body[0] == '1' ? Op::WdtReset : Op::WdtConfigRead);
    case '3': {
        uint32_t timeout = 0;
        if (!shape.watchdog || field.size() != 3 || (field[0] != '0' && field[0] != '1') ||
            !parse_hex(field.substr(1), timeout))
            return {};
        r = make(Op::WdtConfigSet);
        r.enable = field[0] == '1';
        r.timeout = static_cast<uint8_t>(timeout);
        return r;
    }
    case '4':
        if (digital && (field.empty() || which_value(field, r.which))) {
            r.op = Op::DoValuesRead;
            return r;
        }
        return shape.watchdog ? ao_channel_op(Op::AoSafeRead, field, shape) : Request{};
    case '5':
        if (digital && which_value(field, r.which)) {
            r.op = Op::DoValueStore;
            return r;
        }
        if (digital) {
            const size_t half = field.size() / 2;
            if (field.size() % 2 != 0 || (half != 2 && half != 4 && half != 6 && half != 8) ||
                !parse_hex(field.substr(0, half), r.value) || !parse_hex(field.substr(half), r.value2))
                return {};
            r.op = Op::DoValuesWrite;
            return r;
        }
        return shape.watchdog ? ao_channel_op(Op::AoSafeSet, field, shape) : Request{};
    case '7': {
        int channel = -1;
        if (shape.ao_power_on_read != catalogue::AoPowerOnRead::Tilde || !channel_field(field, 2, channel)) return {};
        return make(Op::AoPowerOnRead, Dialect::Plain, channel);
    }
    case 'D':
        return field.empty() ? make(Op::OutputWidth) : Request{};
    default:
        return {};
    }
}

using Decoder = Request (*)(std::string_view, const Shape&);
struct PrefixDecoder {
    char prefix;
    Decoder decode;
};
constexpr PrefixDecoder kDecoders[] = {
    {'#', decode_hash}, {'$', decode_dollar}, {'@', decode_at}, {'~', decode_tilde}};

// The rest of a unit-slot command, for the module in that slot.
Request decode_unit_rest(char prefix, std::string_view rest, const Shape& shape) {
    int channel = -1;
    Request r;
    switch (prefix) {
    case '#':
        if (rest.empty()) return make(shape.ai > 0 ? Op::AiReadAll : Op::Unknown);
        if (rest.substr(0, 2) == "00" && (rest.size() == 4 || rest.size() == 6))
            return do_write(rest.substr(2), Dialect::Plain, shape);
        if (rest[0] != 'C') return {};
        if (short_channel(rest.substr(1), channel)) {
            if (shape.ai > 0) return make(Op::AiRead, Dialect::Plain, channel);
            if (shape.counters > 0) return make(Op::CounterRead, Dialect::Plain, channel);
            return {};
        }
        if (shape.ao > 0 && rest.size() > 2 && short_channel(rest.substr(1, 1), channel) &&
            (rest[2] == '+' || rest[2] == '-')) {
            r = make(Op::AoWrite, Dialect::Plain, channel);
            return parse_decimal(rest.substr(2), r.analog) ? r : Request{};
        }
        return {};
    case '@':
        return rest.size() == 8 ? do_write(rest, Dialect::Plain, shape) : Request{};
    case '$':
        if (rest == "6") return (shape.di > 0 || shape.dout > 0) ? make(Op::DioRead, Dialect::Dollar) : Request{};
        if (rest.size() == 2 && rest[0] == 'L' && (rest[1] == '0' || rest[1] == '1') && shape.latches) {
            r = make(Op::LatchRead);
            r.which = rest[1];
            return r;
        }
        if (rest == "C") return shape.latches ? make(Op::LatchClear) : Request{};
        if (rest.empty() || rest[0] != 'C') return {};
        if (shape.counters > 0 && short_channel(rest.substr(1), channel))
            return make(Op::CounterClear, Dialect::Plain, channel);
        if (shape.ao > 0 && rest.size() >= 3 && short_channel(rest.substr(1, rest.size() - 2), channel)) {
            switch (rest.back()) {
            case '6': return make(Op::AoRead, Dialect::Plain, channel);
            case '7': return make(Op::AoPowerOnRead, Dialect::Plain, channel);
            case '4': return make(Op::AoPowerOnSet, Dialect::Plain, channel);
            default: return {};
            }
        }
        return {};
    case '~':
        if (shape.dout > 0 && rest.size() == 2 && (rest[0] == '4' || rest[0] == '5') &&
            which_value(rest.substr(1), r.which)) {
            r.op = rest[0] == '4' ? Op::DoValuesRead : Op::DoValueStore;
            return r;
        }
        return {};
    default:
        return {};
    }
}

}  // namespace

Shape shape_of(const catalogue::SerialKind& k) {
    Shape s;
    s.di = k.di_channels;
    s.dout = k.do_channels;
    s.ai = k.ai_channels;
    s.ao = k.ao_channels;
    s.counters = k.counters;
    s.latches = k.latches;
    s.watchdog = k.watchdog;
    s.ao_power_on_read = k.ao_power_on_read;
    s.ao_power_on_set = k.ao_power_on_set;
    return s;
}

bool parse_hex(std::string_view text, uint32_t& out) {
    if (text.empty() || text.size() > 8) return false;
    uint32_t v = 0;
    for (char c : text) {
        const int d = hex_digit(c);
        if (d < 0) return false;
        v = (v << 4) | static_cast<uint32_t>(d);
    }
    out = v;
    return true;
}

bool parse_decimal(std::string_view text, float& out) {
    if (text.empty() || text.size() > 12) return false;
    size_t i = (text[0] == '+' || text[0] == '-') ? 1 : 0;
    size_t digits = 0, dots = 0;
    for (size_t k = i; k < text.size(); ++k) {
        if (is_digit(text[k])) {
            ++digits;
        } else if (text[k] == '.' && dots == 0 && digits > 0 && k + 1 < text.size()) {
            ++dots;
        } else {
            return false;
        }
    }
    if (digits == 0) return false;
    char buf[16] = {};
    for (size_t k = 0; k < text.size(); ++k) buf[k] = text[k];
    out = std::strtof(buf, nullptr);
    return true;
}

std::optional<Addressed> split_address(std::string_view command) {
    if (command.size() < 3) return std::nullopt;
    Addressed a;
    a.prefix = command[0];
    bool known = false;
    for (const PrefixDecoder& d : kDecoders) known = known || d.prefix == a.prefix;
    if (!known) return std::nullopt;
    if (command.substr(0, 3) == "~**") {
        a.broadcast = true;
        a.body = command.substr(3);
        return a;
    }
    const int hi = hex_digit(command[1]), lo = hex_digit(command[2]);
    if (hi < 0 || lo < 0) return std::nullopt;
    a.address = static_cast<uint8_t>(hi * 16 + lo);
    a.body = command.substr(3);
    return a;
}

std::optional<UnitSlot> split_unit_slot(std::string_view body) {
    if (body.size() < 2 || body[0] != 'S') return std::nullopt;
    const int slot = hex_digit(body[1]);
    if (slot < 0) return std::nullopt;
    return UnitSlot{static_cast<uint8_t>(slot), body.substr(2)};
}

Request decode(char prefix, std::string_view body, const Shape& shape) {
    for (const PrefixDecoder& d : kDecoders) {
        if (d.prefix == prefix) return d.decode(body, shape);
    }
    return {};
}

Request decode_unit(char prefix, std::string_view rest, const Shape& shape) {
    Request r = decode_unit_rest(prefix, rest, shape);
    r.via_unit = true;
    return r;
}

}  // namespace vex::sim::serial
