// vexsim on serial modules, end to end: another process sets inputs and
// faults, shows the modules and traces the exchanges and register writes
// this test makes.
#include "tests/sim/serial_fixture.h"

namespace vex::test {
namespace {

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

class VexsimSerial : public SerialSim {};

TEST_F(VexsimSerial, SetInputsAnalogValuesAndPulses) {
    const VEX_PORT com1 = open_port("COM1:");
    ASSERT_EQ(run_vexsim({"set", "di", "3", "0xF0"}).status, 0);
    EXPECT_EQ(ask_slot(3, "@00"), ">00F0");
    ASSERT_EQ(run_vexsim({"set", "ai", "COM1:01", "7", "-3.25"}).status, 0);
    EXPECT_EQ(ask(com1, "#017"), ">-03.250");
    ASSERT_EQ(run_vexsim({"set", "pulses", "COM1:10/0", "4", "300"}).status, 0);
    EXPECT_EQ(ask(com1, "#10S0C4"), "!100000012C");
    ASSERT_EQ(run_vexsim({"set", "format", "COM1:01", "hex"}).status, 0);
    EXPECT_EQ(ask(com1, "#017"), ">D667");

    const std::pair<std::vector<std::string>, const char*> refusals[] = {
        {{"set", "di", "COM1:01", "1"}, "no digital inputs"},
        {{"set", "di", "3", "0x100"}, "has 8 inputs"},
        {{"set", "ai", "COM1:01", "8", "1"}, "0..7"},
        {{"set", "ai", "COM1:01", "1", "one"}, "must be a number"},
        {{"set", "pulses", "COM1:02", "0", "1"}, "no counters"},
        {{"set", "di", "COM1:77", "1"}, "COM1: has 01, 02, unit 10"},
        {{"set", "di", "6", "1"}, "slot 6 holds no serial module"},
        {{"set", "di", "COM9:01", "1"}, "COM0:, COM1:, COM2:"},
        {{"fault", "COM1:01", "sulky"}, "sulky"},
        {{"fault", "COM1:10/7", "silent"}, "no module at COM1:10/7"},
    };
    for (const auto& [args, says] : refusals) {
        const ProcessResult r = run_vexsim(args);
        EXPECT_NE(r.status, 0) << r.output;
        EXPECT_TRUE(has(r.output, says)) << "'" << says << "' not in: " << r.output;
    }
}

TEST_F(VexsimSerial, PlugASerialModuleOfACatalogueKind) {
    ProcessResult r = run_vexsim({"plug", "6", "--serial", "4401"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(_vex_slot_exists(6));
    EXPECT_EQ(_vex_slot_inp(6, 0), 0xFFu);
    EXPECT_EQ(ask_slot(6, "$00M"), "!004401");
    EXPECT_EQ(ask_slot(6, "#00"), ">+00.000");
    r = run_vexsim({"plug", "6", "--serial", "dio"});
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(has(r.output, "'dio' is no serial module kind (4104, 4108")) << r.output;
    EXPECT_EQ(run_vexsim({"plug", "6", "--serial", "4308", "--di", "8"}).status, 2);
    ASSERT_EQ(run_vexsim({"unplug", "6"}).status, 0);
    EXPECT_EQ(ask_slot(6, "$00M"), "error 0x14002");
}

TEST_F(VexsimSerial, ShowListsModulesWithTheirStateAndTraceTheExchanges) {
    const VEX_PORT com1 = open_port("COM1:");
    EXPECT_EQ(ask(com1, "@02DO8001"), "!02");
    EXPECT_EQ(ask(com1, "~0231FF"), "!02");
    ASSERT_EQ(run_vexsim({"fault", "COM1:01", "dribble", "--ms", "2", "--count", "3"}).status, 0);
    vex_ChangeSlot(3);
    ProcessResult r = run_vexsim({"show"});
    ASSERT_EQ(r.status, 0) << r.output;
    for (const char* line :
         {"host: pid ", "(vexsim host: ends when the last program using the instance ends)",
          "slot 0: bus module 8132, ID 0x2F", "slot 3: serial module", "slot select 0xF7",
          "serial COM0: terminator \"\\r\", checksum off, not paced", "slot3  4308 at address 00",
          "inputs  0x05  latched on 0x00 off 0x00", "COM1:01  4408 at address 01: 8 analog inputs",
          "1.250 -2.500 0.000 5.000", "fault: dribble 2 ms a character (3 more exchanges)",
          "COM1:02  4216 at address 02", "outputs 0x8001  power-on 0x0000  safe 0x0000",
          "host watchdog enabled, time-out 25.5 s", "COM1:10  expansion unit 'RU2', 2 slots",
          "COM1:10/1  4502 at address 10", "slot7  4504P"})
        EXPECT_TRUE(has(r.output, line)) << "'" << line << "' not in:\n" << r.output;

    r = run_vexsim({"trace", "-n", "4"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(has(r.output, "serial COM1:  @02DO8001\\r  ->  !02\\r\n")) << r.output;
    EXPECT_TRUE(has(r.output, "serial COM1:  ~0231FF\\r  ->  !02\\r\n")) << r.output;
    EXPECT_TRUE(has(r.output, "backplane SLOT_SELECT <- 0xF7")) << "beside register writes:\n" << r.output;
    EXPECT_TRUE(has(r.output, "pid " + std::to_string(::getpid()))) << "the writer named:\n" << r.output;
    EXPECT_LT(r.output.find("~0231FF"), r.output.find("SLOT_SELECT")) << "in the order they happened";
}

}  // namespace
}  // namespace vex::test
