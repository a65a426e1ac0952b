// How a serial module is reached, and the exchange of one command with it.
//
// This layer only moves bytes: it hands a command to the serial transport
// and gives back the answer text. Judging the answer is the families' job.
//
// A module sits in one of the controller's own slots (its commands carry
// address 00 and go over the backplane's internal port after the slot is
// selected: SendSlotCommand), on a bus at an address (SendModuleCommand),
// or in a slot of a remote expansion unit (the unit's address in the
// command, the slot in a field of its own; SendModuleCommand).
//
// Thread safety: any thread; slot commands are serialised with every other
// slot selection by SlotCommandLock, bus commands only by the port's own
// locks (threads sharing a port serialise whole exchanges themselves).
#pragma once

#include <cstdint>
#include <string_view>

#include "modproto/command.h"

namespace vex::modproto {

struct Target {
    uint32_t port = 0;
    bool via_slot = false;   // SendSlotCommand for `slot`, else SendModuleCommand
    uint32_t slot = 0;       // local slot, low 8 bits
    uint32_t address = 0;    // module address printed in commands ("%02X")
    uint32_t unit_slot = 0;  // the slot field of commands to a remote unit
};

// I/O address forms of the serial families: 0x1000 <= address < 0x100000
// is a module at bus address (address - 0x1000); anything else (negative
// values and 0x100000 and above included) a module in local slot
// (address & 0xFF).
Target remote_or_local(uint32_t port, int32_t address);
// From 0x100000: slot (address & 0xFF) of the unit at bus address
// ((address >> 8) & 0xFF).
Target unit_slot(uint32_t port, int32_t address);
Target local_slot(uint32_t port, uint32_t slot);
Target bus_module(uint32_t port, uint32_t module_address);

// SendModuleCommand: rejects a port of 0 or all ones (VEX_ERR_UART_OPEN),
// exchanges the command (uart_SendCmdExt) and accepts only an answer that
// begins with '>' or '!' (else VEX_ERR_UART_RESPONSE); a failed exchange
// keeps its own code.
// `answered`, when given, tells whether a whole answer came.
bool send_module_command(uint32_t port, const char* command, uint32_t command_size, char* answer,
                         uint32_t answer_size, bool* answered = nullptr);

// One command to the target. The answer buffer (`answer_size` bytes)
// always holds a terminated text afterwards: a whole answer, or nothing
// when none came (silence, a cut or over-long answer, a bad checksum, a
// port that went away), so that no part of a broken answer is ever
// judged. The result is the exchange's: true for an answer beginning with
// '>' or '!'.
bool exchange(const Target& target, const Command& command, char* answer, uint32_t answer_size);

// One command and its answer, for the families.
class Reply {
public:
    explicit Reply(uint32_t size) : size_(size) {}
    // Sends the command (false, nothing sent, when it does not fit its
    // buffer) and records whether the exchange succeeded.
    bool run(const Target& target, const Command& command);
    bool exchanged() const { return exchanged_; }
    std::string_view text() const { return std::string_view(text_); }
    char first() const { return text_[0]; }

private:
    uint32_t size_;
    bool exchanged_ = false;
    char text_[kAllChannelsAnswer] = {};
};

// Checks of the exported _MF calls before anything is sent: a port of 0 or
// all ones fails with VEX_ERR_UART_OPEN; for the local forms (below 0x1000
// or from 0x100000) a slot whose ID register reads below 255 holds a
// parallel-bus module and fails with VEX_ERR_UNKNOWN_MODULE.
bool mf_checks(uint32_t port, int32_t address);

}  // namespace vex::modproto
