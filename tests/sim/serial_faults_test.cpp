// Misbehaving serial modules and lines, as a client sees them, set in the
// description or at run time with vexsim; checksums and terminators as a
// module configured for them gives them; answers paced at the line's rate.
#include <chrono>

#include "tests/sim/serial_fixture.h"

namespace vex::test {
namespace {

int64_t elapsed_ms(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - since).count();
}

class ModuleFaults : public SerialSim {
protected:
    void SetUp() override {
        SerialSim::SetUp();
        com1_ = open_port("COM1:");
    }
    void fault(const std::vector<std::string>& args) {
        std::vector<std::string> all{"fault"};
        all.insert(all.end(), args.begin(), args.end());
        const ProcessResult r = run_vexsim(all);
        ASSERT_EQ(r.status, 0) << r.output;
    }
    VEX_PORT com1_ = VEX_INVALID_PORT;
};

TEST_F(ModuleFaults, EveryFaultAsTheClientSeesIt) {
    fault({"COM1:01", "silent", "--count", "1"});
    EXPECT_EQ(ask(com1_, "$01M"), "error 0x14002");
    EXPECT_EQ(last_exchange(), "$01M\r -> (none)");
    EXPECT_EQ(ask(com1_, "$01M"), "!014408") << "one exchange only";

    fault({"COM1:02", "silent"});
    EXPECT_EQ(ask(com1_, "@02DO00FF"), "error 0x14002");
    EXPECT_EQ(module("COM1:02").do_value, 0xFFu) << "a silent module still acts on what it hears";
    fault({"COM1:02", "clear"});

    fault({"COM1:01", "garbage", "--bytes", "3"});
    ask(com1_, "$01M");
    const std::string garbled = last_exchange();
    EXPECT_EQ(garbled.size(), std::string("$01M\r -> ").size() + 3 + 8) << garbled;
    EXPECT_EQ(garbled.substr(garbled.size() - 8), "!014408\r") << "noise first, then the answer";
    EXPECT_NE(garbled.substr(9, 3), "!01");

    fault({"COM1:01", "bad-checksum"});
    EXPECT_EQ(ask(com1_, "$01M"), "!01440853") << "a module without checksums sends wrong digits all the same";

    fault({"COM1:01", "cut", "--chars", "3"});
    EXPECT_EQ(ask(com1_, "$01M"), "error 0x14002") << "no terminator ever comes";
    EXPECT_EQ(last_exchange(), "$01M\r -> !01");

    fault({"COM1:01", "refuse"});
    EXPECT_EQ(ask(com1_, "$01M"), "?01");
    fault({"COM1:02", "refuse"});
    EXPECT_EQ(ask(com1_, "@02DO0001"), "?02");
    EXPECT_EQ(module("COM1:02").do_value, 0xFFu) << "a refused command is not carried out";

    fault({"COM1:01", "dribble", "--ms", "30"});
    const auto t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(ask(com1_, "$01M"), "!014408") << "slow but within the read time-out per character";
    EXPECT_GE(elapsed_ms(t0), 7 * 30) << "eight characters, 30 ms apart";
    fault({"COM1:01", "clear"});
    EXPECT_EQ(ask(com1_, "$01M"), "!014408");

    // Whole ports and units; the most specific fault wins.
    fault({"COM1:", "silent"});
    EXPECT_EQ(ask(com1_, "$02M"), "?02") << "the module's own fault first";
    fault({"COM1:02", "clear"});
    EXPECT_EQ(ask(com1_, "$02M"), "error 0x14002");
    fault({"COM1:", "clear"});
    fault({"COM1:10", "refuse"});
    EXPECT_EQ(ask(com1_, "$10S06"), "?10");
    EXPECT_EQ(ask(com1_, "$02M"), "!024216");
    EXPECT_NE(run_vexsim({"fault", "COM1:", "removed"}).status, 0) << "a port cannot be pulled out";
}

TEST_F(ModuleFaults, ARemovedModuleComesBackPoweredUpAnew) {
    EXPECT_EQ(ask_slot(3, "@00DO77"), "!00");
    EXPECT_EQ(ask_slot(3, "~0055A00"), "!00") << "power-on 0x5A, safe 0";
    fault({"slot3", "removed"});
    EXPECT_FALSE(_vex_slot_exists(3)) << "the slot is empty";
    EXPECT_EQ(ask_slot(3, "$00M"), "error 0x14002");
    fault({"3", "clear"});
    EXPECT_TRUE(_vex_slot_exists(3));
    EXPECT_EQ(ask_slot(3, "@00"), ">5A05") << "outputs at the power-on value again";

    fault({"COM1:10", "removed"});
    EXPECT_EQ(ask(com1_, "$10M"), "error 0x14002");
    EXPECT_EQ(ask(com1_, "$10S06"), "error 0x14002") << "its modules went with it";
    fault({"COM1:10", "clear"});
    EXPECT_EQ(ask(com1_, "$10S06"), "!100101");
}

class SerialFramingSim : public SerialSim {
protected:
    std::string description() override {
        return R"(
[[port]]
name = "COM1:"
checksum = true
terminator = "\r\n"
[[port.module]]
address = 0x01
kind = "4308"
[[port.module]]
address = 0x02
kind = "4401"
checksum = false
fault = { kind = "bad-checksum", count = 1 }
[[port]]
name = "COM2:"
pacing = true
turnaround_ms = 20
[[port.module]]
address = 0x05
kind = "4216"
)";
    }
};

