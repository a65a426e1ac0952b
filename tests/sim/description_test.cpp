#include <gtest/gtest.h>

#include "sim/description.h"

namespace {

using vex::sim::ModuleKind;
using vex::sim::parse_description;

TEST(Description, BuiltInDefaultIsARepresentativeEightSlotController) {
    std::string error;
    auto d = parse_description(vex::sim::default_description_text(), &error);
    ASSERT_TRUE(d) << error;
    EXPECT_EQ(d->slot_count, 8);
    EXPECT_EQ(d->hardware_id.rfind("HR4", 0), 0u);
    int parallel = 0, serial = 0, empty = 0;
    for (const auto& s : d->slots) {
        parallel += s.kind == ModuleKind::Parallel;
        serial += s.kind == ModuleKind::Serial;
        empty += s.kind == ModuleKind::Empty;
    }
    EXPECT_GE(parallel, 3);
    EXPECT_GE(serial, 1);
    EXPECT_GE(empty, 1);
    EXPECT_TRUE(d->slots[0].readback);
}

TEST(Description, FullSlotAndRegistryForms) {
    std::string error;
    auto d = parse_description(R"(
[controller]
hardware_id = "LT44-1"
slots = 2
[[slot]]
slot = 1
type = "parallel"
id = 0x2F
do_channels = 32
readback = true
version = 5
[registry]
'HKEY_LOCAL_MACHINE\VORLAN\BackwardCompatible' = 1
'HKEY_CURRENT_USER\Software\Name' = "text"
)",
                               &error);
    ASSERT_TRUE(d) << error;
    EXPECT_EQ(d->slots[1].id, 0x2F);
    EXPECT_TRUE(d->slots[1].watchdog) << "read-back modules carry the watchdog";
    ASSERT_EQ(d->registry.size(), 2u);
    for (const auto& r : d->registry) {
        if (r.path == L"HKEY_LOCAL_MACHINE\\VORLAN\\BackwardCompatible") {
            EXPECT_TRUE(r.is_number);
            EXPECT_EQ(r.number, 1u);
        } else {
            EXPECT_EQ(r.path, L"HKEY_CURRENT_USER\\Software\\Name");
            EXPECT_FALSE(r.is_number);
            EXPECT_EQ(r.text, L"text");
        }
    }
}

TEST(Description, MistakesAreExplained) {
    struct Case {
        const char* text;
        const char* says;
    } cases[] = {
        {"[controller]\nslots = 9\n", "'slots'"},
        {"[controller]\nslots = 2\n[[slot]]\nslot = 3\ntype = \"parallel\"\n", "] 3: beyond"},
        {"[[slot]]\nslot = 0\ntype = \"parallel\"\ndi_channels = 12\n", "channel counts"},
        {"[[slot]]\nslot = 0\ntype = \"analog\"\n", "'type'"},
        {"[[slot]]\ntype = \"parallel\"\n", "'slot'"},
        {"[[slot]]\nslot = 0\n[[slot]]\nslot = 0\n", "twice"},
        {"[controller]\nhardware_id = 5\n", "hardware_id"},
        {"[controller\n", "description:1:"},
        {"[[port]]\nmodem_loopback = true\n", "name"},
        {"[registry]\n'HKEY_USERS\\x' = -1\n", "32-bit"},
    };
    for (const Case& c : cases) {
        std::string error;
        EXPECT_FALSE(parse_description(c.text, &error)) << c.text;
        EXPECT_NE(error.find(c.says), std::string::npos) << c.text << " -> " << error;
    }
}

}  // namespace

