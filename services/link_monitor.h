// The Ethernet link monitor: one thread from load to unload, blocked on
// the target's link notifications (platform/link_watch.h) and a cancel
// descriptor, keeping this process's two link flags.
//
// Lock rules: the flags are single bytes, written by the monitor thread
// only and read by anyone without a lock; the rest is described at the
// Monitor structure in the .cpp.
#pragma once

#include <cstdint>
#include <string>

#include "platform/registry_store.h"

namespace vex::services {

// Registry key (below HKEY_LOCAL_MACHINE) whose string values "LAN1" and
// "LAN2" name the interfaces those adapters stand for.
inline constexpr const wchar_t* kEthernetKey = L"VORLAN\\Ethernet";
// The interface adapter `index` (1 or 2) stands for: the registry value, or
// "eth0" / "eth1" when there is none. Empty when the value is not a string
// (a misconfiguration: that adapter then never reports a link).
std::string adapter_interface(plat::registry::Store& store, int index);

// Load sequence members. In a child made by fork() the monitor starts
// again at the child's first vex_EthernetLinkState.
void start_link_monitor();
void stop_link_monitor();
void restart_after_fork();

// For tools: the interfaces the running monitor watches for LAN1 and
// LAN2, why it could not start ("" if it did), and a wait for the next
// change of either flag.
std::string monitored_interface(int index);
std::string link_monitor_problem();
uint32_t link_changes();
// Waits until link_changes() differs from `seen` or `timeout_ms` passes
// (negative: no limit). Returns the counter.
uint32_t wait_for_link_change(uint32_t seen, int timeout_ms);

}  // namespace vex::services
