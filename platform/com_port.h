// COM ports as the serial transport sees them: a device opened exclusively,
// its line settings (the device-control block), its time-outs, its queues
// and its modem lines.
//
// On Linux a COM port is any tty: a UART (/dev/ttyS*, /dev/ttyUSB*...) or a
// pseudo-terminal. The virtual controller's own ports are pseudo-terminals,
// which have no modem lines; for those the platform uses the controller's
// modem model (DTR, RTS out; CTS, DSR, RING, carrier detect in) kept in the
// instance's shared state, so the lines behave the same for every process
// attached to the instance. A port is the controller's when its device path
// is one that the current instance publishes.
//
// Every method may be called from several threads at once (one reading, one
// writing, one waiting for line changes); cancel() wakes them all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace vex::plat {

// Parity and stop bits, numbered as the device-control block numbers them.
enum class Parity : uint8_t { None = 0, Odd = 1, Even = 2, Mark = 3, Space = 4 };
enum class StopBits : uint8_t { One = 0, OneAndHalf = 1, Two = 2 };

// DTR and RTS control modes of the device-control block.
inline constexpr uint8_t kDtrDisable = 0;
inline constexpr uint8_t kDtrEnable = 1;
inline constexpr uint8_t kDtrHandshake = 2;
inline constexpr uint8_t kRtsDisable = 0;
inline constexpr uint8_t kRtsEnable = 1;
inline constexpr uint8_t kRtsHandshake = 2;
inline constexpr uint8_t kRtsToggle = 3;

// The device-control block. Fields that a Linux tty has no notion of are
// kept as given and reported back, but change nothing on the line:
// dsr_flow, dsr_sensitivity, tx_continue_on_xoff, DTR handshake and RTS
// toggle.
struct ComSettings {
    uint32_t baud = 0;                 // any rate; non-standard ones need driver support
    uint8_t data_bits = 8;             // 5..8
    Parity parity = Parity::None;
    // 1.5 stop bits become 2 (CSTOPB): Linux has no separate setting, and a
    // UART with 5 data bits sends 1.5 stop bits for CSTOPB anyway.
    StopBits stop_bits = StopBits::One;
    bool parity_check = false;         // check received parity (INPCK)
    bool cts_flow = false;             // hold output while CTS is off (CRTSCTS)
    bool dsr_flow = false;
    bool dsr_sensitivity = false;
    bool tx_continue_on_xoff = false;
    bool xon_out = false;              // XON/XOFF on output (IXON)
    bool xon_in = false;               // XON/XOFF on input (IXOFF)
    uint8_t dtr_control = kDtrEnable;  // disable/enable: DTR line off/on
    uint8_t rts_control = kRtsEnable;  // handshake: CRTSCTS
};

// Time-outs in milliseconds. One read or write call is bounded by
// multiplier * bytes + constant. All three read fields 0 means no bound (the
// call waits for its data); read_interval 0xFFFFFFFF with both read totals 0
// means return at once with what is there. Write totals of 0: no bound.
// read_interval is otherwise not used (reads are one byte at a time).
struct ComTimeouts {
    uint32_t read_interval = 0;
    uint32_t read_multiplier = 0;
    uint32_t read_constant = 0;
    uint32_t write_multiplier = 0;
    uint32_t write_constant = 0;
};

// Modem status bits (inputs).
inline constexpr uint32_t kModemCts = 0x10;
inline constexpr uint32_t kModemDsr = 0x20;
inline constexpr uint32_t kModemRing = 0x40;
inline constexpr uint32_t kModemRlsd = 0x80;  // carrier detect

// Line events a waiter can ask for.
inline constexpr uint32_t kEventCts = 0x08;
inline constexpr uint32_t kEventDsr = 0x10;
inline constexpr uint32_t kEventRlsd = 0x20;
inline constexpr uint32_t kEventRing = 0x100;
inline constexpr uint32_t kEventModemLines = kEventCts | kEventDsr | kEventRlsd | kEventRing;

