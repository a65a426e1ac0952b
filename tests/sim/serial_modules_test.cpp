// The virtual controller's serial modules answer the command set as the
// library sends it, over the real pseudo-terminals, in every place a module
// can sit: a local slot (COM0:, slot select), a bus address, a unit's slot.
// The built-in controller: slot 3 a 4308 (8 DI / 8 DO, latches, counters,
// watchdog), slot 7 a 4504P (4 AO); COM1: 01 a 4408 (8 AI), 02 a 4216
// (16 DO), unit 10 with a 4116 (16 DI, counters) in slot 0 and a 4502
// (2 AO) in slot 1.
#include <fcntl.h>
#include <poll.h>
#include <termios.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <cwchar>

#include "sim/host.h"
#include "tests/sim/serial_fixture.h"

namespace vex::test {
namespace {

constexpr uint64_t kMs = 1000000ull;

class SerialModules : public SerialSim {
protected:
    void SetUp() override {
        SerialSim::SetUp();
        com1_ = open_port("COM1:");
    }
    VEX_PORT com1_ = VEX_INVALID_PORT;
};

TEST_F(SerialModules, DigitalOutputsAndInputsInEveryCommandForm) {
    EXPECT_EQ(ask_slot(3, "$00M"), "!004308");
    EXPECT_EQ(ask_slot(3, "@00DI"), "!000005") << "DO part, then DI part";
    EXPECT_EQ(ask_slot(3, "@00DO5A"), "!00");
    EXPECT_EQ(ask_slot(3, "@00"), ">5A05");
    EXPECT_EQ(ask_slot(3, "@00A5"), ">") << "the unified write answers '>'";
    EXPECT_EQ(ask_slot(3, "#00A101"), ">");
    EXPECT_EQ(ask_slot(3, "#00A000"), ">");
    EXPECT_EQ(ask_slot(3, "$006"), "!00A605");
    EXPECT_EQ(module("3").do_value, 0xA6u);
    EXPECT_EQ(ask_slot(3, "#00B101"), "?00") << "bit 9 of an 8-output module";
    EXPECT_EQ(ask_slot(3, "~00D"), "!008");

    EXPECT_EQ(ask(com1_, "@02DO1234"), "!02");
    EXPECT_EQ(ask(com1_, "#02B301"), ">") << "bit 11: group B, bit 3";
    EXPECT_EQ(ask(com1_, "#02A400"), ">");
    EXPECT_EQ(ask(com1_, "@02DI"), "!021A24");
    EXPECT_EQ(ask(com1_, "@02"), ">1A24");
    EXPECT_EQ(ask(com1_, "@020F"), ">") << "fewer digits than the outputs: the value as given";
    EXPECT_EQ(module("COM1:02").do_value, 0x000Fu);
    EXPECT_EQ(ask(com1_, "@02DO1FFFF"), "!02") << "wider than the outputs: masked";
    EXPECT_EQ(module("COM1:02").do_value, 0xFFFFu);

    // What a module does not know, it refuses.
    for (const char* c : {"$02Q", "#02", "$02L1", "@02XY", "~020X", "#027+01.000"})
        EXPECT_EQ(ask(com1_, c), "?02") << c;
    EXPECT_EQ(last_exchange(), "#027+01.000\r -> ?02\r");
}

TEST_F(SerialModules, LatchesAndCountersFollowTheEdges) {
    EXPECT_EQ(ask_slot(3, "$00C"), "!00");
    EXPECT_EQ(ask_slot(3, "@00DO01"), "!00");
    ASSERT_TRUE(control("3", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::set_inputs(s, p.index, 0x0C, nullptr);  // from 0x05: 2, 3 on; 0 off
    }));
    EXPECT_EQ(ask_slot(3, "$00L1"), "!010800") << "went on: output 0, input 3";
    EXPECT_EQ(ask_slot(3, "$00L0"), "!000100") << "went off: input 0";
    EXPECT_EQ(ask_slot(3, "#003"), "!0000000001") << "32-bit counters: eight hexadecimal digits";
    EXPECT_EQ(ask_slot(3, "@00REC3"), "!0000000001");
    EXPECT_EQ(ask_slot(3, "$00C3"), "!00");
    EXPECT_EQ(ask_slot(3, "#003"), "!0000000000");
    ASSERT_TRUE(control("3", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::add_pulses(s, p.index, 2, 7, nullptr);
    }));
    EXPECT_EQ(ask_slot(3, "#002"), "!0000000007");
    EXPECT_EQ(ask_slot(3, "@00CEC2"), "!00");
    EXPECT_EQ(module("3").counter[2], 0u);
    EXPECT_EQ(ask_slot(3, "$00C"), "!00");
    EXPECT_EQ(ask_slot(3, "$00L1"), "!000000");

