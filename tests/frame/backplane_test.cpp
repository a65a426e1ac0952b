#include <gtest/gtest.h>

#include <cstring>

#include "frame/backplane.h"
#include "frame/library.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace {

using vex::test::SimFixture;

class Backplane : public SimFixture {};

TEST_F(Backplane, DefaultControllerIdentity) {
    EXPECT_EQ(vex::frame::controller_model(), vex::frame::kModelMultiSlot);
    EXPECT_EQ(vex_GetSlotCount(), 8u);
    EXPECT_EQ(vex_GetCPUID(), 2u);
    EXPECT_EQ(vex_GetDIPSwitch(), 0x05);
    char version[16];
    std::memset(version, 'x', sizeof version);
    EXPECT_EQ(vex_GetBackplaneID(version), 7);
    EXPECT_STREQ(version, "1.0.3.0");
}

TEST_F(Backplane, SlotAddressing) {
    EXPECT_EQ(_vex_get_slot_offset(0), 0x1000u);
    EXPECT_EQ(_vex_get_slot_offset(7), 0x8000u);
    EXPECT_EQ(_vex_get_slot_offset(0x1FF), 0x100000u) << "only the low byte counts";
    EXPECT_EQ(_vex_slot_map(2, 0x10), 0x3010u);
    EXPECT_EQ(_vex_slot_inp(0x100, 0), _vex_slot_inp(0, 0));

    // Slot 0 holds module 0x2F; slot 6 is empty; slots 8+ have no presence bit.
    EXPECT_TRUE(_vex_slot_exists(0));
    EXPECT_FALSE(_vex_slot_exists(6));
    EXPECT_TRUE(_vex_slot_exists(9));
    EXPECT_TRUE(_vex_slot_exists(255));
    EXPECT_FALSE(_vex_slot_exists(0x106)) << "only the low byte counts";
    EXPECT_EQ(_vex_slot_inp(0, 0), 0x2Fu);
    EXPECT_EQ(_vex_inp(_vex_slot_map(3, 0)), 0xFFu) << "serial modules identify as 255";

    vex_ClearLastError();
    EXPECT_TRUE(vex::frame::is_valid_slot(7));
    EXPECT_FALSE(vex::frame::is_valid_slot(8));
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT);
}

TEST_F(Backplane, SlotSelectIsActiveLowAndOnlyLowByteCounts) {
    vex_ChangeSlot(2);
    EXPECT_EQ(sim().state().slot_select, 0xFB);
    vex_ChangeSlot(0x105);
    EXPECT_EQ(sim().state().slot_select, 0xDF);
    vex_ChangeSlot(8);
    EXPECT_EQ(sim().state().slot_select, 0xFF) << "slot 8 and above select none";
    vex_ChangeSlot(40);
    EXPECT_EQ(sim().state().slot_select, 0xFF);
}

TEST_F(Backplane, ResetClearsInterruptsInOrder) {
    _vex_outp(0x9010, 0x0F);
    _vex_outp(0x9044, 0x0F);
    sim().with_lock([](vex::sim::State& s) { return s.image[0x9012] = s.irq.latch[0] = 0x33; });
    _vex_outp(0x9012, 0x01);  // writing ones clears those latched bits only
    EXPECT_EQ(_vex_inp(0x9012), 0x32u);

    const uint32_t before = sim().state().trace_next;
    vex_ResetBackplane();
    EXPECT_EQ(_vex_inp(0x9010), 0u);
    EXPECT_EQ(_vex_inp(0x9044), 0u);
    EXPECT_EQ(_vex_inp(0x9012), 0u);
    const uint32_t expected[] = {0x9010, 0x9014, 0x9018, 0x9044, 0x9012, 0x9016, 0x901A, 0x9006, 0x9002};
    ASSERT_EQ(sim().state().trace_next - before, std::size(expected));
    for (uint32_t i = 0; i < std::size(expected); ++i)
        EXPECT_EQ(sim().state().trace[(before + i) % vex::sim::kTraceEntries].offset, expected[i]) << i;
    EXPECT_EQ(sim().state().irq.in_service, 0);
}

