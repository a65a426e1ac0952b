// Pieces of the Linux card store (platform/card_store.h), apart so that
// tests can run them on a made-up sysfs tree and mount table.
#pragma once

#include <string>
#include <vector>

namespace vex::plat::card {

struct BlockDevice {
    std::string name;      // kernel name, "mmcblk0p1"
    std::string devnum;    // "179:1", as /sys/.../dev and mountinfo write it
    int number = 0;        // partition number (0 for the whole device)
};

// The card: `override` when given and present under `sys_block`
// (/sys/block), else the first device (by name) whose device/type reads
// "SD". Empty when there is none.
std::string find_card(const std::string& sys_block, const std::string& override_name);
// The whole device and its partitions, partitions by number.
BlockDevice whole_device(const std::string& sys_block, const std::string& card);
std::vector<BlockDevice> partitions(const std::string& sys_block, const std::string& card);
// True when the device has a medium (a size above zero).
bool has_medium(const std::string& sys_block, const std::string& card);

struct Mount {
    std::string devnum;
    std::string folder;    // unescaped mount point
};
// The mounts listed in a mountinfo text (/proc/self/mountinfo).
std::vector<Mount> parse_mountinfo(const std::string& text);

}  // namespace vex::plat::card
