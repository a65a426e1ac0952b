#include "modproto/link.h"

#include <cstring>

#include "frame/errors.h"
#include "io/module_registers.h"
#include "modproto/codes.h"
#include "serial/port_table.h"
#include "serial/slot_command.h"
#include "vexsdk.h"

namespace vex::modproto {

bool settle(Answer a) {
    if (a == Answer::Accepted) return true;
    if (const uint32_t code = code_of(a)) frame::set_last_error(code);
    return false;
}

Target remote_or_local(uint32_t port, int32_t address) {
    Target t;
    t.port = port;
    if (address >= 0x1000 && address < 0x100000) {
        t.address = static_cast<uint32_t>(address - 0x1000);
    } else {
        t.via_slot = true;
        t.slot = static_cast<uint32_t>(address) & 0xFF;
    }
    return t;
}

Target unit_slot(uint32_t port, int32_t address) {
    Target t;
    t.port = port;
    t.address = (static_cast<uint32_t>(address) >> 8) & 0xFF;
    t.unit_slot = static_cast<uint32_t>(address) & 0xFF;
    return t;
}

Target local_slot(uint32_t port, uint32_t slot) {
    Target t;
    t.port = port;
    t.via_slot = true;
    t.slot = slot & 0xFF;
    return t;
}

Target bus_module(uint32_t port, uint32_t module_address) {
    Target t;
    t.port = port;
    t.address = module_address;
    return t;
}

bool send_module_command(uint32_t port, const char* command, uint32_t command_size, char* answer,
                         uint32_t answer_size, bool* answered) {
    if (answered) *answered = false;
    if (serial::rejected(port)) return settle(Answer::NoPort);
    // The lookup the exchange does anyway; a port that is not open fails
    // there with VEX_ERR_UART_OPEN.
    if (!uart_SendCmdExt(port, command, command_size, answer, answer_size)) return false;
    if (answered) *answered = true;
    if (answer[0] == '>' || answer[0] == '!') return true;
    return settle(Answer::Unexpected);
}

bool exchange(const Target& target, const Command& command, char* answer, uint32_t answer_size) {
    if (answer_size == 0) return false;
    answer[0] = '\0';
    bool answered = false;
    const bool ok = target.via_slot
                        ? serial::send_slot_command(target.port, target.slot, command.text, command.size, answer,
                                                    answer_size, &answered)
                        : send_module_command(target.port, command.text, command.size, answer, answer_size,
                                              &answered);
    if (!answered) answer[0] = '\0';
    answer[answer_size - 1] = '\0';
    return ok;
}

bool Reply::run(const Target& target, const Command& command) {
    if (!command.fits) return settle(Answer::BadArgument);
    const uint32_t size = size_ < sizeof text_ ? size_ : static_cast<uint32_t>(sizeof text_);
    exchanged_ = exchange(target, command, text_, size);
    return true;
}

bool mf_checks(uint32_t port, int32_t address) {
    if (serial::rejected(port)) return settle(Answer::NoPort);
    if (address >= 0x1000 && address < 0x100000) return true;
    const uint32_t slot = static_cast<uint32_t>(address) & 0xFF;
    if (io::module_read8(slot, io::kRegId) < io::kSerialModuleId) return settle(Answer::NotSerial);
    return true;
}

}  // namespace vex::modproto
