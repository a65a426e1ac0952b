// Registry helpers and the store behind them. Every test runs against the
// private registry of its own virtual controller instance.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "platform/registry_store.h"
#include "platform/target.h"
#include "services/link_monitor.h"
#include "services/registry.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace {

namespace reg = vex::plat::registry;
using vex::services::registry::cut_path;

constexpr uint32_t kSentinel = 0x5A5A5A5A;

class RegistryTest : public vex::test::SimFixture {};

TEST(RegistryPath, RootIsFirstNameFoundInFixedOrder) {
    EXPECT_EQ(cut_path(L"HKEY_USERS\\HKEY_CURRENT_USER\\v").root, reg::Root::CurrentUser);
    EXPECT_EQ(cut_path(L"HKEY_USERS\\x\\HKEY_LOCAL_MACHINE").root, reg::Root::LocalMachine);
    EXPECT_EQ(cut_path(L"HKEY_CLASSES_ROOT\\HKEY_USERS").root, reg::Root::ClassesRoot);
    const auto mid = cut_path(L"my HKEY_USERS copy\\K\\v");
    EXPECT_TRUE(mid.has_root);
    EXPECT_EQ(mid.root, reg::Root::Users);
    EXPECT_FALSE(cut_path(L"hkey_local_machine\\K\\v").has_root);  // root names are exact
    EXPECT_FALSE(cut_path(L"HKEY_LOCAL\\K\\v").has_root);
}

TEST(RegistryPath, PartsAroundFirstAndLastBackslash) {
    auto p = cut_path(L"HKEY_LOCAL_MACHINE\\A\\B\\name");
    EXPECT_EQ(p.key_path, L"A\\B\\name");
    EXPECT_EQ(p.value_key, L"A\\B");
    EXPECT_EQ(p.value_name, L"name");

    p = cut_path(L"HKEY_LOCAL_MACHINE\\name");  // one backslash: value in the root
    EXPECT_EQ(p.key_path, L"name");
    EXPECT_EQ(p.value_key, L"");
    EXPECT_EQ(p.value_name, L"name");

    p = cut_path(L"HKEY_LOCAL_MACHINE");  // none: every part empty
    EXPECT_EQ(p.key_path, L"");
    EXPECT_EQ(p.value_key, L"");
    EXPECT_EQ(p.value_name, L"");

    p = cut_path(L"HKEY_LOCAL_MACHINE\\A\\");
    EXPECT_EQ(p.value_key, L"A");
    EXPECT_EQ(p.value_name, L"");
}

TEST(RegistryPath, LongPartsAreCutTo255) {
    const std::wstring a(300, L'a'), b(400, L'b');
    const auto p = cut_path((L"HKEY_LOCAL_MACHINE\\" + a + L"\\" + b).c_str());
    EXPECT_EQ(p.key_path, (a + L"\\" + b).substr(0, 255));
    EXPECT_EQ(p.value_key, a.substr(0, 255));
    EXPECT_EQ(p.value_name, b.substr(0, 255));
}

TEST_F(RegistryTest, KeyExistTestsTheKeyAboveTheLastComponent) {
    ASSERT_TRUE(vex_RegCreateKey(L"HKEY_LOCAL_MACHINE\\A"));
    EXPECT_EQ(vex_GetLastError(), 0u);
    EXPECT_TRUE(vex_RegKeyExist(L"HKEY_LOCAL_MACHINE\\A\\B"));  // B itself is not needed
    EXPECT_FALSE(vex_RegKeyExist(L"HKEY_LOCAL_MACHINE\\A\\B\\C"));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_FILE_NOT_FOUND);
    EXPECT_TRUE(vex_RegKeyExist(L"HKEY_LOCAL_MACHINE\\whatever"));  // the root itself
    EXPECT_TRUE(vex_RegKeyExist(L"HKEY_LOCAL_MACHINE\\a\\x"));      // names ignore ASCII case
}

// How a path picks its root is in RegistryPath above.
TEST_F(RegistryTest, RootsAreSeparate) {
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_CURRENT_USER\\K\\v", 1));
    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\K\\v"), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_REG_FILE_NOT_FOUND);
}

