// The storage manager's view of the controller's removable card: is a card
// in the slot, what is its first partition, mount a partition at a folder,
// unmount the whole card.
//
// One store per process, made for the target when the library attaches and
// held until it detaches (a backend chosen once):
//   hw   Linux: the card is the block device whose kernel device type
//        (/sys/block/<dev>/device/type) reads "SD", or the device named by
//        the caller (a configured override); partitions are its sysfs
//        partitions (a card with a file system on the whole device and no
//        partition table counts as one partition named like the device),
//        described by libblkid from the partition itself;
//        mounting is mount(2), unmounting umount2(2) of every mount of the
//        card found in /proc/self/mountinfo.
//   sim  the virtual controller's described card (sim/card.h): mounting
//        makes the folder a link to the partition's contents directory.
//
// Texts are UTF-8. No call records an error code; failures are `false` or
// an empty result. Calls may run on any thread at once: each is one
// self-contained operation on the system's (or the instance's) state.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace vex::plat {

struct PartitionInfo {
    std::string name;          // "mmcblk0p1": what mount() takes
    std::string file_system;   // "vfat", "exfat", "ext4"; empty when unknown
    std::string label;         // volume label; empty when it has none
};

class CardStore {
public:
    virtual ~CardStore() = default;
    // `device` names the card's block device explicitly ("mmcblk1",
    // "loop3"); empty: find it by its kernel device type. The virtual
    // controller ignores it.
    // True when a card is inserted and its store can be opened.
    virtual bool present(const std::string& device) = 0;
    // The partition with the lowest number, described; nothing without a
    // card or partitions.
    virtual std::optional<PartitionInfo> first_partition(const std::string& device) = 0;
    // Mounts the card's partition `name` at `folder`. The folder is created
    // (one level) when missing; its parent must exist. False when there is
    // no card, no such partition, no usable folder, or a card partition is
    // already mounted there, or the mount itself fails (no privilege,
    // unknown file system).
    virtual bool mount(const std::string& device, const std::string& name, const std::string& folder) = 0;
    // Unmounts every mount of the card's partitions. False without a card
    // or when one of them stays mounted.
    virtual bool unmount_all(const std::string& device) = 0;
    // True when one of the card's partitions is mounted at `folder`.
    virtual bool mounted_at(const std::string& device, const std::string& folder) = 0;
    // Where the card is mounted when nothing is configured.
    virtual std::string default_folder() const = 0;
};

// The store of the current target; null without a controller.
std::unique_ptr<CardStore> make_card_store();

}  // namespace vex::plat
