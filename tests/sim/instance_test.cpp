#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/registry_store.h"
#include "platform/target.h"
#include "platform/text_codec.h"
#include "sim/host.h"
#include "sim/instance.h"
#include "sim/serial_ports.h"
#include "tests/support/sim_fixture.h"

namespace {

using vex::sim::Instance;
using vex::test::shared_objects_with;

class SimInstance : public vex::test::SimFixture {};

TEST_F(SimInstance, AttachmentsShareOneControllerAndNamesNeverMix) {
    std::string error;
    auto second = Instance::attach(instance_name(), &error);
    ASSERT_TRUE(second) << error;
    second->write8(0x9010, 0x5A);
    EXPECT_EQ(sim().read8(0x9010), 0x5A) << "two attachments of one instance see one register file";

    const std::string other_name = instance_name() + "-other";
    auto other = Instance::attach(other_name, &error);
    ASSERT_TRUE(other) << error;
    EXPECT_EQ(other->read8(0x9010), 0x00) << "another instance has its own registers";
    // Its registry names its ports before any host has made them: a program
    // may look a port up the moment it has loaded.
    ASSERT_EQ(vex::sim::Host::host_pid(other_name), 0);
    const std::string other_dir = vex::plat::instance_dir(other_name);
    std::string generation;
    std::getline(std::ifstream(other_dir + "/generation"), generation);
    vex::plat::registry::Value link;
    ASSERT_EQ(vex::plat::registry::get_value_at_load(other_dir + "/registry.db", generation,
                                                     vex::plat::registry::Root::LocalMachine, vex::sim::kPortsKey,
                                                     L"COM1", link),
              0u);
    EXPECT_EQ(vex::plat::to_utf8(link.text), other_dir + "/ports/COM1");
    other->set_dip_switch(0xFF);
    EXPECT_EQ(sim().read8(0x9002), static_cast<uint8_t>(~0x05));
    other.reset();
    EXPECT_GT(shared_objects_with(vex::plat::sim_object_prefix(other_name)), 0);
    EXPECT_TRUE(Instance::destroy(other_name));
    EXPECT_EQ(shared_objects_with(vex::plat::sim_object_prefix(other_name)), 0);
    EXPECT_FALSE(std::filesystem::exists(vex::plat::instance_dir(other_name)));
}

TEST_F(SimInstance, OneHostAtATime) {
    // The library started a host process for the test's instance, so nobody
    // else can host it.
    EXPECT_GT(vex::sim::Host::host_pid(instance_name()), 0);
    EXPECT_NE(vex::sim::Host::host_pid(instance_name()), ::getpid());
    EXPECT_EQ(vex::sim::Host::host_mode(instance_name()), "auto");
    std::string why;
    EXPECT_EQ(vex::sim::Host::try_start(sim(), &why), nullptr);
    const auto r = vex::test::run_vexsim({"serve"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.output.find("already hosted"), std::string::npos) << r.output;
}

TEST_F(SimInstance, PowerCycleStartsAfresh) {
    sim().write8(0x9010, 0x11);
    sim().unplug(0);
    const uint64_t generation = sim().state().generation;
    std::string error;
    ASSERT_TRUE(sim().power_cycle(&error)) << error;
    EXPECT_EQ(sim().read8(0x9010), 0x00);
    EXPECT_EQ(sim().read8(0x1000), 0x2F) << "the described module is back";
    EXPECT_NE(sim().state().generation, generation);
    EXPECT_GE(sim().with_lock([](vex::sim::State& s) { return vex::sim::serial_port_by_name(s, "COM1:"); }), 0)
        << "the host's ports stay published: the host did not restart";
}

TEST_F(SimInstance, OutOfWindowAccessesFloat) {
    EXPECT_EQ(sim().read8(0x10000), 0xFF);
    EXPECT_EQ(sim().read8(0xFFFFFFFF), 0xFF);
    sim().write8(0x12345678, 1);  // nothing decodes there
    EXPECT_EQ(sim().read16(0xFFFF), 0xFF00 | sim().read8(0xFFFF));
}

TEST(SimInstanceNames, InvalidNamesAreRefused) {
    for (const char* bad : {"", "..", "a/b", "x y", "name\n"}) {
        std::string error;
        EXPECT_EQ(Instance::attach(bad, &error), nullptr) << bad;
        EXPECT_FALSE(error.empty());
    }
    vex::plat::Target t;
    EXPECT_TRUE(vex::plat::parse_target("sim:abc", t));
    EXPECT_EQ(t.instance, "abc");
    EXPECT_TRUE(vex::plat::parse_target("hw", t));
    EXPECT_TRUE(t.hardware);
    EXPECT_TRUE(vex::plat::parse_target("sim:Bench1", t));
    EXPECT_EQ(t.instance, "Bench1");
    EXPECT_FALSE(vex::plat::parse_target("sim:", t));
    // The documented values only as written, in lower case; a near miss is
    // refused and the problem names what was probably meant (nothing for a
    // bad instance name, or when nothing is close).
    const std::pair<const char*, const char*> refused[] = {
        {"HW", "did you mean \"hw\"?"}, {"Sim", nullptr}, {"Sim:Bench1", nullptr},
        {"SIM:Bench1", "did you mean \"sim:Bench1\"?"}, {"simulator", "did you mean \"sim\"?"},
        {"sm", "did you mean \"sim\"?"}, {"sim:../x", nullptr}, {"hw ", nullptr}, {" sim", nullptr},
        {"sim:a/b", ""}, {"hardware", nullptr}, {"production", ""}};
    for (const auto& [text, hint] : refused) {
        EXPECT_FALSE(vex::plat::parse_target(text, t)) << text;
        const std::string problem = vex::plat::target_problem(text);
        EXPECT_NE(problem.find("is not recognised"), std::string::npos) << problem;
        if (hint && *hint) {
            EXPECT_NE(problem.find(hint), std::string::npos) << problem;
        } else if (hint) {
            EXPECT_EQ(problem.find("did you mean"), std::string::npos) << problem;
        }
    }
    EXPECT_NE(vex::plat::target_problem(std::string("x\xff\n", 3)).find("x\\xFF\\x0A"), std::string::npos);
}

TEST_F(SimInstance, StateOfAnIncompatibleBuildIsReplacedOnlyWhenNobodyHostsIt) {
    sim().state().layout = vex::sim::kStateLayout + 1;  // as an older build would have left it
    std::string error;
    EXPECT_EQ(Instance::attach(instance_name(), &error), nullptr) << "its host still runs";
    EXPECT_NE(error.find("incompatible"), std::string::npos) << error;

    reattach();  // the last user leaves, its host stops, and the next attach powers up afresh
    EXPECT_EQ(sim().state().layout, vex::sim::kStateLayout);
    EXPECT_EQ(sim().read8(0x1000), 0x2F);
}

TEST_F(SimInstance, FarEndModemLinesFromVexsim) {
    auto r = vex::test::run_vexsim({"set", "lines", "COM2", "--ring", "--cts"});
    ASSERT_EQ(r.status, 0) << r.output;
    const uint32_t lines = sim().with_lock([](vex::sim::State& s) {
        return vex::sim::serial_port_status(s, vex::sim::serial_port_by_name(s, "COM2:"));
    });
    EXPECT_EQ(lines & 0xF0u, 0x50u) << "RING and CTS from the far end";
    r = vex::test::run_vexsim({"show"});
    EXPECT_NE(r.output.find("port COM2:"), std::string::npos) << r.output;
    EXPECT_NE(vex::test::run_vexsim({"set", "lines", "COM7:"}).status, 0) << "no such port";
}

TEST_F(SimInstance, StateOfAProcessOfAnotherWordSizeIsRefusedNeverReplaced) {
    // The tag a process of the other word size leaves in the state's lock.
    auto* tag_bits = reinterpret_cast<unsigned char*>(&sim().state().lock) + 61;
    const unsigned char own = *tag_bits;
    *tag_bits = sizeof(void*) == 8 ? 32 : 64;
    const std::string maker = sizeof(void*) == 8 ? "a 32-bit process" : "a 64-bit process";

    std::string error;
    EXPECT_EQ(Instance::attach(instance_name(), &error), nullptr);
    EXPECT_NE(error.find(maker), std::string::npos) << error;
    EXPECT_NE(error.find(instance_name()), std::string::npos) << error;

    // Even with no host left to protect, the state stays the other's.
    auto r = vex::test::run_vexsim({"show"});
    EXPECT_NE(r.status, 0) << r.output;
    EXPECT_NE(r.output.find(maker), std::string::npos) << r.output;
    EXPECT_EQ(sim().state().magic, vex::sim::kStateMagic);
    EXPECT_EQ(*tag_bits, sizeof(void*) == 8 ? 32 : 64);
    *tag_bits = own;
}

}  // namespace
