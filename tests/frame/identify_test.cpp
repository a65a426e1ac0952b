// Module identification on the virtual controller (default description
// and plugged modules) and on a file standing in for the hardware, where
// any register value can be set.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>

#include "frame/backplane.h"
#include "frame/catalogue.h"
#include "frame/identify.h"
#include "frame/library.h"
#include "serial/port_table.h"
#include "sim/catalogue_module.h"
#include "tests/support/physmem_file.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

struct Named {
    std::string name;
    uint32_t result;
};
Named name_of(uint32_t slot) {
    char buffer[VEX_MODULE_NAME_SIZE];
    std::memset(buffer, '#', sizeof buffer);
    const uint32_t result = vex_GetModuleName(slot, buffer);
    return {std::string(buffer, strnlen(buffer, sizeof buffer)), result};
}

// Each test points the name files at a directory of its own.
class NameFileDir {
public:
    NameFileDir() {
        char templ[] = "/tmp/vexsdk-names-XXXXXX";
        dir_ = ::mkdtemp(templ) ? templ : "/nonexistent";
        frame::set_name_file_directory(dir_);
    }
    ~NameFileDir() {
        frame::set_name_file_directory("");
        std::remove((dir_ + "/modulename.ini").c_str());
        std::remove((dir_ + "/KVmodulename.ini").c_str());
        std::remove(dir_.c_str());
    }
    void write(const char* file, const std::string& text) { std::ofstream(dir_ + "/" + file) << text; }

private:
    std::string dir_;
};

class Identify : public SimFixture {
protected:
    void plug(int slot, sim::SlotDescription d) { ASSERT_TRUE(sim().plug(slot, d)); }
    void plug_raw(int slot, uint8_t id, uint8_t subtype = 0, std::optional<uint8_t> capability = {}) {
        sim::SlotDescription d;
        d.kind = sim::ModuleKind::Parallel;
        d.id = id;
        d.di_channels = 8;
        d.subtype = subtype;
        d.capability = capability;
        plug(slot, d);
    }
    NameFileDir names_;
};

TEST_F(Identify, NamesEverySlotOfTheDefaultController) {
    struct Expect {
        const char* name;
        uint8_t type_class;
        uint32_t version;
        int32_t read_back;
    };
    // Pages without a parallel-bus module (empty, serial) read all ones, so
    // their "version" is 31, as on the hardware.
    const Expect expected[8] = {
        {"8132", 0x81, 3, 0}, {"8016", 0x80, 0, -1},  {"8088", 0x80, 0, -1}, {"4308", 0x40, 31, -1},
        {"8032", 0x80, 0, -1}, {"8116", 0x80, 0, -1}, {"", 0, 31, -1},       {"4504P", 0x40, 31, -1},
    };
    for (uint32_t slot = 0; slot < 8; ++slot) {
        SCOPED_TRACE("slot " + std::to_string(slot));
        const Named n = name_of(slot);
        EXPECT_EQ(n.name, expected[slot].name);
        EXPECT_EQ(n.result, slot == 6 ? 0u : 1u);
        EXPECT_EQ(vex_GetModuleType(slot), expected[slot].type_class);
        EXPECT_EQ(vex_GetModuleVersion(slot), expected[slot].version);
        EXPECT_EQ(vex_NordRModuleInitial(slot), expected[slot].read_back);
        EXPECT_EQ(vex_ModuleExists(0, static_cast<int32_t>(slot)), slot == 6 ? VEX_FALSE : VEX_TRUE);
        wchar_t wide[VEX_MODULE_NAME_SIZE];
        vex_GetModuleName_DOTNET(slot, wide);
        EXPECT_EQ(std::wstring(wide), std::wstring(expected[slot].name, expected[slot].name + strlen(expected[slot].name)));
    }
    EXPECT_EQ(vex_GetModuleName(0x103, nullptr), 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_MEMORY_ARGUMENT);
    EXPECT_EQ(name_of(0x103).name, "4308") << "the low 8 bits name the slot";
    EXPECT_EQ(frame::remembered_series(0), 132);
    EXPECT_EQ(frame::remembered_class(0), 0x81);
}

