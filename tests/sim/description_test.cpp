// Descriptions as text: the built-in default, every form, and every mistake refused.
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

// Every table's mistakes: refused, with the place ("description:line:" and
// the column where there is one) and the key or rule that was broken.
TEST(Description, MistakesAreRefusedWithTheirPlaceAndReason) {
    struct Case {
        const char* text;
        const char* where;  // the start of the message
        const char* says;
    } const cases[] = {
        {"[controller]\nslots = 9\n", "description:2:", "'slots'"},
        {"[controller]\nslots = 2\n[[slot]]\nslot = 3\ntype = \"parallel\"\n", "description:", "] 3: beyond"},
        {"[[slot]]\nslot = 0\ntype = \"parallel\"\ndi_channels = 12\n", "description:", "channel counts"},
        {"[[slot]]\nslot = 0\ntype = \"analog\"\n", "description:", "'type'"},
        {"[[slot]]\ntype = \"parallel\"\n", "description:", "'slot'"},
        {"[[slot]]\nslot = 0\n[[slot]]\nslot = 0\n", "description:", "twice"},
        {"[[slot]]\nslot = 2\ndi_chanels = 8\n", "description:3:", "unknown key"},
        {"[controller]\nhardware_id = 5\n", "description:", "hardware_id"},
        {"[controller\n", "description:1:", ""},
        {"[nonsense]\n", "description:1:", "nonsense"},
        {"slots = 3\n", "description:1:1: description: unknown key 'slots'", ""},
        {"[registry]\n'HKEY_USERS\\x' = -1\n", "description:", "32-bit"},
        // The board and its memory chips.
        {"[controller]\ncpu_id = 1\nboard_version = 40\n", "description:", "board_version"},
        {"[controller]\nrotary = 16\n", "description:2:", "'rotary'"},
        {"[memory]\nsram = 4\n", "description:2:", "unknown key 'sram'"},
        {"[memory]\neeprom_kbit = 256\n", "description:2:", "128 or 512"},
        {"[memory]\nsram_kib = \"big\"\n", "description:2:", "whole number"},
        {"memory = 3\n", "description:1:", "[memory] must be a table"},
        {"factory = 3\n", "description:1:", "[factory]"},
        {"[factory]\nserial = \"021CB80100\"\n", "description:2:", "serial"},
        {"[factory]\nmac1 = \"00:11\"\n", "description:2:", "'mac1' must be 6 bytes"},
        {"[factory]\nmac1 = \"00:11:22:AA:BB:CG\"\n", "description:2:", "mac1"},
        {"[factory]\nmac3 = \"001122334455\"\n", "description:2:", "unknown key 'mac3'"},
        {"[factory]\nos_version = \"1.2.100.0\"\n", "description:2:", "os_version"},
        {"[factory]\nos_version = \"1.2.3\"\n", "description:2:", "os_version"},
        {"[factory]\nserial_crc = \"maybe\"\n", "description:2:", "'serial_crc'"},
        {"[factory]\nos_build = 7\n", "description:2:", "local date and time"},
        {"[factory]\nos_build = \"2024-01-01\"\n", "description:2:", "os_build"},
        {"[factory]\nos_build = 2024-01-01T10:00:00Z\n", "description:2:", "os_build"},
        // Card, links.
        {"[card]\npresent = 1\n", "description:2:", "true or false"},
        {"[card]\nslot = 1\n", "description:2:", "unknown key 'slot'"},
        {"[card]\n[[card.partition]]\nname = \"a b\"\n", "description:", "must not contain"},
        {"[[link]]\ninterface = \"eth0\"\nspeed = 100\n", "description:3:", "unknown key 'speed'"},
        {"[[link]]\nup = true\n", "description:", "'interface' is required"},
        {"link = 1\n", "description:1:", "array of tables"},
        // Serial ports, bus modules and units.
        {"[[port]]\nmodem_loopback = true\n", "description:", "name"},
        {"[[port]]\nname = \"COM1:\"\npacng = true\n", "description:3:1: [[port]] COM1:: unknown key 'pacng'", ""},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"4308\"\ncolour = 1\n",
         "description:6:1: [[port]] COM1: module: unknown key 'colour'", ""},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"9999\"\n",
         "description:5:8: [[port]] COM1: module: 'kind' must name", ""},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = \"1\"\nkind = \"4308\"\n", "description:4:11:", ""},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\nkind = \"4308\"\n", "description:",
         "every bus module needs an 'address'"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"4308\"\n[[port.unit]]\naddress = 1\n",
         "description:", "address 01 is already taken"},
        {"[[port]]\nname = \"COM0:\"\n[[port.module]]\naddress = 1\nkind = \"4308\"\n", "description:", "sit in slots"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"4408\"\ndi = 1\n", "description:",
         "'di' needs a kind with digital inputs"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"4408\"\nai = [1,2,3,4,5,6,7,8,9]\n",
         "description:", "at most 8 numbers"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"4504\"\nao_safe = [11]\n", "description:",
         "from -10 to 10"},
        {"[[port]]\nname = \"COM1:\"\n[[port.module]]\naddress = 1\nkind = \"4308\"\ndi = 0x100\n", "description:",
         "'di' must be a whole number from 0 to 255"},
        {"[[port]]\nname = \"COM1:\"\nfault = { kind = \"removed\" }\n", "description:", "a port cannot be removed"},
        {"[[port]]\nname = \"COM1:\"\nfault = { kind = \"cut\", ms = 3 }\n", "description:",
         "'ms' does not go with a cut fault"},
        {"[[port]]\nname = \"COM1:\"\nfault = \"silent\"\n", "description:", "'fault' must be a table"},
        {"[[port]]\nname = \"COM1:\"\n[[port.unit]]\naddress = 2\nslots = 2\n[[port.unit.slot]]\nslot = 2\nkind = \"4308\"\n",
         "description:", "'slot' must be a whole number from 0 to 1"},
        {"[[port]]\nname = \"COM1:\"\n[[port]]\nname = \"COM1:\"\n", "description:", "port described twice"},
        {"[[slot]]\nslot = 1\ntype = \"serial\"\nkind = \"4308\"\nformat = \"hex\"\n", "description:",
         "'format' needs a kind with analog inputs"},
        {"[[slot]]\nslot = 1\ntype = \"serial\"\ndi_channels = 8\nkind = \"4308\"\n", "description:",
         "unknown key 'di_channels'"},
        {"[[slot]]\nslot = 1\nid = 3\nreadbak = true\n", "description:", "unknown key 'readbak'"},
    };
    for (const Case& c : cases) {
        std::string error;
        EXPECT_FALSE(parse_description(c.text, &error)) << c.text;
        EXPECT_EQ(error.rfind(c.where, 0), 0u) << c.text << " -> " << error;
        EXPECT_NE(error.find(c.says), std::string::npos) << c.text << " -> " << error;
    }
    std::string error;
    EXPECT_FALSE(vex::sim::load_description_file("/nonexistent/x.toml", &error));
    EXPECT_NE(error.find("cannot read /nonexistent/x.toml"), std::string::npos);
}

}  // namespace
