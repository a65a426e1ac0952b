// The controller services' Linux backends for real, where the machine
// allows: the link monitor on veth and dummy interfaces in a private
// network namespace, and the storage card on a loop device carrying a
// small FAT image. Each test says why when it has to skip.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/loop.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "platform/linux/card_store.h"
#include "platform/linux/service_calls.h"
#include "services/link_monitor.h"
#include "tests/services/services_fixture.h"
#include "tests/support/fault_shim.h"
#include "tests/support/physmem_file.h"
#include "vexsdk.h"

namespace {

namespace fs = std::filesystem;
using vex::test::await_link;
using vex::test::has_text;
using vex::test::link_state;
using vex::test::set_reg_text;

bool shell(const std::string& command) {
    return vex::test::run_process({"/bin/sh", "-c", "PATH=$PATH:/usr/sbin:/sbin; " + command}).status == 0;
}

TEST(LinuxLink, FollowsTheKernelInAPrivateNetworkNamespace) {
    if (::unshare(CLONE_NEWNET) != 0)
        GTEST_SKIP() << "cannot make a private network namespace (needs CAP_SYS_ADMIN): " << std::strerror(errno);
    if (!shell("ip -V >/dev/null 2>&1")) GTEST_SKIP() << "iproute2's 'ip' is not installed";
    ASSERT_TRUE(shell("ip link add vexa type veth peer name vexb"));
    ASSERT_TRUE(shell("ip link add vexd type veth peer name vexe && ip link set vexd up && ip link set vexe up"));

    vex::test::PhysMemFile mem;
    mem.attach_library();
    set_reg_text(L"HKEY_LOCAL_MACHINE\\VORLAN\\Ethernet\\LAN1", "vexa");
    set_reg_text(L"HKEY_LOCAL_MACHINE\\VORLAN\\Ethernet\\LAN2", "vexd");
    vex::services::stop_link_monitor();
    vex::services::start_link_monitor();
    ASSERT_EQ(vex::services::link_monitor_problem(), "");
    EXPECT_EQ(link_state(2), 1u) << "a link already up reports at once";
    EXPECT_EQ(link_state(1), 0u);

    ASSERT_TRUE(shell("ip link set vexa up && ip link set vexb up"));
    EXPECT_TRUE(await_link(1, 1)) << "carrier once both ends of the pair are up";
    ASSERT_TRUE(shell("ip link set vexb down"));
    EXPECT_TRUE(await_link(1, 0)) << "the far end went down";
    ASSERT_TRUE(shell("ip link del vexd"));
    EXPECT_TRUE(await_link(2, 0)) << "an interface that vanishes is down";
    EXPECT_EQ(link_state(1), 0u);
    mem.detach_library();
}

// ---- Storage card: the pieces over a made-up sysfs ----

class FakeSysfs : public ::testing::Test {
protected:
    void SetUp() override {
        char templ[] = "/tmp/vexsdk-sysfs-XXXXXX";
        ASSERT_NE(::mkdtemp(templ), nullptr);
        root = templ;
    }
    void TearDown() override { fs::remove_all(root); }
    void file(const std::string& rel, const std::string& text) {
        fs::create_directories(fs::path(root + "/" + rel).parent_path());
        std::ofstream(root + "/" + rel) << text << "\n";
    }
    std::string root;
};

TEST_F(FakeSysfs, CardIsTheDeviceOfTypeSd) {
    file("sda/device/type", "0");  // a SCSI disk's type is a number
    file("sda/size", "1000");
    file("mmcblk1/device/type", "MMC");
    file("mmcblk2/device/type", "SD");
    file("mmcblk2/size", "0");
    file("mmcblk2/dev", "179:16");
    file("mmcblk0/device/type", "SDIO");
    EXPECT_EQ(vex::plat::card::find_card(root, ""), "mmcblk2");
    EXPECT_FALSE(vex::plat::card::has_medium(root, "mmcblk2"));
    file("mmcblk2/size", "31116288");
    EXPECT_TRUE(vex::plat::card::has_medium(root, "mmcblk2"));
    EXPECT_EQ(vex::plat::card::find_card(root, "sda"), "sda") << "a configured device wins";
    EXPECT_EQ(vex::plat::card::find_card(root, "sdz"), "");
    EXPECT_EQ(vex::plat::card::find_card(root, "../etc"), "") << "names only, never paths";
    EXPECT_EQ(vex::plat::card::find_card(root + "/none", ""), "");

    file("mmcblk2/mmcblk2p2/partition", "2");
    file("mmcblk2/mmcblk2p2/dev", "179:18");
    file("mmcblk2/mmcblk2p10/partition", "10");
    file("mmcblk2/mmcblk2p1/partition", "1");
    file("mmcblk2/mmcblk2p1/dev", "179:17");
    file("mmcblk2/queue/rotational", "0");
    const auto parts = vex::plat::card::partitions(root, "mmcblk2");
    ASSERT_EQ(parts.size(), 3u);
    EXPECT_EQ(parts[0].name, "mmcblk2p1");
    EXPECT_EQ(parts[0].devnum, "179:17");
    EXPECT_EQ(parts[2].name, "mmcblk2p10") << "by number, not by name";
    EXPECT_EQ(vex::plat::card::whole_device(root, "mmcblk2").devnum, "179:16");
}

TEST(MountInfo, MountPointsAreUnescaped) {
    const auto mounts = vex::plat::card::parse_mountinfo(
        "22 1 0:21 / /proc rw,nosuid shared:12 - proc proc rw\n"
        "90 29 179:17 / /media/Micro\\040SD rw,nosuid,nodev - vfat /dev/mmcblk0p1 rw\n"
        "garbage\n");
    ASSERT_EQ(mounts.size(), 2u);
    EXPECT_EQ(mounts[1].devnum, "179:17");
    EXPECT_EQ(mounts[1].folder, "/media/Micro SD");
}

// ---- Storage card: a loop device with a partitioned image ----

constexpr uint32_t kPartitionStart = 2048;   // sectors
constexpr uint32_t kPartitionSectors = 16384;

void put16(std::vector<uint8_t>& b, size_t at, uint16_t v) {
    b[at] = static_cast<uint8_t>(v);
    b[at + 1] = static_cast<uint8_t>(v >> 8);
}
void put32(std::vector<uint8_t>& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = static_cast<uint8_t>(v >> (8 * i));
}

// An MBR with one FAT12 partition, and the partition's boot sector, FATs
// and root directory (labelled VEXTEST): an empty, valid file system.
std::vector<uint8_t> card_image() {
    std::vector<uint8_t> img((kPartitionStart + kPartitionSectors) * 512ull, 0);
    const size_t entry = 446;
    img[entry + 4] = 0x01;  // FAT12
    put32(img, entry + 8, kPartitionStart);
    put32(img, entry + 12, kPartitionSectors);
    img[510] = 0x55;
    img[511] = 0xAA;
    const size_t p = kPartitionStart * 512ull;
    const uint8_t jump[] = {0xEB, 0x3C, 0x90};
    std::memcpy(&img[p], jump, 3);
    std::memcpy(&img[p + 3], "MSDOS5.0", 8);
    put16(img, p + 11, 512);   // bytes per sector
    img[p + 13] = 8;           // sectors per cluster
    put16(img, p + 14, 1);     // reserved sectors
    img[p + 16] = 2;           // FATs
    put16(img, p + 17, 512);   // root entries
    put16(img, p + 19, static_cast<uint16_t>(kPartitionSectors));
    img[p + 21] = 0xF8;
    put16(img, p + 22, 7);     // sectors per FAT
    put16(img, p + 24, 32);
    put16(img, p + 26, 64);
    put32(img, p + 28, kPartitionStart);
    img[p + 36] = 0x80;
    img[p + 38] = 0x29;
    put32(img, p + 39, 0x20240601);
    std::memcpy(&img[p + 43], "VEXTEST    ", 11);
    std::memcpy(&img[p + 54], "FAT12   ", 8);
    img[p + 510] = 0x55;
    img[p + 511] = 0xAA;
    for (int fat = 0; fat < 2; ++fat) {
        const size_t f = p + 512 * (1 + 7 * fat);
        img[f] = 0xF8;
        img[f + 1] = 0xFF;
        img[f + 2] = 0xFF;
    }
    const size_t root = p + 512 * 15;
    std::memcpy(&img[root], "VEXTEST    ", 11);
    img[root + 11] = 0x08;  // volume label
    return img;
}

// Lines of /proc/filesystems are "nodev\tname" or "\tname".
bool kernel_has(const std::string& file_system) {
    std::ifstream in("/proc/filesystems");
    for (std::string line; std::getline(in, line);)
        if (line.substr(line.rfind('\t') + 1) == file_system) return true;
    return false;
}

// The card as a loop device. Kernels without partition-table support (some
// virtual machines' minimal kernels) make no partition devices: the card is
// then a bare FAT file system, its one partition named like the device.
class LoopCard : public ::testing::Test {
protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "loop devices and mounting need root";
        if (::access("/dev/loop-control", R_OK | W_OK) != 0)
            GTEST_SKIP() << "no /dev/loop-control: " << std::strerror(errno);
        // Mounts made here stay in this process's own mount namespace.
        if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            GTEST_SKIP() << "cannot make a private mount namespace: " << std::strerror(errno);
        dir_ = fs::path(mem.dir()) / "card";
        fs::create_directories(dir_);
        const std::vector<uint8_t> bytes = card_image();
        write_file(dir_ / "card.img", bytes, 0);
        std::string why;
        if (!attach(dir_ / "card.img", why)) GTEST_SKIP() << why;
        for (int i = 0; i < 100 && !fs::exists("/dev/" + name_ + "p1"); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if (fs::exists("/dev/" + name_ + "p1")) {
            part_ = name_ + "p1";
        } else {
            detach();
            write_file(dir_ / "bare.img", bytes, kPartitionStart * 512ull);
            if (!attach(dir_ / "bare.img", why)) GTEST_SKIP() << why;
            part_ = name_;
            std::fprintf(stderr, "note: this kernel reads no partition tables; the card is a bare FAT file system\n");
        }
        mem.attach_library();
        set_reg_text(L"HKEY_LOCAL_MACHINE\\VORLAN\\StorageCard\\Device", name_);
        set_reg_text(L"HKEY_LOCAL_MACHINE\\VORLAN\\StorageCard\\Folder", (dir_ / "Micro_SD").string());
    }
    void TearDown() override {
        if (!name_.empty()) vex_SDUnmount();
        mem.detach_library();
        detach();
    }

