// Helpers for the controller services' tests: the trace of the test's
// virtual controller, read from the board's side.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "sim/services_state.h"
#include "tests/support/sim_fixture.h"

namespace vex::test {

inline ::testing::AssertionResult has_text(const std::string& text, const std::string& part) {
    if (text.find(part) != std::string::npos) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "'" << part << "' not found in:\n" << text;
}

class ServicesFixture : public SimFixture {
protected:
    uint32_t mark() { return sim().with_lock([](sim::State& s) { return s.trace_next; }); }
    // Trace entries from `mark` on (the ring holds the latest 256).
    std::vector<sim::TraceEntry> trace_since(uint32_t from) {
        return sim().with_lock([from](sim::State& s) {
            std::vector<sim::TraceEntry> out;
            for (uint32_t k = from; k != s.trace_next; ++k) out.push_back(s.trace[k % sim::kTraceEntries]);
            return out;
        });
    }
    std::vector<sim::TraceEntry> events_since(uint32_t from, uint8_t kind) {
        std::vector<sim::TraceEntry> out;
        for (const sim::TraceEntry& e : trace_since(from)) {
            if (e.kind == kind) out.push_back(e);
        }
        return out;
    }
    sim::ServicesState services() { return sim().with_lock([](sim::State& s) { return s.services; }); }
    void let_pass_ms(uint64_t ms) { sim().advance(ms * 1000000ull); }
};

inline uint64_t now_ms() {
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                     std::chrono::steady_clock::now().time_since_epoch())
                                     .count());
}

}  // namespace vex::test
