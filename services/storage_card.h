// The storage card inside the library: the target's card store, made at
// load, and its configuration from the registry.
#pragma once

#include <optional>
#include <string>

#include "platform/card_store.h"

namespace vex::services {

// Registry key (below HKEY_LOCAL_MACHINE) of the card's settings: string
// values "Folder" (where partitions are mounted) and "Device" (the card's
// block device, instead of finding it by type).
inline constexpr const wchar_t* kStorageCardKey = L"VORLAN\\StorageCard";

struct CardConfig {
    std::string device;   // empty: find the card by its kernel device type
    std::string folder;
};
// The settings in force; nothing when the library has no card store or a
// setting is not a string (every card call then fails).
std::optional<CardConfig> card_config();
// The first partition, described (vexctl card info).
std::optional<plat::PartitionInfo> first_partition();

// Load sequence members.
void attach_storage_card();
void detach_storage_card();

}  // namespace vex::services