TEST_F(Identify, RefusesSlotsBeyondTheCount) {
    for (uint32_t slot : {8u, 9u, 0xFFu, 0x1FFu, 0xFFFFFFFFu}) {
        vex_SetLastError(0);
        EXPECT_EQ(name_of(slot).name, "Invalid slot");
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT);
        vex_SetLastError(0);
        EXPECT_EQ(vex_GetModuleType(slot), 0);
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT);
        EXPECT_EQ(vex_GetModuleVersion(slot), 0u);
        EXPECT_EQ(vex_NordRModuleInitial(slot), -1);
    }
    // The whole address counts: 0x1001 is no slot, nor is 0x100 (slot 0 by
    // its low byte).
    for (int32_t address : {8, 0x100, 0x1001, 0x100000, -1, INT32_MIN, INT32_MAX}) {
        vex_SetLastError(0);
        EXPECT_EQ(vex_ModuleExists(0, address), VEX_FALSE) << address;
        EXPECT_EQ(vex_GetLastError(), VEX_ERR_INVALID_SLOT);
    }
}

TEST_F(Identify, RegistersPickTheVariant) {
    const std::pair<std::string, uint8_t> named[] = {
        {"8016H", 0x80}, {"8016W", 0x80},  {"8088MP", 0x80},   {"8141HC", 0xC0},   {"8160A", 0xC2},
        {"8160F", 0xC2}, {"8164-3G", 0xC3}, {"8032D", 0x80},   {"PX-MOTION", 0xE3}, {"GPIB", 0xE0},
        {"J1939", 0xE2}, {"8108R", 0x80},  {"PX-BRIDGE", 0xE3},
    };
    for (const auto& [name, type_class] : named) {
        sim::SlotDescription d;
        std::string why;
        ASSERT_TRUE(sim::describe_catalogue_module(name, d, &why)) << why;
        plug(6, d);
        EXPECT_EQ(name_of(6).name, name);
        EXPECT_EQ(vex_GetModuleType(6), type_class) << name;
    }
    EXPECT_EQ(frame::remembered_series(6), 202) << "the last resolution of the slot";
    // The rules read the registers the virtual module shows.
    plug_raw(6, 0x13, 3);
    EXPECT_EQ(name_of(6).name, "8016") << "sub-type 3 has no rule";
    plug_raw(6, 0x13, 0x0A);
    EXPECT_EQ(name_of(6).name, "8016W") << "only the masked bits count";
    plug_raw(6, 0x21, 0x20);
    EXPECT_EQ(name_of(6).name, "8088");
    plug_raw(6, 0x2F, 0, 0x1F);
    EXPECT_EQ(vex_NordRModuleInitial(6), -1) << "no read-back capability";
    EXPECT_EQ(vex_GetModuleVersion(6), 0u);
    plug_raw(6, 0x2F, 0, 0xE5);
    EXPECT_EQ(vex_NordRModuleInitial(6), 0);
    EXPECT_EQ(vex_GetModuleVersion(6), 5u);
}