    // Without a FAT driver in the kernel, the partition becomes ext2.
    bool mountable() {
        if (kernel_has("vfat")) return true;
        std::fprintf(stderr, "note: this kernel has no FAT driver; mounting an ext2 file system instead\n");
        return shell("mke2fs -q -F -t ext2 -L VEXTEST /dev/" + part_);
    }
    static void write_file(const fs::path& path, const std::vector<uint8_t>& bytes, size_t from) {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data() + from), static_cast<std::streamsize>(bytes.size() - from));
    }
    // Tests running at once may be handed the same free device; the one
    // that loses the race (EBUSY) asks for another.
    bool attach(const fs::path& image, std::string& why) {
        for (int attempt = 0; attempt < 20; ++attempt) {
            const int err = attach_once(image, why);
            if (err == 0) return true;
            if (loop_ >= 0) ::close(loop_);
            loop_ = -1;
            if (err != EBUSY) return false;
        }
        return false;
    }
    // 0, or the errno of the step that failed (`why` says which).
    int attach_once(const fs::path& image, std::string& why) {
        const int control = ::open("/dev/loop-control", O_RDWR | O_CLOEXEC);
        const int n = control < 0 ? -1 : ::ioctl(control, LOOP_CTL_GET_FREE);
        const int get_err = errno;
        if (control >= 0) ::close(control);
        if (n < 0) {
            why = std::string("no free loop device: ") + std::strerror(get_err);
            return get_err;
        }
        name_ = "loop" + std::to_string(n);
        loop_ = ::open(("/dev/" + name_).c_str(), O_RDWR | O_CLOEXEC);
        const int backing = ::open(image.c_str(), O_RDWR | O_CLOEXEC);
        loop_config config{};
        config.fd = static_cast<uint32_t>(backing);
        // Detached by the kernel when the last user closes it, even if this
        // test dies.
        config.info.lo_flags = LO_FLAGS_PARTSCAN | LO_FLAGS_AUTOCLEAR;
        const bool ok = loop_ >= 0 && backing >= 0 && ::ioctl(loop_, LOOP_CONFIGURE, &config) == 0;
        const int err = ok ? 0 : errno;
        if (!ok) why = "cannot attach " + name_ + ": " + std::strerror(err);
        if (backing >= 0) ::close(backing);
        return err;
    }
    void detach() {
        if (loop_ < 0) return;
        ::ioctl(loop_, LOOP_CLR_FD);
        ::close(loop_);
        loop_ = -1;
    }

    vex::test::PhysMemFile mem;
    fs::path dir_;
    std::string name_;  // the loop device
    std::string part_;  // its partition
    int loop_ = -1;
};

