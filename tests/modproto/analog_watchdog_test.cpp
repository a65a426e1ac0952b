// Analog calls and the host watchdog of serial modules over a real
// pseudo-terminal: texts on the line, values, codes.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/modproto/module_fixture.h"

namespace vex::test {
namespace {

class SerialAnalog : public ModuleFixture {};
class SerialWatchdog : public ModuleFixture {};

TEST_F(SerialAnalog, OutputWritesCarryTheirSignByChannelCount) {
    for (int i = 0; i < 4; ++i) peer_->reply("!03");
    EXPECT_TRUE(vex_WriteAO_MF(port_, 0x1003, 1, 4, -2.5f));
    EXPECT_TRUE(vex_WriteAO_MF(port_, 0x1003, 1, 2, 2.5f));
    EXPECT_TRUE(vex_WriteAO_MF(port_, 0x1003, 0, 1, 5.0f));
    EXPECT_TRUE(vex_WriteAO_MF(port_, 0x1003, 17, 20, 12.25f));
    EXPECT_EQ(heard(4), (std::vector<std::string>{"#031-02.500", "#03102.500", "#0305.000", "#0311+12.250"}));

    peer_->reply("!");
    EXPECT_FALSE(vex_WriteAO_MF(port_, 0x1003, 0, 1, -5.0f));
    EXPECT_EQ(heard_one(), "#03-05.000");
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_DO_NO_OVERWRITE) << "a refused output, with the DO message";

    for (float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1e30f}) {
        EXPECT_FALSE(vex_WriteAO_MF(port_, 0x1003, 0, 4, bad));
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
    }
    heard_nothing();
}

TEST_F(SerialAnalog, ReadBackAndSafeValues) {
    float v = 0;
    peer_->reply("!03+05.250");
    peer_->reply("!03-01.500");
    EXPECT_TRUE(vex_ReadAO_MF(port_, 0x1003, 2, 4, &v));
    EXPECT_FLOAT_EQ(v, 5.25f);
    EXPECT_TRUE(vex_ReadModuleSafeValueAO_MF(port_, 0x1003, 0, 1, &v));
    EXPECT_FLOAT_EQ(v, -1.5f);
    EXPECT_EQ(heard(2), (std::vector<std::string>{"$0362", "~034"}));
    v = 9;
    peer_->reply("!03+05.2x0");
    EXPECT_FALSE(vex_ReadAO_MF(port_, 0x1003, 2, 4, &v));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
    EXPECT_FLOAT_EQ(v, 9.0f);
    heard(1);

    peer_->reply("!03");
    peer_->reply("!03");
    EXPECT_TRUE(vex_WriteModuleSafeValueAO_MF(port_, 0x1003, 3, 4, 1.0f));
    EXPECT_EQ(heard(2), (std::vector<std::string>{"#033+01.000", "~0353"}));
}

// Which kinds can tell their power-on value, and how they are asked, comes
// from the product catalogue.
TEST_F(SerialAnalog, PowerOnValuesFollowTheCatalogue) {
    float v = 0;
    peer_->reply("!034504P");
    peer_->reply("!03+07.000");
    EXPECT_TRUE(vex_ReadModulePowerOnValueAO_MF(port_, 0x1003, 1, 4, &v));
    EXPECT_EQ(heard(2), (std::vector<std::string>{"$03M", "$0371"}));
    EXPECT_FLOAT_EQ(v, 7.0f);
    peer_->reply("!034502");
    peer_->reply("!03+03.000");
    EXPECT_TRUE(vex_ReadModulePowerOnValueAO_MF(port_, 0x1003, 1, 2, &v));
    EXPECT_EQ(heard(2)[1], "~0371");
    peer_->reply("!034501");
    peer_->reply("!03+03.000");
    EXPECT_TRUE(vex_ReadModulePowerOnValueAO_MF(port_, 0x1003, 0, 1, &v));
    EXPECT_EQ(heard(2)[1], "$037");

    for (const char* name : {"!034504", "!034408", "!039999", "!03"}) {
        peer_->reply(name);
        EXPECT_FALSE(vex_ReadModulePowerOnValueAO_MF(port_, 0x1003, 1, 4, &v)) << name;
        EXPECT_EQ(vex_GetLastError(), std::string(name) == "!03" ? VEX_ERR_UART_BUFFER_OVERFLOW
                                                                 : VEX_ERR_CARD_API_UNSUPPORTED)
            << name;
        EXPECT_EQ(heard(1).size(), 1u) << "only the name was asked";
    }

    // Storing: the single-output kind with a command of its own gets "$AAS".
    peer_->reply("!03");
    peer_->reply("!034501");
    peer_->reply("!03");
    EXPECT_TRUE(vex_WriteModulePowerOnValueAO_MF(port_, 0x1003, 0, 1, 2.0f));
    EXPECT_EQ(heard(3), (std::vector<std::string>{"#0302.000", "$03M", "$03S"}));
    peer_->reply("!03");
    peer_->reply("!034401");
    peer_->reply("!03");
    EXPECT_TRUE(vex_WriteModulePowerOnValueAO_MF(port_, 0x1003, 0, 1, 2.0f));
    EXPECT_EQ(heard(3)[2], "$034");
    peer_->reply("!03");
    peer_->reply("!03");
    EXPECT_TRUE(vex_WriteModulePowerOnValueAO_MF(port_, 0x1003, 2, 4, 2.0f));
    EXPECT_EQ(heard(2)[1], "$0342");
    peer_->reply("!");
    EXPECT_FALSE(vex_WriteModulePowerOnValueAO_MF(port_, 0x1003, 2, 4, 2.0f));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_RESPONSE) << "a failed write stops the store";
    EXPECT_EQ(heard(1).size(), 1u);
}