TEST_F(Identify, TheNameFileNamesWhatTheCatalogueDoesNot) {
    plug_raw(6, 0x99);
    EXPECT_EQ(name_of(6).name, "Unknow") << "no file";
    EXPECT_EQ(vex_GetModuleType(6), 0x40);
    EXPECT_EQ(frame::remembered_series(6), 238);
    names_.write("modulename.ini",
                 "; site modules\n[99]\nModuleType=4\nModuleName=Pump control\n"
                 "[c8]\nModuleType=9\n[0]\nModuleName=Zero\n[13]\nModuleType=1\nModuleName=Not me\n");
    EXPECT_EQ(name_of(6).name, "Pump control");
    EXPECT_EQ(vex_GetModuleType(6), 0xC3);
    EXPECT_EQ(frame::remembered_series(6), 1);
    plug_raw(6, 0xC8);
    EXPECT_EQ(name_of(6).name, "ERROR") << "a ModuleType without a ModuleName";
    EXPECT_EQ(vex_GetModuleType(6), 9) << "numbers beyond 7 are the class itself";
    plug_raw(6, 0x00);
    EXPECT_EQ(name_of(6).name, "Zero");
    EXPECT_EQ(vex_GetModuleType(6), 0x40) << "a name without a ModuleType";
    plug_raw(6, 0x13);
    EXPECT_EQ(name_of(6).name, "8016") << "the catalogue comes first";
    for (int number = 1; number <= 7; ++number) {
        names_.write("modulename.ini", "[99]\nModuleType=" + std::to_string(number) + "\n");
        plug_raw(6, 0x99);
        const uint8_t expected[] = {0xE3, 0xE0, 0xE2, 0xC3, 0xC0, 0xC2, 0x80};
        EXPECT_EQ(vex_GetModuleType(6), expected[number - 1]);
    }
    // A rejected file is no file; a name longer than the buffer is cut.
    names_.write("modulename.ini", "[99]\nModuleType=4\nbroken line\n");
    EXPECT_EQ(vex_GetModuleType(6), 0x40);
    names_.write("modulename.ini", "[99]\nModuleName=" + std::string(150, 'n') + "\n");
    EXPECT_EQ(name_of(6).name, std::string(63, 'n'));
    names_.write("modulename.ini", "[99]\nModuleName=" + std::string(62, 'n') + "\xC3\xA9" + "\n");
    EXPECT_EQ(name_of(6).name, std::string(62, 'n')) << "never half a character";
}

TEST_F(Identify, AsksSerialModulesOverTheInternalPort) {
    // COM0: open in the process: the call uses it and leaves it open.
    const VEX_PORT port = uart_OpenEx("COM0:,115200,N,8,1");
    ASSERT_NE(port, VEX_INVALID_PORT);
    EXPECT_EQ(name_of(7).name, "4504P");
    char answer[64] = {};
    EXPECT_TRUE(uart_SendCmd(port, "$00M", answer)) << "still open";
    EXPECT_TRUE(uart_Close(port));

    ASSERT_EQ(run_vexsim({"fault", "3", "silent"}).status, 0);
    vex_SetLastError(0);
    EXPECT_EQ(name_of(3).name, "Sund Module");
    EXPECT_EQ(name_of(3).result, 0u);
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_TIMEOUT);
    ASSERT_EQ(run_vexsim({"fault", "3", "refuse"}).status, 0);
    EXPECT_EQ(name_of(3).name, "Sund Module");
    EXPECT_EQ(vex_GetLastError(), VEX_ERR_UART_RESPONSE);
    ASSERT_EQ(run_vexsim({"fault", "3", "clear"}).status, 0);
    EXPECT_EQ(name_of(3).name, "4308");
    // The port the call opened is closed again.
    EXPECT_EQ(serial::find_port_by_name("COM0:"), nullptr);
}

// The hardware path on a file: registers the virtual modules do not model
// (straps in 0x06/0x08, the expansion board of the single-slot model).
class IdentifyHw : public ::testing::Test {
protected:
    static constexpr uint64_t kWindow = 0x17000000;
    void SetUp() override {
        mem_.poke8(kWindow + frame::kRegSlotCount, 7);
        mem_.poke8(kWindow + frame::kRegSlotPresence, 0x00);
        mem_.attach_library();
    }
    void TearDown() override { mem_.detach_library(); }
    void page(uint32_t slot, uint32_t offset, uint8_t value) { mem_.poke8(kWindow + frame::slot_page(slot) + offset, value); }
    void single_slot_model() {
        const std::wstring id = L"LT4-100";
        ASSERT_TRUE(vex_RegSetString(L"HKEY_LOCAL_MACHINE\\HARDWARE\\MODULETYPE\\HWID", id.c_str(),
                                     static_cast<uint32_t>(id.size() * sizeof(wchar_t))));
        frame::library_detach();
        frame::library_attach();
        ASSERT_EQ(frame::controller_model(), frame::kModelSingleSlot);
    }
    PhysMemFile mem_;
    NameFileDir names_;
};

