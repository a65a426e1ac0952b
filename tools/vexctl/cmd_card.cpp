// vexctl card: the storage card.
#include <cstdio>
#include <string>

#include "platform/text_codec.h"
#include "services/storage_card.h"
#include "tools/common/cli.h"
#include "tools/vexctl/commands.h"
#include "vexsdk.h"

namespace {

using vex::tools::fail;

vex::services::CardConfig config_or_fail() {
    const auto cfg = vex::services::card_config();
    if (!cfg)
        fail(vex::tools::kExitFailed, "the card settings under HKEY_LOCAL_MACHINE\\VORLAN\\StorageCard must be strings "
                                   "(Folder, Device), or the library has no controller");
    return *cfg;
}

int status() {
    const auto cfg = config_or_fail();
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
    std::printf("device: %s\n", cfg.device.empty() ? "(the block device of type SD)" : cfg.device.c_str());
    std::printf("folder: %s\n", cfg.folder.c_str());
    if (!vex_SDOnside()) {
        std::printf("no card\n");
        return 0;
    }
    wchar_t name[VEX_PARTITION_TEXT_SIZE], fs[VEX_PARTITION_TEXT_SIZE], label[VEX_PARTITION_TEXT_SIZE];
    if (!_vex_get_partition_info(name, fs, label)) {
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
    config_or_fail();
    if (!vex_SDOnside()) fail(vex::tools::kExitFailed, "no card inserted");
    if (!vex_SDUnmount()) fail(vex::tools::kExitFailed, "the card stays mounted (busy, or no privilege to unmount)");
    std::printf("card unmounted\n");
    return 0;
}

}  // namespace

void register_card_commands(CLI::App& app) {
    CLI::App* c = app.add_subcommand("card", "The storage card: status, info, mount NAME, unmount");
    c->require_subcommand(1);
    c->add_subcommand("status", "Inserted? Mounted?")->callback([] { std::exit(status()); });
    c->add_subcommand("info", "The first partition and the settings")->callback([] { std::exit(info()); });
    static std::string name;
    CLI::App* m = c->add_subcommand("mount", "Mount a partition of the card at the card's folder");
    m->add_option("name", name, "Partition name, e.g. mmcblk0p1")->required();
    m->callback([] { std::exit(mount(name)); });
    c->add_subcommand("unmount", "Unmount the whole card")->callback([] { std::exit(unmount()); });
}