TEST_F(RegistryTest, ResultsAreRecordedAndNullArgumentsRefused) {
    vex_SetLastError(VEX_ERR_INVALID_SLOT);
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\E\\n", 5));
    EXPECT_EQ(vex_GetLastError(), 0u);  // a success clears the last error

    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\E\\missing"), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_REG_FILE_NOT_FOUND);
    EXPECT_FALSE(vex_RegSetDWORD(L"NOROOT\\E\\n", 1));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_INVALID_HANDLE);
    EXPECT_EQ(vex_RegGetKeyInfo(L"NOROOT\\E"), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_REG_INVALID_HANDLE);

    wchar_t buf[8] = {L'x', 0};
    EXPECT_FALSE(vex_RegKeyExist(nullptr));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_INVALID_PARAMETER);
    EXPECT_FALSE(vex_RegCreateKey(nullptr));
    EXPECT_FALSE(vex_RegDeleteKey(nullptr));
    EXPECT_FALSE(vex_RegDeleteValue(nullptr));
    EXPECT_FALSE(vex_RegSetString(nullptr, L"x", 4));
    EXPECT_FALSE(vex_RegSetString(L"HKEY_LOCAL_MACHINE\\E\\s", nullptr, 4));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_INVALID_PARAMETER);
    EXPECT_FALSE(vex_RegSetDWORD(nullptr, 1));
    EXPECT_FALSE(vex_RegGetString(nullptr, buf, sizeof buf));
    EXPECT_EQ(buf[0], L'\0');
    EXPECT_FALSE(vex_RegGetString(L"HKEY_LOCAL_MACHINE\\E\\n", nullptr, 64));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_INVALID_PARAMETER);
    EXPECT_EQ(vex_RegGetDWORD(nullptr), 0u);
    EXPECT_EQ(vex_RegCountKey(nullptr), 0u);
    EXPECT_EQ(vex_RegCountValue(nullptr), 0u);
    EXPECT_FALSE(vex_RegGetKeyByIndex(L"HKEY_LOCAL_MACHINE", 0, nullptr));
    EXPECT_FALSE(vex_RegGetValueByIndex(nullptr, 0, buf));
    EXPECT_EQ(vex_RegGetKeyInfo(nullptr), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_REG_INVALID_PARAMETER);
    EXPECT_FALSE(vex_RegSave(nullptr));

    // Saving reports only through its result.
    vex_SetLastError(0x1234);
    EXPECT_TRUE(vex_RegSave(L"HKEY_LOCAL_MACHINE"));
    EXPECT_FALSE(vex_RegSave(L"nowhere"));
    EXPECT_EQ(vex_GetLastError(), 0x1234u);
}

TEST_F(RegistryTest, SetStringStoresLengthPlusOneBytes) {
    const wchar_t* path = L"HKEY_LOCAL_MACHINE\\S\\v";
    wchar_t out[64];
    const std::wstring text = L"Grüße \U0001F600 ok";
    ASSERT_TRUE(vex_RegSetString(path, text.c_str(), static_cast<uint32_t>(text.size() * sizeof(wchar_t))));
    ASSERT_TRUE(vex_RegGetString(path, out, sizeof out));
    EXPECT_EQ(std::wstring(out), text);

    // A length in characters instead of bytes keeps (length + 1) / 4 of them.
    ASSERT_TRUE(vex_RegSetString(path, L"abcdefgh", 8));
    ASSERT_TRUE(vex_RegGetString(path, out, sizeof out));
    EXPECT_EQ(std::wstring(out), L"ab");
    // A length past the terminator stops at the terminator.
    ASSERT_TRUE(vex_RegSetString(path, L"abc", 0xFFFFFFFFu));
    ASSERT_TRUE(vex_RegGetString(path, out, sizeof out));
    EXPECT_EQ(std::wstring(out), L"abc");
    ASSERT_TRUE(vex_RegSetString(path, L"abc", 0));
    ASSERT_TRUE(vex_RegGetString(path, out, sizeof out));
    EXPECT_EQ(std::wstring(out), L"");
}