TEST_F(IdentifyHw, StrapRegistersAndTheFirstMatchingRule) {
    page(2, 0x00, 0x22);
    page(2, 0x06, 0xFF);
    page(2, 0x08, 0xFF);
    EXPECT_EQ(name_of(2).name, "8044");
    page(2, 0x06, 0x7F);
    EXPECT_EQ(name_of(2).name, "8044A");
    page(2, 0x08, 0x7F);
    EXPECT_EQ(name_of(2).name, "8044P") << "the first rule of the row wins";
    page(3, 0x00, 0x11);
    page(3, 0x06, 0xFE);
    EXPECT_EQ(name_of(3).name, "8008I");
    page(3, 0x06, 0x01);
    EXPECT_EQ(name_of(3).name, "8008");
}

TEST_F(IdentifyHw, EveryModuleIdNamesAsTheCatalogueSays) {
    for (uint32_t id = 0; id < 255; ++id) {
        page(0, 0x00, static_cast<uint8_t>(id));
        const Named n = name_of(0);
        EXPECT_EQ(n.result, 1u);
        const catalogue::ParallelKind* k = id <= 197 ? catalogue::find_parallel_kind(id) : nullptr;
        if (!k) {
            EXPECT_EQ(n.name, "Unknow") << id;
            EXPECT_EQ(vex_GetModuleType(0), 0x40) << id;
            continue;
        }
        EXPECT_EQ(vex_GetModuleType(0), k->type_class) << id;
        EXPECT_FALSE(n.name.empty());
        const catalogue::ParallelKind* back = nullptr;
        EXPECT_TRUE(catalogue::find_parallel_name(n.name, &back, nullptr)) << n.name;
        EXPECT_EQ(back, k) << n.name;
    }
    EXPECT_GE(catalogue::parallel_kinds().size(), 10u);
}

TEST_F(IdentifyHw, SingleSlotModelNamesItsExpansionBoard) {
    single_slot_model();
    mem_.poke8(kWindow + frame::kRegBoardId, 2);
    mem_.poke8(kWindow + frame::kRegBoardVersion, 0x97);
    EXPECT_EQ(vex_GetModuleType(0), 0) << "nothing resolved yet";
    EXPECT_EQ(name_of(0).name, "KV102R");
    EXPECT_EQ(vex_GetModuleType(5), 0x80) << "slot 0's class, whatever the slot";
    EXPECT_EQ(vex_GetModuleVersion(3), 0x97u);
    mem_.poke8(kWindow + frame::kRegBoardId, 1);
    EXPECT_EQ(name_of(9).name, "KV101") << "no slot check on this model";
    mem_.poke8(kWindow + frame::kRegBoardId, 4);
    EXPECT_EQ(name_of(0).name, "KV201");
    EXPECT_EQ(vex_GetModuleType(0), 0xC2);

    mem_.poke8(kWindow + frame::kRegBoardId, 0x13);  // beyond the board table
    EXPECT_EQ(name_of(0).name, "Unknow");
    names_.write("KVmodulename.ini", "[13]\nModuleType=6\nModuleName=Loop board\n");
    names_.write("modulename.ini", "[13]\nModuleType=1\nModuleName=Wrong file\n");
    EXPECT_EQ(name_of(0).name, "Loop board");
    EXPECT_EQ(vex_GetModuleType(0), 0xC2);
}

}  // namespace
}  // namespace vex::test
