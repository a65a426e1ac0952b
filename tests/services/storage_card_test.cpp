// The storage card on the virtual controller: detection, description,
// mounting at the configured folder, and cards inserted and removed by
// vexsim from another process.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/target.h"
#include "tests/services/services_fixture.h"
#include "vexsdk.h"

namespace {

namespace fs = std::filesystem;
using vex::test::has_text;

constexpr const wchar_t* kCheckDisk =
    L"HKEY_LOCAL_MACHINE\\Drivers\\SDCARD\\ClientDrivers\\Class\\SDMemory_Class\\CheckDisk";
constexpr const wchar_t* kFolderValue = L"HKEY_LOCAL_MACHINE\\VORLAN\\StorageCard\\Folder";

class SimCard : public vex::test::ServicesFixture {
protected:
    std::string folder() { return vex::plat::instance_dir(instance_name()) + "/Micro_SD"; }
    std::string contents() { return vex::plat::instance_dir(instance_name()) + "/card-mmcblk0p1"; }
    void set_folder(const std::string& path) { vex::test::set_reg_text(kFolderValue, path); }
};

TEST_F(SimCard, DescribedCardIsFoundDescribedMountedAndUnmounted) {
    EXPECT_TRUE(vex_SDOnside());
    EXPECT_FALSE(vex_SDExists()) << "inserted but not mounted";
    wchar_t name[VEX_PARTITION_TEXT_SIZE], fsys[VEX_PARTITION_TEXT_SIZE], label[VEX_PARTITION_TEXT_SIZE];
    ASSERT_TRUE(_vex_get_partition_info(name, fsys, label));
    EXPECT_STREQ(name, L"mmcblk0p1");
    EXPECT_STREQ(fsys, L"vfat");
    EXPECT_STREQ(label, L"VEXCARD");
    EXPECT_TRUE(_vex_get_partition_info(nullptr, nullptr, label)) << "null buffers are skipped";

    ASSERT_TRUE(vex_SDMount(L"mmcblk0p1"));
    EXPECT_EQ(vex_RegGetDWORD(kCheckDisk), 1u);
    EXPECT_TRUE(vex_SDExists());
    std::ofstream(folder() + "/log.txt") << "written through the card's folder\n";
    EXPECT_TRUE(fs::exists(contents() + "/log.txt")) << "the folder shows the partition's files";
    EXPECT_FALSE(vex_SDMount(L"mmcblk0p1")) << "already mounted";
    EXPECT_TRUE(has_text(vex::test::run_vexsim({"show"}).output, "partition mmcblk0p1 mounted at " + folder()));

    ASSERT_TRUE(vex_SDUnmount());
    EXPECT_EQ(vex_RegGetDWORD(kCheckDisk), 0u);
    EXPECT_FALSE(vex_SDExists());
    EXPECT_FALSE(fs::exists(fs::symlink_status(folder())));
    EXPECT_TRUE(fs::exists(contents() + "/log.txt")) << "the files stay on the card";
    EXPECT_TRUE(vex_SDUnmount()) << "nothing mounted is no failure";
}

TEST_F(SimCard, PartitionNamesThatNameNoPartition) {
    EXPECT_FALSE(vex_SDMount(nullptr));
    EXPECT_EQ(vex_RegGetDWORD(kCheckDisk), 1u) << "CheckDisk is written whatever follows";
    EXPECT_FALSE(vex_SDMount(L""));
    EXPECT_FALSE(vex_SDMount(L"mmcblk0p9"));
    EXPECT_FALSE(vex_SDMount(L"../mmcblk0p1"));
    const std::wstring long_name(5000, L'p');
    EXPECT_FALSE(vex_SDMount(long_name.c_str()));
    EXPECT_FALSE(vex_SDExists());
}

TEST_F(SimCard, ConfiguredFolder) {
    const std::string mine = base_dir() + "/media-card";
    set_folder(mine);
    ASSERT_TRUE(vex_SDMount(L"mmcblk0p1"));
    EXPECT_TRUE(fs::is_symlink(mine));
    EXPECT_TRUE(vex_SDExists());
    ASSERT_TRUE(vex_SDUnmount());

    set_folder(base_dir() + "/no/such/place/card");
    EXPECT_FALSE(vex_SDMount(L"mmcblk0p1")) << "a folder whose parent does not exist";

    // Something that is no link already sits at the folder: left alone.
    fs::create_directories(base_dir() + "/taken");
    set_folder(base_dir() + "/taken");
    EXPECT_FALSE(vex_SDMount(L"mmcblk0p1"));
    EXPECT_TRUE(fs::is_directory(base_dir() + "/taken"));

    // A setting of the wrong type is an error, not a quiet default.
    ASSERT_TRUE(vex_RegSetDWORD(kFolderValue, 7));
    EXPECT_FALSE(vex_SDOnside());
    EXPECT_FALSE(vex_SDMount(L"mmcblk0p1"));
}

TEST_F(SimCard, CardsComeAndGoFromAnotherProcess) {
    ASSERT_TRUE(vex_SDMount(L"mmcblk0p1"));
    EXPECT_EQ(vex::test::run_vexsim({"card", "remove"}).status, 0);
    EXPECT_FALSE(vex_SDOnside());
    EXPECT_FALSE(vex_SDExists());
    EXPECT_FALSE(fs::exists(fs::symlink_status(folder()))) << "removing the card unmounts it";
    wchar_t name[VEX_PARTITION_TEXT_SIZE] = L"untouched";
    EXPECT_FALSE(_vex_get_partition_info(name, nullptr, nullptr));
    EXPECT_STREQ(name, L"untouched");
    EXPECT_FALSE(vex_SDUnmount());
    EXPECT_FALSE(vex_SDMount(L"mmcblk0p1"));
    EXPECT_EQ(vex::test::run_vexsim({"card", "remove"}).status, 1) << "no card to remove";

    const auto r = vex::test::run_vexsim({"card", "insert", "--label", "LOGS", "--fs", "exfat", "--name", "sdb1"});
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_TRUE(vex_SDOnside());
    wchar_t fsys[VEX_PARTITION_TEXT_SIZE], label[VEX_PARTITION_TEXT_SIZE];
    ASSERT_TRUE(_vex_get_partition_info(name, fsys, label));
    EXPECT_STREQ(name, L"sdb1");
    EXPECT_STREQ(fsys, L"exfat");
    EXPECT_STREQ(label, L"LOGS");
    EXPECT_TRUE(vex_SDMount(L"sdb1"));
    EXPECT_EQ(vex::test::run_vexsim({"card", "insert"}).status, 1) << "a card is already in";
}

class NoCardSim : public vex::test::ServicesFixture {
    std::string description() override { return "[card]\npresent = false\n"; }
};

TEST_F(NoCardSim, NothingToFindMountOrDescribe) {
    EXPECT_FALSE(vex_SDOnside());
    EXPECT_FALSE(vex_SDExists());
    EXPECT_FALSE(vex_SDMount(L"mmcblk0p1"));
    EXPECT_FALSE(vex_SDUnmount());
    EXPECT_FALSE(_vex_get_partition_info(nullptr, nullptr, nullptr));
    // A blank card: inserted, but nothing on it.
    EXPECT_EQ(vex::test::run_vexsim({"card", "insert"}).status, 0);
    EXPECT_TRUE(vex_SDOnside());
    EXPECT_FALSE(_vex_get_partition_info(nullptr, nullptr, nullptr));
}

// The misspelled key, the boolean and the name's characters are checked with
// the other tables' in the description tests; these are the card's and
// links' own rules.
TEST(CardDescription, IncompleteOverlongOrDoubledEntriesAreErrors) {
    std::string error;
    EXPECT_FALSE(vex::sim::parse_description("[[card.partition]]\nlabel = \"X\"\n", &error));
    EXPECT_TRUE(has_text(error, "'name' is required"));
    EXPECT_FALSE(vex::sim::parse_description("[[card.partition]]\nname = \"a/b\"\n", &error));
    EXPECT_FALSE(vex::sim::parse_description(
        "[[card.partition]]\nname = \"p1\"\nlabel = \"" + std::string(40, 'L') + "\"\n", &error));
    EXPECT_FALSE(vex::sim::parse_description("[[link]]\ninterface = \"eth0\"\n[[link]]\ninterface = \"eth0\"\n", &error));
    EXPECT_TRUE(has_text(error, "described twice"));
}

}  // namespace
