// The load sequence's registry reads through the snapshot beside the
// database: the same answers as the store, never a stale one after a write,
// and no harm from a damaged snapshot file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>

#include <fstream>
#include <iterator>
#include <string>

#include "frame/backplane.h"
#include "platform/registry_store.h"
#include "platform/target.h"
#include "services/link_monitor.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace {

namespace reg = vex::plat::registry;
constexpr auto kLm = reg::Root::LocalMachine;

class RegistrySnapshot : public vex::test::SimFixture {
protected:
    std::string db() const { return vex::plat::registry_path(); }
    std::string snapshot() const { return db() + ".snapshot"; }

    // Dates the database files a minute back: the registry has been quiet,
    // so a read may record what it found.
    void age_files() {
        const struct timespec times[2] = {{::time(nullptr) - 60, 0}, {::time(nullptr) - 60, 0}};
        for (const char* suffix : {"", "-wal"}) ::utimensat(AT_FDCWD, (db() + suffix).c_str(), times, 0);
    }
    std::string read_snapshot() const {
        std::ifstream in(snapshot(), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    void write_snapshot(const std::string& text) const { std::ofstream(snapshot(), std::ios::binary) << text; }

    uint32_t at_load(const wchar_t* name, std::wstring& text) {
        reg::Value v;
        const uint32_t r = reg::get_value_at_load(kLm, L"Snap", name, v);
        text = v.text;
        return r;
    }
    void put(const wchar_t* key, const wchar_t* name, const wchar_t* text) {
        ASSERT_EQ(reg::current_store()->set_value(kLm, key, name, reg::Value::string(text)), 0u);
    }
    void set(const wchar_t* name, const wchar_t* text) { put(L"Snap", name, text); }
};

TEST_F(RegistrySnapshot, AnswersLikeTheStoreAndNeverStaleAfterAWrite) {
    set(L"id", L"first");
    std::wstring text;
    EXPECT_EQ(at_load(L"id", text), 0u);  // the files just changed: read, not recorded
    EXPECT_EQ(text, L"first");
    EXPECT_EQ(read_snapshot().find("first"), std::string::npos);

    age_files();
    EXPECT_EQ(at_load(L"id", text), 0u);
    EXPECT_EQ(text, L"first");
    EXPECT_EQ(at_load(L"none", text), VEX_REG_FILE_NOT_FOUND);
    ASSERT_NE(read_snapshot().find("first"), std::string::npos) << "recorded once the registry was quiet";

    // Every kind of change is seen at once: a new value of the same length,
    // a deleted value, a value that appears.
    set(L"id", L"other");
    EXPECT_EQ(at_load(L"id", text), 0u);
    EXPECT_EQ(text, L"other");
    age_files();
    EXPECT_EQ(at_load(L"id", text), 0u);
    ASSERT_EQ(reg::current_store()->delete_value(kLm, L"Snap", L"id"), 0u);
    EXPECT_EQ(at_load(L"id", text), VEX_REG_FILE_NOT_FOUND);
    set(L"none", L"now");
    EXPECT_EQ(at_load(L"none", text), 0u);
    EXPECT_EQ(text, L"now");
}

TEST_F(RegistrySnapshot, AValidSnapshotAnswersAndADamagedOneIsIgnored) {
    set(L"id", L"stored");
    age_files();
    std::wstring text;
    ASSERT_EQ(at_load(L"id", text), 0u);
    const std::string good = read_snapshot();
    const size_t at = good.rfind("stored");
    ASSERT_NE(at, std::string::npos);

    // While the database is unchanged the snapshot is what answers.
    std::string edited = good;
    edited.replace(at, 6, "SNAPPD");
    write_snapshot(edited);
    EXPECT_EQ(at_load(L"id", text), 0u);
    EXPECT_EQ(text, L"SNAPPD");

    // Truncated entries, lengths past the end, garbage and a huge file: the
    // store answers.
    const std::string head = good.substr(0, good.find("\n0 ") + 1);
    for (const std::string& bad :
         {good.substr(0, good.size() - 4), head + "0 0 1 4 2 99999999\nSnapid", head + "0 0 1 -1 -1 -1\n",
          head + "x y z\n", head + std::string(100000, 'A'), std::string("\0\xff\n", 3)}) {
        write_snapshot(bad);
        EXPECT_EQ(at_load(L"id", text), 0u);
        EXPECT_EQ(text, L"stored");
    }
}

// A restart of the target takes volatile keys away: their answers must not
// outlive it, while lasting ones are still answered without the store.
TEST_F(RegistrySnapshot, OnlyLastingAnswersOutliveARestart) {
    set(L"id", L"lasting");
    ASSERT_EQ(reg::current_store()->create_key(kLm, L"Gone", true), 0u);
    ASSERT_EQ(reg::current_store()->set_value(kLm, L"Gone", L"id", reg::Value::string(L"volatile")), 0u);
    age_files();
    reg::Value v;
    ASSERT_EQ(reg::get_value_at_load(kLm, L"Snap", L"id", v), 0u);
    ASSERT_EQ(reg::get_value_at_load(kLm, L"Gone", L"id", v), 0u);
    EXPECT_EQ(v.text, L"volatile");
    std::string recorded = read_snapshot();
    const size_t at = recorded.find("lasting");
    ASSERT_NE(at, std::string::npos);
    write_snapshot(recorded.replace(at, 7, "LASTING"));

    // The restart as the virtual controller records it: a new generation,
    // the database untouched until the store is next used.
    std::ofstream(vex::plat::instance_dir(vex::plat::target().instance) + "/generation") << "after-restart\n";
    ASSERT_EQ(reg::get_value_at_load(kLm, L"Snap", L"id", v), 0u);
    EXPECT_EQ(v.text, L"LASTING") << "a lasting answer holds across the restart";
    EXPECT_EQ(reg::get_value_at_load(kLm, L"Gone", L"id", v), VEX_REG_FILE_NOT_FOUND) << "volatile answer outlived it";
}

// A power-up writes the description's values only where the registry does
// not already hold them; a value changed since the snapshot was taken is
// written back all the same.
TEST_F(RegistrySnapshot, PowerUpRestoresPresetsTheSnapshotNoLongerVouchesFor) {
    const std::wstring hwid_key = L"HARDWARE\\MODULETYPE";
    age_files();
    std::string error;
    ASSERT_TRUE(sim().power_cycle(&error)) << error;  // checks every preset, records them once quiet
    age_files();
    ASSERT_TRUE(sim().power_cycle(&error)) << error;
    ASSERT_NE(read_snapshot().find("RunningMode"), std::string::npos) << "the presets were looked up";

    put(hwid_key.c_str(), L"HWID", L"DM3-changed");
    ASSERT_EQ(reg::current_store()->set_value(kLm, L"VORLAN", L"RunningMode", reg::Value::dword(7)), 0u);
    ASSERT_TRUE(sim().power_cycle(&error)) << error;
    reg::Value v;
    ASSERT_EQ(reg::current_store()->get_value(kLm, hwid_key, L"HWID", v), 0u);
    EXPECT_EQ(v.text, L"HR4-8000");
    ASSERT_EQ(reg::current_store()->get_value(kLm, L"VORLAN", L"RunningMode", v), 0u);
    EXPECT_EQ(v.type, reg::kTypeDword);
    EXPECT_EQ(v.number, 0u);
}

TEST_F(RegistrySnapshot, LoadReadsTheModelAndAdapterNamesThroughIt) {
    // The default controller's hardware ID picks the multi-slot model, and
    // a changed ID is seen by the next load even right after the write.
    vex::frame::load_controller_model();
    EXPECT_EQ(vex::frame::controller_model(), vex::frame::kModelMultiSlot);
    put(L"HARDWARE\\MODULETYPE", L"HWID", L"LT44-1");
    vex::frame::load_controller_model();
    EXPECT_EQ(vex::frame::controller_model(), vex::frame::kModelSingleSlotLargeEeprom);
    // An ID too long for the 128-character buffer reads as none.
    const std::wstring long_id = L"LT4" + std::wstring(125, L'x');
    put(L"HARDWARE\\MODULETYPE", L"HWID", long_id.c_str());
    vex::frame::load_controller_model();
    EXPECT_EQ(vex::frame::controller_model(), vex::frame::kModelUnknown);

    put(vex::services::kEthernetKey, L"LAN2", L"lan-two");
    vex::services::stop_link_monitor();
    vex::services::start_link_monitor();
    EXPECT_EQ(vex::services::monitored_interface(2), "lan-two");
}

}  // namespace
