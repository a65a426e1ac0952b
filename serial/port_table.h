// The process-wide table of open COM ports (ComPortMap) and what every
// serial call shares: the per-port records, the last applied control block
// and the read time-out.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "platform/checked_mutex.h"
#include "platform/com_port.h"

namespace vex::serial {

inline constexpr uint32_t kInvalidHandle = 0xFFFFFFFFu;
// 0 and 0xFFFFFFFF never name a port; every serial call rejects them.
constexpr bool rejected(uint32_t handle) { return handle == 0 || handle == kInvalidHandle; }

// The longest terminator, in characters.
inline constexpr size_t kMaxTerminator = 255;

// One open port. It lives from the open to the close; a call that is still
// working on the port when another thread closes it keeps the record (not
// the table entry) alive until it returns, so a close never pulls memory
// from under a running call.
class PortRecord {
public:
    PortRecord(uint32_t handle, std::unique_ptr<plat::ComPort> port, std::string name);
    // Stops the line-status monitor, then closes the device.
    ~PortRecord();
    PortRecord(const PortRecord&) = delete;
    PortRecord& operator=(const PortRecord&) = delete;

    const uint32_t handle;
    const std::string port_name;             // "COM1:", or "COM10" for $device\COM10
    const std::unique_ptr<plat::ComPort> port;

    std::atomic<bool> checksum_enabled{false};
    // The terminator, "\r" at open; at most kMaxTerminator characters.
    // Copies it to `out` (room for kMaxTerminator characters, no NUL
    // added) and returns its length.
    size_t copy_terminator(char* out) const;
    void set_terminator(const char* text);
    // Its first character ('\0' when empty): where a received answer ends.
    char terminator_start() const { return terminator_start_.load(std::memory_order_relaxed); }

    // Line-status monitor (started by uart_GetLineStatus, under line_lock).
    std::atomic<uint32_t> modem_status{0};
    std::atomic<bool> monitor_stop{false};
    std::atomic<bool> monitor_running{false};
    std::thread monitor_thread;

    // Serialise what their names say, each on its own: a thread sending
    // does not hold up one receiving. None is taken while another is held.
    std::mutex line_lock;  // the monitor thread's start and stop
    std::mutex recv_lock;  // one answer read at a time
    std::mutex send_lock;  // a purge and the frame that follows it

private:
    mutable std::mutex terminator_mutex_;
    std::string terminator_;
    std::atomic<char> terminator_start_{'\r'};
};

using PortPtr = std::shared_ptr<PortRecord>;

// The table: records in the order the ports were opened.
struct ComPortMap {
    std::list<PortPtr> records;
};

// Guards the table (and the choice of the current table).
plat::CheckedMutex& com_port_map_lock();

// Creates an empty table and makes it the process's table. Records of a
// table that this replaces are closed. Returns the new table.
ComPortMap* create_port_map();

// Adds a newly opened port at the table's tail under a fresh handle: a
// 32-bit token that is never 0 or 0xFFFFFFFF and not reused while the
// process lives (until 2^32 opens). Returns kInvalidHandle when the
// library has no table.
uint32_t register_port(std::unique_ptr<plat::ComPort> port, const std::string& name);
// Takes the record out of the table; null when the handle is not in it.
PortPtr unregister_port(uint32_t handle);
// The first record with this handle / this exact port name, or null.
PortPtr find_port(uint32_t handle);
PortPtr find_port_by_name(const std::string& name);
// Set a record's checksum flag / terminator; false when the handle is not
// in the table.
bool set_checksum(uint32_t handle, bool enabled);
bool set_terminator(uint32_t handle, const char* text);

// The control block that the last uart_OpenEx applied to any port
// (LastCommState); uart_SetLineStatus re-applies it and keeps its DTR and
// RTS control current.
plat::ComSettings last_comm_state();
void set_last_comm_state(const plat::ComSettings& settings);

// The read time-out in milliseconds, shared by every port of the process.
inline constexpr uint32_t kDefaultReadTimeout = 200;
uint32_t read_timeout();
void set_read_timeout(uint32_t ms);

// Stops a record's line-status monitor if one runs (line_status.cpp).
void stop_monitor(PortRecord& record);

// Load sequence members: the table with its locks, and the read time-out
// back at its initial value. Unloading closes ports that are still open.
void attach();
void detach();

}  // namespace vex::serial