TEST_F(RegistryTest, GetStringHonoursTheByteSize) {
    const wchar_t* path = L"HKEY_LOCAL_MACHINE\\S\\v";
    ASSERT_TRUE(vex_RegSetString(path, L"abc", 3 * sizeof(wchar_t)));
    wchar_t out[8];
    std::fill(std::begin(out), std::end(out), static_cast<wchar_t>(kSentinel));
    EXPECT_TRUE(vex_RegGetString(path, out, 4 * sizeof(wchar_t)));  // exact fit
    EXPECT_EQ(std::wstring(out), L"abc");

    std::fill(std::begin(out), std::end(out), static_cast<wchar_t>(kSentinel));
    EXPECT_FALSE(vex_RegGetString(path, out, 4 * sizeof(wchar_t) - 1));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_MORE_DATA);
    EXPECT_EQ(out[0], L'\0');
    EXPECT_EQ(out[1], static_cast<wchar_t>(kSentinel));

    std::fill(std::begin(out), std::end(out), static_cast<wchar_t>(kSentinel));
    EXPECT_FALSE(vex_RegGetString(path, out, sizeof(wchar_t) - 1));  // no room even for a NUL
    EXPECT_EQ(out[0], static_cast<wchar_t>(kSentinel));

    // The internal buffer holds 2048 bytes whatever the caller offers.
    std::vector<wchar_t> big(4096);
    const std::wstring fits(511, L'f'), too_long(512, L'x');
    ASSERT_TRUE(vex_RegSetString(path, fits.c_str(), static_cast<uint32_t>(fits.size() * sizeof(wchar_t))));
    EXPECT_TRUE(vex_RegGetString(path, big.data(), static_cast<uint32_t>(big.size() * sizeof(wchar_t))));
    EXPECT_EQ(std::wstring(big.data()), fits);
    ASSERT_TRUE(vex_RegSetString(path, too_long.c_str(), static_cast<uint32_t>(too_long.size() * sizeof(wchar_t))));
    EXPECT_FALSE(vex_RegGetString(path, big.data(), static_cast<uint32_t>(big.size() * sizeof(wchar_t))));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_MORE_DATA);
    EXPECT_EQ(big[0], L'\0');
}

TEST_F(RegistryTest, ValueTypesAndKeyInfo) {
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\T\\num", 0xFFFFFFFFu));
    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\T\\num"), 0xFFFFFFFFu);
    ASSERT_TRUE(vex_RegSetString(L"HKEY_LOCAL_MACHINE\\T\\str", L"12", 8));

    wchar_t out[16] = {L'?', 0};
    EXPECT_FALSE(vex_RegGetString(L"HKEY_LOCAL_MACHINE\\T\\num", out, sizeof out));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_UNSUPPORTED_TYPE);
    EXPECT_EQ(out[0], L'\0');
    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\T\\str"), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_REG_UNSUPPORTED_TYPE);

    // Other types stay as they were stored, and report as "other".
    auto store = reg::current_store();
    reg::Value bin;
    bin.type = reg::kTypeBinary;
    bin.bytes = {1, 2, 3};
    ASSERT_EQ(store->set_value(reg::Root::LocalMachine, L"T", L"bin", bin), 0u);
    ASSERT_EQ(store->set_value(reg::Root::LocalMachine, L"T", L"exp",
                               reg::Value::string(L"%X%", reg::kTypeExpandSz)), 0u);
    reg::Value back;
    ASSERT_EQ(store->get_value(reg::Root::LocalMachine, L"T", L"bin", back), 0u);
    EXPECT_EQ(back.type, reg::kTypeBinary);
    EXPECT_EQ(back.bytes, bin.bytes);

    EXPECT_EQ(vex_RegGetKeyInfo(L"HKEY_LOCAL_MACHINE\\T"), VEX_REG_INFO_KEY);
    EXPECT_EQ(vex_RegGetKeyInfo(L"HKEY_LOCAL_MACHINE"), VEX_REG_INFO_KEY);
    EXPECT_EQ(vex_RegGetKeyInfo(L"HKEY_LOCAL_MACHINE\\T\\str"), VEX_REG_INFO_SZ);
    EXPECT_EQ(vex_RegGetKeyInfo(L"HKEY_LOCAL_MACHINE\\T\\exp"), VEX_REG_INFO_SZ);
    EXPECT_EQ(vex_RegGetKeyInfo(L"HKEY_LOCAL_MACHINE\\T\\num"), VEX_REG_INFO_DWORD);
    EXPECT_EQ(vex_RegGetKeyInfo(L"HKEY_LOCAL_MACHINE\\T\\bin"), VEX_REG_INFO_NONE);
    EXPECT_EQ(vex_GetLastError(), 0u);
    EXPECT_EQ(vex_RegGetKeyInfo(L"HKEY_LOCAL_MACHINE\\T\\gone"), VEX_REG_INFO_NONE);
    EXPECT_EQ(vex_GetLastError(), VEX_REG_FILE_NOT_FOUND);
    EXPECT_TRUE(vex_RegGetString(L"HKEY_LOCAL_MACHINE\\T\\exp", out, sizeof out));
    EXPECT_EQ(std::wstring(out), L"%X%");  // not expanded

    // Writing another type replaces the value.
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\T\\str", 7));
    EXPECT_EQ(vex_RegGetKeyInfo(L"HKEY_LOCAL_MACHINE\\T\\str"), VEX_REG_INFO_DWORD);
}

