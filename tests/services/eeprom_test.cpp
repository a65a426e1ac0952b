// The EEPROM through the library's bit-banged bus, against the virtual
// controller's chip; checks read what the chip holds afterwards and the
// transactions it saw.
#include <gtest/gtest.h>

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <fstream>

#include "frame/library.h"
#include "platform/exec_wrapper.h"
#include "tests/support/robust_futex.h"
#include "platform/shared_section.h"
#include "platform/target.h"
#include "services/eeprom.h"
#include "services/i2c_bus.h"
#include "services/i2c_lines.h"
#include "sim/far_side.h"
#include "tests/services/services_fixture.h"
#include "vexsdk.h"

extern char** environ;

namespace {

namespace far = vex::sim::far;
using far::Chip;
using vex::sim::ChipLogEntry;
using vex::sim::ChipLogKind;

std::vector<uint8_t> pattern(size_t n, uint8_t seed) {
    std::vector<uint8_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint8_t>(seed + i * 7);
    return v;
}

class Eeprom : public vex::test::SimFixture {
protected:
    uint32_t log_total() {
        uint32_t total = 0;
        far::transactions(sim(), Chip::Eeprom, &total);
        return total;
    }
    // Transactions of one kind since the log held `since` entries.
    std::vector<ChipLogEntry> since(uint32_t since, ChipLogKind kind) {
        uint32_t total = 0;
        const auto all = far::transactions(sim(), Chip::Eeprom, &total);
        std::vector<ChipLogEntry> out;
        for (size_t i = 0; i < all.size(); ++i) {
            const uint32_t index = total - static_cast<uint32_t>(all.size() - i);
            if (index >= since && all[i].kind == static_cast<uint8_t>(kind)) out.push_back(all[i]);
        }
        return out;
    }
    std::vector<uint8_t> chip(uint32_t address, uint32_t n) { return far::contents(sim(), Chip::Eeprom, address, n); }
};

TEST_F(Eeprom, ReadsWhatTheChipHoldsInBothForms) {
    const auto data = pattern(300, 3);
    far::fill(sim(), Chip::Eeprom, 0x100, data);
    std::vector<uint8_t> got(300, 0);
    vex_ClearLastError();
    ASSERT_TRUE(vex_ReadMemory(0x100, got.data(), 300, VEX_MEMORY_EEPROM)) << std::hex << vex_GetLastError();
    EXPECT_EQ(got, data);
    EXPECT_EQ(vex_GetLastError(), 0u);

    std::vector<uint8_t> sys(16, 0);
    ASSERT_TRUE(vex_ReadMemory(0x20100, sys.data(), 16, VEX_MEMORY_EEPROM));
    EXPECT_EQ(sys, std::vector<uint8_t>(data.begin(), data.begin() + 16));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_EEPROM_ADDRESS) << "the failed user form stays recorded";

    // The last byte of the chip, then a read that runs off its end.
    far::fill(sim(), Chip::Eeprom, 0x3FFF, {0x5C});
    uint8_t last = 0;
    ASSERT_TRUE(vex_ReadMemory(0x23FFF, &last, 1, VEX_MEMORY_EEPROM));
    EXPECT_EQ(last, 0x5C);
    uint8_t two[2] = {1, 1};
    EXPECT_FALSE(vex_ReadMemory(0x23FFF, two, 2, VEX_MEMORY_EEPROM)) << "no wrap from the end to the user area";
    EXPECT_EQ(two[0], 1);
}

TEST_F(Eeprom, WritesAreCutAtPageBoundariesAndWaitForEachWriteCycle) {
    vex_EnableEEPROM(VEX_TRUE);
    const auto before = chip(0, 0x200);
    const uint32_t mark = log_total();
    const auto data = pattern(100, 9);
    ASSERT_TRUE(vex_WriteMemory(0x30, data.data(), 100, VEX_MEMORY_EEPROM)) << std::hex << vex_GetLastError();
    const auto w = since(mark, ChipLogKind::Write);
    ASSERT_EQ(w.size(), 3u);
    EXPECT_EQ(w[0].address, 0x30u);
    EXPECT_EQ(w[0].length, 16u);
    EXPECT_EQ(w[1].address, 0x40u);
    EXPECT_EQ(w[1].length, 64u);
    EXPECT_EQ(w[2].address, 0x80u);
    EXPECT_EQ(w[2].length, 20u);
    EXPECT_GT(far::eeprom_busy_refusals(sim()), 0u) << "each page polled through the write cycle before it";
    EXPECT_GT(vex::services::eeprom::last_poll_count(), 1u);

    auto expect = before;
    std::copy(data.begin(), data.end(), expect.begin() + 0x30);
    EXPECT_EQ(chip(0, 0x200), expect) << "exactly the requested bytes changed";

    // A write across the 256-byte boundary of the low address byte.
    const auto more = pattern(80, 77);
    ASSERT_TRUE(vex_WriteMemory(0x1F0, more.data(), 80, VEX_MEMORY_EEPROM));
    EXPECT_EQ(chip(0x1F0, 80), more);
}