TEST_F(Backplane, WordAccessorsAndMapPointer) {
    EXPECT_EQ(_vex_inpw(0) >> 13, 2u);
    volatile uint8_t* base = _vex_map(0);
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(*_vex_map(0x9000), 3);
    EXPECT_EQ(_vex_get_base_address(), reinterpret_cast<volatile uint16_t*>(base));
    EXPECT_EQ(base[_vex_slot_map(0, 0)], 0x2F) << "module ID through the pointer";
    _vex_slot_outp(0, 0, 0x5A);  // outputs 0..7 of the read-back module
    EXPECT_EQ(base[_vex_slot_map(0, 0x10)], 0x5A) << "read-back register after a write";
    // A word write reaches the byte registers low byte first.
    _vex_slot_outpw(5, 0, 0xAB12);
    EXPECT_EQ(sim().state().slots[5].parallel.do_latch & 0xFF, 0x12u);
}

TEST_F(Backplane, MappingIsKeptAcrossDeinit) {
    EXPECT_EQ(pub_Orvale_Init(), 0) << "already mapped at load";
    pub_Orvale_Deinit();
    EXPECT_EQ(pub_Orvale_Init(), 0) << "the stored base stays after unmapping";
    EXPECT_EQ(pub_VEX_Init(), 0);
    pub_VEX_Deinit();
}

