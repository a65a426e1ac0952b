#include <gtest/gtest.h>

#include <set>
#include <string>

#include "frame/catalogue.h"

namespace cat = vex::catalogue;

TEST(Catalogue, LooksKindsUpByNameVariantAndNumber) {
    const cat::SerialKind* k = cat::find_serial_kind("4504");
    ASSERT_NE(k, nullptr);
    EXPECT_EQ(k->number, 4504);
    EXPECT_EQ(k->ao_channels, 4);
    EXPECT_EQ(cat::find_serial_kind("4504P"), k) << "a variant mark names the same kind";
    EXPECT_EQ(cat::find_serial_kind("4504Q"), nullptr) << "only listed marks";
    EXPECT_EQ(cat::find_serial_kind("450"), nullptr);
    EXPECT_EQ(cat::find_serial_kind(""), nullptr);
    EXPECT_EQ(cat::find_serial_kind_by_number(4504), k);
    EXPECT_EQ(cat::find_serial_kind_by_number(0), nullptr);
    EXPECT_EQ(cat::find_serial_kind_by_number(-1), nullptr);
}

TEST(Catalogue, NameNumberIsTheLeadingDigits) {
    EXPECT_EQ(cat::name_number("4504P"), 4504);
    EXPECT_EQ(cat::name_number("0042"), 42);
    EXPECT_EQ(cat::name_number("P4504"), -1);
    EXPECT_EQ(cat::name_number(""), -1);
    EXPECT_EQ(cat::name_number("99999999999999"), 999999999) << "never overflows";
    EXPECT_TRUE(cat::has_variant_mark("4504P", "P"));
    EXPECT_FALSE(cat::has_variant_mark("4504", "P"));
    EXPECT_FALSE(cat::has_variant_mark("P4504", "P"));
    EXPECT_TRUE(cat::has_variant_mark("4504", ""));
}

// What the command set relies on: the kinds it needs exist, and every kind
// keeps the invariants the generator promises.
TEST(Catalogue, HoldsTheKindsTheCommandSetNeeds) {
    std::set<int> numbers;
    int wide_counters = 0, tilde = 0, single_s = 0, variant = 0;
    for (const cat::SerialKind& k : cat::serial_kinds()) {
        EXPECT_TRUE(numbers.insert(k.number).second) << k.name;
        EXPECT_EQ(cat::name_number(k.name), k.number) << k.name;
        EXPECT_LE(k.counters, k.di_channels) << k.name;
        EXPECT_LE(k.di_channels, 32);
        EXPECT_LE(k.do_channels, 32);
        if (k.counters > 16) ++wide_counters;
        if (k.ao_power_on_read == cat::AoPowerOnRead::Tilde) ++tilde;
        if (k.ao_power_on_set == cat::AoPowerOnSet::SingleS) {
            ++single_s;
            EXPECT_EQ(k.ao_channels, 1) << k.name;
        }
        if (*k.ao_power_on_variant) ++variant;
    }
    EXPECT_GE(wide_counters, 1) << "two-digit counter channel fields";
    EXPECT_EQ(tilde, 1);
    EXPECT_EQ(single_s, 1);
    EXPECT_EQ(variant, 1);
    for (const char* name : {"4104", "4108", "4116", "4132", "4208", "4216", "4232", "4308", "4401", "4408", "4424",
                             "4501", "4502", "4504"})
        EXPECT_NE(cat::find_serial_kind(name), nullptr) << name;
}
