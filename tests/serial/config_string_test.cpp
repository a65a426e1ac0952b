// Splitting the configuration string and reading its fields.
#include <gtest/gtest.h>

#include <string>

#include "serial/config_string.h"

namespace vex::serial {
namespace {

std::string fields_of(const char* text, const char* port = "COM0:") {
    const ConfigFields f = split_config(text, port);
    return std::string(f[kPort]) + "|" + f[kBaud] + "|" + f[kParity] + "|" + f[kDataBits] + "|" + f[kStopBits];
}

TEST(SerialConfigString, SplitsLikeStrtok) {
    EXPECT_EQ(fields_of("COM1:,9600"), "COM1:|9600|N|8|1");
    // Empty fields vanish: the next token moves up.
    EXPECT_EQ(fields_of("COM1:,,E,8,1"), "COM1:|E|8|1|1");
    EXPECT_EQ(fields_of(",,,COM3:,,,19200,,"), "COM3:|19200|N|8|1");
    EXPECT_EQ(fields_of("COM1:,9600,O,7,2,extra,more"), "COM1:|9600|O|7|2");
    EXPECT_EQ(fields_of("", "COM1:"), "COM1:|115200|N|8|1");
    EXPECT_EQ(fields_of(",,,", "COM1:"), "COM1:|115200|N|8|1");
}

TEST(SerialConfigString, LongTokensKeepTheirFirst19Characters) {
    const std::string long_port(40, 'P');
    const std::string text = long_port + "," + std::string(25, '9') + ",E";
    const ConfigFields f = split_config(text.c_str(), "COM0:");
    EXPECT_EQ(std::string(f[kPort]), std::string(19, 'P'));
    EXPECT_EQ(std::string(f[kBaud]), std::string(19, '9'));
    EXPECT_STREQ(f[kParity], "E");  // the cut does not shift later fields
}

TEST(SerialConfigString, DecimalValueReadsLikeAtoi) {
    EXPECT_EQ(decimal_value("9600"), 9600);
    EXPECT_EQ(decimal_value("  19200baud"), 19200);
    EXPECT_EQ(decimal_value("E"), 0);
    EXPECT_EQ(decimal_value("-7"), -7);
    EXPECT_EQ(decimal_value("1.5"), 1);
    // 19 nines wrap modulo 2^32 instead of overflowing.
    EXPECT_EQ(static_cast<uint32_t>(decimal_value("9999999999999999999")),
              static_cast<uint32_t>(9999999999999999999ull & 0xFFFFFFFFu));
}

TEST(SerialConfigString, AppliesParityStopBitsAndClearsFlowControl) {
    plat::ComSettings s;
    s.parity = plat::Parity::Odd;
    s.stop_bits = plat::StopBits::Two;
    s.cts_flow = s.xon_in = s.xon_out = s.parity_check = s.dsr_flow = true;
    s.dtr_control = plat::kDtrHandshake;

    // Lower-case letters and unknown stop texts leave the settings alone.
    apply_config(split_config("COM1:,19200,e,7,3", "COM0:"), s);
    EXPECT_EQ(s.baud, 19200u);
    EXPECT_EQ(s.data_bits, 7);
    EXPECT_EQ(s.parity, plat::Parity::Odd);
    EXPECT_EQ(s.stop_bits, plat::StopBits::Two);
    EXPECT_FALSE(s.cts_flow || s.xon_in || s.xon_out || s.parity_check || s.dsr_flow);
    EXPECT_EQ(s.dtr_control, plat::kDtrHandshake) << "DTR control stays as the driver had it";

    const struct {
        const char* text;
        plat::Parity parity;
        plat::StopBits stop;
    } cases[] = {
        {"C:,1,Mark,8,1.5", plat::Parity::Mark, plat::StopBits::OneAndHalf},
        {"C:,1,S,8,1", plat::Parity::Space, plat::StopBits::One},
        {"C:,1,E,8,2", plat::Parity::Even, plat::StopBits::Two},
        {"C:,1,N,8,1.50", plat::Parity::None, plat::StopBits::Two},  // "1.50" is not "1.5"
    };
    for (const auto& c : cases) {
        apply_config(split_config(c.text, "COM0:"), s);
        EXPECT_EQ(s.parity, c.parity) << c.text;
        EXPECT_EQ(s.stop_bits, c.stop) << c.text;
    }
    apply_config(split_config("C:,1,N,264", "COM0:"), s);
    EXPECT_EQ(s.data_bits, 8) << "low 8 bits of 264";
}

TEST(SerialConfigString, PortNamesAndTheirDevices) {
    auto parts = [](const char* text) {
        const PortName n = port_name(text);
        return std::string(n.device) + "|" + n.record_name + "|" + n.mapping;
    };
    EXPECT_EQ(parts("COM1:"), "COM1:|COM1:|COM1");
    EXPECT_EQ(parts("COM1"), "$device\\COM1|COM1|COM1");
    EXPECT_EQ(parts("COM10:"), "$device\\COM10|COM10|COM10");
    EXPECT_EQ(parts("COM123:"), "$device\\COM12|COM12|COM12") << "cut after the fifth character";
}

}  // namespace
}  // namespace vex::serial
