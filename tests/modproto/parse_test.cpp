// The answer parsers on their own: what each command's answer yields, and
// that no answer shape, however broken, is read as a value.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "modproto/parse.h"

namespace vex::modproto {
namespace {

using namespace std::string_view_literals;

TEST(Fields, AreReadStrictly) {
    EXPECT_EQ(hex_field("1a2B"), 0x1A2Bu);
    EXPECT_EQ(hex_field("FFFFFFFF"), 0xFFFFFFFFu);
    for (auto bad : {""sv, "123456789"sv, "-1"sv, "+1"sv, "0x1"sv, " 1"sv, "1 "sv, "G"sv, "1\0"sv})
        EXPECT_FALSE(hex_field(bad)) << bad;
    EXPECT_EQ(decimal_field("4294967295"), 4294967295u);
    for (auto bad : {""sv, "4294967296"sv, "-0"sv, "+5"sv, "1.0"sv, "12a"sv}) EXPECT_FALSE(decimal_field(bad)) << bad;
    EXPECT_FLOAT_EQ(*float_field("+05.123"), 5.123f);
    EXPECT_FLOAT_EQ(*float_field("-9999.9"), -9999.9f);
    EXPECT_FLOAT_EQ(*float_field(".5"), 0.5f);
    EXPECT_FLOAT_EQ(*float_field("7"), 7.0f);
    for (auto bad : {""sv, "+"sv, "."sv, "+-1"sv, "1.2.3"sv, "1e5"sv, "nan"sv, "inf"sv, "0x1p3"sv, "1-"sv, " 1"sv})
        EXPECT_FALSE(float_field(bad)) << bad;
}

// "DO/DI" in hexadecimal, or "none".
std::string pair_of(const std::optional<DigitalPair>& p) {
    if (!p) return "none";
    char text[24];
    std::snprintf(text, sizeof text, "%X/%X", p->do_, p->di);
    return text;
}

TEST(DigitalAnswers, SplitIntoOutputAndInputParts) {
    // "@AADI": odd length of at least 5 starts the data after 3 characters,
    // even length after 4; the DI part is the last characters, whatever
    // precedes them.
    EXPECT_EQ(pair_of(parse_dio_mf("!01AB12", 8, 8)), "AB/12");
    EXPECT_EQ(pair_of(parse_dio_mf("!01xAB12", 8, 8)), "AB/12");
    EXPECT_EQ(pair_of(parse_dio_mf("!0100001234", 16, 0)), "0/1234");
    // 32 outputs alone / 32 inputs alone.
    EXPECT_EQ(parse_dio_mf("!0112345678", 0, 32)->do_, 0x12345678u);
    EXPECT_EQ(parse_dio_mf("!01ABCDEF01", 32, 0)->di, 0xABCDEF01u);
    // Unified "@AA": DI right after DO up to 8 inputs, from the end above.
    EXPECT_EQ(pair_of(parse_dio_unified(">0F03", 8, 8)), "F/3");
    EXPECT_EQ(pair_of(parse_dio_unified(">0F00FFFF", 16, 8)), "F/FFFF");
    // Behind a unit: after 3, masks of one or two bytes only.
    EXPECT_EQ(pair_of(parse_dio_unit("!01ABCD1234", 16, 16)), "ABCD/1234");
    EXPECT_EQ(pair_of(parse_dio_unit("!01AB12345678", 32, 8)), "AB/78") << "4 bytes mask to 8 bits";
}

TEST(DigitalAnswers, LatchesAndCounters) {
    EXPECT_EQ(pair_of(parse_latch("!0F03", 8, 8)), "F/3");
    EXPECT_EQ(parse_latch("!00FF0000", 16, 0)->di, 0x00FF0000u) << "8 characters: no shift";
    EXPECT_EQ(parse_latch("!FF00", 16, 0)->di, 0xFFu) << "shorter: shifted by 8 above 8 inputs";
    EXPECT_EQ(parse_latch("!FF0000", 8, 0)->di, 0xFFu) << "by 16 up to 8 inputs";
    // Unit positions: single digits at 1 and 3 up to 8 channels in all.
    EXPECT_EQ(pair_of(parse_latch_unit("!x5x9", 4, 4)), "5/9");
    EXPECT_EQ(pair_of(parse_latch_unit("!x1234ABCD", 16, 16)), "1234/ABCD");

    EXPECT_EQ(parse_counter("!0100123"), 123u) << "8 characters: decimal";
    EXPECT_EQ(parse_counter("!0100000123"), 0x123u) << "otherwise hexadecimal";
    EXPECT_EQ(parse_counter_single(">+0000000123"), 123u);
    EXPECT_EQ(parse_counter_single(">00000123"), 0x123u);
    EXPECT_FALSE(parse_counter_single(">-0000000123"));
    EXPECT_FALSE(parse_counter("!01-0123")) << "a sign is no count";
}

TEST(OtherAnswers, StoredValuesNamesAndWatchdog) {
    EXPECT_EQ(parse_stored_do("!01A55A", 8, Stored::PowerOn), 0xA5u);
    EXPECT_EQ(parse_stored_do("!01A55A", 8, Stored::Safe), 0x5Au);
    EXPECT_EQ(parse_stored_do("!011234ABCD", 16, Stored::Safe), 0xABCDu);
    EXPECT_FALSE(parse_stored_do("!01A5", 8, Stored::Safe));
    EXPECT_EQ(parse_name_number("!014504P"), 4504);
    EXPECT_FALSE(parse_name_number("!01P4504"));
    EXPECT_EQ(parse_name_number("!0199999999999"), 999999999) << "never overflows";
    EXPECT_EQ(parse_wdt_status("!0504"), 1u);
    EXPECT_EQ(parse_wdt_status("!0500"), 0u);
    EXPECT_EQ(parse_wdt_status("!05"), 0u) << "other lengths: status 0";
    EXPECT_FALSE(parse_wdt_status("!05-4"));
    EXPECT_FALSE(parse_wdt_status("?0504"));
    auto c = parse_wdt_config("!05132", true);
    EXPECT_EQ(c->enabled, 1u);
    EXPECT_EQ(c->timeout, 0x32u);
    EXPECT_EQ(parse_wdt_config("!05132", false)->timeout, 32u);
    EXPECT_FALSE(parse_wdt_config("!0513", true));
    EXPECT_FALSE(parse_wdt_config("!0513G", true));
}

TEST(AnalogAnswers, SingleReadingsAndTheirMarkers) {
    AnalogReading a = parse_ai(">+05.123");
    EXPECT_EQ(a.answer, Answer::Accepted);
    EXPECT_FLOAT_EQ(a.value, 5.123f);
    a = parse_ai(">-9999.9");
    EXPECT_EQ(a.answer, Answer::UnderRange);
    EXPECT_FLOAT_EQ(a.value, -9999.9f) << "the value stays stored";
    EXPECT_EQ(parse_ai(">-0000").answer, Answer::UnderRange);
    EXPECT_EQ(parse_ai(">+9999.9").answer, Answer::OverRange);
    EXPECT_EQ(parse_ai(">+999.99").answer, Answer::OverRange);
    EXPECT_EQ(parse_ai("!+05.000").answer, Answer::Unexpected);
    EXPECT_EQ(parse_ai(">abc").answer, Answer::Unparsable);

    EXPECT_EQ(parse_ai_hex(">1A2B").value, 0x1A2Bu);
    EXPECT_EQ(parse_ai_hex(">8000").answer, Answer::UnderRange);
    EXPECT_EQ(parse_ai_hex(">7FFF").answer, Answer::OverRange);
    EXPECT_EQ(parse_ai_hex(">-0000").answer, Answer::UnderRange);
    EXPECT_EQ(parse_ai_hex(">+9999").answer, Answer::OverRange);
    EXPECT_EQ(parse_ai_hex(">-001").answer, Answer::Unparsable) << "no signed counts";
    EXPECT_EQ(parse_ai_hex(">12345").answer, Answer::Unparsable);
}

TEST(AnalogAnswers, AllChannelsAreCutAtSigns) {
    float v[4] = {};
    AllReadings r = parse_ai_all(">+01.000-9999.9+02.000", v, 4);
    EXPECT_EQ(r.count, 3u);
    EXPECT_EQ(r.answer, Answer::OverRange) << "a negative marker in the list reports exceed";
    EXPECT_FLOAT_EQ(v[0], 1.0f);
    EXPECT_FLOAT_EQ(v[1], -9999.9f);
    EXPECT_FLOAT_EQ(v[2], 2.0f);
    EXPECT_EQ(parse_ai_all(">-0000+01.0", v, 4).answer, Answer::UnderRange);
    EXPECT_EQ(parse_ai_all(">-00001", v, 4).answer, Answer::Accepted) << "-0000 only as a whole value";
    EXPECT_EQ(parse_ai_all(">+1.0 +2.0", v, 4).count, 2u) << "spaces separate too";
    // More values than room: counted, not stored past the array.
    float one[1] = {};
    r = parse_ai_all(">+1.0+2.0+3.0", one, 1);
    EXPECT_EQ(r.count, 3u);
    EXPECT_FLOAT_EQ(one[0], 1.0f);
    // A value that does not read fails the call; the others are stored.
    v[1] = 42;
    r = parse_ai_all(">+1.0+x+3.0", v, 4);
    EXPECT_EQ(r.answer, Answer::Unparsable);
    EXPECT_FLOAT_EQ(v[2], 3.0f);
    EXPECT_EQ(parse_ai_all(">", v, 4).answer, Answer::Unparsable);
    uint32_t h[3] = {};
    EXPECT_EQ(parse_ai_all_hex(">00017FFF8000", h, 3).answer, Answer::Accepted);
    EXPECT_EQ(h[1], 0x7FFFu);
    EXPECT_EQ(parse_ai_all_hex(">00017FF", h, 3).answer, Answer::Unparsable);
}

// Every parser against every cut of good answers, against bit flips and
// random bytes: never a crash or a read past the answer (the sanitizer
// builds watch that), and a broken digital answer never yields a value.
TEST(BadAnswers, NeverReadPastTheAnswerNorPassForValues) {
    const std::string good[] = {"!01AB12", ">0F03", "!0100123", "!01A55A", "!014504P", "!0504", "!05132",
                                ">+05.123", ">1A2B", ">+01.000-02.500", "!01+05.000", ">+0000000123"};
    auto all = [](std::string_view a) {
        float f[8];
        uint32_t u[8];
        parse_dio_mf(a, 8, 8);
        parse_dio_mf(a, 32, 0);
        parse_dio_unified(a, 16, 8);
        parse_dio_unit(a, 16, 16);
        parse_latch(a, 8, 8);
        parse_latch(a, 16, 0);
        parse_latch_unit(a, 16, 16);
        parse_latch_unit(a, 4, 4);
        parse_counter(a);
        parse_counter_single(a);
        parse_stored_do(a, 32, Stored::Safe);
        parse_name_number(a);
        parse_wdt_status(a);
        parse_wdt_config(a, true);
        parse_ai(a);
        parse_ai_hex(a);
        parse_ai_all(a, f, 8);
        parse_ai_all_hex(a, u, 8);
        parse_value_after_address(a);
    };
    for (const std::string& g : good) {
        for (size_t cut = 0; cut <= g.size(); ++cut) {
            // Each cut in a buffer of exactly its size: ASan sees any overread.
            std::unique_ptr<char[]> exact(new char[cut == 0 ? 1 : cut]);
            std::memcpy(exact.get(), g.data(), cut);
            all(std::string_view(exact.get(), cut));
        }
    }
    std::mt19937 rng(7);
    for (int i = 0; i < 20000; ++i) {
        std::string a = good[static_cast<size_t>(i) % std::size(good)];
        a[rng() % a.size()] ^= static_cast<char>(1u << (rng() % 8));
        if (i % 3 == 0) a[rng() % a.size()] = '\0';
        all(a);
        // A digital answer with a non-hex character in its fields is no value.
        const auto p = parse_dio_mf(a, 8, 8);
        if (a.size() == 7 && a.find_first_not_of("0123456789ABCDEFabcdef", 3) != std::string::npos) {
            EXPECT_FALSE(p) << a;
        }
    }
}

}  // namespace
}  // namespace vex::modproto
