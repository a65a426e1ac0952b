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