TEST_F(Eeprom, WriteProtectIsOnFromLoadAndRefusesWithoutTouchingTheBus) {
    const auto data = pattern(10, 1);
    const auto before = chip(0x10, 10);
    const uint32_t mark = log_total();
    EXPECT_FALSE(vex_WriteMemory(0x10, data.data(), 10, VEX_MEMORY_EEPROM));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_EEPROM_WRITE_PROTECTED);
    EXPECT_EQ(log_total(), mark) << "nothing was sent";
    EXPECT_EQ(chip(0x10, 10), before);

    EXPECT_TRUE(vex_EnableEEPROM(0x100)) << "only the low byte counts";
    EXPECT_FALSE(vex_WriteMemory(0x10, data.data(), 10, VEX_MEMORY_EEPROM));
    EXPECT_TRUE(vex_EnableEEPROM(VEX_TRUE));
    EXPECT_FALSE(far::pin_high(sim(), vex::services::eeprom::kPinWriteProtect));
    EXPECT_TRUE(vex_WriteMemory(0x10, data.data(), 10, VEX_MEMORY_EEPROM));
    EXPECT_EQ(chip(0x10, 10), data);
    EXPECT_TRUE(vex_EnableEEPROM(VEX_FALSE));
    EXPECT_FALSE(vex_WriteMemory(0x10, data.data(), 10, VEX_MEMORY_EEPROM));

    // Another program loading the library leaves write protect alone.
    vex_EnableEEPROM(VEX_TRUE);
    auto r = vex::test::run_vexctl({"mem", "read", "eeprom", "0", "1"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_FALSE(far::pin_high(sim(), vex::services::eeprom::kPinWriteProtect));
}

TEST_F(Eeprom, ThePageBufferWrapsWithinItsPage) {
    // A page write the library never makes (70 bytes from page offset
    // 0x3A), sent with the library's own bus primitives.
    vex_EnableEEPROM(VEX_TRUE);
    const auto before = chip(0x100, 0x80);
    const auto data = pattern(70, 40);
    namespace eeprom = vex::services::eeprom;
    vex::services::i2c::GpioLines lines(eeprom::kPinScl, eeprom::kPinSda);
    vex::services::i2c::Master bus(lines);
    bus.start();
    for (const uint8_t b : {uint8_t{0xA0}, uint8_t{0x01}, uint8_t{0x3A}}) {
        bus.send_byte(b);
        ASSERT_FALSE(bus.check_ack());
    }
    for (const uint8_t b : data) {
        bus.send_byte(b);
        ASSERT_FALSE(bus.check_ack());
    }
    bus.stop();

    auto expect = before;  // page 0x100..0x13F
    for (size_t i = 0; i < data.size(); ++i) expect[(0x3A + i) % 64] = data[i];
    EXPECT_EQ(chip(0x100, 0x80), expect) << "the last bytes overwrite the page's start, nothing leaves the page";
}

TEST_F(Eeprom, AChipThatStopsAcknowledgingGivesAClearCodeAndNoWedge) {
    vex_EnableEEPROM(VEX_TRUE);
    const auto before = chip(0x400, 256);
    // Device select and two address bytes, then 20 data bytes.
    vex::sim::ChipFaults f{};
    f.ack_budget = 3 + 20;
    far::set_faults(sim(), Chip::Eeprom, f);
    const auto data = pattern(128, 5);
    const uint32_t mark = log_total();
    EXPECT_FALSE(vex_WriteMemory(0x400, data.data(), 128, VEX_MEMORY_EEPROM));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_EEPROM_WRITE);
    // With the bus-error flag set the clock stays high, so the master's
    // next data-line change is a start condition: the chip drops the page.
    EXPECT_EQ(chip(0x400, 256), before) << "nothing of the failed page, nothing after it";
    const auto aborted = since(mark, ChipLogKind::WriteAborted);
    ASSERT_EQ(aborted.size(), 1u);
    EXPECT_EQ(aborted[0].length, 20u);

    far::set_faults(sim(), Chip::Eeprom, vex::test::kSilentChip);
    std::vector<uint8_t> got(16, 0xAB);
    const auto t0 = std::chrono::steady_clock::now();
    EXPECT_FALSE(vex_ReadMemory(0x400, got.data(), 16, VEX_MEMORY_EEPROM));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_EEPROM_READ);
    EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::seconds(20)) << "polling is bounded";
    EXPECT_EQ(got, std::vector<uint8_t>(16, 0xAB)) << "a chip that never answered left the buffer alone";

    far::set_faults(sim(), Chip::Eeprom, vex::test::kHealthyChip);
    ASSERT_TRUE(vex_ReadMemory(0x400, got.data(), 16, VEX_MEMORY_EEPROM)) << "the bus works again at once";
    EXPECT_EQ(got, std::vector<uint8_t>(before.begin(), before.begin() + 16));
}