TEST_F(LoopCard, CardIsDescribedMountedAndUnmounted) {
    const std::wstring part(part_.begin(), part_.end());
    EXPECT_TRUE(vex_SDOnside());
    EXPECT_FALSE(vex_SDExists());
    wchar_t name[VEX_PARTITION_TEXT_SIZE], fsys[VEX_PARTITION_TEXT_SIZE], label[VEX_PARTITION_TEXT_SIZE];
    ASSERT_TRUE(_vex_get_partition_info(name, fsys, label)) << "read from the partition itself";
    EXPECT_EQ(name, part);
    EXPECT_STREQ(fsys, L"vfat");
    EXPECT_STREQ(label, L"VEXTEST");
    EXPECT_FALSE(vex_SDMount((part + L"0").c_str())) << "no such partition";

    if (!mountable()) GTEST_SKIP() << "this kernel mounts no FAT and mke2fs is missing: mounting not tried";
    ASSERT_TRUE(vex_SDMount(part.c_str()));
    EXPECT_TRUE(vex_SDExists());
    EXPECT_FALSE(vex_SDMount(part.c_str())) << "already mounted there";
    std::ofstream(dir_ / "Micro_SD" / "log.txt") << "on the card\n";
    EXPECT_TRUE(has_text(vex::test::run_vexctl({"card", "status"}).output, "mounted at"));
    ASSERT_TRUE(vex_SDUnmount());
    EXPECT_FALSE(vex_SDExists());
    EXPECT_FALSE(fs::exists(dir_ / "Micro_SD" / "log.txt")) << "the folder no longer shows the card";
    ASSERT_TRUE(vex_SDMount(part.c_str()));
    EXPECT_TRUE(fs::exists(dir_ / "Micro_SD" / "log.txt")) << "the file went to the card";
}

