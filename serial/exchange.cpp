// Command exchange: framing, sending, receiving, binary blocks, time-outs.
//
// Answers are read one character at a time: each character must come within
// the process-wide read time-out of the one before, so a slow module that
// keeps talking is never cut off, and a silent one costs one time-out.
#include "serial/exchange.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <mutex>
#include <string>

#include "frame/errors.h"
#include "platform/deadline.h"
#include "platform/system.h"
#include "serial/port_table.h"
#include "serial/trace.h"
#include "vexsdk.h"

namespace vex::serial {

uint8_t checksum(const char* text, size_t length) {
    uint32_t sum = 0;
    for (size_t i = 0; i < length; ++i) sum += static_cast<uint8_t>(text[i]);
    return static_cast<uint8_t>(sum & 0xFF);
}

void checksum_digits(uint8_t sum, char out[2]) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    out[0] = kHex[sum >> 4];
    out[1] = kHex[sum & 0xF];
}

bool checksum_holds(const char* text, size_t length) {
    if (length < 2) return false;
    char digits[2];
    checksum_digits(checksum(text, length - 2), digits);
    return text[length - 2] == digits[0] && text[length - 1] == digits[1];
}

namespace {

constexpr size_t kMaxText = VEX_UART_MAX_TEXT;
constexpr size_t kShortBuffer = VEX_UART_BUFFER_SIZE;
// A whole frame: text, checksum digits, terminator, NUL.
constexpr size_t kFrameBuffer = kMaxText + 2 + kMaxTerminator + 1;

VEX_BOOL32 fail(uint32_t code) {
    frame::set_last_error(code);
    return VEX_FALSE;
}

// Length of text, but at most limit.
size_t bounded_length(const char* text, size_t limit) {
    size_t n = 0;
    while (n < limit && text[n] != '\0') ++n;
    return n;
}

// Writes text as it stands, cut to max characters unless the character
// just past the limit is a carriage return that ends the text.
VEX_BOOL32 write_text(PortRecord& r, const char* text, uint32_t max) {
    // Looking at max + 2 characters is enough to tell the three cases apart.
    const auto limit = static_cast<size_t>(
        std::min<uint64_t>(static_cast<uint64_t>(max) + 2, std::numeric_limits<size_t>::max()));
    const size_t n = bounded_length(text, limit);
    if (n == 0) return VEX_FALSE;
    size_t count = max;
    if (n <= max || (n - 1 == max && text[n - 1] == '\r')) count = n;
    size_t written = 0;
    const bool ok = r.port->write(text, count, written);
    trace(r.handle, TraceDirection::Sent, text, written);
    return ok ? VEX_TRUE : VEX_FALSE;
}

// Frames a command and writes it. The caller holds the port's send lock
// and has purged what it wanted purged.
VEX_BOOL32 send_frame_locked(PortRecord& r, const char* text, uint32_t max) {
    const size_t n = bounded_length(text, kMaxText + 1);
    if (n > kMaxText) return fail(VEX_ERR_UART_LENGTH);
    char frame[kFrameBuffer];  // ended below: only the frame itself is written
    std::memcpy(frame, text, n);
    size_t length = n;
    if (r.checksum_enabled) {
        checksum_digits(checksum(text, n), frame + length);
        length += 2;
    }
    length += r.copy_terminator(frame + length);
    frame[length] = '\0';
    return write_text(r, frame, max);
}

// Ends whatever is in the buffer so that a failed read never leaves an
// unterminated text behind.
void terminate(char* buffer, uint32_t size, size_t count) {
    if (size > 0) buffer[count < size ? count : size - 1] = '\0';
}

// Reads one answer up to the terminator's first character; checks (but
// keeps) the checksum. The read time-out bounds the wait for each next
// character: the deadline starts again whenever bytes arrive. A port that
// is closed meanwhile or whose line hangs up fails at once with
// VEX_ERR_UART_OPEN: nothing more can come.
VEX_BOOL32 read_answer(PortRecord& r, char* buffer, uint32_t size) {
    frame::set_last_error(VEX_ERR_NONE);
    std::lock_guard lock(r.recv_lock);
    const int end = static_cast<uint8_t>(r.terminator_start());
    // At most size - 3 characters of text: the terminator takes the next
    // place, and a character arriving when size - 2 are stored overflows.
    const int64_t room = static_cast<int64_t>(size) - 2;
    size_t count = 0;
    uint64_t now = plat::monotonic_ns();
    plat::Deadline wait(read_timeout(), now);
    for (;;) {
        const bool full = static_cast<int64_t>(count) >= room;
        uint8_t spill = 0;
        uint8_t* into = full ? &spill : reinterpret_cast<uint8_t*>(buffer) + count;
        const size_t space = full ? 1 : static_cast<size_t>(room - static_cast<int64_t>(count));
        size_t got = 0;
        const plat::ReadResult result = r.port->read(into, space, end, wait.remaining_ms(now), now, got);
        trace(r.handle, TraceDirection::Received, into, got);
        if (result == plat::ReadResult::Failed) {
            terminate(buffer, size, count);
            return fail(VEX_ERR_UART_OPEN);
        }
        if (result == plat::ReadResult::TimedOut) {
            now = plat::monotonic_ns();
            if (!wait.expired(now)) continue;  // the port's own bound was shorter
            terminate(buffer, size, count);
            return fail(VEX_ERR_UART_TIMEOUT);
        }
        if (full) {
            terminate(buffer, size, count);
            return fail(VEX_ERR_UART_LENGTH);
        }
        count += got;
        if (static_cast<uint8_t>(buffer[count - 1]) == end) {
            buffer[--count] = '\0';
            if (!r.checksum_enabled || checksum_holds(buffer, count)) return VEX_TRUE;
            buffer[0] = '\0';
            return fail(VEX_ERR_UART_CHECKSUM);
        }
        now = plat::monotonic_ns();
        wait.restart(now);
    }
}

// An answer without its checksum digits, as the receive calls return it.
VEX_BOOL32 receive(PortRecord& r, char* buffer, uint32_t size) {
    if (!read_answer(r, buffer, size)) return VEX_FALSE;
    if (!r.checksum_enabled) return VEX_TRUE;
    const size_t n = bounded_length(buffer, size);
    if (!checksum_holds(buffer, n)) return VEX_FALSE;
    if (n >= 3) buffer[n - 2] = '\0';
    return VEX_TRUE;
}

}  // namespace
}  // namespace vex::serial

