// Look-ups of parallel-bus modules and expansion boards in the generated
// catalogue table.
#include <cstdio>

#include "frame/catalogue.h"

namespace vex::catalogue {
namespace {

// snprintf into out; the length, or 0 (and an empty text) when it does not fit.
template <typename... Args>
size_t print(char* out, size_t size, const char* format, Args... args) {
    if (!out || size == 0) return 0;
    const int n = std::snprintf(out, size, format, args...);
    if (n < 0 || static_cast<size_t>(n) >= size) {
        out[0] = '\0';
        return 0;
    }
    return static_cast<size_t>(n);
}

}  // namespace

uint8_t RuleRegisters::at(uint8_t reg) const {
    switch (reg) {
    case 0x06: return r06;
    case 0x08: return r08;
    case 0x0E: return r0e;
    default: return r10;
    }
}

uint16_t series_base() { return data::kSeriesBase; }

std::span<const ParallelKind> parallel_kinds() { return {data::kParallelKinds, data::kParallelKindCount}; }

const ParallelKind* find_parallel_kind(uint32_t id) {
    for (const ParallelKind& k : parallel_kinds()) {
        if (k.id == id) return &k;
    }
    return nullptr;
}

ParallelIdentity resolve_parallel(const ParallelKind& kind, const RuleRegisters& regs) {
    ParallelIdentity who;
    who.kind = &kind;
    who.series = kind.series;
    who.type_class = kind.type_class;
    who.suffix = kind.suffix;
    who.fixed_name = kind.fixed_name;
    for (uint8_t i = 0; i < kind.rule_count; ++i) {
        const ParallelRule& r = kind.rules[i];
        if ((regs.at(r.reg) & r.mask) != r.equals) continue;
        who.rule = &r;
        if (r.series >= 0) who.series = static_cast<uint16_t>(r.series);
        if (r.type_class >= 0) who.type_class = static_cast<uint8_t>(r.type_class);
        if (r.suffix) who.suffix = r.suffix;
        if (r.fixed_name) who.fixed_name = r.fixed_name;
        break;
    }
    return who;
}

size_t format_parallel_name(const ParallelIdentity& who, char* out, size_t size) {
    if (who.fixed_name && *who.fixed_name) return print(out, size, "%s", who.fixed_name);
    return print(out, size, "%d%s", static_cast<int>(series_base()) + who.series, who.suffix ? who.suffix : "");
}

namespace {

// The identity a row prints with one of its rules (or none) applied.
ParallelIdentity with_rule(const ParallelKind& kind, const ParallelRule* rule) {
    RuleRegisters regs;
    ParallelIdentity who = resolve_parallel(kind, regs);
    who.rule = rule;
    who.series = rule && rule->series >= 0 ? static_cast<uint16_t>(rule->series) : kind.series;
    who.suffix = rule && rule->suffix ? rule->suffix : kind.suffix;
    who.fixed_name = rule && rule->fixed_name ? rule->fixed_name : kind.fixed_name;
    return who;
}

}  // namespace

bool find_parallel_name(std::string_view name, const ParallelKind** kind, const ParallelRule** rule) {
    char text[32];
    for (const ParallelKind& k : parallel_kinds()) {
        for (int i = -1; i < k.rule_count; ++i) {
            const ParallelRule* r = i < 0 ? nullptr : &k.rules[i];
            if (format_parallel_name(with_rule(k, r), text, sizeof text) == 0 || name != text) continue;
            if (kind) *kind = &k;
            if (rule) *rule = r;
            return true;
        }
    }
    return false;
}

std::vector<std::string> parallel_names() {
    std::vector<std::string> names;
    char text[32];
    for (const ParallelKind& k : parallel_kinds()) {
        for (int i = -1; i < k.rule_count; ++i) {
            if (format_parallel_name(with_rule(k, i < 0 ? nullptr : &k.rules[i]), text, sizeof text))
                names.emplace_back(text);
        }
    }
    return names;
}

std::span<const ExpansionBoard> expansion_boards() { return {data::kExpansionBoards, data::kExpansionBoardCount}; }

const ExpansionBoard* find_expansion_board(uint32_t id) {
    for (const ExpansionBoard& b : expansion_boards()) {
        if (b.id == id) return &b;
    }
    return nullptr;
}

size_t format_expansion_name(const ExpansionBoard& board, char* out, size_t size) {
    if (board.letter) return print(out, size, "KV%03d%c", static_cast<int>(board.number), board.letter);
    return print(out, size, "KV%03d", static_cast<int>(board.number));
}

}  // namespace vex::catalogue
