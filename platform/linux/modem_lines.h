// The modem lines of an open COM port (DTR and RTS driven; CTS, DSR, RING
// and carrier detect sensed), behind one interface with two backends,
// chosen once when the port is opened:
//  - the tty's own lines through TIOCMGET/TIOCMBIS/TIOCMBIC and the
//    driver's transition counters (TIOCGICOUNT);
//  - the virtual controller's model of one of its ports, whose device is a
//    pseudo-terminal that has no modem lines of its own.
// The port's methods call the backend they were given and never ask which
// one it is.
//
// Thread safety: every method may be called from any thread at any time;
// each backend takes its own lock (the tty's counting state, or the
// instance's lock for the model) and holds none when it returns.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/com_port.h"

namespace vex::plat {

class ModemLines {
public:
    virtual ~ModemLines() = default;
    // The sensed lines as kModem* bits. False when the port has none or
    // the driver refuses.
    virtual bool status(uint32_t& bits) = 0;
    virtual bool drive(ModemLine line, bool on) = 0;
    // Transitions of CTS, DSR, RING and carrier detect so far. False when
    // the port has no modem lines to watch.
    virtual bool transitions(std::array<uint32_t, 4>& counts) = 0;
    // The port closes: a tty drops DTR and RTS by itself (HUPCL); the
    // model is told to do the same.
    virtual void hang_up() = 0;
};

// The backend for the port open on `fd`, whose device resolves to
// `canonical`: the virtual controller's model when the controller in use
// has a port of that device, the tty's lines otherwise.
std::unique_ptr<ModemLines> open_modem_lines(int fd, const std::string& canonical);

}  // namespace vex::plat
