// The processor's GPIO block: output latch, direction, edge detection and
// alternate functions, with pins wired to the board's devices.
#include <bit>

#include "platform/gpio.h"
#include "sim/models/models.h"
#include "sim/models/peripherals.h"

namespace vex::sim::models {
namespace {

namespace g = plat::gpio;

// Bank 3 has pins 96..120 only.
constexpr uint32_t kBankMask[kGpioBanks] = {0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu, 0x01FFFFFFu};

// Which bank register an offset names: the bank-0 offset and the bank, or
// false when the offset is not a banked register.
bool decode(uint32_t offset, uint32_t& base, uint32_t& bank) {
    static constexpr uint32_t kBanked[] = {g::kLevel,        g::kDirection,    g::kSet,       g::kClear,
                                           g::kRisingEdge,   g::kFallingEdge,  g::kEdgeStatus};
    for (uint32_t b : kBanked) {
        for (uint32_t k = 0; k < kGpioBanks; ++k) {
            if (g::reg(b, k) == offset) {
                base = b;
                bank = k;
                return true;
            }
        }
    }
    return false;
}

bool is_alt_function(uint32_t offset) { return offset >= g::kAltFunction && offset < g::kAltFunction + 32; }

uint32_t computed_level(const GpioState& g, int bank) {
    const uint32_t driven_low = g.dir[bank] & ~g.out[bank];
    return ~(driven_low | g.pulled_low[bank]) & kBankMask[bank];
}

// Brings the pin levels up to date: latches enabled edges and tells wired
// devices, which may answer by pulling pins; repeats until nothing moves.
void settle(State& s, uint64_t now) {
    GpioState& g = s.peripherals.gpio;
    for (int round = 0; round < 8; ++round) {
        uint32_t changed[kGpioBanks];
        bool any = false;
        for (int b = 0; b < kGpioBanks; ++b) {
            const uint32_t level = computed_level(g, b);
            changed[b] = level ^ g.level[b];
            if (!changed[b]) continue;
            any = true;
            const uint32_t latched = (changed[b] & level & g.rising[b]) | (changed[b] & ~level & g.falling[b]);
            const uint32_t fresh = latched & ~g.edge[b];
            g.edges_latched += static_cast<uint32_t>(std::popcount(fresh));
            g.edge[b] |= latched;
            g.level[b] = level;
            if (fresh) gpio_edges_latched(s, b, fresh);  // the interrupt controller looks
        }
        if (!any) return;
        gpio_wiring_changed(s, changed, now);
    }
}

}  // namespace

void gpio_power_up(State& s) {
    GpioState& g = s.peripherals.gpio;
    g = GpioState{};
    for (int b = 0; b < kGpioBanks; ++b) g.level[b] = computed_level(g, b);  // all inputs, pulled up
}

bool gpio_pin_high(const State& s, uint32_t pin) {
    if (pin >= g::kPins) return false;
    return (s.peripherals.gpio.level[pin >> 5] & g::bit(pin)) != 0;
}

void gpio_pull(State& s, uint32_t pin, bool low, uint64_t now) {
    if (pin >= g::kPins) return;
    uint32_t& pulled = s.peripherals.gpio.pulled_low[pin >> 5];
    pulled = low ? (pulled | g::bit(pin)) : (pulled & ~g::bit(pin));
    settle(s, now);
}

uint32_t gpio_read(State& s, uint32_t offset, uint64_t) {
    const GpioState& g = s.peripherals.gpio;
    if (is_alt_function(offset)) return g.alt[(offset - g::kAltFunction) / 4];
    uint32_t base = 0, bank = 0;
    if (!decode(offset, base, bank)) return 0;
    switch (base) {
    case g::kLevel: return g.level[bank];
    case g::kDirection: return g.dir[bank];
    case g::kRisingEdge: return g.rising[bank];
    case g::kFallingEdge: return g.falling[bank];
    case g::kEdgeStatus: return g.edge[bank];
    default: return 0;  // set and clear are write-only
    }
}

void gpio_write(State& s, uint32_t offset, uint32_t value, uint64_t now) {
    GpioState& g = s.peripherals.gpio;
    if (is_alt_function(offset)) {
        g.alt[(offset - g::kAltFunction) / 4] = value;
        return;
    }
    uint32_t base = 0, bank = 0;
    if (!decode(offset, base, bank)) return;
    value &= kBankMask[bank];
    switch (base) {
    case g::kDirection: g.dir[bank] = value; break;
    case g::kSet: g.out[bank] |= value; break;
    case g::kClear: g.out[bank] &= ~value; break;
    case g::kRisingEdge: g.rising[bank] = value; return;
    case g::kFallingEdge: g.falling[bank] = value; return;
    case g::kEdgeStatus: g.edge[bank] &= ~value; return;
    default: return;  // the level register is read-only
    }
    settle(s, now);
}

}  // namespace vex::sim::models
