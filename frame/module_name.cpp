// Where names come from besides the catalogue: the name file beside the
// program, and a serial module's own answer to "$00M".
#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "frame/errors.h"
#include "frame/identify.h"
#include "modproto/command.h"
#include "modproto/link.h"
#include "platform/system.h"
#include "platform/text_codec.h"
#include "serial/port_table.h"
#include "services/profile.h"
#include "vexsdk.h"

namespace vex::frame {
namespace {

// The configuration the internal port gets when a name query opens it:
// the serial modules in the slots talk at the backplane's default rate.
constexpr const char* kInternalPortConfig = "COM0:,115200,N,8,1";
constexpr const char* kInternalPort = "COM0:";
// The query and its answer use 64-byte buffers; the answer is "!00" and
// the name.
constexpr uint32_t kNameExchangeSize = 64;
constexpr size_t kAnswerPrefix = 3;

std::mutex g_dir_mutex;
std::string g_dir_override;  // guarded by g_dir_mutex

std::array<std::atomic<uint16_t>, 256> g_series{};
std::array<std::atomic<uint8_t>, 256> g_class{};

std::wstring section_of(uint32_t id) {
    char text[16];
    std::snprintf(text, sizeof text, "%x", id);
    return plat::from_utf8(text);
}

// Copies UTF-8 text into out, cut at a character boundary to fit.
void copy_text(const std::string& text, char* out, size_t size) {
    size_t n = text.size() < size ? text.size() : size - 1;
    while (n > 0 && n < text.size() && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80) --n;
    std::memcpy(out, text.data(), n);
    out[n] = '\0';
}

}  // namespace

uint8_t class_from_file(int32_t number) {
    static constexpr uint8_t kClasses[] = {0xE3, 0xE0, 0xE2, 0xC3, 0xC0, 0xC2, 0x80};
    if (number >= 1 && number <= 7) return kClasses[number - 1];
    return static_cast<uint8_t>(number);
}

void set_name_file_directory(const std::string& directory) {
    std::lock_guard lock(g_dir_mutex);
    g_dir_override = directory;
}

std::string name_file_path(bool expansion_board) {
    std::string dir;
    {
        std::lock_guard lock(g_dir_mutex);
        dir = g_dir_override;
    }
    if (dir.empty()) {
        dir = plat::executable_path();
        const size_t cut = dir.rfind('/');
        dir.resize(cut == std::string::npos ? 0 : cut);
    }
    return dir + (expansion_board ? "/KVmodulename.ini" : "/modulename.ini");
}

Resolution resolve_from_file(bool expansion_board, uint32_t id) {
    Resolution r;
    std::wstring value;
    if (profile::get_string(name_file_path(expansion_board), section_of(id), L"ModuleType", L"", &value)) {
        r.type_class = class_from_file(profile::to_int(value));
        r.series = 1;
    }
    return r;
}

bool name_from_file(bool expansion_board, uint32_t id, char* out, size_t size) {
    std::wstring value;
    if (!profile::get_string(name_file_path(expansion_board), section_of(id), L"ModuleName", L"ERROR", &value))
        return false;
    copy_text(plat::to_utf8(value), out, size);
    return true;
}

void remember(uint32_t slot, const Resolution& r) {
    g_series[slot & 0xFF].store(r.series, std::memory_order_relaxed);
    g_class[slot & 0xFF].store(r.type_class, std::memory_order_relaxed);
}
uint8_t remembered_class(uint32_t slot) { return g_class[slot & 0xFF].load(std::memory_order_relaxed); }
uint16_t remembered_series(uint32_t slot) { return g_series[slot & 0xFF].load(std::memory_order_relaxed); }

bool serial_module_name(uint32_t slot, char* out, size_t size) {
    out[0] = '\0';
    uint32_t handle = serial::kInvalidHandle;
    if (const serial::PortPtr open = serial::find_port_by_name(kInternalPort)) handle = open->handle;
    const bool opened_here = handle == serial::kInvalidHandle;
    if (opened_here) handle = uart_OpenEx(kInternalPortConfig);
    if (serial::rejected(handle)) {
        set_last_error(VEX_ERR_UART_OPEN);
        return false;
    }
    const modproto::Command command = modproto::make_command(modproto::kShortCommand, "$%02XM", 0u);
    char answer[kNameExchangeSize] = {};
    const bool ok = modproto::exchange(modproto::local_slot(handle, slot), command, answer, sizeof answer);
    // Closing a port this call opened cannot fail in a way the caller
    // could act on; the name (or the exchange's code) is the result.
    if (opened_here) (void)uart_Close(handle);
    if (!ok) return false;
    const size_t length = std::strlen(answer);
    copy_text(length > kAnswerPrefix ? std::string(answer + kAnswerPrefix) : std::string(), out, size);
    return true;
}

}  // namespace vex::frame
