// Hot-plug notification: registrations in the registry and the backplane's
// enable and pending bits.
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

using HotPlug = SimFixture;

constexpr const wchar_t* kKey = L"HKEY_LOCAL_MACHINE\\VORLAN\\HotPlug\\HWND1A2B\\";

std::wstring value(const wchar_t* name) { return std::wstring(kKey) + name; }

TEST_F(HotPlug, RegistrationIsAVolatileKeyPerWindow) {
    vex_RegistryHotPlug(0x1A2B, 0x8001);
    EXPECT_EQ(vex_RegGetDWORD(value(L"HWND").c_str()), 0x1A2Bu);
    EXPECT_EQ(vex_RegGetDWORD(value(L"MSGID").c_str()), 0x8001u);
    vex_RegistryHotPlug(0x1A2B, 0x8002);
    EXPECT_EQ(vex_RegCountKey(L"HKEY_LOCAL_MACHINE\\VORLAN\\HotPlug"), 1u) << "one key per window";
    EXPECT_EQ(vex_RegGetDWORD(value(L"MSGID").c_str()), 0x8002u) << "the latest message number";
    vex_RegistryHotPlug(0x5, 0x10);
    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\VORLAN\\HotPlug\\HWND5\\HWND"), 0x5u) << "no leading zeros";
    vex_UnregistryHotPlug(0x1A2B);
    EXPECT_FALSE(vex_RegKeyExist(value(L"HWND").c_str()));
    vex_UnregistryHotPlug(0x7777);  // never registered: nothing happens

    // The registrations vanish with a restart of the controller; the key
    // that holds them stays.
    std::string why;
    ASSERT_TRUE(sim().power_cycle(&why)) << why;
    reattach();
    EXPECT_EQ(vex_RegCountKey(L"HKEY_LOCAL_MACHINE\\VORLAN\\HotPlug"), 0u);
    EXPECT_EQ(vex_RegGetKeyInfo(L"HKEY_LOCAL_MACHINE\\VORLAN\\HotPlug"), VEX_REG_INFO_KEY);
}

TEST_F(HotPlug, EnableAndPendingBits) {
    _vex_outp(0x900A, 0x04);  // timer 0's output bit shares the register
    vex_EnableHotPlug(1);
    EXPECT_EQ(_vex_inp(0x900A), 0x0Cu);
    EXPECT_TRUE(vex_GetHotPlugStatus());
    EXPECT_FALSE(vex_GetHotPlugIRQState());

    sim::SlotDescription module;
    module.kind = sim::ModuleKind::Parallel;
    module.id = 0x21;
    ASSERT_TRUE(sim().plug(6, module));
    EXPECT_TRUE(vex_GetHotPlugIRQState());
    vex_ClearHotPlug();
    EXPECT_FALSE(vex_GetHotPlugIRQState());
    EXPECT_TRUE(vex_GetHotPlugStatus()) << "clearing keeps it enabled";

    vex_EnableHotPlug(0x100);  // only the low byte counts: off
    EXPECT_EQ(_vex_inp(0x900A), 0x04u);
    ASSERT_TRUE(sim().unplug(6));
    EXPECT_FALSE(vex_GetHotPlugIRQState()) << "nothing pends while disabled";
}

TEST_F(HotPlug, VexctlShowsAndClears) {
    vex_RegistryHotPlug(0xBEEF, 0x401);
    vex_EnableHotPlug(1);
    ASSERT_TRUE(sim().unplug(1));
    ProcessResult r = run_vexctl({"hotplug"});
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_NE(r.output.find("enabled"), std::string::npos) << r.output;
    EXPECT_NE(r.output.find("pending: yes"), std::string::npos) << r.output;
    EXPECT_NE(r.output.find("HWNDBEEF       window 0xBEEF, message 0x401"), std::string::npos) << r.output;
    r = run_vexctl({"hotplug", "clear"});
    EXPECT_NE(r.output.find("pending: no"), std::string::npos) << r.output;
    EXPECT_FALSE(vex_GetHotPlugIRQState());
}

}  // namespace
}  // namespace vex::test
