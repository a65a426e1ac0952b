// libFuzzer target for the answer parsers of the serial module command set:
// any bytes, as answer to any command and with any channel counts, must
// parse or fail without reading past the answer (the input is handed over
// in a buffer of exactly its size), and a digital field that is read must
// have been hexadecimal.
//
// Build with the fuzz preset (clang):
//   build/fuzz/fuzz/module_answer_fuzz fuzz/seeds/module_answer
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "modproto/parse.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace vex::modproto;
    if (size < 2) return 0;
    // The first two bytes choose the channel counts (including odd ones).
    const auto di = static_cast<int32_t>(static_cast<int8_t>(data[0]));
    const auto do_ = static_cast<int32_t>(static_cast<int8_t>(data[1]));
    const std::string_view a(reinterpret_cast<const char*>(data + 2), size - 2);

    parse_dio_mf(a, di, do_);
    parse_dio_unified(a, di, do_);
    parse_dio_unit(a, di, do_);
    parse_latch(a, di, do_);
    parse_latch_unit(a, di, do_);
    parse_counter(a);
    parse_counter_single(a);
    parse_stored_do(a, do_, Stored::PowerOn);
    parse_stored_do(a, do_, Stored::Safe);
    parse_name_number(a);
    parse_wdt_status(a);
    parse_wdt_config(a, true);
    parse_wdt_config(a, false);
    parse_value_after_address(a);
    const AnalogReading r = parse_ai(a);
    if (r.answer == Answer::Accepted && (a.empty() || a[0] != '>')) std::abort();
    parse_ai_hex(a);
    float values[4];
    uint32_t counts[4];
    const AllReadings all = parse_ai_all(a, values, 4);
    if (all.answer == Answer::Accepted && all.count == 0) std::abort();
    parse_ai_all_hex(a, counts, 4);

    // A field that reads is made of the characters its kind allows.
    if (const auto v = hex_field(a)) {
        for (char c : a) {
            const bool hex = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
            if (!hex) std::abort();
        }
    }
    if (decimal_field(a) && a.find_first_not_of("0123456789") != std::string_view::npos) std::abort();
    return 0;
}
