#include "serial/slot_command.h"

#include "frame/errors.h"
#include "serial/port_table.h"
#include "vexsdk.h"

namespace vex::serial {

std::recursive_mutex& slot_command_lock() {
    // Never destroyed: the unload sequence may run after static destructors.
    static auto* lock = new std::recursive_mutex;
    return *lock;
}

bool send_slot_command(uint32_t handle, uint32_t slot, const char* command, uint32_t command_max, char* answer,
                       uint32_t answer_size, bool* answered) {
    if (answered) *answered = false;
    if (rejected(handle)) {
        frame::set_last_error(VEX_ERR_UART_OPEN);
        return false;
    }
    bool exchanged;
    {
        std::lock_guard lock(slot_command_lock());
        vex_ChangeSlot(slot & 0xFF);
        exchanged = uart_SendCmdExt(handle, command, command_max, answer, answer_size) != 0;
    }
    if (!exchanged) return false;
    if (answered) *answered = true;
    if (answer[0] == '>' || answer[0] == '!') return true;
    frame::set_last_error(VEX_ERR_UART_RESPONSE);
    return false;
}

}  // namespace vex::serial
