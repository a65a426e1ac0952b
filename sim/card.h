// The virtual controller's storage card: a card in the slot or not, up to
// four partitions (name, file system, label) whose files live in a
// directory each, and which partition is mounted where.
//
// Mounting shows a partition's contents directory at the mount folder as a
// symbolic link (no privilege needed); unmounting removes the link, and so
// does removing the card while it is mounted, as the storage manager does.
// A relative contents directory lies in the instance directory and is made
// when the partition is first mounted.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/card_store.h"
#include "sim/description.h"
#include "sim/instance.h"

namespace vex::sim {

// Instance power-up: the card as described (caller holds the lock).
void card_power_up(State& s, const Description& d, uint64_t now);

// Control, for vexsim and tests (each takes the instance lock).
// Inserts the card. With partitions given, the card carries those instead
// of the ones it had (at most four; texts are cut to their fields). False
// when a card is already inserted.
bool card_insert(Instance& inst, const std::vector<CardPartitionDescription>* partitions);
// Removes the card, unmounting it first. False when the slot is empty.
bool card_remove(Instance& inst);

// The library's card store on the virtual controller.
std::unique_ptr<plat::CardStore> make_card_store(Instance& inst);

}  // namespace vex::sim
