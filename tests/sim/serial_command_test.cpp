// The serial module's side of the line as pure functions: what a command
// text means to a module of a given kind, the command framing and what the
// faults do to an answer. The texts are those the library sends.
#include <gtest/gtest.h>

#include "frame/catalogue.h"
#include "sim/serial_modules/command.h"
#include "sim/serial_modules/framing.h"

namespace vex::sim::serial {
namespace {

Shape shape(const char* kind) { return shape_of(*catalogue::find_serial_kind(kind)); }

struct Case {
    const char* kind;
    const char* command;
    Op op;
    int channel;
};

Request decode_text(const char* kind, std::string_view command) {
    const auto a = split_address(command);
    if (!a) return {};
    if (const auto us = split_unit_slot(a->body)) return decode_unit(a->prefix, us->rest, shape(kind));
    return decode(a->prefix, a->body, shape(kind));
}

TEST(SerialCommand, EveryLibraryCommandTextMeansTheRightOperation) {
    const Case cases[] = {
        // Digital: exported, unified and unit-slot forms.
        {"4308", "@01DO5A", Op::DoWrite, -1},       {"4232", "@01DO12345678", Op::DoWrite, -1},
        {"4308", "@01DI", Op::DioRead, -1},         {"4308", "@01", Op::DioRead, -1},
        {"4308", "@017", Op::DoWrite, -1},          {"4308", "@01CE", Op::DoWrite, -1},
        {"4308", "@01CEC3", Op::CounterClear, 3},   {"4308", "@01REC7", Op::CounterRead, 7},
        {"4161", "@01RE", Op::CounterRead, 0},      {"4161", "@01CE", Op::CounterClear, 0},
        {"4132", "@01REC1F", Op::CounterRead, 31},  {"4132", "@01REC1", Op::Unknown, -1},
        {"4308", "#01A701", Op::DoBit, 7},          {"4216", "#01B101", Op::DoBit, 9},
        {"4232", "#01D700", Op::DoBit, 31},         {"4408", "#01A701", Op::Unknown, -1},
        {"4308", "#013", Op::CounterRead, 3},       {"4132", "#011F", Op::CounterRead, 31},
        {"4308", "$01L0", Op::LatchRead, -1},       {"4308", "$01L2", Op::Unknown, -1},
        {"4308", "$01C", Op::LatchClear, -1},       {"4308", "$01C5", Op::CounterClear, 5},
        {"4216", "$01C", Op::Unknown, -1},          {"4308", "$016", Op::DioRead, -1},
        {"4308", "$10S16", Op::DioRead, -1},        {"4308", "$10S1L1", Op::LatchRead, -1},
        {"4308", "$10S1C", Op::LatchClear, -1},     {"4308", "$10S1C2", Op::CounterClear, 2},
        {"4308", "#10S100A5", Op::DoWrite, -1},     {"4216", "#10S10012A5", Op::DoWrite, -1},
        {"4232", "@10S112345678", Op::DoWrite, -1}, {"4308", "#10S1C2", Op::CounterRead, 2},
        {"4308", "~10S14P", Op::DoValuesRead, -1},  {"4308", "~10S15S", Op::DoValueStore, -1},
        // Module name, watchdog and output values.
        {"4408", "$01M", Op::Name, -1},             {"4308", "~010", Op::WdtStatus, -1},
        {"4308", "~011", Op::WdtReset, -1},         {"4308", "~012", Op::WdtConfigRead, -1},
        {"4308", "~013132", Op::WdtConfigSet, -1},  {"4408", "~010", Op::Unknown, -1},
        {"4308", "~014", Op::DoValuesRead, -1},     {"4308", "~014P", Op::DoValuesRead, -1},
        {"4308", "~0155AA5", Op::DoValuesWrite, -1}, {"4308", "~015S", Op::DoValueStore, -1},
        {"4308", "~015123", Op::Unknown, -1},       {"4216", "~01D", Op::OutputWidth, -1},
        // Analog: single channel, one digit, two digits, lower-case address.
        {"4401", "#01", Op::AiRead, -1},            {"4408", "#01", Op::AiReadAll, -1},
        {"4408", "#1a3", Op::AiRead, 3},            {"4424", "#0117", Op::AiRead, 23},
        {"4424", "#017", Op::Unknown, -1},          {"4408", "#10S2C5", Op::AiRead, 5},
        {"4408", "#10S2", Op::AiReadAll, -1},       {"4501", "#0105.000", Op::AoWrite, -1},
        {"4501", "#01-05.000", Op::AoWrite, -1},    {"4502", "#01102.500", Op::AoWrite, 1},
        {"4504", "#031-02.500", Op::AoWrite, 1},    {"4504", "#10S1C3+01.000", Op::AoWrite, 3},
        {"4501", "$016", Op::AoRead, -1},           {"4504", "$0162", Op::AoRead, 2},
        {"4504", "$10S1C26", Op::AoRead, 2},        {"4501", "$017", Op::AoPowerOnRead, -1},
        {"4502", "~017", Op::Unknown, -1},    {"4502", "~0171", Op::AoPowerOnRead, 1},
        {"4502", "$0171", Op::Unknown, -1},         {"4408", "$017", Op::Unknown, -1},
        {"4501", "$01S", Op::AoPowerOnSet, -1},     {"4504", "$01S", Op::Unknown, -1},
        {"4504", "$0143", Op::AoPowerOnSet, 3},     {"4504", "$10S1C24", Op::AoPowerOnSet, 2},
        {"4501", "~014", Op::AoSafeRead, -1},       {"4504", "~0143", Op::AoSafeRead, 3},
        {"4501", "~015", Op::AoSafeSet, -1},        {"4504", "~0152", Op::AoSafeSet, 2},
        {"4504", "#031+2.5x", Op::Unknown, -1},     {"4504", "#031+", Op::Unknown, -1},
    };
    for (const Case& c : cases) {
        const Request r = decode_text(c.kind, c.command);
        EXPECT_EQ(r.op, c.op) << c.kind << " " << c.command;
        if (r.op == c.op && c.op != Op::Unknown) {
            EXPECT_EQ(r.channel, c.channel) << c.kind << " " << c.command;
        }
    }
}

TEST(SerialCommand, ValuesAndDialectsCarriedByTheCommand) {
    Request r = decode_text("4232", "@01DO12345678");
    EXPECT_EQ(r.value, 0x12345678u);
    EXPECT_EQ(r.dialect, Dialect::Mf);
    EXPECT_EQ(decode_text("4308", "@01F7").dialect, Dialect::Plain);
    EXPECT_EQ(decode_text("4308", "$016").dialect, Dialect::Dollar);
    r = decode_text("4308", "~0155AA5");
    EXPECT_EQ(r.value, 0x5Au);
    EXPECT_EQ(r.value2, 0xA5u);
    r = decode_text("4232", "~0151234567800000001");
    EXPECT_EQ(r.value, 0x12345678u);
    EXPECT_EQ(r.value2, 1u);
    r = decode_text("4308", "~013132");
    EXPECT_TRUE(r.enable);
    EXPECT_EQ(r.timeout, 0x32);
    EXPECT_FALSE(decode_text("4308", "~013032").enable);
    EXPECT_EQ(decode_text("4308", "#01A100").value, 0u);
    EXPECT_EQ(decode_text("4308", "#01A105").value, 1u) << "any other value switches on";
    EXPECT_FLOAT_EQ(decode_text("4504", "#031-02.500").analog, -2.5f);
    EXPECT_FLOAT_EQ(decode_text("4501", "#00123.400").analog, 123.4f);
    EXPECT_EQ(decode_text("4308", "$01L1").which, '1');
    EXPECT_EQ(decode_text("4308", "~014S").which, 'S');

    EXPECT_TRUE(split_address("~**")->broadcast);
    EXPECT_EQ(split_address("#1a")->address, 0x1A);
    for (const char* bad : {"", "#", "#0", "#0G", "!01", "?01", "x01", "~*"}) EXPECT_FALSE(split_address(bad)) << bad;
    EXPECT_FALSE(split_unit_slot("SG6"));
    EXPECT_FALSE(split_unit_slot("S"));
}

TEST(SerialCommand, AnyBytesDecodeWithoutHarm) {
    // Every byte value in every position of short commands, for each kind.
    for (const catalogue::SerialKind& k : catalogue::serial_kinds()) {
        const Shape s = shape_of(k);
        std::string text = "#01S1C1+0";
        for (size_t pos = 0; pos < text.size(); ++pos) {
            for (int b = 0; b < 256; ++b) {
                std::string t = text;
                t[pos] = static_cast<char>(b);
                if (const auto a = split_address(t)) {
                    const Request r = decode(a->prefix, a->body, s);
                    EXPECT_LT(r.channel, 256) << "a channel field has at most two digits";
                }
            }
        }
    }
    float f = 0;
    for (const char* bad : {"", "+", "-", ".5", "5.", "1..2", "1e5", "nan", "inf", "0x10", "+-1", "1234567890123"})
        EXPECT_FALSE(parse_decimal(bad, f)) << bad;
    uint32_t v = 0;
    for (const char* bad : {"", "123456789", "G", "-1", " 1"}) EXPECT_FALSE(parse_hex(bad, v)) << bad;
}

TEST(SerialFraming, CommandsEndAtTheTerminatorAndChecksumsAreChecked) {
    CommandAssembler a;
    a.set_terminator("\r\n");
    std::vector<std::string> got;
    for (char c : std::string("$01M\r\n#02\r@03\r\n\n")) {
        if (a.feed(static_cast<uint8_t>(c))) got.push_back(a.command());
    }
    EXPECT_EQ(got, (std::vector<std::string>{"$01M", "#02", "@03"})) << "the rest of a terminator is swallowed";
    EXPECT_FALSE(a.idle()) << "a stray line feed starts a new command";

    CommandAssembler b;
    for (int i = 0; i < 200; ++i) b.feed('x');
    EXPECT_FALSE(b.feed('\r')) << "an over-long command is thrown away";
    for (char c : std::string("#01\r")) b.feed(static_cast<uint8_t>(c));
    EXPECT_EQ(b.command(), "#01") << "and the next one is taken";

    EXPECT_EQ(checksum_text("$01M"), "D2");
    EXPECT_EQ(strip_checksum("$01MD2"), std::string_view("$01M"));
    EXPECT_FALSE(strip_checksum("$01Md2")) << "upper-case digits only";
    EXPECT_FALSE(strip_checksum("$01MD3"));
    EXPECT_FALSE(strip_checksum("D2"));
    EXPECT_EQ(frame_answer("!01", true, "\r"), "!0182\r");
}

TEST(SerialFraming, FaultsSpoilTheFramedAnswer) {
    const std::string framed = frame_answer("!014408", false, "\r");
    auto with = [&](SerialFaultKind kind, uint32_t param, bool checksum = false) {
        SerialFault f{};
        f.kind = static_cast<uint8_t>(kind);
        f.param = param;
        return spoil(checksum ? frame_answer("!014408", true, "\r") : framed, 7, checksum, f, "\r", 1);
    };
    EXPECT_EQ(with(SerialFaultKind::None, 0).bytes, framed);
    EXPECT_FALSE(with(SerialFaultKind::None, 0).spoiled);
    EXPECT_TRUE(with(SerialFaultKind::Silent, 0).bytes.empty());
    EXPECT_EQ(with(SerialFaultKind::Cut, 3).bytes, "!01");
    EXPECT_EQ(with(SerialFaultKind::Cut, 99).bytes, framed);
    EXPECT_EQ(with(SerialFaultKind::Dribble, 40).gap_ms, 40u);
    EXPECT_EQ(with(SerialFaultKind::BadChecksum, 0, true).bytes, "!01440853\r");
    EXPECT_EQ(with(SerialFaultKind::BadChecksum, 0, false).bytes, "!01440853\r");
    const Outgoing g = with(SerialFaultKind::Garbage, 64);
    EXPECT_EQ(g.bytes.size(), 64 + framed.size());
    EXPECT_EQ(g.bytes.substr(64), framed);
    EXPECT_EQ(g.bytes.substr(0, 64).find('\r'), std::string::npos) << "noise never ends the answer early";
}

}  // namespace
}  // namespace vex::sim::serial
