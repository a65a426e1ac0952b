// Line framing of serial module commands and answers (see framing.h).
#include "sim/serial_modules/framing.h"

namespace vex::sim::serial {
namespace {

constexpr char kHex[] = "0123456789ABCDEF";

}  // namespace

std::string checksum_text(std::string_view text) {
    unsigned sum = 0;
    for (char c : text) sum += static_cast<uint8_t>(c);
    return {kHex[(sum >> 4) & 0xF], kHex[sum & 0xF]};
}

std::optional<std::string_view> strip_checksum(std::string_view framed) {
    if (framed.size() < 3) return std::nullopt;
    const std::string_view text = framed.substr(0, framed.size() - 2);
    if (framed.substr(framed.size() - 2) != checksum_text(text)) return std::nullopt;
    return text;
}

void CommandAssembler::set_terminator(std::string_view terminator) {
    terminator_ = terminator.empty() ? std::string("\r") : std::string(terminator.substr(0, 7));
}

bool CommandAssembler::feed(uint8_t byte) {
    const char c = static_cast<char>(byte);
    if (swallow_ > 0) {
        const size_t next = terminator_.size() - swallow_;
        if (c == terminator_[next]) {
            --swallow_;
            return false;
        }
        swallow_ = 0;  // not the rest of the terminator: a new command begins
    }
    if (c == terminator_[0]) {
        swallow_ = terminator_.size() - 1;
        const bool complete = !overflow_;
        overflow_ = false;
        if (complete) done_.swap(current_);
        current_.clear();
        return complete;
    }
    if (overflow_) return false;
    if (current_.size() >= kMaxCommand) {
        overflow_ = true;
        current_.clear();
        return false;
    }
    current_.push_back(c);
    return false;
}

std::string frame_answer(std::string_view text, bool checksum, std::string_view terminator) {
    std::string out(text);
    if (checksum) out += checksum_text(text);
    out += terminator;
    return out;
}

Outgoing spoil(std::string framed, size_t text_len, bool checksum, const SerialFault& fault,
               std::string_view terminator, uint32_t noise) {
    Outgoing out;
    out.spoiled = fault.kind != static_cast<uint8_t>(SerialFaultKind::None);
    switch (static_cast<SerialFaultKind>(fault.kind)) {
    case SerialFaultKind::None:
    case SerialFaultKind::Refuse:
        out.bytes = std::move(framed);
        return out;
    case SerialFaultKind::Silent:
    case SerialFaultKind::Removed:
        return out;
    case SerialFaultKind::Garbage: {
        // Line noise: any byte but the terminator's first, so the noise and
        // the answer arrive as one answer, spoiled at its start.
        const char end = terminator.empty() ? '\r' : terminator[0];
        uint32_t x = noise * 2654435761u + 0x9E3779B9u;
        for (uint32_t i = 0; i < fault.param; ++i) {
            x ^= x << 13;
            x ^= x >> 17;
            x ^= x << 5;
            char c = static_cast<char>(x & 0xFF);
            if (c == end) c = '\x7F';
            out.bytes.push_back(c);
        }
        out.bytes += framed;
        return out;
    }
    case SerialFaultKind::BadChecksum: {
        // The checksum of the answer plus one: wrong, but well formed. A
        // module without checksums sends the two digits all the same.
        unsigned sum = 1;
        for (size_t i = 0; i < text_len && i < framed.size(); ++i) sum += static_cast<uint8_t>(framed[i]);
        const char digits[2] = {"0123456789ABCDEF"[(sum >> 4) & 0xF], "0123456789ABCDEF"[sum & 0xF]};
        out.bytes = framed.substr(0, text_len) + std::string(digits, 2) +
                    framed.substr(text_len + (checksum ? 2 : 0));
        return out;
    }
    case SerialFaultKind::Cut:
        out.bytes = framed.substr(0, fault.param);
        return out;
    case SerialFaultKind::Dribble:
        out.bytes = std::move(framed);
        out.gap_ms = fault.param;
        return out;
    }
    out.bytes = std::move(framed);
    return out;
}

}  // namespace vex::sim::serial
