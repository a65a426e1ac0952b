// Analog answers: engineering values, hexadecimal counts, range markers.
#include "modproto/parse.h"

namespace vex::modproto {
namespace {

bool starts(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

// Range markers of a single reading, compared with the start of the whole
// answer.
Answer single_markers(std::string_view answer) {
    for (std::string_view m : {">-0000", ">-9999.9", ">-999.99"}) {
        if (starts(answer, m)) return Answer::UnderRange;
    }
    for (std::string_view m : {">+9999", ">+9999.9", ">+999.99"}) {
        if (starts(answer, m)) return Answer::OverRange;
    }
    return Answer::Accepted;
}

// Markers of one value of an all-channels answer: only "-0000" of exactly
// five characters is under range; the others, the negative ones included,
// report "exceed".
Answer value_markers(std::string_view value) {
    if (value == "-0000") return Answer::UnderRange;
    for (std::string_view m : {"-9999.9", "-999.99", "+9999.9", "+999.99", "+9999"}) {
        if (starts(value, m)) return Answer::OverRange;
    }
    return Answer::Accepted;
}

}  // namespace

AnalogReading parse_ai(std::string_view answer) {
    AnalogReading r;
    if (answer.empty() || answer[0] != '>') {
        r.answer = Answer::Unexpected;
        return r;
    }
    auto v = float_field(answer.substr(1));
    if (!v) return r;
    r.value = *v;
    r.answer = single_markers(answer);
    return r;
}

CountReading parse_ai_hex(std::string_view answer) {
    CountReading r;
    if (answer.empty() || answer[0] != '>') {
        r.answer = Answer::Unexpected;
        return r;
    }
    if (starts(answer, ">-0000")) return {Answer::UnderRange, 0x0000};
    if (starts(answer, ">+9999")) return {Answer::OverRange, 0x0999};
    const std::string_view data = answer.substr(1);
    if (data.size() > 4) return r;
    auto v = hex_field(data);
    if (!v) return r;
    r.value = *v;
    r.answer = starts(answer, ">8000") ? Answer::UnderRange : starts(answer, ">7FFF") ? Answer::OverRange
                                                                                      : Answer::Accepted;
    return r;
}

AllReadings parse_ai_all(std::string_view answer, float* values, size_t capacity) {
    AllReadings r;
    if (answer.empty() || answer[0] != '>') {
        r.answer = Answer::Unexpected;
        return r;
    }
    std::string_view data = answer.substr(1);
    Answer judged = Answer::Accepted;
    while (!data.empty()) {
        if (data[0] == ' ') {
            data.remove_prefix(1);
            continue;
        }
        // A value runs from its sign (or the start) to the next sign or space.
        size_t end = 1;
        while (end < data.size() && data[end] != '+' && data[end] != '-' && data[end] != ' ') ++end;
        const std::string_view value = data.substr(0, end);
        data.remove_prefix(end);
        const Answer marker = value_markers(value);
        if (marker != Answer::Accepted) judged = marker;
        auto v = float_field(value);
        if (!v) {
            judged = Answer::Unparsable;
        } else if (r.count < capacity) {
            values[r.count] = *v;
        }
        ++r.count;
    }
    r.answer = r.count == 0 ? Answer::Unparsable : judged;
    return r;
}

AllReadings parse_ai_all_hex(std::string_view answer, uint32_t* values, size_t capacity) {
    AllReadings r;
    if (answer.empty() || answer[0] != '>') {
        r.answer = Answer::Unexpected;
        return r;
    }
    const std::string_view data = answer.substr(1);
    if (data.empty() || data.size() % 4 != 0) return r;
    for (size_t at = 0; at < data.size(); at += 4, ++r.count) {
        auto v = hex_field(data.substr(at, 4));
        if (!v) return r;
        if (r.count < capacity) values[r.count] = *v;
    }
    r.answer = Answer::Accepted;
    return r;
}

std::optional<float> parse_value_after_address(std::string_view answer) { return float_field(rest(answer, 3)); }

}  // namespace vex::modproto
