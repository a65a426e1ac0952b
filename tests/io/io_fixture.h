// A controller with one module of each kind the digital I/O and module
// watchdog code meets, and a way to see the register writes a call made.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/sim_fixture.h"

namespace vex::test {

// Text check with the whole text in the failure message.
inline ::testing::AssertionResult contains(const std::string& text, const std::string& part) {
    if (text.find(part) != std::string::npos) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "'" << part << "' not found in:\n" << text;
}

inline constexpr uint32_t kReadBackSlot = 0;   // ID 0x2F, 32 DO, read-back and watchdog
inline constexpr uint32_t kPlain32Slot = 1;    // 32 DO, no read-back
inline constexpr uint32_t kCombo8Slot = 2;     // 8 DI / 8 DO
inline constexpr uint32_t kSerialSlot = 3;     // serial module (ID 255)
inline constexpr uint32_t kInput32Slot = 4;    // 32 DI
inline constexpr uint32_t kCombo16Slot = 5;    // 16 DI / 16 DO
inline constexpr uint32_t kWatchdog4Slot = 6;  // 4 DO with watchdog, ID 0x31 (not the read-back type)
inline constexpr uint32_t kEmptySlot = 7;
inline constexpr uint32_t kSafeValue = 0xA5A5A5A5;

class IoFixture : public SimFixture {
protected:
    std::string description() override {
        return R"toml(
slot = [
  { slot = 0, id = 0x2F, do_channels = 32, readback = true, safe = 0xA5A5A5A5, wdt_timeout = 2 },
  { slot = 1, id = 0x24, do_channels = 32 },
  { slot = 2, id = 0x21, di_channels = 8, do_channels = 8 },
  { slot = 3, type = "serial", kind = "4308" },
  { slot = 4, id = 0x15, di_channels = 32 },
  { slot = 5, id = 0x13, di_channels = 16, do_channels = 16 },
  { slot = 6, id = 0x31, do_channels = 4, watchdog = true, safe = 0x0C },
]
)toml";
    }

    // Register writes (window offset, value) from here on.
    uint32_t mark() { return sim().with_lock([](sim::State& s) { return s.trace_next; }); }
    std::vector<std::pair<uint32_t, uint32_t>> writes_since(uint32_t mark) {
        return sim().with_lock([mark](sim::State& s) {
            std::vector<std::pair<uint32_t, uint32_t>> out;
            for (uint32_t k = mark; k != s.trace_next; ++k) {
                const sim::TraceEntry& e = s.trace[k % sim::kTraceEntries];
                out.emplace_back(e.offset, e.value);
            }
            return out;
        });
    }
    sim::ParallelModule module(uint32_t slot) {
        return sim().with_lock([slot](sim::State& s) { return s.slots[slot].parallel; });
    }
    void let_pass_ms(uint64_t ms) { sim().advance(ms * 1000000ull); }
};

}  // namespace vex::test
