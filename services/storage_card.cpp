// The storage card exports over the target's card store
// (platform/card_store.h), configured by the registry.
#include <cwchar>
#include <memory>
#include <mutex>

#include "platform/card_store.h"
#include "platform/registry_store.h"
#include "platform/text_codec.h"
#include "services/storage_card.h"
#include "vexsdk.h"

namespace vex::services {
namespace {

constexpr const wchar_t* kCheckDisk =
    L"HKEY_LOCAL_MACHINE\\Drivers\\SDCARD\\ClientDrivers\\Class\\SDMemory_Class\\CheckDisk";
// Partition names are short ("mmcblk0p1"); anything this long names none.
constexpr size_t kMaxNameLength = 64;

// The store, made by the load sequence. `mutex` guards the pointer only;
// calls on the store run outside it (the store is safe for any thread),
// holding a shared reference so that unload waits for none.
struct Card {
    std::mutex mutex;
    std::shared_ptr<plat::CardStore> store;
};

Card& card() {
    static Card* c = new Card;
    return *c;
}

std::shared_ptr<plat::CardStore> store() {
    Card& c = card();
    std::lock_guard<std::mutex> lock(c.mutex);
    return c.store;
}

// A string value of the card's key: nullopt when absent, `bad` set when it
// exists with another type.
std::optional<std::string> setting(const wchar_t* name, bool& bad) {
    auto reg = plat::registry::current_store();
    if (!reg) return std::nullopt;
    plat::registry::Value v;
    if (reg->get_value(plat::registry::Root::LocalMachine, kStorageCardKey, name, v) != VEX_REG_SUCCESS)
        return std::nullopt;
    if (!plat::registry::Value::is_string_type(v.type)) {
        bad = true;
        return std::nullopt;
    }
    return plat::to_utf8(v.text);
}

void copy_out(wchar_t* dst, const std::string& text) {
    if (!dst) return;
    const std::wstring w = plat::from_utf8(text);
    const size_t n = std::min(w.size(), static_cast<size_t>(VEX_PARTITION_TEXT_SIZE - 1));
    std::wmemcpy(dst, w.data(), n);
    dst[n] = L'\0';
}

}  // namespace

std::optional<CardConfig> card_config() {
    auto s = store();
    if (!s) return std::nullopt;
    bool bad = false;
    CardConfig c;
    c.device = setting(L"Device", bad).value_or("");
    c.folder = setting(L"Folder", bad).value_or(s->default_folder());
    if (bad || c.folder.empty()) return std::nullopt;
    return c;
}

void attach_storage_card() {
    std::shared_ptr<plat::CardStore> made = plat::make_card_store();
    Card& c = card();
    std::lock_guard<std::mutex> lock(c.mutex);
    c.store = std::move(made);
}

void detach_storage_card() {
    Card& c = card();
    std::lock_guard<std::mutex> lock(c.mutex);
    c.store.reset();
}

std::optional<plat::PartitionInfo> first_partition() {
    auto s = store();
    const auto cfg = card_config();
    if (!s || !cfg) return std::nullopt;
    return s->first_partition(cfg->device);
}

}  // namespace vex::services

VEXSDK_EXTERN_C_BEGIN

VEXSDK_API VEX_BOOL vex_SDOnside(void) {
    auto s = vex::services::store();
    const auto cfg = vex::services::card_config();
    return s && cfg && s->present(cfg->device) ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API VEX_BOOL vex_SDExists(void) {
    auto s = vex::services::store();
    const auto cfg = vex::services::card_config();
    return s && cfg && s->present(cfg->device) && s->mounted_at(cfg->device, cfg->folder) ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API VEX_BOOL vex_SDMount(const wchar_t* partition) {
    vex_RegSetDWORD(vex::services::kCheckDisk, 1);
    if (!partition || partition[0] == L'\0' || wcsnlen(partition, vex::services::kMaxNameLength) >= vex::services::kMaxNameLength)
        return VEX_FALSE;
    auto s = vex::services::store();
    const auto cfg = vex::services::card_config();
    if (!s || !cfg) return VEX_FALSE;
    return s->mount(cfg->device, vex::plat::to_utf8(partition), cfg->folder) ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API VEX_BOOL vex_SDUnmount(void) {
    auto s = vex::services::store();
    const auto cfg = vex::services::card_config();
    if (!s || !cfg || !s->present(cfg->device)) return VEX_FALSE;
    vex_RegSetDWORD(vex::services::kCheckDisk, 0);
    return s->unmount_all(cfg->device) ? VEX_TRUE : VEX_FALSE;
}

VEXSDK_API VEX_BOOL _vex_get_partition_info(wchar_t* name, wchar_t* fileSystem, wchar_t* volume) {
    const auto info = vex::services::first_partition();
    if (!info) return VEX_FALSE;
    vex::services::copy_out(name, info->name);
    vex::services::copy_out(fileSystem, info->file_system);
    vex::services::copy_out(volume, info->label);
    return VEX_TRUE;
}

VEXSDK_EXTERN_C_END
