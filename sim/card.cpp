#include "sim/card.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "platform/target.h"
#include "sim/models/services.h"

namespace vex::sim {
namespace {

namespace fs = std::filesystem;

constexpr uint16_t kCardRemoved = 0, kCardInserted = 1, kCardMounted = 2, kCardUnmounted = 3;

void copy_text(char* dst, size_t size, const std::string& src) {
    std::memset(dst, 0, size);
    std::memcpy(dst, src.data(), std::min(size - 1, src.size()));
}

std::string text(const char* field, size_t size) { return std::string(field, strnlen(field, size)); }

void set_partitions(CardState& c, const std::vector<CardPartitionDescription>& parts) {
    std::memset(c.part, 0, sizeof c.part);
    c.partitions = 0;
    for (const CardPartitionDescription& p : parts) {
        if (c.partitions >= kCardPartitions) break;
        CardPartitionState& d = c.part[c.partitions++];
        copy_text(d.name, sizeof d.name, p.name);
        copy_text(d.file_system, sizeof d.file_system, p.file_system);
        copy_text(d.label, sizeof d.label, p.label);
        copy_text(d.contents, sizeof d.contents, p.contents.empty() ? "card-" + p.name : p.contents);
    }
}

bool is_link(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

// Takes the mounted partition's link away: only a link, never a directory
// someone made at that place.
void drop_mount(State& s, uint64_t now) {
    CardState& c = s.services.card;
    if (!c.mounted) return;
    const std::string folder = text(c.folder, sizeof c.folder);
    if (is_link(folder)) ::unlink(folder.c_str());
    c.mounted = 0;
    std::memset(c.folder, 0, sizeof c.folder);
    c.changes++;
    models::trace_event(s, kTraceCard, 0, kCardUnmounted, now);
}

// Removes trailing slashes so that "/x/Micro_SD/" and "/x/Micro_SD" name
// one folder.
std::string plain_folder(std::string folder) {
    while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
    return folder;
}

class SimCardStore final : public plat::CardStore {
public:
    explicit SimCardStore(Instance& inst) : inst_(inst) {}

    bool present(const std::string&) override {
        return inst_.with_lock([](State& s) { return s.services.card.present != 0; });
    }

    std::optional<plat::PartitionInfo> first_partition(const std::string&) override {
        return inst_.with_lock([](State& s) -> std::optional<plat::PartitionInfo> {
            const CardState& c = s.services.card;
            if (!c.present || c.partitions == 0) return std::nullopt;
            const CardPartitionState& p = c.part[0];
            return plat::PartitionInfo{text(p.name, sizeof p.name), text(p.file_system, sizeof p.file_system),
                                       text(p.label, sizeof p.label)};
        });
    }

    bool mount(const std::string&, const std::string& name, const std::string& folder_in) override {
        const std::string folder = plain_folder(folder_in);
        if (folder.empty() || folder.size() >= kCardPath) return false;
        std::error_code ec;
        if (!fs::is_directory(fs::path(folder).parent_path(), ec)) return false;
        const uint64_t now = inst_.now_ns();
        return inst_.with_lock([&](State& s) {
            CardState& c = s.services.card;
            if (!c.present || c.mounted) return false;
            int index = -1;
            for (int i = 0; i < c.partitions; ++i) {
                if (text(c.part[i].name, sizeof c.part[i].name) == name) index = i;
            }
            if (index < 0) return false;
            fs::path contents = text(c.part[index].contents, sizeof c.part[index].contents);
            if (contents.is_relative()) contents = fs::path(plat::instance_dir(text(s.instance, sizeof s.instance))) / contents;
            std::error_code err;
            fs::create_directories(contents, err);
            if (err) return false;
            // A link left by a process that died mid-way is ours to replace;
            // a real file or directory at the folder is not.
            if (is_link(folder)) ::unlink(folder.c_str());
            if (::symlink(contents.c_str(), folder.c_str()) != 0) return false;
            c.mounted = static_cast<uint8_t>(index + 1);
            copy_text(c.folder, sizeof c.folder, folder);
            c.changes++;
            models::trace_event(s, kTraceCard, static_cast<uint32_t>(index), kCardMounted, now);
            return true;
        });
    }

    bool unmount_all(const std::string&) override {
        const uint64_t now = inst_.now_ns();
        return inst_.with_lock([&](State& s) {
            if (!s.services.card.present) return false;
            drop_mount(s, now);
            return true;
        });
    }

    bool mounted_at(const std::string&, const std::string& folder) override {
        const std::string wanted = plain_folder(folder);
        return inst_.with_lock([&](State& s) {
            const CardState& c = s.services.card;
            return c.present && c.mounted && text(c.folder, sizeof c.folder) == wanted && is_link(wanted);
        });
    }

    std::string default_folder() const override { return plat::instance_dir(inst_.name()) + "/Micro_SD"; }

private:
    Instance& inst_;
};

}  // namespace

void card_power_up(State& s, const Description& d, uint64_t) {
    CardState& c = s.services.card;
    std::memset(&c, 0, sizeof c);
    c.present = d.card.present ? 1 : 0;
    set_partitions(c, d.card.partitions);
}

bool card_insert(Instance& inst, const std::vector<CardPartitionDescription>* partitions) {
    const uint64_t now = inst.now_ns();
    return inst.with_lock([&](State& s) {
        CardState& c = s.services.card;
        if (c.present) return false;
        if (partitions) set_partitions(c, *partitions);
        c.present = 1;
        c.changes++;
        models::trace_event(s, kTraceCard, 0, kCardInserted, now);
        return true;
    });
}

bool card_remove(Instance& inst) {
    const uint64_t now = inst.now_ns();
    return inst.with_lock([&](State& s) {
        CardState& c = s.services.card;
        if (!c.present) return false;
        drop_mount(s, now);
        c.present = 0;
        c.changes++;
        models::trace_event(s, kTraceCard, 0, kCardRemoved, now);
        return true;
    });
}

std::unique_ptr<plat::CardStore> make_card_store(Instance& inst) { return std::make_unique<SimCardStore>(inst); }

}  // namespace vex::sim
