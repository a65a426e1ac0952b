// The hardware path, run on a plain file standing in for physical memory.
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/physmem_file.h"
#include "vexsdk.h"

namespace {

constexpr uint64_t kWindow = 0x17000000;

class HwPath : public ::testing::Test {
protected:
    void SetUp() override {
        mem.poke8(kWindow + 0x0001, 0x60);  // CPU ID 3 in bits 13..15
        mem.poke8(kWindow + 0x9000, 4);     // backplane version
        mem.poke8(kWindow + 0x9002, 0xFA);  // DIP switch, active low
        mem.poke8(kWindow + 0x9008, 0xFE);  // only slot 0 present
        mem.poke8(kWindow + 0x9046, 0x07);  // eight slots
        mem.poke8(kWindow + 0x1000, 0x2F);  // slot 0 module ID
        mem.poke32(0x40A00010, 0x12345678);  // OS timer count
        mem.attach_library();
    }
    vex::test::PhysMemFile mem;
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
    EXPECT_EQ(mem.peek8(kWindow + 0x9004), 0xF7);
    _vex_slot_outpw(2, 0x10, 0xBEEF);
    EXPECT_EQ(mem.peek8(kWindow + 0x3010), 0xEF);
    EXPECT_EQ(mem.peek8(kWindow + 0x3011), 0xBE);
    EXPECT_EQ(_vex_map(0x3010), _vex_map(0) + 0x3010);
    EXPECT_EQ(*_vex_map(0x3011), 0xBE);
}

TEST(HwPathMissing, MissingPhysicalMemoryLeavesAFloatingBus) {
    vex::test::PhysMemFile mem;
    ASSERT_EQ(::unlink(mem.path().c_str()), 0);
    mem.attach_library();
    EXPECT_EQ(_vex_inp(0x9000), 0xFFu);
    EXPECT_EQ(_vex_map(0), nullptr);
    EXPECT_EQ(_vex_oscr0(), 0xFFFFFFFFu) << "an unmapped processor page floats too";
}

// The unified read and the register read of a parallel-bus module's inputs
// on the mapped window: the four input registers, active low, at even
// offsets of the slot's page.
TEST_F(HwPath, UnifiedAndRegisterInputReadsDecodeTheWindow) {
    const uint8_t in[4] = {0xFE, 0xFD, 0xFB, 0x7F};  // channels 0, 9, 18 and 31 closed
    for (int i = 0; i < 4; ++i) mem.poke8(kWindow + 0x1002 + 2 * i, in[i]);
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
    // (Empty slots and the address rules are the same code on either target.)
    uint32_t v = 7;
    // ID 255 sends the call to the serial path, which refuses port 0.
    mem.poke8(kWindow + 0x1000, 0xFF);
    EXPECT_FALSE(vex_ReadDI(0, 0, 32, &v));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_OPEN);
    EXPECT_EQ(v, 7u);
}

}  // namespace