    // In a unit: the same commands with the slot field.
    ASSERT_TRUE(control("COM1:10/0", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::add_pulses(s, p.index, 15, 0x12345, nullptr);
    }));
    EXPECT_EQ(ask(com1_, "#10S0C0F"), "!1000012345");
    EXPECT_EQ(ask(com1_, "$10S06"), "!100101");
    EXPECT_EQ(ask(com1_, "$10S0L1"), "!800000") << "16 inputs: four digits, padded to six";
    EXPECT_EQ(ask(com1_, "$10S0CF"), "!10");
    EXPECT_EQ(ask(com1_, "$10S0C"), "!10");
    EXPECT_EQ(ask(com1_, "$10S0L0"), "!000000");
    EXPECT_EQ(ask(com1_, "$10M"), "!10RU2") << "the unit answers for itself";
    EXPECT_EQ(ask(com1_, "$10S56"), "?10") << "nothing in slot 5";

    // A 16-bit counter (a plugged 4161): five decimal digits, wrapping.
    sim::SlotDescription d;
    d.kind = sim::ModuleKind::Serial;
    d.serial.kind = "4161";
    ASSERT_TRUE(sim().plug(6, d));
    ASSERT_TRUE(control("6", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::add_pulses(s, p.index, 0, 65537, nullptr);
    }));
    EXPECT_EQ(ask_slot(6, "@00RE"), "!0000001");
    EXPECT_EQ(module("6").overflow[0], 1u);
    EXPECT_EQ(ask_slot(6, "@00CE"), "!00");
    EXPECT_EQ(ask_slot(6, "#000"), "!0000000");
}

TEST_F(SerialModules, AnalogInputsInEngineeringUnitsAndCountsWithRangeMarkers) {
    EXPECT_EQ(ask(com1_, "#01"), ">+01.250-02.500+00.000+05.000+09.750-10.000+00.500+03.300");
    EXPECT_EQ(ask(com1_, "#013"), ">+05.000");
    auto set_ai = [&](int ch, float v) {
        ASSERT_TRUE(control("COM1:01", [&](sim::State& s, const sim::serial::Place& p) {
            return sim::serial::set_analog_input(s, p.index, ch, v, nullptr);
        }));
    };
    set_ai(3, 12.5f);
    set_ai(4, -10.5f);
    EXPECT_EQ(ask(com1_, "#013"), ">+9999");
    EXPECT_EQ(ask(com1_, "#014"), ">-0000");
    EXPECT_EQ(ask(com1_, "#01"), ">+01.250-02.500+00.000+9999-0000-10.000+00.500+03.300");
    EXPECT_EQ(ask(com1_, "#018"), "?01") << "channels 0..7";

    ASSERT_TRUE(control("COM1:01", [](sim::State& s, const sim::serial::Place& p) {
        return sim::serial::set_format(s, p.index, sim::SerialFormat::Hex, nullptr);
    }));
    EXPECT_EQ(ask(com1_, "#010"), ">1000") << "1.25 V of 10 V full scale";
    EXPECT_EQ(ask(com1_, "#011"), ">E000");
    EXPECT_EQ(ask(com1_, "#015"), ">8001") << "-10 V";
    EXPECT_EQ(ask(com1_, "#013"), ">7FFF");
    EXPECT_EQ(ask(com1_, "#014"), ">8000");
}