TEST_F(SerialFramingSim, ChecksumsAndTerminatorsAsTheModuleIsConfigured) {
    const VEX_PORT p = open_port("COM1:");
    ASSERT_TRUE(uart_EnableCheckSum(p, 1));
    ASSERT_TRUE(uart_SetTerminator(p, "\r\n"));
    EXPECT_EQ(ask(p, "$01M"), "!014308");
    EXPECT_EQ(last_exchange(), "$01MD2\r\n -> !01430851\r\n");
    ASSERT_TRUE(uart_EnableCheckSum(p, 0));
    EXPECT_EQ(ask(p, "$01M"), "error 0x14002") << "a command without its checksum is ignored";
    EXPECT_EQ(ask(p, "$02M"), "!0244014D") << "the described fault spoils its first answer";
    EXPECT_EQ(ask(p, "$02M"), "!024401");
    ASSERT_TRUE(uart_EnableCheckSum(p, 1));
    EXPECT_EQ(ask(p, "$02M"), "error 0x14001") << "this module takes no checksums";
    EXPECT_EQ(last_exchange(), "$02MD3\r\n -> ?02\r\n") << "so it refuses the command with two more characters";
    ASSERT_TRUE(uart_EnableCheckSum(p, 0));
    EXPECT_EQ(ask(p, "#02"), ">+00.000");
    EXPECT_EQ(last_exchange(), "#02\r\n -> >+00.000\r\n");
}

TEST_F(SerialFramingSim, PacedAnswersTakeTheirTimeOnTheLine) {
    const VEX_PORT fast = open_port("COM2:", ",115200,N,8,1");
    auto t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(ask(fast, "$05M"), "!054216");
    const int64_t at_115200 = elapsed_ms(t0);
    EXPECT_GE(at_115200, 20) << "the turnaround";
    ASSERT_TRUE(uart_Close(fast));

    // 1200 baud: 8.33 ms a character. The answer starts when the command's
    // five characters would have arrived, plus the turnaround and one
    // character, and its eight characters follow one character time apart.
    const VEX_PORT slow = open_port("COM2:", ",1200,N,8,1");
    t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(ask(slow, "$05M"), "!054216");
    EXPECT_GE(elapsed_ms(t0), 20 + 13 * 8) << "turnaround plus 13 character times";

    // 110 baud: 91 ms a character; the first comes later than the default
    // read time-out of 200 ms, as it would on a wire.
    ASSERT_TRUE(uart_Close(slow));
    const VEX_PORT crawl = open_port("COM2:", ",110,N,8,1");
    EXPECT_EQ(ask(crawl, "$05M"), "error 0x14002");
    ASSERT_TRUE(uart_SetTimeOut(crawl, 1000, 1));
    EXPECT_EQ(ask(crawl, "$05M"), "!054216");
}

}  // namespace
}  // namespace vex::test