TEST_F(RegistryTest, EnumerationInNameOrderIgnoringCase) {
    for (const wchar_t* k : {L"HKEY_LOCAL_MACHINE\\En\\beta", L"HKEY_LOCAL_MACHINE\\En\\Alpha",
                             L"HKEY_LOCAL_MACHINE\\En\\gamma\\deep"})
        ASSERT_TRUE(vex_RegCreateKey(k));
    ASSERT_TRUE(vex_RegCreateKey(L"HKEY_LOCAL_MACHINE\\EN\\ALPHA"));  // same key
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\En\\Zed", 1));
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\En\\apple", 2));
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\En\\APPLE", 3));  // overwrites, keeps spelling

    EXPECT_EQ(vex_RegCountKey(L"HKEY_LOCAL_MACHINE\\En"), 3u);
    EXPECT_EQ(vex_RegCountValue(L"HKEY_LOCAL_MACHINE\\en"), 2u);
    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\En\\apple"), 3u);

    wchar_t name[VEX_REG_NAME_SIZE];
    std::vector<std::wstring> keys, values;
    for (uint32_t i = 0; vex_RegGetKeyByIndex(L"HKEY_LOCAL_MACHINE\\En", i, name); ++i) keys.push_back(name);
    EXPECT_EQ(vex_GetLastError(), VEX_REG_NO_MORE_ITEMS);
    EXPECT_EQ(name[0], L'\0');
    for (uint32_t i = 0; vex_RegGetValueByIndex(L"HKEY_LOCAL_MACHINE\\En", i, name); ++i) values.push_back(name);
    EXPECT_EQ(keys, (std::vector<std::wstring>{L"Alpha", L"beta", L"gamma"}));
    EXPECT_EQ(values, (std::vector<std::wstring>{L"apple", L"Zed"}));
    EXPECT_FALSE(vex_RegGetKeyByIndex(L"HKEY_LOCAL_MACHINE\\En", 0xFFFFFFFFu, name));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_NO_MORE_ITEMS);

    name[0] = L'x';
    EXPECT_FALSE(vex_RegGetKeyByIndex(L"HKEY_LOCAL_MACHINE\\Nope", 0, name));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_FILE_NOT_FOUND);
    EXPECT_EQ(name[0], L'\0');
    EXPECT_EQ(vex_RegCountKey(L"HKEY_LOCAL_MACHINE\\Nope"), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_REG_FILE_NOT_FOUND);
}

TEST_F(RegistryTest, OverlongNamesAreCutNotOverrun) {
    const std::wstring longname(300, L'n');
    ASSERT_TRUE(vex_RegSetDWORD((L"HKEY_LOCAL_MACHINE\\L\\" + longname).c_str(), 9));
    ASSERT_TRUE(vex_RegCreateKey((L"HKEY_LOCAL_MACHINE\\L\\" + longname).c_str()));

    wchar_t name[VEX_REG_NAME_SIZE + 4];
    std::fill(std::begin(name), std::end(name), static_cast<wchar_t>(kSentinel));
    ASSERT_TRUE(vex_RegGetValueByIndex(L"HKEY_LOCAL_MACHINE\\L", 0, name));
    EXPECT_EQ(std::wstring(name), longname.substr(0, 255));
    EXPECT_EQ(name[VEX_REG_NAME_SIZE], static_cast<wchar_t>(kSentinel));
    // The key path "L\nnn..." was cut at 255 characters as a whole.
    ASSERT_TRUE(vex_RegGetKeyByIndex(L"HKEY_LOCAL_MACHINE\\L", 0, name));
    EXPECT_EQ(std::wstring(name), longname.substr(0, 253));
    EXPECT_EQ(vex_RegGetDWORD((L"HKEY_LOCAL_MACHINE\\L\\" + longname.substr(0, 255)).c_str()), 9u);
}