// Purge flags.
inline constexpr uint32_t kPurgeTxClear = 0x4;
inline constexpr uint32_t kPurgeRxClear = 0x8;

enum class ModemLine : uint8_t { Dtr, Rts };

// Data: at least one byte was read. TimedOut: nothing came in time.
// Failed: the port was cancelled (closed) or its line hung up; nothing more
// will come.
enum class ReadResult : uint8_t { Data, TimedOut, Failed };

// No end byte for ComPort::read.
inline constexpr int kNoEndByte = -1;

class ComPort {
public:
    // Opens a device exclusively: a second open of the same device fails,
    // from this process or any other (TIOCEXCL for other programs, an flock
    // for processes using this library, which also holds for root). The line
    // is put in raw (binary) mode with the receiver on and modem control
    // ignored for reception; DTR and RTS come up, as on any tty open.
    // Returns null with a reason on failure.
    static std::unique_ptr<ComPort> open(const std::string& device, std::string* error);

    virtual ~ComPort() = default;
    ComPort(const ComPort&) = delete;
    ComPort& operator=(const ComPort&) = delete;

    const std::string& device() const { return device_; }

    virtual bool get_settings(ComSettings& out) = 0;
    // Applies all of it or nothing: an impossible block (0 baud, data bits
    // outside 5..8, unknown parity or stop bits) is refused.
    virtual bool set_settings(const ComSettings& settings) = 0;
    virtual bool get_timeouts(ComTimeouts& out) = 0;
    virtual bool set_timeouts(const ComTimeouts& timeouts) = 0;

    // Discards what waits in the output (kPurgeTxClear) and/or input queue.
    // The input purge drops every byte received before the call, including
    // bytes the driver has taken in but not yet handed to the line
    // discipline; the output purge drops what has not gone onto the line.
    virtual bool purge(uint32_t flags) = 0;
    // Bytes received but not read, and bytes written but not yet sent.
    virtual bool queue_counts(uint32_t& input, uint32_t& output) = 0;
    // Waits until everything written has left (bounded by the write
    // time-out when it has one).
    virtual bool drain() = 0;

    // Writes up to `size` bytes within the write time-out; `written` tells
    // how many went (fewer on time-out, which is not a failure).
    virtual bool write(const void* data, size_t size, size_t& written) = 0;
    // Reads what has been received, up to `room` bytes (room >= 1), and
    // stops after the first byte equal to `end` (kNoEndByte: none), so
    // bytes after it stay in the port for the next read or purge. Waits for
    // the first byte at most `wait_ms` and at most the port's own read
    // time-out, both counted from `from_ns` (a monotonic_ns() the caller
    // has just read: a serial exchange reads the clock once); returns Data
    // as soon as any byte is there.
    virtual ReadResult read(uint8_t* out, size_t room, int end, uint32_t wait_ms, uint64_t from_ns,
                            size_t& got) = 0;

    // Modem lines. False when the port has none (a pseudo-terminal that is
    // not the virtual controller's) or the driver refuses.
    virtual bool modem_status(uint32_t& bits) = 0;
    virtual bool set_line(ModemLine line, bool on) = 0;
    // Chooses the line events that wait_event reports; a new mask (0
    // included) ends a wait in progress.
    virtual bool set_event_mask(uint32_t mask) = 0;
    // Waits for a change of a line in the mask and reports which changed.
    // Changes between two waits are not lost. Returns false when the mask
    // is 0 or changes, or after cancel(). On a port without modem lines it
    // waits until one of those happens.
    virtual bool wait_event(uint32_t& events) = 0;

    // Wakes every call in progress and makes later calls fail at once. The
    // device itself closes when the object is destroyed.
    virtual void cancel() = 0;

protected:
    explicit ComPort(std::string device) : device_(std::move(device)) {}

private:
    std::string device_;
};

}  // namespace vex::plat