TEST_F(Eeprom, AWriteCycleLongerThanThePollLimitFailsThePageAfterIt) {
    vex_EnableEEPROM(VEX_TRUE);
    far::set_eeprom_write_cycle_us(sim(), 600000000);  // ten minutes
    const auto data = pattern(80, 2);
    const auto after = chip(0x840, 16);
    EXPECT_FALSE(vex_WriteMemory(0x800, data.data(), 80, VEX_MEMORY_EEPROM));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_EEPROM_WRITE);
    EXPECT_EQ(chip(0x800, 64), std::vector<uint8_t>(data.begin(), data.begin() + 64));
    EXPECT_EQ(chip(0x840, 16), after) << "the second page was never sent";
    EXPECT_EQ(vex::services::eeprom::last_poll_count(), vex::services::eeprom::kAckPollLimit);
}

TEST_F(Eeprom, StuckBitsShowInWhatIsRead) {
    far::fill(sim(), Chip::Eeprom, 0x20, {0x00, 0xFF, 0x5A});
    far::set_faults(sim(), Chip::Eeprom, vex::test::stuck_bits(0x81, 0x01));
    uint8_t got[3] = {};
    ASSERT_TRUE(vex_ReadMemory(0x20, got, 3, VEX_MEMORY_EEPROM));
    EXPECT_EQ(got[0], 0x01);
    EXPECT_EQ(got[1], 0x7F);
    EXPECT_EQ(got[2], 0x5B);
}

// The bounds every memory shares are in sram_nvram_test.cpp.
TEST_F(Eeprom, AddressesBetweenAreasAndBadTypes) {
    uint8_t b[4] = {};
    EXPECT_FALSE(vex_ReadMemory(0x10000, b, 1, VEX_MEMORY_EEPROM)) << "between the areas";
    EXPECT_FALSE(vex_ReadMemory(0x24000, b, 1, VEX_MEMORY_EEPROM)) << "past the chip";

    const uint32_t mark = log_total();
    vex_EnableEEPROM(VEX_TRUE);
    EXPECT_FALSE(vex_WriteMemory(0, nullptr, 4, VEX_MEMORY_EEPROM));
    EXPECT_EQ(log_total(), mark) << "a null buffer reaches no chip";
    vex_ClearLastError();
    EXPECT_FALSE(vex_ReadMemory(0x3000, nullptr, 4, VEX_MEMORY_EEPROM));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_EEPROM_ADDRESS) << "the address is judged first";

    EXPECT_FALSE(vex_ReadMemory(0, b, 1, 3));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_MEMORY_TYPE);
    EXPECT_FALSE(vex_WriteMemory(0, b, 1, 0xFFFFFFFF));
    vex_ClearLastError();
    EXPECT_EQ(vex_GetMemorySize(7), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_MEMORY_TYPE);
}

TEST_F(Eeprom, ContentsSurvivePowerCycleAndRestartAndTheFactoryRecordIsWrittenOnce) {
    vex_EnableEEPROM(VEX_TRUE);
    const auto data = pattern(40, 33);
    ASSERT_TRUE(vex_WriteMemory(0x700, data.data(), 40, VEX_MEMORY_EEPROM));
    ASSERT_TRUE(_vex_set_mac_address(2, L"0A0B0C0D0E0F"));
    std::string error;
    ASSERT_TRUE(sim().power_cycle(&error)) << error;
    EXPECT_EQ(chip(0x700, 40), data);
    char mac[VEX_DEVICE_TEXT_SIZE] = "";
    vex_GetMacAddress(2, mac);
    EXPECT_STREQ(mac, "0A0B0C0D0E0F") << "power-up does not rewrite the factory record";

    // A restart: the shared state is gone, the instance's files are not.
    vex::frame::library_detach();
    vex::plat::remove_shared_objects(vex::plat::sim_object_prefix(instance_name()));
    vex::frame::library_attach();
    EXPECT_EQ(chip(0x700, 40), data);
    vex_GetMacAddress(2, mac);
    EXPECT_STREQ(mac, "0A0B0C0D0E0F");
}

