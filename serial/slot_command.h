// The exchange with a serial module that sits in one of the controller's
// own slots. Those modules share the backplane's internal port; the
// backplane routes the port to one slot at a time (vex_ChangeSlot), so the
// selection and the exchange must happen together.
#pragma once

#include <cstdint>
#include <mutex>

namespace vex::serial {

// SlotCommandLock: held across the slot selection and one command exchange.
// Serial-module code that needs several exchanges with the same slot
// without another thread's selection in between may hold it around them
// (it is recursive).
std::recursive_mutex& slot_command_lock();

// SendSlotCommand: selects the slot (low 8 bits) and exchanges one command
// over `handle` (uart_SendCmdExt). Succeeds only for an answer that begins
// with '>' or '!'; any other answer fails with VEX_ERR_UART_RESPONSE. A
// rejected handle fails with VEX_ERR_UART_OPEN; a failed exchange keeps its
// own code. `answered`, when given, tells whether a whole answer came (the
// exchange itself worked, whatever the answer's first character).
bool send_slot_command(uint32_t handle, uint32_t slot, const char* command, uint32_t command_max, char* answer,
                       uint32_t answer_size, bool* answered = nullptr);

}  // namespace vex::serial
