// The services' part of a description: the storage card and the Ethernet
// links. Called by parse_description (sim/description.cpp).
//
//   [card]
//   present = true                 # a card sits in the slot (default false)
//   [[card.partition]]             # up to 4, first = the one described first
//   name = "mmcblk0p1"             # 1..31 characters, no '/'
//   file_system = "vfat"           # 0..31 characters
//   label = "VEXCARD"              # 0..31 characters
//   contents = "card"              # directory of its files (relative: in the
//                                  # instance directory; default "card-<name>")
//   [[link]]                       # up to 4 Ethernet adapters
//   interface = "eth0"             # 1..15 characters, as the kernel names them
//   up = true                      # cable plugged in (default false)
//
// Unknown keys in these tables are errors, so a misspelled setting never
// falls back to a default unnoticed.
#pragma once

#include <string>

#include "sim/toml.h"

#include "sim/description.h"

namespace vex::sim {

// Reads [card] and [[link]] from a parsed description into d. On error
// returns false and explains in *error.
bool read_services_description(const toml::table& root, Description& d, std::string* error);

}  // namespace vex::sim
