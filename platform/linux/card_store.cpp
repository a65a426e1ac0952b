// The storage card on Linux. See platform/card_store.h for the rules.
#include "platform/linux/card_store.h"

#include <blkid.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/card_store.h"
#include "platform/linux/service_calls.h"

namespace vex::plat {
namespace card {
namespace {

namespace fs = std::filesystem;

std::string first_line(const fs::path& file) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    while (!line.empty() && (line.back() == ' ' || line.back() == '\r')) line.pop_back();
    return line;
}

// "\040" in mountinfo stands for a space, and so on for tab, newline, '\'.
std::string unescape(const std::string& s) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        auto octal = [&](size_t k) { return k < s.size() && s[k] >= '0' && s[k] <= '7'; };
        if (s[i] == '\\' && octal(i + 1) && octal(i + 2) && octal(i + 3)) {
            out += static_cast<char>(std::strtol(s.substr(i + 1, 3).c_str(), nullptr, 8));
            i += 3;
        } else {
            out += s[i];
        }
    }
    return out;
}

}  // namespace

std::string find_card(const std::string& sys_block, const std::string& override_name) {
    std::error_code ec;
    if (!override_name.empty()) {
        if (override_name.find('/') != std::string::npos || override_name == "." || override_name == "..")
            return {};
        return fs::is_directory(fs::path(sys_block) / override_name, ec) ? override_name : std::string();
    }
    std::vector<std::string> cards;
    for (const fs::directory_entry& e : fs::directory_iterator(sys_block, ec)) {
        if (first_line(e.path() / "device" / "type") == "SD") cards.push_back(e.path().filename().string());
    }
    std::sort(cards.begin(), cards.end());
    return cards.empty() ? std::string() : cards.front();
}

BlockDevice whole_device(const std::string& sys_block, const std::string& card) {
    return BlockDevice{card, first_line(fs::path(sys_block) / card / "dev"), 0};
}

std::vector<BlockDevice> partitions(const std::string& sys_block, const std::string& card) {
    std::vector<BlockDevice> out;
    std::error_code ec;
    for (const fs::directory_entry& e : fs::directory_iterator(fs::path(sys_block) / card, ec)) {
        const std::string number = first_line(e.path() / "partition");
        if (number.empty()) continue;
        out.push_back({e.path().filename().string(), first_line(e.path() / "dev"), std::atoi(number.c_str())});
    }
    std::sort(out.begin(), out.end(), [](const BlockDevice& a, const BlockDevice& b) { return a.number < b.number; });
    return out;
}

bool has_medium(const std::string& sys_block, const std::string& card) {
    return std::strtoull(first_line(fs::path(sys_block) / card / "size").c_str(), nullptr, 10) > 0;
}

std::vector<Mount> parse_mountinfo(const std::string& text) {
    std::vector<Mount> out;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream f(line);
        std::string id, parent, devnum, root, folder;
        if (f >> id >> parent >> devnum >> root >> folder) out.push_back({devnum, unescape(folder)});
    }
    return out;
}

}  // namespace card