TEST_F(RegistryTest, DeletingKeysAndValues) {
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\D\\A\\B\\v", 1));
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\D\\A\\w", 2));
    ASSERT_TRUE(vex_RegDeleteKey(L"HKEY_LOCAL_MACHINE\\d\\a"));  // with everything below
    EXPECT_FALSE(vex_RegKeyExist(L"HKEY_LOCAL_MACHINE\\D\\A\\B\\v"));
    ASSERT_TRUE(vex_RegCreateKey(L"HKEY_LOCAL_MACHINE\\D\\A"));
    EXPECT_EQ(vex_RegCountKey(L"HKEY_LOCAL_MACHINE\\D\\A"), 0u);
    EXPECT_EQ(vex_RegCountValue(L"HKEY_LOCAL_MACHINE\\D\\A"), 0u);

    EXPECT_FALSE(vex_RegDeleteKey(L"HKEY_LOCAL_MACHINE\\D\\nothing"));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_FILE_NOT_FOUND);
    EXPECT_FALSE(vex_RegDeleteKey(L"HKEY_LOCAL_MACHINE"));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_ACCESS_DENIED);

    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\D\\v", 1));
    EXPECT_TRUE(vex_RegDeleteValue(L"HKEY_LOCAL_MACHINE\\D\\V"));
    EXPECT_FALSE(vex_RegDeleteValue(L"HKEY_LOCAL_MACHINE\\D\\v"));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_FILE_NOT_FOUND);
    EXPECT_FALSE(vex_RegDeleteValue(L"HKEY_LOCAL_MACHINE\\Nope\\v"));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_FILE_NOT_FOUND);
}

TEST_F(RegistryTest, PathsWithoutKeyOrWithEmptyNames) {
    // No backslash: the root's own default value.
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_CLASSES_ROOT", 7));
    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_CLASSES_ROOT"), 7u);
    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_CLASSES_ROOT\\"), 7u);
    wchar_t name[VEX_REG_NAME_SIZE] = {L'x'};
    ASSERT_TRUE(vex_RegGetValueByIndex(L"HKEY_CLASSES_ROOT", 0, name));
    EXPECT_EQ(name[0], L'\0');

    ASSERT_TRUE(vex_RegCreateKey(L"HKEY_LOCAL_MACHINE\\Trail\\"));  // one trailing backslash is fine
    EXPECT_EQ(vex_RegGetKeyInfo(L"HKEY_LOCAL_MACHINE\\Trail"), VEX_REG_INFO_KEY);
    EXPECT_FALSE(vex_RegCreateKey(L"HKEY_LOCAL_MACHINE\\A\\\\B"));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_INVALID_PARAMETER);
    EXPECT_FALSE(vex_RegCreateKey(L"HKEY_LOCAL_MACHINE\\\\B"));
    EXPECT_EQ(vex_GetLastError(), VEX_REG_INVALID_PARAMETER);
    EXPECT_FALSE(vex_RegKeyExist(L"HKEY_LOCAL_MACHINE\\A\\x"));  // nothing half-made
}

TEST_F(RegistryTest, BackwardCompatibleReadsTheSetting) {
    EXPECT_FALSE(vex_BackwardCompatible());  // preset 0
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\VORLAN\\BackwardCompatible", 1));
    EXPECT_TRUE(vex_BackwardCompatible());
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\VORLAN\\BackwardCompatible", 2));
    EXPECT_FALSE(vex_BackwardCompatible());
    ASSERT_TRUE(vex_RegDeleteValue(L"HKEY_LOCAL_MACHINE\\VORLAN\\BackwardCompatible"));
    EXPECT_FALSE(vex_BackwardCompatible());
    EXPECT_EQ(vex_GetLastError(), VEX_REG_FILE_NOT_FOUND);

    // The single-slot controller has no such setting.
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\VORLAN\\BackwardCompatible", 1));
    ASSERT_TRUE(vex_RegSetString(L"HKEY_LOCAL_MACHINE\\HARDWARE\\MODULETYPE\\HWID", L"LT4100", 6 * sizeof(wchar_t)));
    reattach();
    EXPECT_FALSE(vex_BackwardCompatible());
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_NOT_SUPPORTED);
}

