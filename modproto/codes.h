// What an answer from a serial module amounts to, and the one code each
// kind of answer leaves in the caller's last error.
//
// Each command judges its own answer into one of these kinds (which first
// character counts as success differs from command to command); the table
// below is then the only place that turns a kind into a code, so the same
// kind of answer always reports the same code. include/vexsdk/modules.h
// prints this table for users.
#pragma once

#include <cstdint>

#include "vexsdk.h"

namespace vex::modproto {

enum class Answer : uint8_t {
    Accepted,     // the command did what it asked
    Refused,      // the module refused to drive an output (held by its watchdog)
    Unexpected,   // no answer, a cut or garbled one, a bad checksum, the wrong
                  // leading character, a '?' refusal of any other command
    Unparsable,   // the right leading character, but a field is not a number
    UnderRange,   // an analog input answered an under-range marker
    OverRange,    // an analog input answered an over-range marker
    Unsupported,  // the module kind has no such function
    NoPort,       // the port handle is 0 or all ones
    NotSerial,    // the local slot holds a parallel-bus module
    BadArgument,  // the command does not fit its buffer (a value too wide to print)
    Quiet,        // the call fails without a code of its own (the last error
                  // keeps what the exchange left)
};

struct AnswerCode {
    Answer answer;
    uint32_t code;  // 0: none recorded
};

inline constexpr AnswerCode kAnswerCodes[] = {
    {Answer::Accepted, VEX_ERR_NONE},
    {Answer::Refused, VEX_ERR_DO_NO_OVERWRITE},
    {Answer::Unexpected, VEX_ERR_UART_RESPONSE},
    {Answer::Unparsable, VEX_ERR_UART_BUFFER_OVERFLOW},
    {Answer::UnderRange, VEX_ERR_UART_UNDER_RANGE},
    {Answer::OverRange, VEX_ERR_UART_OVER_RANGE},
    {Answer::Unsupported, VEX_ERR_CARD_API_UNSUPPORTED},
    {Answer::NoPort, VEX_ERR_UART_OPEN},
    {Answer::NotSerial, VEX_ERR_UNKNOWN_MODULE},
    {Answer::BadArgument, VEX_ERR_UART_BUFFER_OVERFLOW},
    {Answer::Quiet, VEX_ERR_NONE},
};

constexpr uint32_t code_of(Answer a) {
    for (const AnswerCode& c : kAnswerCodes) {
        if (c.answer == a) return c.code;
    }
    return VEX_ERR_UNKNOWN;
}

// Records the answer's code in the calling thread's last error (nothing for
// Accepted and Quiet) and returns true for Accepted only.
bool settle(Answer a);

}  // namespace vex::modproto
