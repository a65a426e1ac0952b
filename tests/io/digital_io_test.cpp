// Register-level digital I/O of parallel-bus modules against the virtual
// controller's modules: which registers a call touches, in which order,
// which shadow it keeps, and what it does with counts and slots it does
// not accept.
#include <sys/stat.h>

#include <climits>
#include <cstring>

#include "io/do_shadow.h"
#include "platform/target.h"
#include "tests/io/io_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

using Writes = std::vector<std::pair<uint32_t, uint32_t>>;

class DigitalIo : public IoFixture {};

TEST_F(DigitalIo, ThirtyTwoChannelWriteGoesOutLeastSignificantByteFirst) {
    const uint32_t m = mark();
    EXPECT_EQ(_vex_WriteDO(kPlain32Slot, 32, 0x12345678), VEX_TRUE);
    EXPECT_EQ(writes_since(m), (Writes{{0x2000, 0x78}, {0x2002, 0x56}, {0x2004, 0x34}, {0x2006, 0x12}}));
    EXPECT_EQ(module(kPlain32Slot).do_latch, 0x12345678u);
    EXPECT_EQ(_vex_ReadDO(kPlain32Slot, 32), 0x12345678u);
    // The other two shadows of the slot are separate words.
    EXPECT_EQ(_vex_ReadDO(kPlain32Slot, 8), 0u);
    EXPECT_EQ(_vex_ReadDO(kPlain32Slot, 16), 0u);
}

TEST_F(DigitalIo, ChannelCountChoosesShadowAndRegistersAndRefusesTheRest) {
    struct Case {
        int32_t total;
        size_t register_writes;  // 0: refused
        io::Shadow shadow;
    };
    const Case cases[] = {
        {INT32_MIN, 0, io::Shadow::Ch8}, {-1, 0, io::Shadow::Ch8},  {0, 0, io::Shadow::Ch8},
        {1, 0, io::Shadow::Ch8},         {3, 0, io::Shadow::Ch8},   {4, 1, io::Shadow::Ch8},
        {5, 1, io::Shadow::Ch8},         {6, 1, io::Shadow::Ch8},   {7, 0, io::Shadow::Ch8},
        {8, 1, io::Shadow::Ch8},         {9, 0, io::Shadow::Ch16},  {15, 0, io::Shadow::Ch16},
        {16, 2, io::Shadow::Ch16},       {17, 0, io::Shadow::Ch32}, {31, 0, io::Shadow::Ch32},
        {32, 4, io::Shadow::Ch32},       {33, 0, io::Shadow::Ch32}, {64, 0, io::Shadow::Ch32},
        {INT32_MAX, 0, io::Shadow::Ch32},
    };
    uint32_t value = 0x10000000;
    for (const Case& c : cases) {
        SCOPED_TRACE("total " + std::to_string(c.total));
        const uint32_t before[3] = {_vex_ReadDO(kCombo8Slot, 8), _vex_ReadDO(kCombo8Slot, 16),
                                    _vex_ReadDO(kCombo8Slot, 32)};
        vex_SetLastError(0x777);
        const uint32_t m = mark();
        ++value;
        const VEX_BOOL ok = _vex_WriteDO(kCombo8Slot, c.total, value);
        EXPECT_EQ(ok, c.register_writes ? VEX_TRUE : VEX_FALSE);
        EXPECT_EQ(vex_GetLastError(), 0x777u) << "a refused count sets no code";
        EXPECT_EQ(writes_since(m).size(), c.register_writes);
        // Reads pick the shadow by the same count: what was just written,
        // or what was there before for a refused count.
        const uint32_t expected = c.register_writes ? value : before[static_cast<int>(c.shadow)];
        EXPECT_EQ(_vex_ReadDO(kCombo8Slot, c.total), expected);
        for (int k = 0; k < 3; ++k) {
            if (!c.register_writes || k != static_cast<int>(c.shadow)) {
                EXPECT_EQ(io::shadow_load(static_cast<io::Shadow>(k), kCombo8Slot), before[k]) << "shadow " << k;
            }
        }
    }
    // The whole value is kept, bits above the module's 8 channels included;
    // the module itself latches only its own channels.
    EXPECT_EQ(_vex_WriteDO(kCombo8Slot, 8, 0xABCD), VEX_TRUE);
    EXPECT_EQ(_vex_ReadDO(kCombo8Slot, 8), 0xABCDu);
    EXPECT_EQ(module(kCombo8Slot).do_latch, 0xCDu);
}

