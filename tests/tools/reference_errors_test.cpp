// The reference pages are generated from the header's @errors lists: each
// code a call leaves behind must be on its list (and a call whose list says
// "none" must leave none). Bad input chosen to reach each subsystem's
// refusals, against the built-in virtual controller.
#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {
namespace {

std::string all_headers() {
    std::string text;
    for (const auto& e : std::filesystem::directory_iterator(VEXSDK_HEADER_DIR)) {
        std::ifstream in(e.path());
        std::stringstream s;
        s << in.rdbuf();
        text += s.str();
    }
    return text;
}

// The codes listed under @errors for `name`: "(0x14006)" or "(2)" entries.
// Empty with *none set when the list says "none".
std::set<uint32_t> documented(const std::string& name, bool* none) {
    static const std::string text = all_headers();
    const std::regex decl("VEXSDK_API[^;(]*\\b" + name + "\\s*\\(");
    std::smatch m;
    if (!std::regex_search(text, m, decl)) ADD_FAILURE() << name << " is not declared";
    const size_t at = static_cast<size_t>(m.position(0));
    const size_t open = text.rfind("/**", at);
    const std::string block = text.substr(open, at - open);
    const size_t from = block.find("@errors"), to = block.find("@thread");
    const std::string errors = block.substr(from, to - from);
    *none = errors.find("- none:") != std::string::npos;
    std::set<uint32_t> codes;
    const std::regex entry("- \\w+ \\((0x[0-9A-Fa-f]+|[0-9]+)\\):");
    for (std::sregex_iterator i(errors.begin(), errors.end(), entry), end; i != end; ++i)
        codes.insert(static_cast<uint32_t>(std::stoul((*i)[1].str(), nullptr, 0)));
    return codes;
}

// Runs `call` with the last error cleared; the code it leaves must be the
// expected one, and on the page.
void expect_listed(const std::string& name, uint32_t expected, const std::function<void()>& call) {
    vex_ClearLastError();
    call();
    const uint32_t code = vex_GetLastError();
    EXPECT_EQ(code, expected) << name;
    bool none = false;
    const std::set<uint32_t> codes = documented(name, &none);
    if (code == 0)
        EXPECT_TRUE(none || !codes.empty()) << name;
    else
        EXPECT_TRUE(codes.count(code)) << name << " leaves 0x" << std::hex << code << " but its page does not list it";
}

void expect_none(const std::string& name, const std::function<void()>& call) {
    vex_ClearLastError();
    call();
    EXPECT_EQ(vex_GetLastError(), 0u) << name;
    bool none = false;
    documented(name, &none);
    EXPECT_TRUE(none) << name << " leaves no code, but its page lists some";
}

using ReferenceErrors = SimFixture;

TEST_F(ReferenceErrors, SerialPortCallsLeaveWhatTheirPagesList) {
    char answer[VEX_UART_BUFFER_SIZE] = "";
    expect_listed("uart_OpenEx", VEX_ERR_UART_OPEN, [] { uart_OpenEx("COM9:"); });
    expect_listed("uart_SetTimeOut", VEX_ERR_UART_OPEN, [] { uart_SetTimeOut(12345, 10, 0); });
    expect_listed("uart_SendCmd", VEX_ERR_UART_OPEN, [&] { uart_SendCmd(12345, "$01M", answer); });
    const VEX_PORT port = uart_OpenEx("COM1:,115200,N,8,1");
    ASSERT_NE(port, VEX_INVALID_PORT);
    uart_SetTimeOut(port, 50, 0);
    expect_listed("uart_SendCmd", VEX_ERR_UART_BUFFER_OVERFLOW, [&] { uart_SendCmd(port, nullptr, answer); });
    expect_listed("uart_SendCmd", VEX_ERR_UART_TIMEOUT, [&] { uart_SendCmd(port, "$55M", answer); });
    expect_none("uart_Close", [] { uart_Close(12345); });
    uart_Close(port);
}

TEST_F(ReferenceErrors, UnifiedAndModuleCallsLeaveWhatTheirPagesList) {
    const VEX_PORT port = uart_OpenEx("COM1:,115200,N,8,1");
    ASSERT_NE(port, VEX_INVALID_PORT);
    uart_SetTimeOut(port, 50, 0);
    uint32_t v = 0;
    float f = 0;
    expect_listed("vex_ReadDI", VEX_ERR_UART_BUFFER_OVERFLOW, [&] { vex_ReadDI(port, 2, 8, nullptr); });
    expect_listed("vex_ReadDI", VEX_ERR_UNKNOWN_MODULE, [&] { vex_ReadDI(port, 6, 8, &v); });
    expect_listed("vex_ReadDI", VEX_ERR_UART_RESPONSE, [&] { vex_ReadDI(port, 0x1055, 8, &v); });
    expect_listed("vex_WriteDO", VEX_ERR_UNKNOWN_MODULE, [&] { vex_WriteDO(port, 8, 8, 1); });
    expect_listed("vex_ReadAI", VEX_ERR_UNKNOWN_MODULE, [&] { vex_ReadAI(port, 2, 0, 8, &f); });
    expect_listed("vex_ReadCNTOverflow", VEX_ERR_CARD_API_UNSUPPORTED, [&] { vex_ReadCNTOverflow(port, 3, 0, &v); });
    expect_listed("vex_SetModuleWDTConfig", VEX_ERR_UART_OPEN, [] { vex_SetModuleWDTConfig(0, 0x1001, 1, 5, 0); });
    expect_listed("_vex_WriteDO", VEX_ERR_INVALID_SLOT, [] { _vex_WriteDO(9, 8, 1); });
    expect_listed("vex_GetModuleType", VEX_ERR_INVALID_SLOT, [] { vex_GetModuleType(9); });
    expect_listed("vex_GetModuleName", VEX_ERR_MEMORY_ARGUMENT, [] { vex_GetModuleName(3, nullptr); });
    uart_Close(port);
}

TEST_F(ReferenceErrors, MemoryDeviceAndInterruptCallsLeaveWhatTheirPagesList) {
    uint8_t b[64] = {};
    expect_listed("vex_WriteMemory", VEX_ERR_EEPROM_ADDRESS, [&] { vex_WriteMemory(0x7FFFFFF0, b, 4, VEX_MEMORY_EEPROM); });
    expect_listed("vex_WriteMemory", VEX_ERR_SRAM_ADDRESS, [&] { vex_WriteMemory(0x7FFFFFF0, b, 4, VEX_MEMORY_SRAM); });
    expect_listed("vex_WriteMemory", VEX_ERR_NVRAM_ADDRESS, [&] { vex_WriteMemory(100, b, 4, VEX_MEMORY_NVRAM); });
    expect_listed("vex_WriteMemory", VEX_ERR_MEMORY_TYPE, [&] { vex_WriteMemory(0, b, 4, 9); });
    // The factory record in the system area reads, and still leaves the
    // user-area refusal behind; so do the calls that read it.
    expect_listed("vex_ReadMemory", VEX_ERR_EEPROM_ADDRESS, [&] { EXPECT_TRUE(vex_ReadMemory(0x23800, b, 56, VEX_MEMORY_EEPROM)); });
    char text[VEX_DEVICE_TEXT_SIZE] = "";
    expect_listed("vex_GetSerialNumber", VEX_ERR_EEPROM_ADDRESS, [&] { EXPECT_EQ(vex_GetSerialNumber(text), 16); });
    expect_listed("vex_GetMacAddress", VEX_ERR_INVALID_MAC, [&] { vex_GetMacAddress(3, text); });
    expect_listed("vex_EnableWatchDog", VEX_ERR_WDT_VALUE, [] { vex_EnableWatchDog(VEX_WDT_BACKPLANE, 99); });
    expect_listed("vex_SetTriggerType", VEX_ERR_INVALID_SLOT, [] { vex_SetTriggerType(9, VEX_TRIGGER_RISING); });
    expect_listed("vex_EnableSlotInterrupt", VEX_ERR_INVALID_SLOT, [] { vex_EnableSlotInterrupt(9, 1); });
    expect_listed("vex_RegGetDWORD", VEX_REG_FILE_NOT_FOUND, [] { vex_RegGetDWORD(L"HKEY_LOCAL_MACHINE\\Nope\\X"); });
    uint8_t up = 0;
    expect_none("vex_EthernetLinkState", [&] { EXPECT_EQ(vex_EthernetLinkState(1, nullptr), -1); vex_EthernetLinkState(3, &up); });
    expect_none("vex_SDMount", [] { vex_SDMount(L"no-such-partition"); });
}

}  // namespace
}  // namespace vex::test