TEST_F(Eeprom, AProcessKilledMidPageLeavesNoTornPageAndNoWedge) {
    VEXSDK_SKIP_WITHOUT_DEAD_OWNER_REPORTS();
    vex_EnableEEPROM(VEX_TRUE);
    const auto before = chip(0x1000, 64);
    auto r = vex::test::run_process({EEPROM_PEER_PATH, "abandon", "0x1000", "30", "0xEE"});
    EXPECT_EQ(r.status, -1) << "the peer was to die of SIGKILL: " << r.output;
    ASSERT_NE(r.output.find("abandoned"), std::string::npos) << r.output;

    // The next user takes the lock over and the half page is dropped.
    const auto data = pattern(8, 90);
    ASSERT_TRUE(vex_WriteMemory(0x1100, data.data(), 8, VEX_MEMORY_EEPROM)) << std::hex << vex_GetLastError();
    EXPECT_EQ(chip(0x1000, 64), before) << "none of the dead process's 30 bytes was committed";
    EXPECT_EQ(chip(0x1100, 8), data);
}

TEST_F(Eeprom, SeveralProcessesWritingAtOnceNeverTearAPage) {
    VEXSDK_SKIP_WITHOUT_DEAD_OWNER_REPORTS();  // one writer is killed mid-way
    vex_EnableEEPROM(VEX_TRUE);
    constexpr int kWriters = 4;
    constexpr uint32_t kBytes = 1024;  // 16 pages from 0x800, the same for every writer
    std::vector<std::string> files;
    for (int w = 0; w < kWriters; ++w) {
        files.push_back(base_dir() + "/writer" + std::to_string(w) + ".bin");
        std::ofstream(files.back(), std::ios::binary) << std::string(kBytes, static_cast<char>(0x10 * (w + 1)));
    }
    std::vector<pid_t> pids;
    for (int w = 0; w < kWriters; ++w) {
        std::vector<std::string> argv =
            vex::plat::wrapped_command({VEXCTL_PATH, "mem", "write", "eeprom", "0x800", "--file", files[w]});
        std::vector<char*> args = vex::plat::exec_argv(argv);
        pid_t pid = 0;
        ASSERT_EQ(::posix_spawn(&pid, args[0], nullptr, nullptr, args.data(), environ), 0);
        pids.push_back(pid);
    }
    // Kill one writer while it is in the middle of its 16 pages.
    ::usleep(60000);
    ::kill(pids[0], SIGKILL);
    for (int w = 0; w < kWriters; ++w) {
        int status = 0;
        ASSERT_EQ(::waitpid(pids[static_cast<size_t>(w)], &status, 0), pids[static_cast<size_t>(w)]);
        if (w > 0) {
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "writer " << w << " failed";
        }
    }
    const auto after = chip(0x800, kBytes);
    for (uint32_t page = 0; page < kBytes / 64; ++page) {
        const auto first = after.begin() + page * 64;
        EXPECT_TRUE(std::all_of(first, first + 64, [&](uint8_t b) { return b == *first; }))
            << "page " << page << " mixes writers";
        EXPECT_TRUE(*first == 0x10 || *first == 0x20 || *first == 0x30 || *first == 0x40)
            << "page " << page << " holds 0x" << std::hex << int{*first};
    }
    // The last writer to finish wrote all of its pages, and nobody hangs on.
    uint8_t probe = 0;
    EXPECT_TRUE(vex_ReadMemory(0x800, &probe, 1, VEX_MEMORY_EEPROM));
}

class LargeEeprom : public vex::test::SimFixture {
    std::string description() override {
        return "[controller]\nhardware_id = \"LT44-100\"\nslots = 1\n";
    }
};

TEST_F(LargeEeprom, UserAreaStartsAt0x2000AndReachesTheLargerChip) {
    EXPECT_EQ(far::chip_size(sim(), Chip::Eeprom), 65536u);
    EXPECT_EQ(vex_GetMemorySize(VEX_MEMORY_EEPROM), 8192u) << "reported size is the same";
    vex_EnableEEPROM(VEX_TRUE);
    const auto data = pattern(4, 8);
    ASSERT_TRUE(vex_WriteMemory(0xDFFC, data.data(), 4, VEX_MEMORY_EEPROM));
    EXPECT_EQ(far::contents(sim(), Chip::Eeprom, 0xFFFC, 4), data);
    uint8_t b = 0;
    EXPECT_FALSE(vex_ReadMemory(0xE000, &b, 1, VEX_MEMORY_EEPROM));
    EXPECT_TRUE(vex_ReadMemory(0x2FFFF, &b, 1, VEX_MEMORY_EEPROM)) << "system form up to the chip's end";
    EXPECT_EQ(b, data[3]);

    // No SRAM on this model, and nothing recorded for asking.
    vex_ClearLastError();
    EXPECT_EQ(vex_GetMemorySize(VEX_MEMORY_SRAM), 0u);
    EXPECT_FALSE(vex_ReadMemory(0, &b, 1, VEX_MEMORY_SRAM));
    EXPECT_EQ(vex_GetLastError(), 0u);
}

}  // namespace
