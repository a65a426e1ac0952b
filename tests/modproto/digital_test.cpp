// Digital calls of serial modules over a real pseudo-terminal: the bytes on
// the line, the values read and the code of every kind of bad answer.
#include <gtest/gtest.h>

#include "tests/modproto/module_fixture.h"

namespace vex::test {
namespace {

class SerialDigital : public ModuleFixture {};

// Refusals, silence and garbage against every call: SerialFamilies.FaultMatrix.
TEST_F(SerialDigital, WriteDOSendsTheOutputsInTheirWidthAndJudgesTheAnswer) {
    for (const char* reply : {"!01", "!01", "!1F", ">01"}) peer_->reply(reply);
    EXPECT_TRUE(vex_WriteDO_MF(port_, 0x1001, 8, 0x1FF));
    EXPECT_TRUE(vex_WriteDO_MF(port_, 0x1001, 32, 0x12345678));
    EXPECT_TRUE(vex_WriteDO_MF(port_, 0x101F, 20, 0xABCDE));
    EXPECT_FALSE(vex_WriteDO_MF(port_, 0x1001, 8, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_RESPONSE) << "'>' is no answer to this command";
    EXPECT_EQ(heard(4), (std::vector<std::string>{"@01DOFF", "@01DO12345678", "@1FDO0ABCDE", "@01DO01"}))
        << "masked to the channel count";
}

TEST_F(SerialDigital, LocalSlotsAreSelectedAndParallelModulesRefused) {
    peer_->reply("!00");
    EXPECT_TRUE(vex_WriteDO_MF(port_, serial_slot_, 8, 0x5A));
    EXPECT_EQ(heard_one(), "@00DO5A");
    // The select register is active low: the slot's bit is 0.
    EXPECT_EQ(sim().with_lock([](sim::State& st) { return st.slot_select; }), 0xFF ^ (1 << serial_slot_))
        << "the slot was selected";
    // From 0x100000 the _MF calls take the low byte as a local slot too.
    peer_->reply("!00");
    EXPECT_TRUE(vex_WriteDO_MF(port_, 0x100000 | serial_slot_, 8, 0x5A));
    heard(1);

    uint32_t di = 7, do_ = 7;
    EXPECT_FALSE(vex_ReadDIO_MF(port_, parallel_slot_, 8, 8, &di, &do_));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UNKNOWN_MODULE);
    EXPECT_FALSE(vex_WriteDO_MF(0, 0x1001, 8, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
    EXPECT_FALSE(vex_WriteDO_MF(0xFFFFFFFFu, 0x1001, 8, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
    heard_nothing();
    EXPECT_EQ(di, 7u);
    EXPECT_EQ(do_, 7u) << "outputs untouched on failure";
}

TEST_F(SerialDigital, ReadsSplitOutputsAndInputs) {
    uint32_t di = 0, do_ = 0;
    uint8_t bit = 9;
    for (const char* reply : {"!01AB12", "!010000F00F", "!01AB12", "!01AB12", "!01FFFF"}) peer_->reply(reply);
    EXPECT_TRUE(vex_ReadDIO_MF(port_, 0x1001, 8, 8, &di, &do_));
    EXPECT_EQ(heard_one(), "@01DI");
    EXPECT_EQ(do_, 0xABu);
    EXPECT_EQ(di, 0x12u);
    EXPECT_TRUE(vex_ReadDI_MF(port_, 0x1001, 16, &di));
    EXPECT_EQ(di, 0xF00Fu);
    EXPECT_TRUE(vex_ReadDIO_DOBit_MF(port_, 0x1001, 1, 8, 8, &bit));
    EXPECT_EQ(bit, 1);
    EXPECT_TRUE(vex_ReadDIO_DIBit_MF(port_, 0x1001, 0, 8, 8, &bit));
    EXPECT_EQ(bit, 0);
    EXPECT_TRUE(vex_ReadDOBit_MF(port_, 0x1001, 40, 32, &bit)) << "a bit past the word reads 0";
    EXPECT_EQ(bit, 0);
    heard(4);

    // A garbled field is no value, and the outputs stay as they were.
    di = do_ = 0x77;
    peer_->reply("!01AZ12");
    EXPECT_FALSE(vex_ReadDIO_MF(port_, 0x1001, 8, 8, &di, &do_));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
    EXPECT_EQ(di, 0x77u);
    bit = 1;
    peer_->silent();
    EXPECT_FALSE(vex_ReadDIBit_MF(port_, 0x1001, 0, 8, &bit));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_RESPONSE);
    EXPECT_EQ(bit, 0) << "the bit of an empty reading";
    EXPECT_FALSE(vex_ReadDIO_MF(port_, 0x1001, 8, 8, nullptr, &do_));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
}

TEST_F(SerialDigital, CountersByChannelField) {
    uint32_t count = 0;
    for (const char* reply : {"!0100123", "!01000ABCDE", "!01000ABCDE", "!01", "!01"}) peer_->reply(reply);
    EXPECT_TRUE(vex_ReadDICNT_MF(port_, 0x1001, 0, 1, &count));
    EXPECT_EQ(count, 123u) << "8 characters: decimal";
    EXPECT_TRUE(vex_ReadDICNT_MF(port_, 0x1001, 3, 8, &count));
    EXPECT_EQ(count, 0xABCDEu);
    EXPECT_TRUE(vex_ReadDICNT_MF(port_, 0x1001, 20, 32, &count));
    EXPECT_TRUE(vex_ClearDICNT_MF(port_, 0x1001, 20, 32));
    EXPECT_TRUE(vex_ClearDICNT_MF(port_, 0x1001, 0, 1));
    EXPECT_EQ(heard(5), (std::vector<std::string>{"@01RE", "@01REC3", "@01REC14", "@01CEC14", "@01CE"}))
        << "two digits above 16 inputs";
    peer_->reply("?01");
    EXPECT_FALSE(vex_ClearDICNT_MF(port_, 0x1001, 2, 8));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_RESPONSE);
    peer_->reply("!01-0123");
    EXPECT_FALSE(vex_ReadDICNT_MF(port_, 0x1001, 0, 8, &count));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
}

TEST_F(SerialDigital, BitWritesBySlotAndByAddress) {
    for (int i = 0; i < 3; ++i) peer_->reply(">");
    EXPECT_TRUE(vexsund_WriteDOBit(port_, static_cast<uint32_t>(serial_slot_), 9, 16, 1));
    EXPECT_TRUE(zed_WriteDOBit(port_, 0x05, 9, 8, 0));
    EXPECT_TRUE(zed_WriteDOBit(port_, 0x05, 27, 32, 1));
    EXPECT_EQ(heard(3), (std::vector<std::string>{"#00B101", "#05A900", "#05D301"}));

    peer_->reply("!00");
    EXPECT_FALSE(vexsund_WriteDOBit(port_, static_cast<uint32_t>(serial_slot_), 1, 8, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_DO_NO_OVERWRITE);
    peer_->reply("!05");
    EXPECT_FALSE(zed_WriteDOBit(port_, 0x05, 1, 8, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_RESPONSE) << "the address form knows no refusal";
    heard(2);

    EXPECT_FALSE(vexsund_WriteDOBit(port_, vex_GetSlotCount(), 1, 8, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT);
    EXPECT_FALSE(zed_WriteDOBit(0, 5, 1, 8, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
    heard_nothing();
    // Beyond 32 outputs the module gets an empty command.
    peer_->silent();
    EXPECT_FALSE(zed_WriteDOBit(port_, 5, 1, 33, 1));
    EXPECT_EQ(heard_one(), "");
}

TEST_F(SerialDigital, StoredOutputValues) {
    uint32_t v = 0;
    peer_->reply("!01A55A");
    EXPECT_TRUE(vex_ReadModuleSafeValueDO_MF(port_, 0x1001, 8, &v));
    EXPECT_EQ(heard_one(), "~014");
    EXPECT_EQ(v, 0x5Au);
    peer_->reply("!011234ABCD");
    EXPECT_TRUE(vex_ReadModulePowerOnValueDO_MF(port_, 0x1001, 16, &v));
    EXPECT_EQ(v, 0x1234u);
    heard(1);

    // Write: drive the outputs, then keep the other stored value.
    peer_->reply("!01");
    peer_->reply("!01A55A");
    peer_->reply("!01");
    EXPECT_TRUE(vex_WriteModuleSafeValueDO_MF(port_, 0x1001, 8, 0x1C3));
    EXPECT_EQ(heard(3), (std::vector<std::string>{"@01DOC3", "~014", "~015A5C3"}));
    peer_->reply("!01");
    peer_->reply("!010000123412345678");
    peer_->reply("!01");
    EXPECT_TRUE(vex_WriteModulePowerOnValueDO_MF(port_, 0x1001, 32, 0xCAFEF00D));
    EXPECT_EQ(heard(3), (std::vector<std::string>{"@01DOCAFEF00D", "~014", "~015CAFEF00D12345678"}));
    // A refused output write stops it with its own code.
    peer_->reply("?01");
    EXPECT_FALSE(vex_WriteModuleSafeValueDO_MF(port_, 0x1001, 8, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_DO_NO_OVERWRITE);
    EXPECT_EQ(heard(1).size(), 1u);
}

}  // namespace
}  // namespace vex::test