namespace {

TEST(Description, SerialModulesOnSlotsBusesAndUnits) {
    std::string error;
    auto d = parse_description(R"(
[[slot]]
slot = 2
type = "serial"
kind = "4504P"
ao_power_on = [1.5, -2]
[[port]]
name = "COM0:"
checksum = true
[[port]]
name = "COM1:"
terminator = "\r\n"
pacing = true
turnaround_ms = 5
fault = { kind = "dribble", ms = 7, count = 2 }
[[port.module]]
address = 0x1A
kind = "4408"
format = "hex"
ai = [1, 2.5]
[[port.unit]]
address = 0x20
slots = 4
[[port.unit.slot]]
slot = 3
kind = "4308"
di = 0x81
checksum = true
fault = { kind = "removed" }
)",
                               &error);
    ASSERT_TRUE(d) << error;
    EXPECT_EQ(d->slots[2].serial.kind, "4504P");
    EXPECT_EQ(d->slots[2].serial.ao_power_on, (std::vector<float>{1.5f, -2.0f}));
    EXPECT_EQ(d->slots[2].serial.checksum, true) << "from COM0:";
    ASSERT_EQ(d->ports.size(), 2u);
    const vex::sim::PortDescription& p = d->ports[1];
    EXPECT_EQ(p.terminator, "\r\n");
    EXPECT_EQ(p.fault.kind, vex::sim::SerialFaultKind::Dribble);
    EXPECT_EQ(p.fault.param, 7u);
    EXPECT_EQ(p.fault.count, 2u);
    ASSERT_EQ(p.modules.size(), 1u);
    EXPECT_EQ(p.modules[0].format, vex::sim::SerialFormat::Hex);
    EXPECT_EQ(p.modules[0].checksum, false) << "from COM1:";
    ASSERT_EQ(p.units.size(), 1u);
    EXPECT_EQ(p.units[0].name, "RU4");
    ASSERT_EQ(p.units[0].modules.size(), 1u);
    EXPECT_EQ(p.units[0].modules[0].first, 3);
    EXPECT_EQ(p.units[0].modules[0].second.address, 0x20) << "reached through the unit's address";
    EXPECT_EQ(p.units[0].modules[0].second.fault.kind, vex::sim::SerialFaultKind::Removed);
}

TEST(Description, SerialMistakesNameFileLineAndColumn) {
    struct Case {
        const char* text;
        const char* says;
    } cases[] = {
        {"[[port]]\nname = \"COM1:\"\npacng = true\n", "description:3:1: [[port]] COM1:: unknown key 'pacng'"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"4308\"\ncolour = 1\n",
         "description:6:1: [[port]] COM1: module: unknown key 'colour'"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"9999\"\n", "5:8: [[port]] COM1: module: 'kind' must name"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = \"1\"\nkind = \"4308\"\n", "4:11:"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\nkind = \"4308\"\n", "every bus module needs an 'address'"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"4308\"\n[[port.unit]]\naddress = 1\n",
         "address 01 is already taken"},
        {"[[port]]\nname = \"COM0:\"\n[[port.module]]\naddress = 1\nkind = \"4308\"\n", "sit in slots"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"4408\"\ndi = 1\n", "'di' needs a kind with digital inputs"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"4408\"\nai = [1,2,3,4,5,6,7,8,9]\n", "at most 8 numbers"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"4504\"\nao_safe = [11]\n", "from -10 to 10"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"4308\"\ndi = 0x100\n", "'di' must be a whole number from 0 to 255"},
        {"[[port]]\nname = \"COM1:\"\nfault = { kind = \"removed\" }\n", "a port cannot be removed"},
        {"[[port]]\nname = \"COM1:\"\nfault = { kind = \"cut\", ms = 3 }\n", "'ms' does not go with a cut fault"},
        {"[[port]]\nname = \"COM1:\"\nfault = \"silent\"\n", "'fault' must be a table"},
        {"[[port]]\nname = \"COM1:\"\n[[port.unit]]\naddress = 2\nslots = 2\n[[port.unit.slot]]\nslot = 2\nkind = \"4308\"\n", "'slot' must be a whole number from 0 to 1"},
        {"[[port]]\nname = \"COM1:\"\n[[port]]\nname = \"COM1:\"\n", "port described twice"},
        {"[[slot]]\nslot = 1\ntype = \"serial\"\nkind = \"4308\"\nformat = \"hex\"\n", "'format' needs a kind with analog inputs"},
        {"[[slot]]\nslot = 1\ntype = \"serial\"\ndi_channels = 8\nkind = \"4308\"\n", "unknown key 'di_channels'"},
        {"[[slot]]\nslot = 1\nid = 3\nreadbak = true\n", "unknown key 'readbak'"},
        {"slots = 3\n", "description:1:1: description: unknown key 'slots'"},
    };
    for (const Case& c : cases) {
        std::string error;
        EXPECT_FALSE(parse_description(c.text, &error)) << c.text;
        EXPECT_NE(error.find(c.says), std::string::npos) << c.text << " -> " << error;
    }
    std::string error;
    EXPECT_FALSE(vex::sim::load_description_file("/nonexistent/x.toml", &error));
    EXPECT_NE(error.find("cannot read /nonexistent/x.toml"), std::string::npos);
}

}  // namespace