TEST_F(SerialModules, AnalogOutputsWithPowerOnAndSafeValues) {
    EXPECT_EQ(ask_slot(7, "$00M"), "!004504P");
    EXPECT_EQ(ask_slot(7, "#001+02.500"), ">");
    EXPECT_EQ(ask_slot(7, "#002-05.000"), ">");
    EXPECT_EQ(ask_slot(7, "$0061"), "!00+02.500");
    EXPECT_EQ(ask_slot(7, "$0062"), "!00-05.000");
    EXPECT_EQ(ask_slot(7, "#001+12.000"), "?00") << "outside +/-10 V";
    EXPECT_EQ(ask_slot(7, "$0041"), "!00") << "the present output becomes the power-on value";
    EXPECT_EQ(ask_slot(7, "$0071"), "!00+02.500");
    EXPECT_EQ(ask_slot(7, "~0052"), "!00");
    EXPECT_EQ(ask_slot(7, "~0042"), "!00-05.000");

    // The unit's 4502: power-on values read with "~AA7N" when addressed
    // directly; through the unit with the slot form.
    EXPECT_EQ(ask(com1_, "#10S1C0+04.000"), ">");
    EXPECT_EQ(ask(com1_, "$10S1C06"), "!10+04.000");
    EXPECT_EQ(ask(com1_, "$10S1C04"), "!10");
    EXPECT_EQ(ask(com1_, "$10S1C07"), "!101999") << "through the unit as a count: 4 mA of 20";
    EXPECT_EQ(ask(com1_, "#10S1C0+21.000"), "?10") << "0 to 20 mA";
}

// Bytes straight on the line, without the library: several commands in one
// write, one command in pieces, noise, an over-long line, a wrong
// terminator.
TEST_F(SerialModules, RawBytesOnTheLine) {
    ASSERT_TRUE(uart_Close(com1_));
    wchar_t path[256] = {};
    ASSERT_TRUE(vex_RegGetString(L"HKEY_LOCAL_MACHINE\\VORLAN\\Ports\\COM1", path, sizeof path));
    const int fd = ::open(std::string(path, path + std::wcslen(path)).c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    termios t{};
    ASSERT_EQ(::tcgetattr(fd, &t), 0);
    ::cfmakeraw(&t);
    ASSERT_EQ(::tcsetattr(fd, TCSANOW, &t), 0);
    auto put = [&](const std::string& bytes) { ASSERT_EQ(::write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size())); };
    // Everything that arrives until the line has been quiet for 150 ms.
    auto take = [&] {
        std::string got;
        pollfd p{fd, POLLIN, 0};
        char buf[256];
        while (::poll(&p, 1, 150) > 0) {
            const ssize_t n = ::read(fd, buf, sizeof buf);
            if (n <= 0) break;
            got.append(buf, static_cast<size_t>(n));
        }
        return got;
    };
    put("$01M\r$02M\r");
    EXPECT_EQ(take(), "!014408\r!024216\r");
    for (char c : std::string("$01M\r")) put(std::string(1, c));
    EXPECT_EQ(take(), "!014408\r");
    put(std::string("\0\xFF", 2) + "$01M\r");
    EXPECT_EQ(take(), "") << "noise makes the command nobody's";
    put(std::string(300, 'x') + "\r$02M\r");
    EXPECT_EQ(take(), "!024216\r") << "an over-long line is thrown away, the next one heard";
    put("$01M\n");
    EXPECT_EQ(take(), "");
    put("\r");
    EXPECT_EQ(take(), "?01\r") << "the line feed became part of the command";
    ::close(fd);
}

TEST_F(SerialModules, OnlyTheSelectedSlotAnswersOnTheInternalPort) {
    EXPECT_EQ(ask_slot(3, "$00M"), "!004308");
    EXPECT_EQ(ask_slot(7, "$00M"), "!004504P");
    for (uint32_t slot : {0u, 6u, 8u}) EXPECT_EQ(ask_slot(slot, "$00M"), "error 0x14002") << "slot " << slot;
    vex_ChangeSlot(3);
    _vex_outp(0x9004, 0x77);  // slots 3 and 7 at once: nobody answers
    EXPECT_EQ(ask(com0_, "$00M"), "error 0x14002");
    EXPECT_EQ(last_exchange(), "$00M\r -> (none)");
    EXPECT_EQ(ask_slot(3, "$05M"), "error 0x14002") << "the module answers its own address only";
    EXPECT_EQ(ask(com1_, "$07M"), "error 0x14002") << "nothing at 07 on COM1:";
}