TEST_F(SerialWatchdog, ConfigurationTexts) {
    const auto slot = static_cast<uint32_t>(serial_slot_);
    for (int i = 0; i < 4; ++i) peer_->reply("!00");
    EXPECT_TRUE(vexsund_SetModuleWDTConfig(port_, slot, 1, 0x32));
    EXPECT_TRUE(vexsund_SetModuleWDTConfig(port_, slot, 0, 0x32));
    EXPECT_TRUE(vexsund_SetModuleWDTConfig(port_, slot, -1, 0x132));
    EXPECT_TRUE(zed_SetModuleWDTConfig(port_, 0x05, 7, 0xFF));
    EXPECT_EQ(heard(4), (std::vector<std::string>{"~003132", "~003032", "~003032", "~0531FF"}));
    peer_->reply(">00");
    EXPECT_FALSE(vexsund_SetModuleWDTConfig(port_, slot, 1, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_RESPONSE);
    heard(1);
    EXPECT_FALSE(zed_SetModuleWDTConfig(0, 5, 1, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
    EXPECT_FALSE(vexsund_SetModuleWDTConfig(0, slot, 1, 1));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_RESPONSE) << "the slot family leaves the port to the exchange";
    heard_nothing();

    uint16_t enabled = 9;
    uint32_t timeout = 9;
    peer_->reply("!00132");
    EXPECT_TRUE(vexsund_GetModuleWDTConfig(port_, slot, &enabled, &timeout));
    EXPECT_EQ(heard_one(), "~002");
    EXPECT_EQ(enabled, 1u);
    EXPECT_EQ(timeout, 0x32u) << "by slot: hexadecimal";
    peer_->reply("!05032");
    EXPECT_TRUE(zed_GetModuleWDTConfig(port_, 5, &enabled, &timeout));
    EXPECT_EQ(heard_one(), "~052");
    EXPECT_EQ(enabled, 0u);
    EXPECT_EQ(timeout, 32u) << "by address: decimal";
    peer_->reply("!0503");
    EXPECT_FALSE(zed_GetModuleWDTConfig(port_, 5, &enabled, &timeout));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_RESPONSE);
    peer_->reply("!050AB");
    EXPECT_FALSE(zed_GetModuleWDTConfig(port_, 5, &enabled, &timeout));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_BUFFER_OVERFLOW);
    heard(2);
}

TEST_F(SerialWatchdog, StatusResetAndRefresh) {
    uint16_t status = 9;
    peer_->reply("!0504");
    EXPECT_TRUE(zed_GetModuleWDTStatus(port_, 0x05, &status));
    EXPECT_EQ(heard_one(), "~050");
    EXPECT_EQ(status, 1u);
    peer_->reply("!0500");
    EXPECT_TRUE(zed_GetModuleWDTStatus(port_, 0x05, &status));
    EXPECT_EQ(status, 0u) << "status 0 is a success (other answer lengths: OtherAnswers)";
    peer_->reply("!0004");
    EXPECT_TRUE(vexsund_GetModuleWDTStatus(port_, static_cast<uint32_t>(serial_slot_), &status));
    EXPECT_EQ(status, 1u);
    EXPECT_EQ(heard(2), (std::vector<std::string>{"~050", "~000"}));

    peer_->reply("!05");
    EXPECT_TRUE(zed_ResetModuleWDT(port_, 5));
    EXPECT_EQ(heard_one(), "~051");
    vex_SetLastError(VEX_ERR_UNKNOWN);
    peer_->reply("!0512");
    EXPECT_FALSE(zed_ResetModuleWDT(port_, 5));
    EXPECT_EQ(vex_GetLastError(), 0u) << "fails without a code of its own";
    peer_->reply("?05");
    EXPECT_FALSE(vexsund_ResetModuleWDT(port_, static_cast<uint32_t>(serial_slot_)));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_RESPONSE);
    heard(2);

    // The refresh is heard by the line and awaits no answer.
    peer_->reply("!00");  // would be a stale answer if it were read
    EXPECT_TRUE(zed_RefreshModuleWDT(port_));
    EXPECT_TRUE(vexsund_RefreshModuleWDT(port_));
    EXPECT_EQ(heard(2), (std::vector<std::string>{"~**", "~**"}));
    EXPECT_FALSE(zed_RefreshModuleWDT(0));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
}

}  // namespace
}  // namespace vex::test