TEST_F(RegistryTest, VolatileKeysVanishWhenTheGenerationChanges) {
    const std::string db = vex::plat::registry_path();
    {
        reg::Store s(db, "gen-1");
        ASSERT_EQ(s.create_key(reg::Root::LocalMachine, L"Vol\\Sub", true), 0u);
        ASSERT_EQ(s.set_value(reg::Root::LocalMachine, L"Vol\\Sub", L"v", reg::Value::dword(1)), 0u);
        ASSERT_EQ(s.create_key(reg::Root::LocalMachine, L"Vol\\Sub\\Plain", false), 0u);
        ASSERT_EQ(s.set_value(reg::Root::LocalMachine, L"Keep", L"v", reg::Value::dword(2)), 0u);
    }
    {
        reg::Store same(db, "gen-1");
        EXPECT_EQ(same.key_exists(reg::Root::LocalMachine, L"Vol\\Sub\\Plain"), 0u);
    }
    reg::Store later(db, "gen-2");
    EXPECT_EQ(later.key_exists(reg::Root::LocalMachine, L"Vol"), VEX_REG_FILE_NOT_FOUND);
    EXPECT_EQ(later.key_exists(reg::Root::LocalMachine, L"Keep"), 0u);
    // A store that lives through the change notices it too.
    ASSERT_EQ(later.create_key(reg::Root::LocalMachine, L"Vol2", true), 0u);
    ASSERT_EQ(later.set_generation("gen-3"), 0u);
    EXPECT_EQ(later.key_exists(reg::Root::LocalMachine, L"Vol2"), VEX_REG_FILE_NOT_FOUND);

    // Through the exports: powering the virtual controller up again is a
    // restart. Missing parents of a volatile key are made volatile too.
    ASSERT_EQ(reg::current_store()->create_key(reg::Root::LocalMachine, L"Run\\Now", true), 0u);
    EXPECT_TRUE(vex_RegKeyExist(L"HKEY_LOCAL_MACHINE\\Run\\Now\\x"));
    std::string error;
    ASSERT_TRUE(sim().power_cycle(&error)) << error;
    EXPECT_FALSE(vex_RegKeyExist(L"HKEY_LOCAL_MACHINE\\Run\\x"));
    EXPECT_TRUE(vex_RegKeyExist(L"HKEY_LOCAL_MACHINE\\Keep\\v"));
}

TEST_F(RegistryTest, SaveMakesTheDatabaseFileComplete) {
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\Saved\\v", 77));
    ASSERT_TRUE(vex_RegSave(L"HKEY_LOCAL_MACHINE"));
    // Everything is in the database file itself, not only in its WAL.
    const std::string copy = base_dir() + "/copy.db";
    std::filesystem::copy_file(vex::plat::registry_path(), copy);
    reg::Store s(copy, "");
    reg::Value v;
    ASSERT_EQ(s.get_value(reg::Root::LocalMachine, L"Saved", L"v", v), 0u);
    EXPECT_EQ(v.number, 77u);
}

TEST_F(RegistryTest, FollowsTheTargetWhenItChanges) {
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\Where\\v", 1));
    ::setenv("VEXSDK_REGISTRY", (base_dir() + "/other/registry.db").c_str(), 1);
    vex::plat::reload_target();
    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\Where\\v"), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_REG_FILE_NOT_FOUND);
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\Where\\v", 2));
    ::unsetenv("VEXSDK_REGISTRY");
    vex::plat::reload_target();
    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\Where\\v"), 1u);
}