TEST_F(DigitalIo, ReadBackModuleIsReadFromTheModuleAboveSixteenChannels) {
    ASSERT_EQ(_vex_WriteDO(kReadBackSlot, 32, 0x11223344), VEX_TRUE);
    EXPECT_EQ(_vex_ReadDO(kReadBackSlot, 32), 0x11223344u);
    // Something other than this library drives the outputs (here: the
    // module itself, behind the library's back).
    sim().with_lock([](sim::State& s) { return s.slots[kReadBackSlot].parallel.do_latch = 0xCAFEF00D; });
    sim().with_lock([](sim::State& s) { return s.slots[kPlain32Slot].parallel.do_latch = 0xCAFEF00D; });
    EXPECT_EQ(_vex_ReadDO(kReadBackSlot, 32), 0xCAFEF00Du);
    EXPECT_EQ(_vex_ReadDO(kReadBackSlot, 17), 0xCAFEF00Du);
    EXPECT_EQ(_vex_ReadDO(kReadBackSlot, 16), 0u) << "16 channels and fewer come from the shadows";
    EXPECT_EQ(_vex_ReadDO(kPlain32Slot, 32), 0u) << "without read-back the shadow is all there is";
}

TEST_F(DigitalIo, InputsAreActiveLowAndMaskedByWidth) {
    ASSERT_TRUE(sim().set_inputs(kCombo8Slot, 0x01));
    EXPECT_EQ(_vex_slot_inp(kCombo8Slot, 0x02), 0xFEu);
    EXPECT_EQ(_vex_ReadDI(kCombo8Slot, 8), 0x01u);
    ASSERT_TRUE(sim().set_inputs(kCombo8Slot, 0xF1));  // register 0x0E
    EXPECT_EQ(_vex_ReadDI(kCombo8Slot, 4), 0x01u);
    EXPECT_EQ(_vex_ReadDI(kCombo8Slot, 5), 0xF1u);
    EXPECT_EQ(_vex_ReadDI(kCombo8Slot, 32), 0xF1u) << "lines beyond the module float high: inactive";

    ASSERT_TRUE(sim().set_inputs(kCombo16Slot, 0x8000));
    EXPECT_EQ(_vex_slot_inp(kCombo16Slot, 0x02), 0xFFu);
    EXPECT_EQ(_vex_slot_inp(kCombo16Slot, 0x04), 0x7Fu);
    EXPECT_EQ(_vex_ReadDI(kCombo16Slot, 16), 0x8000u);
    EXPECT_EQ(_vex_ReadDI(kCombo16Slot, 8), 0x00u);

    ASSERT_TRUE(sim().set_inputs(kInput32Slot, 0x80C30001));
    for (int32_t total : {0, -1, INT32_MIN, 17, 32, 33, INT32_MAX})
        EXPECT_EQ(_vex_ReadDI(kInput32Slot, total), 0x80C30001u) << "total " << total;
    EXPECT_EQ(_vex_ReadDI(kInput32Slot, 16), 0x0001u);
}

TEST_F(DigitalIo, WriteBitReadsModifiesAndWritesTheShadow) {
    ASSERT_EQ(_vex_WriteDO(kCombo8Slot, 8, 0x01), VEX_TRUE);
    _vex_WriteDOBit(kCombo8Slot, 8, 3, 1);
    EXPECT_EQ(_vex_ReadDO(kCombo8Slot, 8), 0x09u);
    EXPECT_EQ(module(kCombo8Slot).do_latch, 0x09u);
    _vex_WriteDOBit(kCombo8Slot, 8, 0, 0x100);  // only the low byte of the bit value counts: off
    EXPECT_EQ(_vex_ReadDO(kCombo8Slot, 8), 0x08u);
    _vex_WriteDOBit(kCombo8Slot, 8, 0x101, 1);  // and of the channel: channel 1
    EXPECT_EQ(_vex_ReadDO(kCombo8Slot, 8), 0x0Au);

    // A channel of 32 or more changes nothing but still rewrites the value.
    uint32_t m = mark();
    _vex_WriteDOBit(kCombo8Slot, 8, 32, 1);
    EXPECT_EQ(writes_since(m), (Writes{{0x3000, 0x0A}}));
    // Counts the write refuses, or that the bit call does not write at all.
    for (int32_t total : {7, 9, 0, -8, 33}) {
        m = mark();
        _vex_WriteDOBit(kCombo8Slot, total, 2, 1);
        EXPECT_TRUE(writes_since(m).empty()) << "total " << total;
    }
    EXPECT_EQ(_vex_ReadDO(kCombo8Slot, 8), 0x0Au);

    _vex_WriteDOBit(kPlain32Slot, 32, 31, 1);
    EXPECT_EQ(module(kPlain32Slot).do_latch, 0x80000000u);
}