// The kernel refusing the card's calls: a folder that cannot be made, a
// mount or an unmount refused. Each answers FALSE, leaves the card as it
// was, and the next call works.
TEST_F(LoopCard, RefusedMountsAndUnmountsAnswerFalseAndChangeNothing) {
    using vex::plat::oscalls::ServiceCalls;
    using vex::test::Fault;
    const std::wstring part(part_.begin(), part_.end());
    if (!mountable()) GTEST_SKIP() << "this kernel mounts no FAT and mke2fs is missing: mounting not tried";
    {
        Fault<&ServiceCalls::mkdir> f(vex::plat::oscalls::table());
        f.fail_nth(1, EACCES);
        EXPECT_FALSE(vex_SDMount(part.c_str()));
        EXPECT_TRUE(f.fired());
        EXPECT_FALSE(fs::exists(dir_ / "Micro_SD"));
    }
    {
        Fault<&ServiceCalls::mount> f(vex::plat::oscalls::table());
        f.fail_nth(1, EBUSY);
        EXPECT_FALSE(vex_SDMount(part.c_str()));
        EXPECT_TRUE(f.fired());
        EXPECT_FALSE(vex_SDExists());
    }
    ASSERT_TRUE(vex_SDMount(part.c_str()));
    {
        Fault<&ServiceCalls::umount2> f(vex::plat::oscalls::table());
        f.fail_nth(1, EBUSY);
        EXPECT_FALSE(vex_SDUnmount());
        EXPECT_TRUE(f.fired());
        EXPECT_TRUE(vex_SDExists()) << "still mounted";
    }
    EXPECT_TRUE(vex_SDUnmount());
    EXPECT_FALSE(vex_SDExists());
}

}  // namespace
