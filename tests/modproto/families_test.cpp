// The unified path's two families through their tables: the texts each
// operation puts on the line for every address form, and a matrix of every
// misbehaviour against every kind of operation, each followed by a good
// exchange that must work.
#include <gtest/gtest.h>

#include <functional>

#include "modproto/families.h"
#include "tests/modproto/module_fixture.h"

namespace vex::test {
namespace {

using modproto::Stored;
using modproto::Target;

class SerialFamilies : public ModuleFixture {
protected:
    const modproto::SerialFamily& standard = modproto::standard_family();
    const modproto::SerialFamily& unit = modproto::unit_family();
};

TEST_F(SerialFamilies, StandardFamilyTexts) {
    const Target local = modproto::remote_or_local(port_, serial_slot_);
    const Target remote = modproto::remote_or_local(port_, 0x101A);
    uint32_t di = 0, do_ = 0, n = 0;
    float f = 0;
    peer_->reply(">");
    EXPECT_TRUE(standard.write_do(local, 4, 0xF7));
    peer_->reply(">");
    EXPECT_TRUE(standard.write_do(remote, 16, 0x1234));
    peer_->reply(">0F03");
    EXPECT_TRUE(standard.read_dio(remote, 8, 8, &di, &do_));
    EXPECT_EQ(do_, 0x0Fu);
    EXPECT_EQ(di, 0x03u);
    peer_->reply(">");
    EXPECT_TRUE(standard.write_do_bit(remote, 17, 32, 1));
    peer_->reply("!0F03");
    EXPECT_TRUE(standard.read_latch(remote, 8, 8, 1, &di, &do_));
    peer_->reply("!1A");
    EXPECT_TRUE(standard.clear_latch(remote));
    peer_->reply("!1A00000010");
    EXPECT_TRUE(standard.read_counter(remote, 31, 32, &n));
    EXPECT_EQ(n, 0x10u);
    peer_->reply(">+0000000042");
    EXPECT_TRUE(standard.read_counter_single(remote, 3, &n));
    EXPECT_EQ(n, 42u);
    peer_->reply("!1A");
    EXPECT_TRUE(standard.clear_counter(remote, 3, 8));
    EXPECT_EQ(heard(9), (std::vector<std::string>{"@007", "@1A1234", "@1A", "#1AC101", "$1AL1", "$1AC", "#1A1F",
                                                  "#1A3", "$1AC3"}));

    peer_->reply(">+01.500");
    EXPECT_TRUE(standard.read_ai(remote, 3, 8, &f));
    EXPECT_FLOAT_EQ(f, 1.5f);
    peer_->reply(">7FFE");
    EXPECT_TRUE(standard.read_ai_hex(remote, 3, 8, &n));
    EXPECT_EQ(n, 0x7FFEu);
    peer_->reply(">0001");
    EXPECT_TRUE(standard.read_ai_hex(remote, 0, 1, &n));
    float all[8];
    size_t count = 0;
    peer_->reply(">+01.000-02.000+03.000");
    EXPECT_TRUE(standard.read_ai_all(remote, all, 8, &count));
    EXPECT_EQ(count, 3u);
    peer_->reply("!1A");
    EXPECT_TRUE(standard.write_ao(remote, 3, 4, 2.5f));
    peer_->reply("!1A+02.500");
    EXPECT_TRUE(standard.read_ao(remote, 3, 4, &f));
    peer_->reply("!1A5A");
    EXPECT_TRUE(standard.read_stored_do(remote, 8, Stored::Safe, &n));
    EXPECT_EQ(n, 0x5Au);
    peer_->reply(">");
    peer_->reply("!1A");
    EXPECT_TRUE(standard.store_do(remote, 8, Stored::PowerOn, 0x3C));
    EXPECT_EQ(heard(9), (std::vector<std::string>{"#1A3", "#1a3", "#1A", "#1A", "#1A3+02.500", "$1A63", "~1A4S",
                                                  "@1A3C", "~1A5P"}));
}

TEST_F(SerialFamilies, UnitFamilyTexts) {
    const Target t = modproto::unit_slot(port_, 0x100502);
    uint32_t di = 0, do_ = 0, n = 0;
    float f = 0;
    peer_->reply(">");
    EXPECT_TRUE(unit.write_do(t, 8, 0x1A5));
    peer_->reply(">");
    EXPECT_TRUE(unit.write_do(t, 12, 0xA5));
    peer_->reply(">");
    EXPECT_TRUE(unit.write_do(t, 32, 0xA5));
    peer_->reply("!05ABCD");
    EXPECT_TRUE(unit.read_dio(t, 8, 8, &di, &do_));
    EXPECT_EQ(do_, 0xABu);
    EXPECT_EQ(di, 0xCDu);
    peer_->reply(">");
    EXPECT_TRUE(unit.write_do_bit(t, 9, 16, 1));
    peer_->reply("!x5x9");
    EXPECT_TRUE(unit.read_latch(t, 4, 4, 0, &di, &do_));
    EXPECT_EQ(di, 9u);
    peer_->reply("!05");
    EXPECT_TRUE(unit.clear_latch(t));
    peer_->reply("!0500000007");
    EXPECT_TRUE(unit.read_counter(t, 18, 24, &n));
    peer_->reply("!05");
    EXPECT_TRUE(unit.clear_counter(t, 1, 8));
    EXPECT_EQ(heard(9), (std::vector<std::string>{"#05S200A5", "#05S20000A5",
                                                  "@05S2000000A5", "$05S26", "#05B101", "$05S2L0", "$05S2C",
                                                  "#05S2C12", "$05S2C1"}));

    peer_->reply(">-02.000");
    EXPECT_TRUE(unit.read_ai(t, 1, 8, &f));
    peer_->reply(">+01.000+02.000");
    float all[2];
    size_t count = 0;
    EXPECT_TRUE(unit.read_ai_all(t, all, 2, &count));
    peer_->reply("!05");
    EXPECT_TRUE(unit.write_ao(t, 1, 2, 2.5f));
    peer_->reply("!05+02.500");
    EXPECT_TRUE(unit.read_ao(t, 1, 2, &f));
    peer_->reply("!051234");
    EXPECT_TRUE(unit.read_ao_power_on(t, 1, 2, &f));
    EXPECT_FLOAT_EQ(f, static_cast<float>(0x1234)) << "four characters: a hexadecimal count";
    peer_->reply("!0512");
    EXPECT_TRUE(unit.read_ao_power_on(t, 1, 2, &f));
    EXPECT_FLOAT_EQ(f, 12.0f);
    EXPECT_EQ(heard(6), (std::vector<std::string>{"#05S2C1", "#05S2", "#05S2C1+02.500", "$05S2C16", "$05S2C17",
                                                  "$05S2C17"}));
    EXPECT_FALSE(unit.read_ao_safe(t, 1, 2, &f));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_CARD_API_UNSUPPORTED);
    heard_nothing();
}

// Every way a module can misbehave, against every kind of operation: the
// exact code, and the next exchange on the port works.
TEST_F(SerialFamilies, FaultMatrix) {
    constexpr uint32_t kAnswerMs = 1000, kSilenceMs = 150;
    struct Op {
        const char* name;
        std::function<bool()> run;
        const char* good;         // a good answer
        uint32_t refused;         // code for a '?' refusal
        uint32_t garbled;         // code for an answer with a broken field
        const char* broken;       // that answer
    };
    const Target remote = modproto::remote_or_local(port_, 0x1001);
    const Target behind = modproto::unit_slot(port_, 0x100102);
    uint32_t a = 0, b = 0;
    uint16_t s = 0;
    float f = 0;
    const Op ops[] = {
        {"write_do", [&] { return standard.write_do(remote, 8, 1); }, ">", VEX_ERR_UART_RESPONSE, 0, nullptr},
        {"read_dio", [&] { return standard.read_dio(remote, 8, 8, &a, &b); }, ">0F03", VEX_ERR_UART_RESPONSE,
         VEX_ERR_UART_BUFFER_OVERFLOW, ">0F0G"},
        {"read_counter", [&] { return standard.read_counter(remote, 1, 8, &a); }, "!0100012", VEX_ERR_UART_RESPONSE,
         VEX_ERR_UART_BUFFER_OVERFLOW, "!01+0012"},
        {"read_ai", [&] { return standard.read_ai(remote, 1, 8, &f); }, ">+01.000", VEX_ERR_UART_RESPONSE,
         VEX_ERR_UART_BUFFER_OVERFLOW, ">+01.0.0"},
        {"write_ao", [&] { return standard.write_ao(remote, 1, 4, 1.0f); }, "!01", VEX_ERR_UART_RESPONSE, 0, nullptr},
        {"unit read_dio", [&] { return unit.read_dio(behind, 8, 8, &a, &b); }, "!01ABCD", VEX_ERR_UART_RESPONSE,
         VEX_ERR_UART_BUFFER_OVERFLOW, "!01AB-D"},
        {"vex_WriteDO_MF", [&] { return vex_WriteDO_MF(port_, 0x1001, 8, 1) != 0; }, "!01", VEX_ERR_DO_NO_OVERWRITE, 0,
         nullptr},
        {"vex_ReadDIO_MF", [&] { return vex_ReadDIO_MF(port_, 0x1001, 8, 8, &a, &b) != 0; }, "!01AB12",
         VEX_ERR_UART_RESPONSE, VEX_ERR_UART_BUFFER_OVERFLOW, "!01AB 2"},
        {"zed_GetModuleWDTStatus", [&] { return zed_GetModuleWDTStatus(port_, 1, &s) != 0; }, "!0104",
         VEX_ERR_UART_RESPONSE, VEX_ERR_UART_BUFFER_OVERFLOW, "!01+4"},
    };
    struct Fault {
        const char* name;
        std::function<void(const Op&)> script;
        std::function<uint32_t(const Op&)> code;  // 0: the call succeeds
    };
    auto response = [](const Op&) { return VEX_ERR_UART_RESPONSE; };
    const Fault faults[] = {
        {"silent", [&](const Op&) { peer_->silent(); }, response},
        {"cut", [&](const Op& op) { peer_->raw(std::string(op.good).substr(0, 2)); }, response},
        {"garbage", [&](const Op&) { peer_->raw("\x7f#@x\r"); }, response},
        {"nul", [&](const Op&) { peer_->raw(std::string("\0>01\r", 5)); }, response},
        {"refused", [&](const Op&) { peer_->reply("?01"); }, [](const Op& op) { return op.refused; }},
        {"garbled field",
         [&](const Op& op) { peer_->reply(op.broken ? op.broken : "\x01"); },
         [](const Op& op) { return op.broken ? op.garbled : VEX_ERR_UART_RESPONSE; }},
        {"dribbled", [&](const Op& op) { peer_->dribble(op.good, 10); }, [](const Op&) { return 0u; }},
        {"too long", [&](const Op&) { peer_->reply(">" + std::string(40, '1')); },
         [](const Op&) { return VEX_ERR_UART_RESPONSE; }},
    };
    int cases = 0;
    for (const Op& op : ops) {
        for (const Fault& fault : faults) {
            // An over-long answer is still a valid answer to an output write.
            const bool write = op.broken == nullptr;
            if (write && std::string(fault.name) == "too long") continue;
            // A silence or a cut answer costs a time-out: a short one. Every
            // other answer gets a long one, so that a loaded machine that
            // holds the peer back for a while does not turn it into a silence.
            const std::string name = fault.name;
            const bool silence = name == "silent" || name == "cut";
            ASSERT_TRUE(uart_SetTimeOut(port_, silence ? kSilenceMs : kAnswerMs, 0));
            fault.script(op);
            const bool ok = op.run();
            const uint32_t expected = fault.code(op);
            EXPECT_EQ(ok, expected == 0) << op.name << " / " << fault.name;
            if (expected != 0) {
                EXPECT_EQ(vex_GetLastError(), expected) << op.name << " / " << fault.name;
            }
            ASSERT_TRUE(uart_SetTimeOut(port_, kAnswerMs, 0));
            peer_->reply(op.good);
            EXPECT_TRUE(op.run()) << op.name << " after " << fault.name;
            peer_->take(2);
            ++cases;
        }
    }
    // The same with checksums on: a wrong one is a response error.
    ASSERT_TRUE(uart_EnableCheckSum(port_, 1));
    peer_->use_checksum(true);
    for (const Op& op : ops) {
        peer_->raw(std::string(op.good) + "00\r");
        EXPECT_FALSE(op.run()) << op.name;
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_RESPONSE) << op.name;
        peer_->reply(op.good);
        EXPECT_TRUE(op.run()) << op.name << " with a good checksum";
        for (const std::string& c : peer_->take(2)) EXPECT_EQ(c.find("<bad>"), std::string::npos) << c;
        ++cases;
    }
    RecordProperty("fault_cases", cases);
}

}  // namespace
}  // namespace vex::test