// Slot numbers an application may pass that name no module: the slot check
// refuses writes, reads see a floating bus, and nothing beyond the eight
// slots' shadows and pages is touched.
TEST_F(DigitalIo, SlotsBeyondTheControllerTouchNothing) {
    for (uint32_t s = 0; s < 8; ++s) ASSERT_EQ(_vex_WriteDO(s, 8, 0x100 + s), VEX_TRUE);
    const io::DoShadowBlock before = *io::g_shadow_block;
    const uint32_t m = mark();
    for (uint32_t slot = 8; slot < 256; ++slot) {
        for (int32_t total : {4, 8, 16, 32}) {
            vex_SetLastError(0);
            EXPECT_EQ(_vex_WriteDO(slot, total, 0xFFFFFFFF), VEX_FALSE);
            EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT);
        }
        _vex_WriteDOBit(slot, 32, 1, 1);
        EXPECT_EQ(_vex_ReadDO(slot, 8) | _vex_ReadDO(slot, 16) | _vex_ReadDO(slot, 32) | _vex_ReadDI(slot, 32), 0u)
            << "slot " << slot;
    }
    EXPECT_TRUE(writes_since(m).empty());
    EXPECT_EQ(std::memcmp(&before, io::g_shadow_block, sizeof before), 0);
    // Only the low byte names the slot: 0x102 is slot 2.
    EXPECT_EQ(_vex_WriteDO(0x102, 8, 0x5A), VEX_TRUE);
    EXPECT_EQ(module(kCombo8Slot).do_latch, 0x5Au);
    // The shared block is 96 bytes and named for this instance.
    struct stat st {};
    const std::string name = plat::shared_object_name("SHARED");
    ASSERT_EQ(::stat(("/dev/shm" + name).c_str(), &st), 0) << name;
    EXPECT_EQ(st.st_size, 96);
}

class DigitalIoFourSlots : public IoFixture {
    std::string description() override {
        return "[controller]\nslots = 4\n[[slot]]\nslot = 2\nid = 0x21\ndo_channels = 8\n";
    }
};

TEST_F(DigitalIoFourSlots, SlotsAtOrBeyondTheSlotCountAreInvalidEvenWithAShadow) {
    EXPECT_EQ(_vex_WriteDO(3, 8, 0x55), VEX_TRUE) << "an empty slot within the count is written";
    for (uint32_t slot : {4u, 5u, 7u}) {
        vex_SetLastError(0);
        EXPECT_EQ(_vex_WriteDO(slot, 8, 0x55), VEX_FALSE);
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT);
        EXPECT_EQ(_vex_ReadDO(slot, 8), 0u);
    }
}

// The single-slot controller: no slot check, and 16/8-channel modules are
// reached in the only slot's page whatever the slot argument.
class DigitalIoSingleSlot : public IoFixture {
    std::string description() override {
        return "[controller]\nhardware_id = \"LT4000\"\nslots = 1\n"
               "[[slot]]\nslot = 0\nid = 0x24\ndo_channels = 16\n";
    }
};

TEST_F(DigitalIoSingleSlot, NarrowWritesGoToTheOnlySlot) {
    uint32_t m = mark();
    EXPECT_EQ(_vex_WriteDO(3, 16, 0xBEEF), VEX_TRUE);
    EXPECT_EQ(writes_since(m), (Writes{{0x1000, 0xEF}, {0x1002, 0xBE}}));
    EXPECT_EQ(module(0).do_latch, 0xBEEFu);
    EXPECT_EQ(_vex_ReadDO(3, 16), 0xBEEFu) << "the shadow is the slot argument's";
    EXPECT_EQ(_vex_ReadDO(0, 16), 0u);

    m = mark();
    EXPECT_EQ(_vex_WriteDO(5, 8, 0x12), VEX_TRUE);
    EXPECT_EQ(writes_since(m), (Writes{{0x1000, 0x12}}));

    m = mark();
    EXPECT_EQ(_vex_WriteDO(3, 32, 0x04030201), VEX_TRUE);
    EXPECT_EQ(writes_since(m), (Writes{{0x4000, 0x01}, {0x4002, 0x02}, {0x4004, 0x03}, {0x4006, 0x04}}));

    m = mark();
    vex_SetLastError(0);
    EXPECT_EQ(_vex_WriteDO(8, 32, 1), VEX_FALSE) << "slot 8's page is the backplane's registers";
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT);
    EXPECT_TRUE(writes_since(m).empty());
}

}  // namespace
}  // namespace vex::test
