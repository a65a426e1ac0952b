// Parallel-bus modules of the virtual controller made from the product
// catalogue by the name the library prints for them ("8016H"): the
// catalogue row gives the ID and the channels, the row's rule the register
// that tells the variant (sub-type register 0x10 or capability 0x0E).
// Variants told by the input straps of registers 0x06/0x08 cannot be
// made: the virtual modules read those registers as input lines.
#pragma once

#include <string>

#include "sim/description.h"

namespace vex::sim {

// Fills `slot` (kind, ID, channels, read-back, watchdog, sub-type or
// capability; the version is kept) for the module the catalogue names
// `name`. False with the reason in *why when no row prints that name or
// its variant cannot be modelled.
bool describe_catalogue_module(const std::string& name, SlotDescription& slot, std::string* why);

// The name the library prints for a virtual parallel-bus module, from its
// registers as the module shows them; "" when the catalogue has no row for
// its ID.
std::string catalogue_name(const Slot& slot);

// The catalogue's parallel-bus names that look like `name` (a few edits
// away, or sharing its start), comma-separated; all of them when none does.
std::string close_module_names(const std::string& name);

}  // namespace vex::sim
