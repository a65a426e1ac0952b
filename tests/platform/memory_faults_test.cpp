// Memory that cannot be reached: physical windows of the hardware target
// that cannot be opened, examined or mapped, and the EEPROM's cross-process
// lock that cannot be made. Each failure is said in the load problem, the
// memory calls give their documented answers over what is missing, nothing
// is left open, and the next load works.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "frame/library.h"
#include "platform/linux/named_mutex_calls.h"
#include "platform/linux/physmem_calls.h"
#include "tests/support/fault_shim.h"
#include "tests/support/physmem_file.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

using plat::NamedMutexCalls;
using plat::PhysmemCalls;

constexpr uint64_t kWindow = 0x17000000;       // the backplane window
constexpr uint64_t kSramByte0 = kWindow + 0xA000;  // SRAM's window, page 32 byte 0 = user address 0
constexpr uint8_t kStored = 0x5A;

bool has(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

// What one load of the hardware target saw.
struct HwLoad {
    std::string problem;
    uint8_t sram = 0;
    bool read_ok = false;
};

class HwWindowFaults : public ::testing::Test {
protected:
    void SetUp() override {
        mem.poke8(kSramByte0, kStored);
        mem.attach_library();  // the environment for the hardware target
        frame::library_detach();
    }
    void TearDown() override { frame::library_attach(); }  // PhysMemFile detaches it

    HwLoad load_and_read() {
        HwLoad r;
        frame::library_attach();
        r.problem = frame::load_problem();
        r.read_ok = vex_ReadMemory(0, &r.sram, 1, VEX_MEMORY_SRAM);
        frame::library_detach();
        return r;
    }

    // Fails each call of `Member` in turn: every failure is named, SRAM
    // reads the bus as it then is (its byte, or all ones with no window).
    template <auto Member>
    void each_window_fails(int err) {
        Fault<Member> f(plat::physmem_table());
        HwLoad seen;
        int floating = 0;
        const long calls = fail_each_call(
            f, err,
            [&] {
                seen = load_and_read();
                return seen.problem.empty() && seen.read_ok && seen.sram == kStored;
            },
            [&](long n, bool ok) {
                EXPECT_FALSE(ok) << "window " << n << " is needed";
                EXPECT_TRUE(has(seen.problem, "cannot map")) << n << ": " << seen.problem;
                EXPECT_TRUE(seen.read_ok) << "SRAM calls answer from the bus, whatever it holds";
                if (has(seen.problem, "backplane")) {
                    ++floating;
                    EXPECT_EQ(seen.sram, 0xFF) << "no backplane window: the bus floats";
                } else {
                    EXPECT_EQ(seen.sram, kStored) << "a missing processor page leaves the backplane alone";
                }
            });
        EXPECT_GE(calls, 2) << "the processor pages and the backplane window";
        EXPECT_EQ(floating, 1) << "one backplane window";
    }

    PhysMemFile mem;
};

TEST_F(HwWindowFaults, AWindowThatCannotBeOpenedExaminedOrMappedIsNamedAndFloats) {
    each_window_fails<&PhysmemCalls::open>(EACCES);
    each_window_fails<&PhysmemCalls::fstat>(EIO);
    each_window_fails<&PhysmemCalls::mmap>(ENOMEM);
}

// The EEPROM is the one memory behind a cross-process lock. A load that
// cannot make the lock says so, and EEPROM calls then fail with their
// codes, touching no line; SRAM and NVRAM need no such lock and work.
using EepromLockFaults = SimFixture;

template <auto Member, typename A, typename C>
void each_lock_call_fails(int err, A& attempt, C& check) {
    Fault<Member> f(plat::named_mutex_table());
    fail_each_call(f, err, attempt, check);
}

TEST_F(EepromLockFaults, WithoutItsLockTheEepromFailsWithItsCodesAndTheRestWorks) {
    frame::library_detach();
    struct Seen {
        std::string problem;
        bool read = false, write = false, sram = false, nvram = false;
        uint32_t read_code = 0, write_code = 0;
    } seen;
    int lockless = 0;
    auto attempt = [&] {
        frame::library_attach();
        seen.problem = frame::load_problem();
        uint8_t b[4] = {1, 2, 3, 4};
        vex_EnableEEPROM(VEX_TRUE);
        vex_SetLastError(0);
        seen.write = vex_WriteMemory(16, b, sizeof b, VEX_MEMORY_EEPROM);
        seen.write_code = vex_GetLastError();
        vex_SetLastError(0);
        seen.read = vex_ReadMemory(16, b, sizeof b, VEX_MEMORY_EEPROM);
        seen.read_code = vex_GetLastError();
        seen.sram = vex_WriteMemory(0, b, 1, VEX_MEMORY_SRAM) && vex_ReadMemory(0, b, 1, VEX_MEMORY_SRAM);
        seen.nvram = vex_WriteMemory(0, b, 1, VEX_MEMORY_NVRAM) && vex_ReadMemory(0, b, 1, VEX_MEMORY_NVRAM);
        vex_EnableEEPROM(VEX_FALSE);
        frame::library_detach();
        return seen.problem.empty() && seen.read && seen.write;
    };
    auto check = [&](long n, bool) {
        EXPECT_TRUE(seen.sram && seen.nvram) << "call " << n;
        if (!has(seen.problem, "EEPROM lock")) {
            // Another named lock of the load (the GPIO bank's) went without.
            EXPECT_TRUE(seen.read && seen.write) << n << ": " << seen.problem;
            return;
        }
        ++lockless;
        EXPECT_FALSE(seen.write);
        EXPECT_EQ(seen.write_code, VEX_ERR_EEPROM_WRITE);
        EXPECT_FALSE(seen.read);
        EXPECT_EQ(seen.read_code, VEX_ERR_EEPROM_READ);
    };
    each_lock_call_fails<&NamedMutexCalls::shm_open>(EMFILE, attempt, check);
    each_lock_call_fails<&NamedMutexCalls::mmap>(ENOMEM, attempt, check);
    each_lock_call_fails<&NamedMutexCalls::flock>(ENOLCK, attempt, check);
    EXPECT_GE(lockless, 3) << "the EEPROM lock failed at each of its calls";
    frame::library_attach();
}

}  // namespace
}  // namespace vex::test
