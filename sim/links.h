// The virtual controller's Ethernet adapters: up to four, by interface
// name ("eth0"), each with its cable link up or down.
//
// Whoever changes a link rings the instance's link doorbell: the file
// <instance dir>/links.bell is rewritten, so that every process watching
// it (the library's link monitor, through inotify) hears of the change
// the way it would hear the kernel's, and reads the links again.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "sim/description.h"
#include "sim/instance.h"

namespace vex::sim {

struct LinkView {
    std::string interface;
    bool up = false;
};

// Instance power-up: the links as described (caller holds the creation
// lock). The instance rings the doorbell once it is up.
void links_power_up(State& s, const Description& d, uint64_t now);

// Sets a link (takes the instance lock), then rings the doorbell. False
// when the controller has no adapter of that name.
bool link_set(Instance& inst, const std::string& interface, bool up);
// The adapters and their links, in description order.
std::vector<LinkView> links_snapshot(Instance& inst);

// The doorbell of an instance, and ringing it.
std::string link_doorbell_path(const std::string& instance);
void ring_link_doorbell(const std::string& instance);

}  // namespace vex::sim