namespace {

namespace fs = std::filesystem;
using oscalls::calls;

constexpr const char* kSysBlock = "/sys/block";
constexpr unsigned long kMountFlags = MS_NOSUID | MS_NODEV;

PartitionInfo describe(const std::string& name) {
    PartitionInfo info{name, {}, {}};
    blkid_probe pr = blkid_new_probe_from_filename(("/dev/" + name).c_str());
    if (!pr) return info;
    blkid_probe_enable_superblocks(pr, 1);
    blkid_probe_set_superblocks_flags(pr, BLKID_SUBLKS_TYPE | BLKID_SUBLKS_LABEL);
    if (blkid_do_safeprobe(pr) == 0) {
        const char* value = nullptr;
        if (blkid_probe_lookup_value(pr, "TYPE", &value, nullptr) == 0 && value) info.file_system = value;
        if (blkid_probe_lookup_value(pr, "LABEL", &value, nullptr) == 0 && value) info.label = value;
    }
    blkid_free_probe(pr);
    return info;
}

std::vector<card::Mount> mounts() {
    std::ifstream in("/proc/self/mountinfo");
    std::ostringstream text;
    text << in.rdbuf();
    return card::parse_mountinfo(text.str());
}

// The card's partitions. A card formatted without a partition table (a
// file system on the whole device, as some cameras leave them) counts as
// one partition named like the device.
std::vector<card::BlockDevice> card_partitions(const std::string& c) {
    std::vector<card::BlockDevice> parts = card::partitions(kSysBlock, c);
    if (parts.empty() && !describe(c).file_system.empty()) parts.push_back(card::whole_device(kSysBlock, c));
    return parts;
}

// The device numbers of the card and its partitions.
std::vector<std::string> card_devnums(const std::string& card) {
    std::vector<std::string> out{card::whole_device(kSysBlock, card).devnum};
    for (const card::BlockDevice& p : card::partitions(kSysBlock, card)) out.push_back(p.devnum);
    return out;
}

std::string canonical_folder(const std::string& folder) {
    std::error_code ec;
    const fs::path p = fs::canonical(folder, ec);
    return ec ? fs::path(folder).lexically_normal().string() : p.string();
}

class LinuxCardStore final : public CardStore {
public:
    bool present(const std::string& device) override {
        const std::string c = card::find_card(kSysBlock, device);
        return !c.empty() && card::has_medium(kSysBlock, c);
    }

    std::optional<PartitionInfo> first_partition(const std::string& device) override {
        if (!present(device)) return std::nullopt;
        const auto parts = card_partitions(card::find_card(kSysBlock, device));
        if (parts.empty()) return std::nullopt;
        return describe(parts.front().name);
    }

    bool mount(const std::string& device, const std::string& name, const std::string& folder_in) override {
        if (!present(device)) return false;
        const std::string c = card::find_card(kSysBlock, device);
        const auto parts = card_partitions(c);
        const auto part = std::find_if(parts.begin(), parts.end(), [&](const card::BlockDevice& p) { return p.name == name; });
        if (part == parts.end()) return false;
        std::string folder = folder_in;
        while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
        std::error_code ec;
        if (folder.empty() || !fs::is_directory(fs::path(folder).parent_path(), ec)) return false;
        if (!fs::exists(folder, ec) && calls().mkdir(folder.c_str(), 0755) != 0) return false;
        if (!fs::is_directory(folder, ec) || mounted_at(device, folder)) return false;
        const PartitionInfo info = describe(part->name);
        if (info.file_system.empty()) return false;
        return calls().mount(("/dev/" + part->name).c_str(), folder.c_str(), info.file_system.c_str(), kMountFlags,
                             nullptr) == 0;
    }

    bool unmount_all(const std::string& device) override {
        const std::string c = card::find_card(kSysBlock, device);
        if (c.empty()) return false;
        const auto nums = card_devnums(c);
        const auto all = mounts();
        bool ok = true;
        // Innermost first: later lines of mountinfo are mounted on top.
        for (auto m = all.rbegin(); m != all.rend(); ++m) {
            if (std::find(nums.begin(), nums.end(), m->devnum) == nums.end()) continue;
            ok &= calls().umount2(m->folder.c_str(), 0) == 0;
        }
        return ok;
    }

    bool mounted_at(const std::string& device, const std::string& folder) override {
        const std::string c = card::find_card(kSysBlock, device);
        if (c.empty()) return false;
        const auto nums = card_devnums(c);
        const std::string wanted = canonical_folder(folder);
        for (const card::Mount& m : mounts()) {
            if (m.folder == wanted && std::find(nums.begin(), nums.end(), m.devnum) != nums.end()) return true;
        }
        return false;
    }

    std::string default_folder() const override { return "/media/Micro_SD"; }
};

}  // namespace

std::unique_ptr<CardStore> make_linux_card_store() { return std::make_unique<LinuxCardStore>(); }

}  // namespace vex::plat
