// The hardware path, run on a plain file standing in for physical memory.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "frame/backplane.h"
#include "frame/library.h"
#include "platform/shared_section.h"
#include "platform/target.h"
#include "vexsdk.h"

namespace {

constexpr off_t kWindow = 0x17000000;
constexpr off_t kOsTimerCount = 0x40A00010;

class HwPath : public ::testing::Test {
protected:
    void SetUp() override {
        char templ[] = "/tmp/vexsdk-hw-XXXXXX";
        ASSERT_NE(::mkdtemp(templ), nullptr);
        dir_ = templ;
        fd_ = ::open((dir_ + "/physmem").c_str(), O_RDWR | O_CREAT, 0600);
        ASSERT_GE(fd_, 0);
        ASSERT_EQ(::ftruncate(fd_, 0x41301000), 0);  // sparse, past the processor pages
        poke(kWindow + 0x0001, 0x60);  // CPU ID 3 in bits 13..15
        poke(kWindow + 0x9000, 4);     // backplane version
        poke(kWindow + 0x9002, 0xFA);  // DIP switch, active low
        poke(kWindow + 0x9008, 0xFE);  // only slot 0 present
        poke(kWindow + 0x9046, 0x07);  // eight slots
        poke(kWindow + 0x1000, 0x2F);  // slot 0 module ID
        const uint32_t count = 0x12345678;
        ASSERT_EQ(::pwrite(fd_, &count, 4, kOsTimerCount), 4);
        ::setenv("VEXSDK_TARGET", "hw", 1);
        ::setenv("VEXSDK_PHYSMEM", (dir_ + "/physmem").c_str(), 1);
        ::setenv("VEXSDK_REGISTRY", (dir_ + "/registry.db").c_str(), 1);
        vex::plat::reload_target();
        vex::frame::library_attach();
    }
    void TearDown() override {
        vex::frame::library_detach();
        // The hardware target's shared sections have no instance name.
        vex::plat::remove_shared_objects(vex::plat::hw_object_prefix());
        ::close(fd_);
        std::filesystem::remove_all(dir_);
        ::unsetenv("VEXSDK_PHYSMEM");
        ::unsetenv("VEXSDK_REGISTRY");
    }
    void poke(off_t at, uint8_t v) { ASSERT_EQ(::pwrite(fd_, &v, 1, at), 1); }
    uint8_t peek(off_t at) {
        uint8_t v = 0;
        EXPECT_EQ(::pread(fd_, &v, 1, at), 1);
        return v;
    }
    std::string dir_;
    int fd_ = -1;
};

TEST_F(HwPath, AccessorsReachTheMappedWindow) {
    EXPECT_EQ(vex_GetSlotCount(), 8u);
    EXPECT_EQ(vex_GetCPUID(), 3u);
    EXPECT_EQ(vex_GetDIPSwitch(), 0x05);
    EXPECT_TRUE(_vex_slot_exists(0));
    EXPECT_FALSE(_vex_slot_exists(1));
    EXPECT_EQ(_vex_slot_inp(0, 0), 0x2Fu);
    char version[10];
    EXPECT_EQ(vex_GetBackplaneID(version), 7);
    EXPECT_STREQ(version, "1.0.4.0");
    EXPECT_EQ(_vex_oscr0(), 0x12345678u);

    vex_ChangeSlot(3);
    EXPECT_EQ(peek(kWindow + 0x9004), 0xF7);
    _vex_slot_outpw(2, 0x10, 0xBEEF);
    EXPECT_EQ(peek(kWindow + 0x3010), 0xEF);
    EXPECT_EQ(peek(kWindow + 0x3011), 0xBE);
    EXPECT_EQ(_vex_map(0x3010), _vex_map(0) + 0x3010);
    EXPECT_EQ(*_vex_map(0x3011), 0xBE);
}

TEST_F(HwPath, ModelCodeComesFromTheStoreAtLoad) {
    EXPECT_EQ(vex::frame::controller_model(), vex::frame::kModelUnknown);
    const std::wstring id = L"HR4-16";
    ASSERT_TRUE(vex_RegSetString(L"HKEY_LOCAL_MACHINE\\HARDWARE\\MODULETYPE\\HWID", id.c_str(),
                                 static_cast<uint32_t>(id.size() * sizeof(wchar_t))));
    vex::frame::library_detach();
    vex::frame::library_attach();
    EXPECT_EQ(vex::frame::controller_model(), vex::frame::kModelMultiSlot);
}

TEST_F(HwPath, MissingPhysicalMemoryLeavesAFloatingBus) {
    vex::frame::library_detach();
    vex::plat::remove_shared_objects(vex::plat::hw_object_prefix());  // another file, other objects
    ::setenv("VEXSDK_PHYSMEM", (dir_ + "/absent").c_str(), 1);
    vex::frame::library_attach();
    EXPECT_EQ(_vex_inp(0x9000), 0xFFu);
    EXPECT_EQ(_vex_map(0), nullptr);
    EXPECT_EQ(_vex_oscr0(), 0xFFFFFFFFu) << "an unmapped processor page floats too";
}

// The unified read and the register read of a parallel-bus module's inputs
// on the mapped window: the four input registers, active low, at even
// offsets of the slot's page; the address rules before them.
TEST_F(HwPath, UnifiedAndRegisterInputReadsDecodeTheWindow) {
    const uint8_t in[4] = {0xFE, 0xFD, 0xFB, 0x7F};  // channels 0, 9, 18 and 31 closed
    for (int i = 0; i < 4; ++i) poke(kWindow + 0x1002 + 2 * i, in[i]);
    struct Case {
        int32_t count;
        uint32_t value;
    };
    for (const Case c : {Case{32, 0x80040201u}, Case{0, 0x80040201u}, Case{-5, 0x80040201u}, Case{16, 0x0201u},
                         Case{9, 0x0201u}, Case{8, 0x01u}, Case{5, 0x01u}, Case{4, 0x1u}, Case{1, 0x1u}}) {
        EXPECT_EQ(_vex_ReadDI(0, c.count), c.value) << c.count;
        EXPECT_EQ(_vex_ReadDI(0x300, c.count), c.value) << "only the low byte names the slot";
        uint32_t v = 7;
        ASSERT_TRUE(vex_ReadDI(0, 0x0F00, c.count, &v)) << c.count;  // slot 0, high bits ignored
        EXPECT_EQ(v, c.value) << c.count;
    }
    // Slot 1 is empty, slot 0xFF has no page: both are unknown modules, and
    // the output is left alone.
    uint32_t v = 7;
    EXPECT_FALSE(vex_ReadDI(0, 1, 32, &v));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UNKNOWN_MODULE);
    EXPECT_FALSE(vex_ReadDI(0, -1, 32, &v));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UNKNOWN_MODULE);
    EXPECT_EQ(v, 7u);
    // ID 255 sends the call to the serial path, which refuses port 0.
    poke(kWindow + 0x1000, 0xFF);
    EXPECT_FALSE(vex_ReadDI(0, 0, 32, &v));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
    EXPECT_EQ(v, 7u);
}

}  // namespace
