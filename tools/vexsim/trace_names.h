// Names for the register writes of vexsim trace: "slot 2 DO0", "backplane
// DIP", or the bare offset where nothing more is known.
#pragma once

#include <cstdint>
#include <string>

#include "sim/state.h"

// The register at `offset` of the backplane window, named with what the
// state says sits there (state locked by the caller).
std::string register_name(const vex::sim::State& s, uint32_t offset);
