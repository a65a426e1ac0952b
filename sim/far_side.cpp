#include "sim/far_side.h"

#include "sim/models/memory.h"
#include "sim/models/peripherals.h"
#include "sim/models/services.h"

namespace vex::sim::far {
namespace {

struct Area {
    uint8_t* bytes;
    uint32_t size;
};

Area area(State& s, Chip chip) {
    models::ChipImages* im = models::chip_images(s);
    if (!im) return {nullptr, 0};
    switch (chip) {
    case Chip::Sram: return {im->sram, s.chips.sram.size};
    case Chip::Eeprom: return {im->eeprom, s.chips.eeprom.size};
    case Chip::Nvram: return {im->nvram, models::kNvramBytes};
    }
    return {nullptr, 0};
}

ChipFaults& faults_of(State& s, Chip chip) {
    switch (chip) {
    case Chip::Sram: return s.chips.sram.faults;
    case Chip::Eeprom: return s.chips.eeprom.faults;
    case Chip::Nvram: break;
    }
    return s.chips.nvram.faults;
}

}  // namespace

bool pin_high(Instance& inst, uint32_t pin) {
    return inst.with_lock([&](State& s) { return models::gpio_pin_high(s, pin); });
}

void hold_pin_low(Instance& inst, uint32_t pin, bool low) {
    const uint64_t now = inst.now_ns();
    inst.with_lock([&](State& s) { models::gpio_pull(s, pin, low, now); });
}

std::vector<uint8_t> contents(Instance& inst, Chip chip, uint32_t address, uint32_t n) {
    return inst.with_lock([&](State& s) {
        models::memory_settle(s);
        const Area a = area(s, chip);
        std::vector<uint8_t> out;
        for (uint64_t i = address; i < uint64_t{address} + n && i < a.size; ++i) out.push_back(a.bytes[i]);
        return out;
    });
}

void fill(Instance& inst, Chip chip, uint32_t address, const std::vector<uint8_t>& bytes) {
    inst.with_lock([&](State& s) {
        models::memory_settle(s);
        const Area a = area(s, chip);
        for (size_t i = 0; i < bytes.size() && uint64_t{address} + i < a.size; ++i) a.bytes[address + i] = bytes[i];
        if (chip == Chip::Sram) models::sram_select_page(s, s.chips.sram.page, true);  // refresh the window image
    });
}

uint32_t chip_size(Instance& inst, Chip chip) {
    return inst.with_lock([&](State& s) { return area(s, chip).size; });
}

std::vector<ChipLogEntry> transactions(Instance& inst, Chip chip, uint32_t* total) {
    return inst.with_lock([&](State& s) {
        const ChipLog& log = chip == Chip::Nvram ? s.chips.nvram.log : s.chips.eeprom.log;
        std::vector<ChipLogEntry> out;
        if (chip == Chip::Sram) return out;
        const uint32_t first = log.next > kChipLogEntries ? log.next - kChipLogEntries : 0;
        for (uint32_t i = first; i < log.next; ++i) out.push_back(log.entry[i % kChipLogEntries]);
        if (total) *total = log.next;
        return out;
    });
}

uint32_t eeprom_busy_refusals(Instance& inst) {
    return inst.with_lock([](State& s) { return s.chips.eeprom.busy_nacks; });
}

ChipFaults faults(Instance& inst, Chip chip) {
    return inst.with_lock([&](State& s) { return faults_of(s, chip); });
}

void set_faults(Instance& inst, Chip chip, const ChipFaults& f) {
    inst.with_lock([&](State& s) { faults_of(s, chip) = f; });
}

void set_eeprom_write_cycle_us(Instance& inst, uint32_t us) {
    inst.with_lock([&](State& s) { s.chips.eeprom.write_cycle_us = us; });
}

std::vector<uint16_t> register_writes(Instance& inst, uint32_t offset) {
    return inst.with_lock([&](State& s) {
        std::vector<uint16_t> out;
        const uint32_t first = s.trace_next > kTraceEntries ? s.trace_next - kTraceEntries : 0;
        for (uint32_t i = first; i < s.trace_next; ++i) {
            const TraceEntry& e = s.trace[i % kTraceEntries];
            if (e.offset == offset && e.kind == 1) out.push_back(e.value);
        }
        return out;
    });
}

void set_battery_low(Instance& inst, int battery, bool low) {
    if (battery != 1 && battery != 2) return;
    inst.with_lock([&](State& s) {
        const uint8_t bit = static_cast<uint8_t>(battery);  // 1 -> bit 0, 2 -> bit 1
        s.chips.board.battery_low = static_cast<uint8_t>(low ? (s.chips.board.battery_low | bit)
                                                             : (s.chips.board.battery_low & ~bit));
        s.image[0x901C] = static_cast<uint8_t>((s.image[0x901C] & ~6u) | ((s.chips.board.battery_low & 3u) << 1));
    });
}

void set_rotary(Instance& inst, uint8_t position) {
    inst.with_lock([&](State& s) {
        s.chips.board.rotary = position & 15;
        s.image[0] = models::base_page_read(s, 0, 0);  // shares the register with the watchdog
    });
}

}  // namespace vex::sim::far