TEST_F(Backplane, UnsupportedCalls) {
    vex_ClearLastError();
    EXPECT_EQ(_vex_slot_addr(1), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    vex_ClearLastError();
    EXPECT_EQ(_vex_get_CPUtype(), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    EXPECT_EQ(vex_GetBackplaneID(nullptr), 0);
}

TEST_F(Backplane, OsTimerCountsAtControllerRate) {
    const uint32_t a = _vex_oscr0();
    sim().advance(1000000000ull);  // one second
    const uint32_t b = _vex_oscr0();
    EXPECT_GE(b - a, 3250000u);
    EXPECT_LT(b - a, 3250000u + 3250000u * 5) << "more than five extra seconds passed?";
}

TEST_F(Backplane, SwitchSetByVexsimIsSeenHere) {
    const auto r = vex::test::run_vexsim({"set", "dip", "0xA0"});
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(vex_GetDIPSwitch(), 0xA0);
    EXPECT_EQ(_vex_inp(0x9002), 0x5Fu) << "the register reads active low";
    EXPECT_EQ(_vex_map(0)[0x9002], 0x5F) << "through the map pointer too";

    ASSERT_EQ(vex::test::run_vexsim({"unplug", "0"}).status, 0);
    EXPECT_FALSE(_vex_slot_exists(0));
    EXPECT_EQ(_vex_map(0)[_vex_slot_map(0, 0)], 0xFF) << "an empty slot floats";
    ASSERT_EQ(vex::test::run_vexsim({"plug", "6", "--id", "0x21", "--di", "8", "--do", "8"}).status, 0);
    EXPECT_TRUE(_vex_slot_exists(6));
    EXPECT_EQ(_vex_slot_inp(6, 0), 0x21u);
    EXPECT_NE(vex::test::run_vexsim({"plug", "9", "--id", "1"}).status, 0);
    EXPECT_NE(vex::test::run_vexsim({"set", "dip", "300"}).status, 0);
}

TEST_F(Backplane, DetachedLibraryReadsAFloatingBus) {
    vex::frame::library_detach();
    EXPECT_EQ(_vex_inp(0x9000), 0xFFu);
    _vex_outp(0x9004, 0);  // goes nowhere, must not crash
    EXPECT_EQ(vex_GetSlotCount(), 7u + 1u) << "count code reads all ones";
    vex::frame::library_attach();
    EXPECT_EQ(_vex_inp(0x9000), 3u);
}

// Controllers described differently.
class SmallController : public SimFixture {
    std::string description() override {
        return "[controller]\nhardware_id = \"hr4-small\"\nslots = 5\ncpu_id = 5\nbackplane_version = 255\n"
               "dip_switch = 0x01\n";
    }
};

TEST_F(SmallController, CountVersionAndSwitch) {
    EXPECT_EQ(vex_GetSlotCount(), 5u);
    EXPECT_EQ(vex_GetCPUID(), 5u);
    EXPECT_EQ(_vex_inp(0x9002), 0xFEu);
    EXPECT_EQ(vex_GetDIPSwitch(), 1);
    struct {
        char text[10];
        char canary[6];
    } out;
    std::memset(&out, 0x7E, sizeof out);
    EXPECT_EQ(vex_GetBackplaneID(out.text), 9);
    EXPECT_STREQ(out.text, "1.0.255.0");
    for (char c : out.canary) EXPECT_EQ(c, 0x7E);
}

class NoSlots : public SimFixture {
    std::string description() override { return "[controller]\nslots = 0\n"; }
};

TEST_F(NoSlots, CountZeroRejectsEverySlot) {
    EXPECT_EQ(vex_GetSlotCount(), 0u);
    EXPECT_FALSE(vex::frame::is_valid_slot(0));
}

class SingleSlotController : public SimFixture {
    std::string description() override { return "[controller]\nhardware_id = \"lt4x-100\"\nslots = 3\n"; }
};

TEST_F(SingleSlotController, BackplaneCallsRefuse) {
    EXPECT_EQ(vex::frame::controller_model(), vex::frame::kModelSingleSlot);
    EXPECT_EQ(vex_GetSlotCount(), 1u) << "one slot whatever the register holds";
    vex_ClearLastError();
    EXPECT_EQ(vex_GetDIPSwitch(), -1);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    char text[10] = "junk";
    vex_ClearLastError();
    EXPECT_EQ(vex_GetBackplaneID(text), 0);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
    const uint32_t writes = sim().state().trace_next;
    vex_ChangeSlot(1);
    EXPECT_EQ(sim().state().trace_next, writes) << "no slot select on this model";
}

TEST(ModelCode, FromHardwareIdPrefix) {
    using namespace vex::frame;
    EXPECT_EQ(model_from_hardware_id(L"lt4x"), kModelSingleSlot);
    EXPECT_EQ(model_from_hardware_id(L"LT44-2"), kModelSingleSlotLargeEeprom);
    EXPECT_EQ(model_from_hardware_id(L"lt44"), kModelSingleSlotLargeEeprom);
    EXPECT_EQ(model_from_hardware_id(L"Dm3000"), kModelDisplay);
    EXPECT_EQ(model_from_hardware_id(L"HR4"), kModelMultiSlot);
    EXPECT_EQ(model_from_hardware_id(L"HR"), kModelUnknown);
    EXPECT_EQ(model_from_hardware_id(L""), kModelUnknown);
    EXPECT_EQ(model_from_hardware_id(nullptr), kModelUnknown);
}

TEST_F(Backplane, ModelFollowsTheRegistryAtLoad) {
    const wchar_t* path = L"HKEY_LOCAL_MACHINE\\HARDWARE\\MODULETYPE\\HWID";
    const std::wstring id = L"DM3-7";
    ASSERT_TRUE(vex_RegSetString(path, id.c_str(), static_cast<uint32_t>(id.size() * sizeof(wchar_t))));
    EXPECT_EQ(vex::frame::controller_model(), vex::frame::kModelMultiSlot) << "fixed until the next load";
    reattach();
    EXPECT_EQ(vex::frame::controller_model(), vex::frame::kModelDisplay);
    ASSERT_TRUE(vex_RegDeleteValue(path));
    reattach();
    EXPECT_EQ(vex::frame::controller_model(), vex::frame::kModelUnknown);
}

}  // namespace