using namespace vex::serial;

VEXSDK_EXTERN_C_BEGIN

VEX_BOOL32 uart_SendExt(VEX_PORT handle, const char* text, uint32_t max_length) {
    if (rejected(handle) || !text) return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    PortPtr r = find_port(handle);
    if (!r) return fail(VEX_ERR_UART_OPEN);
    std::lock_guard lock(r->send_lock);
    r->port->purge(vex::plat::kPurgeTxClear);
    return send_frame_locked(*r, text, max_length);
}

VEX_BOOL32 uart_Send(VEX_PORT handle, const char* text) {
    if (rejected(handle)) return fail(VEX_ERR_UART_OPEN);
    if (!text || bounded_length(text, kMaxText + 1) > kMaxText) return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    return uart_SendExt(handle, text, kMaxText);
}

VEX_BOOL32 uart_RecvExt(VEX_PORT handle, char* buffer, uint32_t size) {
    if (rejected(handle) || !buffer) return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    PortPtr r = find_port(handle);
    if (!r) return fail(VEX_ERR_UART_OPEN);
    return receive(*r, buffer, size);
}

VEX_BOOL32 uart_Recv(VEX_PORT handle, char* buffer) {
    if (rejected(handle)) return fail(VEX_ERR_UART_OPEN);
    if (!buffer) return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    char answer[kShortBuffer];
    if (!uart_RecvExt(handle, answer, sizeof answer)) return VEX_FALSE;
    std::memcpy(buffer, answer, bounded_length(answer, sizeof answer - 1) + 1);
    return VEX_TRUE;
}

VEX_BOOL32 uart_SendCmdExt(VEX_PORT handle, const char* command, uint32_t command_max, char* answer,
                           uint32_t answer_size) {
    if (rejected(handle) || !command || !answer) return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    PortPtr r = find_port(handle);
    if (!r) return fail(VEX_ERR_UART_OPEN);
    {
        // Whatever a module said before this command is stale: drop it, so
        // the next line read is the answer to this command. (Flushing costs
        // the kernel a wait for its receive worker: once is enough.) A
        // failed send is not judged here: the read that follows reports it.
        std::lock_guard lock(r->send_lock);
        r->port->purge(vex::plat::kPurgeTxClear | vex::plat::kPurgeRxClear);
        send_frame_locked(*r, command, command_max);
    }
    return receive(*r, answer, answer_size);
}

VEX_BOOL32 uart_SendCmd(VEX_PORT handle, const char* command, char* answer) {
    if (rejected(handle)) return fail(VEX_ERR_UART_OPEN);
    if (!command || !answer || bounded_length(command, kShortBuffer + 1) > kShortBuffer)
        return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    char reply[kShortBuffer];
    if (!uart_SendCmdExt(handle, command, kShortBuffer, reply, sizeof reply)) return VEX_FALSE;
    std::memcpy(answer, reply, bounded_length(reply, sizeof reply - 1) + 1);
    return VEX_TRUE;
}

VEX_BOOL32 uart_WriteExt(VEX_PORT handle, const char* text, uint32_t max_length) {
    if (rejected(handle) || !text) return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    PortPtr r = find_port(handle);
    if (!r) return fail(VEX_ERR_UART_OPEN);
    return write_text(*r, text, max_length);
}

VEX_BOOL32 uart_Write(VEX_PORT handle, const char* text) { return uart_WriteExt(handle, text, kShortBuffer); }

VEX_BOOL32 uart_ReadExt(VEX_PORT handle, char* buffer, uint32_t size) {
    if (rejected(handle) || !buffer) return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    PortPtr r = find_port(handle);
    if (!r) return fail(VEX_ERR_UART_OPEN);
    return read_answer(*r, buffer, size);
}

