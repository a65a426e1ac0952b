// The virtual controller's own COM ports: the internal backplane port
// "COM0:" and the external bus ports of the description.
//
// The host creates each port as a pseudo-terminal, keeps the master side and
// points a link in the instance's folder ("ports/COM1" for "COM1:") at the
// slave. The registry names that link under HKEY_LOCAL_MACHINE\VORLAN\Ports
// (value "COM1"), where the library looks COM names up, from the power-up
// on; the name stays the same from one host to the next, and while no host
// runs the link is gone. Whatever the port's user writes arrives at the
// master; a listener attached there (a serial module emulator) may answer.
// Without a listener the bytes are dropped, like a line with nothing on it.
//
// Pseudo-terminals have no modem lines, so the controller models them in
// its shared state (SerialPortState); the platform layer uses that model for
// a port whose device is one of these.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "sim/instance.h"
#include "sim/state.h"

namespace vex::sim {

// Registry key (below HKEY_LOCAL_MACHINE) of the COM name -> device map.
inline constexpr const wchar_t* kPortsKey = L"VORLAN\\Ports";

// A port's value under kPortsKey ("COM1" for "COM1:") and the link it names
// in the instance folder `dir` ("<dir>/ports/COM1").
std::wstring port_value_name(const std::string& port);
std::string port_link_path(const std::string& dir, const std::string& port);
// Names every port the controller was powered up with in the registry of the
// instance folder `dir`, before any host has made them: a program may look a
// port up the moment it has loaded. Writes only values that are missing.
// Call under the creation lock: only a power-up changes the port names.
bool preset_port_names(const std::string& dir, const State& s);

// --- Modem model. Call with the state locked (Instance::with_lock). -------

// Index of the port published at `device` (a canonical path), or -1.
int serial_port_index(const State& s, const char* device);
// Index of the port named `name` ("COM1:"), or -1.
int serial_port_by_name(const State& s, const char* name);
// The input lines as the port's user sees them (CTS 0x10, DSR 0x20,
// RING 0x40, carrier detect 0x80).
uint32_t serial_port_status(const State& s, int index);
// The port's user raises or lowers DTR (rts = false) or RTS.
void serial_port_drive(State& s, int index, bool rts, bool on);
// The far end sets its lines (same bits as the status).
void serial_port_set_far_lines(State& s, int index, uint32_t bits);

// --- Far side, for serial module emulators. --------------------------------

// The master side of one port, as a listener sees it.
class SerialLine {
public:
    virtual ~SerialLine() = default;
    virtual const std::string& port_name() const = 0;
    // Sends bytes to the port's user; what does not fit the line's buffer
    // is dropped. Returns the count sent.
    virtual size_t send(const void* data, size_t size) = 0;
    // Sends bytes later, as a line delivers them: the first `first_delay_ns`
    // from now, each next `gap_ns` after the one before. Queued after bytes
    // still waiting; the host's serial thread sends each when it is due.
    virtual void send_timed(std::string_view bytes, uint64_t first_delay_ns, uint64_t gap_ns) = 0;
    // Forgets what still waits to go out.
    virtual void drop_pending() = 0;
    // How long one character takes at the line settings the port's user
    // made (start bit, data bits, parity, stop bits at its baud rate), or 0
    // when the settings cannot be read.
    virtual uint64_t char_time_ns() const = 0;
};

class SerialListener {
public:
    virtual ~SerialListener() = default;
    // Bytes the port's user wrote. Runs on the host's serial thread.
    virtual void received(SerialLine& line, const uint8_t* data, size_t size) = 0;
};

// Time one character takes on a tty at its current termios settings (see
// SerialLine::char_time_ns); 0 when they cannot be read.
uint64_t tty_char_time_ns(int fd);

// Offers a listener for a port ("COM0:", "COM1:", ...); null to pass.
using SerialListenerFactory = std::unique_ptr<SerialListener> (*)(Instance& instance,
                                                                   const std::string& port_name);
// Adds a listener factory (call from a static initialiser). Each port gets
// the first listener offered.
bool register_serial_listener(const char* name, SerialListenerFactory factory);

}  // namespace vex::sim