// Children forked after the parent has used the store read what it wrote,
// and every write of theirs reaches the parent, under contention.
TEST_F(RegistryTest, ForkedProcessesAndThreadsShareTheStoreAndLoseNoWrites) {
    constexpr int kProcesses = 4, kThreads = 2, kWrites = 400;
    ASSERT_TRUE(vex_RegSetDWORD(L"HKEY_LOCAL_MACHINE\\Fork\\parent", 10));
    const auto path = [](int p, int t, int i) {
        return L"HKEY_LOCAL_MACHINE\\Busy\\p" + std::to_wstring(p) + L"t" + std::to_wstring(t) + L"n" +
               std::to_wstring(i);
    };
    // Forked children start threads: ThreadSanitizer allows that only when
    // the parent had none, so the library's link monitor pauses meanwhile.
    vex::services::stop_link_monitor();
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            if (vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\Fork\\parent") != 10) ::_exit(2);
            std::atomic<int> failures{0};
            auto writer = [&failures, &path, p](int t) {  // all in the same key, so they contend for it
                for (int i = 0; i < kWrites; ++i)
                    if (!vex_RegSetDWORD(path(p, t, i).c_str(), static_cast<uint32_t>(p * 100000 + t * 1000 + i)))
                        ++failures;
            };
            std::vector<std::thread> threads;
            for (int t = 0; t < kThreads; ++t) threads.emplace_back(writer, t);
            for (auto& th : threads) th.join();
            ::_exit(failures > 0 ? 1 : 0);
        }
        children.push_back(pid);
    }
    // The parent reads while the children write.
    for (int i = 0; i < 50; ++i) vex_RegCountValue(L"HKEY_LOCAL_MACHINE\\Busy");
    for (pid_t pid : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "child status " << status;
    }
    EXPECT_EQ(vex_RegCountValue(L"HKEY_LOCAL_MACHINE\\Busy"), static_cast<uint32_t>(kProcesses * kThreads * kWrites));
    for (int p = 0; p < kProcesses; ++p)
        for (int t = 0; t < kThreads; ++t)
            for (int i = 0; i < kWrites; i += 7)
                EXPECT_EQ(vex_RegGetDWORD(path(p, t, i).c_str()), static_cast<uint32_t>(p * 100000 + t * 1000 + i));
}

TEST_F(RegistryTest, VexctlReadsWritesListsAndDeletes) {
    using vex::test::run_vexctl;
    const std::string key = "HKEY_LOCAL_MACHINE\\Tool";
    ASSERT_EQ(run_vexctl({"reg", "set", key + "\\Text", "hällo"}).status, 0);
    ASSERT_EQ(run_vexctl({"reg", "set", key + "\\Num", "0x1F", "--dword"}).status, 0);
    ASSERT_TRUE(vex_RegCreateKey(L"HKEY_LOCAL_MACHINE\\Tool\\Sub"));
    wchar_t out[16];
    ASSERT_TRUE(vex_RegGetString(L"HKEY_LOCAL_MACHINE\\Tool\\Text", out, sizeof out));
    EXPECT_EQ(std::wstring(out), L"hällo");
    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\Tool\\Num"), 31u);

    auto r = run_vexctl({"reg", "get", key + "\\Num"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.output.find("REG_DWORD  31 (0x0000001F)"), std::string::npos) << r.output;
    r = run_vexctl({"reg", "ls", key});
    EXPECT_EQ(r.status, 0);
    const size_t sub = r.output.find("Sub\\"), num = r.output.find("Num"), text = r.output.find("\"hällo\"");
    EXPECT_TRUE(sub != std::string::npos && num != std::string::npos && text != std::string::npos) << r.output;
    EXPECT_LT(sub, num);  // subkeys first

    r = run_vexctl({"reg", "set", key + "\\Num", "4294967296", "--dword"});
    EXPECT_NE(r.status, 0);
    EXPECT_EQ(vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\Tool\\Num"), 31u);

    EXPECT_EQ(run_vexctl({"reg", "rm", key + "\\Num"}).status, 0);
    r = run_vexctl({"reg", "get", key + "\\Num"});
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.output.find("error 2"), std::string::npos) << r.output;
    EXPECT_EQ(run_vexctl({"reg", "rm", "--key", key}).status, 0);
    EXPECT_FALSE(vex_RegKeyExist(L"HKEY_LOCAL_MACHINE\\Tool\\Text"));
    r = run_vexctl({"reg", "ls", "NOROOT\\x"});
    EXPECT_NE(r.status, 0);
    EXPECT_NE(r.output.find("error 6"), std::string::npos) << r.output;
}

}  // namespace
