// The line side of a serial module: commands cut out of the byte stream at
// the terminator, checksums checked and added, and what a fault does to an
// answer. Pure functions and a small state machine, no locks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sim/serial_state.h"

namespace vex::sim::serial {

// The sum of the characters modulo 256 as two upper-case hexadecimal digits.
std::string checksum_text(std::string_view text);
// A command that carries its checksum: the text without it, or nothing when
// it is too short or the two last characters (upper-case) do not match.
std::optional<std::string_view> strip_checksum(std::string_view framed);

// Cuts commands out of what arrives on a line. A command ends at the first
// character of the terminator; the terminator's further characters are
// swallowed when they follow. A command longer than kMaxCommand is thrown
// away up to its terminator (a module's receive buffer is small).
class CommandAssembler {
public:
    static constexpr size_t kMaxCommand = 128;
    // Sets the terminator (1..7 characters; an empty one counts as "\r").
    void set_terminator(std::string_view terminator);
    // Takes one byte; returns true when it completed a command (then in
    // command(), without its terminator).
    bool feed(uint8_t byte);
    const std::string& command() const { return done_; }
    // True between commands: the next byte starts a new one (not inside a
    // command, not among the terminator's further characters).
    bool idle() const { return current_.empty() && !overflow_ && swallow_ == 0; }

private:
    std::string terminator_ = "\r";
    std::string current_;
    std::string done_;
    size_t swallow_ = 0;    // terminator characters still expected
    bool overflow_ = false;
};

// An answer as it goes out, after a fault has done its work.
struct Outgoing {
    std::string bytes;
    uint32_t gap_ms = 0;    // pause between characters (dribbling)
    bool spoiled = false;   // a fault changed it
};

// Frames an answer text: checksum when the module gives one, then the
// terminator.
std::string frame_answer(std::string_view text, bool checksum, std::string_view terminator);

// What `fault` does to a framed answer. `text_len` is the answer's length
// before framing (its checksum, if any, follows), `noise` varies the garbage.
// Silent and Removed give nothing; Refuse is applied before the module
// acts and is not handled here.
Outgoing spoil(std::string framed, size_t text_len, bool checksum, const SerialFault& fault,
               std::string_view terminator, uint32_t noise);

}  // namespace vex::sim::serial