VEX_BOOL32 uart_Read(VEX_PORT handle, char* buffer) {
    if (rejected(handle) || !buffer) return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    char answer[kShortBuffer];
    if (!uart_ReadExt(handle, answer, sizeof answer)) return VEX_FALSE;
    std::memcpy(buffer, answer, bounded_length(answer, sizeof answer - 1) + 1);
    return VEX_TRUE;
}

VEX_BOOL32 uart_BinSend(VEX_PORT handle, const void* data, uint32_t length) {
    if (rejected(handle)) return fail(VEX_ERR_UART_OPEN);
    PortPtr r = find_port(handle);
    if (!r) return fail(VEX_ERR_UART_OPEN);
    if (length > kMaxText) return fail(VEX_ERR_UART_LENGTH);
    if (!data && length > 0) return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    r->port->drain();
    size_t written = 0;
    const bool ok = r->port->write(data, length, written);
    trace(r->handle, TraceDirection::Sent, data, written);
    return ok ? VEX_TRUE : VEX_FALSE;
}

VEX_BOOL32 uart_BinRecv(VEX_PORT handle, void* buffer, uint32_t length) {
    if (rejected(handle)) return fail(VEX_ERR_UART_OPEN);
    PortPtr r = find_port(handle);
    if (!r) return fail(VEX_ERR_UART_OPEN);
    if (!buffer && length > 0) return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    vex::frame::set_last_error(VEX_ERR_NONE);
    // Not serialised with text reads (threads sharing a port serialise
    // whole exchanges). Each block byte must come within the read time-out
    // of the one before; a length of 0 still waits for one byte, as the
    // count is judged only after a byte is stored.
    auto* out = static_cast<uint8_t*>(buffer);
    uint64_t count = 0;
    uint64_t now = vex::plat::monotonic_ns();
    vex::plat::Deadline wait(read_timeout(), now);
    for (;;) {
        uint8_t spill = 0;
        const bool want = count < length;
        size_t got = 0;
        // What is left of a 32-bit length fits size_t on every target.
        const size_t left = want ? static_cast<size_t>(length - count) : 1;
        const auto result = r->port->read(want ? out + count : &spill, left, vex::plat::kNoEndByte,
                                          wait.remaining_ms(now), now, got);
        trace(r->handle, TraceDirection::Received, want ? out + count : &spill, got);
        if (result == vex::plat::ReadResult::Failed) return fail(VEX_ERR_UART_OPEN);
        now = vex::plat::monotonic_ns();
        if (result == vex::plat::ReadResult::TimedOut) {
            if (wait.expired(now)) return fail(VEX_ERR_UART_TIMEOUT);
            continue;
        }
        count += got;
        if (count == length) return VEX_TRUE;
        wait.restart(now);
    }
}

VEX_BOOL32 uart_BinSendCmd(VEX_PORT handle, const void* data, uint32_t length, void* answer,
                           uint32_t answer_length) {
    if (rejected(handle)) return fail(VEX_ERR_UART_OPEN);
    if (PortPtr r = find_port(handle)) {
        std::lock_guard lock(r->send_lock);
        r->port->purge(vex::plat::kPurgeTxClear | vex::plat::kPurgeRxClear);
        uart_BinSend(handle, data, length);
    }
    return uart_BinRecv(handle, answer, answer_length);
}

VEX_BOOL32 uart_SetTimeOut(VEX_PORT handle, uint32_t milliseconds, uint32_t mode) {
    if (rejected(handle)) return fail(VEX_ERR_UART_OPEN);
    PortPtr r = find_port(handle);
    if (!r) return fail(VEX_ERR_UART_OPEN);
    vex::plat::ComTimeouts t;
    r->port->get_timeouts(t);
    switch (mode) {
    case 0:
        set_read_timeout(milliseconds);
        t.read_constant = milliseconds;
        t.write_constant = milliseconds;
        break;
    case 1: set_read_timeout(milliseconds); break;
    case 2: t.read_constant = milliseconds; break;
    case 3: t.write_constant = milliseconds; break;
    default: break;
    }
    return r->port->set_timeouts(t) ? VEX_TRUE : VEX_FALSE;
}

VEX_BOOL32 uart_SetTerminator(VEX_PORT handle, const char* terminator) {
    if (rejected(handle)) return fail(VEX_ERR_UART_OPEN);
    if (!terminator) return fail(VEX_ERR_UART_BUFFER_OVERFLOW);
    return set_terminator(handle, terminator) ? VEX_TRUE : fail(VEX_ERR_UART_OPEN);
}

VEX_BOOL32 uart_EnableCheckSum(VEX_PORT handle, VEX_BOOL enable) {
    if (rejected(handle)) return fail(VEX_ERR_UART_OPEN);
    return set_checksum(handle, enable != 0) ? VEX_TRUE : fail(VEX_ERR_UART_OPEN);
}

VEXSDK_EXTERN_C_END
