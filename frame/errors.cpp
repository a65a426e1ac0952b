// Every export reports failure through a code kept per thread. The codes
// live in one ordered map keyed by the kernel's thread id; entries of ended
// threads stay, and a new thread that inherits an old id inherits its code
// until it sets or clears its own (as thread ids are reused).
#include "frame/errors.h"

#include <cstring>
#include <cwchar>
#include <map>
#include <mutex>

#include "platform/system.h"
#include "vexsdk.h"

namespace vex::frame {
namespace {

struct Table {
    std::mutex mutex;
    std::map<uint32_t, uint32_t> codes;
};

// Never destroyed: threads may still report errors while the process's
// static destructors run.
Table& table() {
    static Table* t = new Table;
    return *t;
}

struct Message {
    uint32_t code;
    const wchar_t* text;
};

// Applications compare against these texts, slips included.
constexpr Message kMessages[] = {
    {VEX_ERR_UNKNOWN, L"Unknow Error!"},
    {VEX_ERR_SLOT_REGISTERED, L"Slot registered error"},
    {VEX_ERR_SLOT_NOT_REGISTERED, L"Slot not registered error"},
    {VEX_ERR_UNKNOWN_MODULE, L"Unknown Module"},
    {VEX_ERR_INVALID_MAC, L"Invalid MAC address"},
    {VEX_ERR_INVALID_COM_PORT, L"Invalid COM port number"},
    {VEX_ERR_NOT_SUPPORTED, L"The function isn't supported"},
    {VEX_ERR_MODULE_NOT_EXIST, L"The Module doesn't exist"},
    {VEX_ERR_INVALID_SLOT, L"Invalid Slot number"},
    {VEX_ERR_EEPROM_ADDRESS, L"Accesses invalid EEPROM address"},
    {VEX_ERR_SRAM_ADDRESS, L"Accesses invalid SRAM address"},
    {VEX_ERR_MEMORY_TYPE, L"Invalid memory type"},
    {VEX_ERR_NVRAM_ADDRESS, L"Accesses invalid NVRAM address"},
    {VEX_ERR_EEPROM_WRITE_PROTECTED, L"EEPROM is write-protected"},
    {VEX_ERR_EEPROM_WRITE, L"Write EEPROM Failed"},
    {VEX_ERR_EEPROM_READ, L"Read EEPROM Failed"},
    {VEX_ERR_WDT_VALUE, L"Invalid WatchDog timer value"},
    {VEX_ERR_WDT_NOT_EXIST, L"WatchDog function doesn't exist"},
    {VEX_ERR_WDT_BASE, L"WatchDog base address isn't set"},
    {VEX_ERR_CREATE_EVENT, L"Create interrupt event  failed"},
    {VEX_ERR_UART_CHECKSUM, L"Uart check sum error"},
    {VEX_ERR_UART_TIMEOUT, L"Uart read timeout"},
    {VEX_ERR_UART_RESPONSE, L"Uart response error"},
    {VEX_ERR_UART_UNDER_RANGE, L"Uart under input range"},
    {VEX_ERR_UART_OVER_RANGE, L"Uart exceed input range"},
    {VEX_ERR_UART_OPEN, L"Open COM port failed"},
    {VEX_ERR_UART_MODEM_STATUS, L"Fail to get the Modem status"},
    {VEX_ERR_UART_BUFFER_OVERFLOW, L"Internal buffer overflow"},
    {VEX_ERR_CARD_API_UNSUPPORTED, L"IO card does not support this API function!"},
    {VEX_ERR_API_CARD_UNSUPPORTED, L"API unsupport this IO card!"},
    {VEX_ERR_SLOT_RANGE, L"Slot's value exceeds its range!"},
    {VEX_ERR_CHANNEL_RANGE, L"Channel's value exceeds its range!"},
    {VEX_ERR_GAIN_RANGE, L"Gain's value exceeds its range!"},
    {VEX_ERR_NO_INTERRUPT_MODE, L"ZR-4100 unsupport the interrupt mode!"},
    {VEX_ERR_INPUT_VALUE_RANGE, L"The input value is out of range!"},
    {VEX_ERR_INPUT_CHANNEL_RANGE, L"The input channel is out of range!"},
    {VEX_ERR_DO_NO_OVERWRITE, L"DO output cannot be overwrite!"},
    {VEX_ERR_AO_NO_OVERWRITE, L"AO output cannot be overwirte!"},
};

}  // namespace

void set_last_error(uint32_t code) {
    Table& t = table();
    const uint32_t tid = plat::current_thread_id();
    std::lock_guard<std::mutex> lock(t.mutex);
    t.codes[tid] = code;
}

uint32_t last_error() {
    Table& t = table();
    const uint32_t tid = plat::current_thread_id();
    std::lock_guard<std::mutex> lock(t.mutex);
    return t.codes.try_emplace(tid, 0).first->second;
}

void clear_last_error() {
    Table& t = table();
    const uint32_t tid = plat::current_thread_id();
    std::lock_guard<std::mutex> lock(t.mutex);
    t.codes.erase(tid);
}

const wchar_t* error_message(uint32_t code) {
    for (const Message& m : kMessages) {
        if (m.code == code) return m.text;
    }
    return nullptr;
}

}  // namespace vex::frame

using namespace vex::frame;

extern "C" {

VEXSDK_API uint32_t vex_GetLastError(void) { return last_error(); }
VEXSDK_API void vex_SetLastError(uint32_t code) { set_last_error(code); }
VEXSDK_API void vex_ClearLastError(void) { clear_last_error(); }

VEXSDK_API void vex_GetErrorMessage(uint32_t code, wchar_t* buffer) {
    const wchar_t* text = error_message(code);
    if (!text || !buffer) return;
    std::memcpy(buffer, text, (std::wcslen(text) + 1) * sizeof(wchar_t));
}

}  // extern "C"
