// vexctl card: the storage card.
#include <cstdio>
#include <string>

#include "platform/text_codec.h"
#include "services/storage_card.h"
#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_card {

using vex::tools::fail;

vex::services::CardConfig config_or_fail() {
    const auto cfg = vex::services::card_config();
    if (!cfg)
        fail(vex::tools::kExitFailed, "the card settings under HKEY_LOCAL_MACHINE\\VORLAN\\StorageCard must be strings "
                                   "(Folder, Device), or the library has no controller");
    return *cfg;
}

// The card's state for --json: {present, mounted, folder} and what `more`
// adds.
template <typename More>
int print_json(const vex::services::CardConfig& cfg, More more) {
    vex::tools::Json j;
    const bool present = vex_SDOnside() != 0;
    j.open_object().field("present", present).field("mounted", present && vex_SDExists());
    j.field("folder", cfg.folder);
    more(j);
    j.close().print();
    return 0;
}

int status() {
    const auto cfg = config_or_fail();
    if (vex::tools::json_output()) return print_json(cfg, [](vex::tools::Json&) {});
    if (!vex_SDOnside()) {
        std::printf("no card\n");
        return 0;
    }
    if (vex_SDExists())
        std::printf("card inserted, mounted at %s\n", cfg.folder.c_str());
    else
        std::printf("card inserted, not mounted at %s\n", cfg.folder.c_str());
    return 0;
}

int info() {
    const auto cfg = config_or_fail();
    wchar_t name[VEX_PARTITION_TEXT_SIZE] = L"", fs[VEX_PARTITION_TEXT_SIZE] = L"", label[VEX_PARTITION_TEXT_SIZE] = L"";
    const bool partition = vex_SDOnside() && _vex_get_partition_info(name, fs, label);
    if (vex::tools::json_output()) {
        return print_json(cfg, [&](vex::tools::Json& j) {
            if (cfg.device.empty())
                j.key("device").null();
            else
                j.field("device", cfg.device);
            j.key("partition");
            if (!partition) {
                j.null();
                return;
            }
            j.open_object().field("name", vex::plat::to_utf8(name)).field("file_system", vex::plat::to_utf8(fs));
            j.field("label", vex::plat::to_utf8(label)).close();
        });
    }
    std::printf("device: %s\n", cfg.device.empty() ? "(the block device of type SD)" : cfg.device.c_str());
    std::printf("folder: %s\n", cfg.folder.c_str());
    if (!vex_SDOnside()) {
        std::printf("no card\n");
        return 0;
    }
    if (!partition) {
        std::printf("card inserted, no partitions\n");
        return 0;
    }
    std::printf("first partition: %s\nfile system: %s\nlabel: %s\n", vex::plat::to_utf8(name).c_str(),
                fs[0] ? vex::plat::to_utf8(fs).c_str() : "(unknown)",
                label[0] ? vex::plat::to_utf8(label).c_str() : "(none)");
    std::printf("%s\n", vex_SDExists() ? "mounted" : "not mounted");
    return 0;
}

int mount(const std::string& name) {
    const auto cfg = config_or_fail();
    if (!vex_SDOnside()) fail(vex::tools::kExitFailed, "no card inserted");
    if (vex_SDMount(vex::plat::from_utf8(name).c_str())) {
        if (vex::tools::json_output()) return print_json(cfg, [&](vex::tools::Json& j) { j.field("partition", name); });
        std::printf("%s mounted at %s\n", name.c_str(), cfg.folder.c_str());
        return 0;
    }
    const auto first = vex::services::first_partition();
    if (vex_SDExists()) fail(vex::tools::kExitFailed, "the card is already mounted at " + cfg.folder);
    fail(vex::tools::kExitFailed, "cannot mount '" + name + "' at " + cfg.folder +
                                   (first ? " (the card's first partition is '" + first->name + "')" : " (the card has no partitions)") +
                                   "; the folder's parent must exist, and mounting needs root on a real controller");
}

int unmount() {
    const auto cfg = config_or_fail();
    if (!vex_SDOnside()) fail(vex::tools::kExitFailed, "no card inserted");
    if (!vex_SDUnmount()) fail(vex::tools::kExitFailed, "the card stays mounted (busy, or no privilege to unmount)");
    if (vex::tools::json_output()) return print_json(cfg, [](vex::tools::Json&) {});
    std::printf("card unmounted\n");
    return 0;
}

}  // namespace vexctl_cmd_card
}  // namespace

void register_card_commands(CLI::App& app) {
    using namespace vexctl_cmd_card;
    CLI::App* c = app.add_subcommand("card", "The storage card: status, info, mount NAME, unmount");
    c->require_subcommand(1);
    c->footer("With --json: {present, mounted, folder}; info adds device (null: the block device of type SD)\n"
              "and partition ({name, file_system, label} of the first one, or null); mount adds partition.");
    c->add_subcommand("status", "Inserted? Mounted?")->callback([] { std::exit(status()); });
    c->add_subcommand("info", "The first partition and the settings")->callback([] { std::exit(info()); });
    static std::string name;
    CLI::App* m = c->add_subcommand("mount", "Mount a partition of the card at the card's folder");
    m->add_option("name", name, "Partition name, e.g. mmcblk0p1")->required();
    m->callback([] { std::exit(mount(name)); });
    c->add_subcommand("unmount", "Unmount the whole card")->callback([] { std::exit(unmount()); });
}