TEST_F(SerialModules, HostWatchdogHoldsTheOutputsAtTheirSafeValues) {
    EXPECT_EQ(ask(com1_, "~02512340F0F"), "!02");
    EXPECT_EQ(ask(com1_, "~024"), "!0212340F0F");
    EXPECT_EQ(ask(com1_, "~024P"), "!021234");
    EXPECT_EQ(ask(com1_, "~024S"), "!020F0F");
    EXPECT_EQ(ask(com1_, "~02310A"), "!02") << "enabled, 1 s";
    EXPECT_EQ(ask(com1_, "~022"), "!0210A");
    EXPECT_EQ(ask(com1_, "~020"), "!0280");
    EXPECT_EQ(ask(com1_, "@02DO00AA"), "!02");
    com0_ = open_port("COM0:");
    vex_ChangeSlot(3);
    EXPECT_EQ(ask(com0_, "~003105"), "!00") << "the slot module's watchdog too, 0.5 s";

    sim().advance(800 * kMs);
    ASSERT_TRUE(uart_Send(com1_, "~**")) << "host alive, heard by every module on COM1: only";
    ASSERT_TRUE(wait_handled("~**\r -> (none)"));
    sim().advance(800 * kMs);
    EXPECT_EQ(ask(com1_, "~020"), "!0280") << "re-armed at 0.8 s, runs to 1.8 s";
    EXPECT_EQ(ask(com0_, "~000"), "!0084") << "COM0:'s module did not hear it";
    EXPECT_EQ(ask(com0_, "@00DO01"), "?00");
    EXPECT_EQ(ask(com0_, "@0001"), "!00");

    sim().advance(300 * kMs);
    EXPECT_EQ(ask(com1_, "~020"), "!0284");
    EXPECT_EQ(ask(com1_, "@02"), ">0F0F") << "safe values driven";
    EXPECT_EQ(ask(com1_, "@02DO1111"), "?02");
    EXPECT_EQ(ask(com1_, "@021111"), "!02");
    EXPECT_EQ(ask(com1_, "#02A001"), "!02");
    EXPECT_EQ(ask(com1_, "~021"), "!02");
    EXPECT_EQ(ask(com1_, "@02"), ">0F0F") << "held until written";
    EXPECT_EQ(ask(com1_, "@02DO1111"), "!02");
    EXPECT_EQ(ask(com1_, "~020"), "!0280");

    // An analog output module: the safe value, and "!" alone for a refusal.
    vex_ChangeSlot(7);
    EXPECT_EQ(ask(com0_, "#000+03.000"), ">");
    EXPECT_EQ(ask(com0_, "~0050"), "!00");
    EXPECT_EQ(ask(com0_, "#000+07.000"), ">");
    EXPECT_EQ(ask(com0_, "~003101"), "!00");
    sim().advance(200 * kMs);
    EXPECT_EQ(ask(com0_, "$0060"), "!00+03.000");
    EXPECT_EQ(ask(com0_, "#000+01.000"), "!");
}

TEST_F(SerialModules, ModuleMemorySurvivesAPowerCycle) {
    EXPECT_EQ(ask(com1_, "~02512340F0F"), "!02");
    EXPECT_EQ(ask(com1_, "~023114"), "!02");
    EXPECT_EQ(ask_slot(7, "#003-01.250"), ">");
    EXPECT_EQ(ask_slot(7, "$0043"), "!00");
    std::string error;
    ASSERT_TRUE(sim().power_cycle(&error)) << error;
    EXPECT_EQ(ask(com1_, "~024"), "!0212340F0F");
    EXPECT_EQ(ask(com1_, "~022"), "!02114");
    EXPECT_EQ(ask(com1_, "@02"), ">1234") << "driven at power-up";
    EXPECT_EQ(ask_slot(7, "$0063"), "!00-01.250");
    EXPECT_EQ(ask_slot(7, "$0073"), "!00-01.250");

    // A module plugged in is a new one, with its description's memory.
    sim::SlotDescription d;
    d.kind = sim::ModuleKind::Serial;
    d.serial.kind = "4504P";
    ASSERT_TRUE(sim().plug(7, d));
    EXPECT_EQ(ask_slot(7, "$0073"), "!00+00.000");
}

TEST_F(SerialModules, PowerCyclesWhileTheModulesAnswer) {
    const int host = sim::Host::host_pid(instance_name());
    std::atomic<bool> stop{false};
    std::atomic<int> answered{0};
    std::thread talker([&] {
        while (!stop) answered += ask(com1_, "$02M") == "!024216";
    });
    std::string error;
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(sim().power_cycle(&error)) << error;
        ::usleep(20000);
    }
    stop = true;
    talker.join();
    EXPECT_GT(answered.load(), 0);
    EXPECT_EQ(ask(com1_, "$02M"), "!024216");
    EXPECT_EQ(sim::Host::host_pid(instance_name()), host) << "the host lives through power cycles";
}

}  // namespace
}  // namespace vex::test
