// Helpers for the controller services' tests: the trace of the test's
// virtual controller, read from the board's side; registry text settings;
// chip faults; the Ethernet link state and a wait for it to change.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "services/link_monitor.h"
#include "sim/chip_state.h"
#include "sim/services_state.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

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

// Chip faults: a chip that acknowledges nothing, a healthy one, and one
// whose answers have bits stuck.
inline constexpr sim::ChipFaults kSilentChip{1, 0, 0, 0, -1};
inline constexpr sim::ChipFaults kHealthyChip{0, 0, 0, 0, -1};
inline constexpr sim::ChipFaults stuck_bits(uint8_t mask, uint8_t value) { return {0, mask, value, 0, -1}; }

// Stores `text` (ASCII) as a string value at `path`, terminator included.
inline void set_reg_text(const std::wstring& path, const std::string& text) {
    const std::wstring w(text.begin(), text.end());
    ASSERT_TRUE(vex_RegSetString(path.c_str(), w.c_str(), static_cast<uint32_t>((w.size() + 1) * sizeof(wchar_t))));
}

inline void set_hardware_id(const std::string& id) {
    set_reg_text(L"HKEY_LOCAL_MACHINE\\HARDWARE\\MODULETYPE\\HWID", id);
}

inline uint8_t link_state(uint8_t index) {
    uint8_t up = 0xEE;
    EXPECT_EQ(vex_EthernetLinkState(index, &up), 0);
    return up;
}

// Waits (on the monitor's change signal, not by polling) until adapter
// `index` reports `up`, or 5 s.
inline bool await_link(uint8_t index, uint8_t up) {
    const uint64_t until = now_ms() + 5000;
    uint32_t seen = vex::services::link_changes();
    while (link_state(index) != up) {
        const uint64_t now = now_ms();
        if (now >= until) return false;
        seen = vex::services::wait_for_link_change(seen, static_cast<int>(until - now));
    }
    return true;
}

}  // namespace vex::test
