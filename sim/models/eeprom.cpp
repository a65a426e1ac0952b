// The serial EEPROM: an I2C slave on the processor's GPIO lines SCL 12,
// SDA 22 and write protect 4, decoding the bus bit by bit.
//
// Device select 1010 000 R/W (its address pins are tied low), two address
// bytes (high first), then data. Data bytes of a write go into a page
// buffer whose position wraps within the 64-byte page; the stop condition
// commits the bytes received and starts the internal write cycle, during
// which the chip acknowledges nothing. A start condition before the stop
// abandons the write. Reads run sequentially from the address counter to
// the end of the chip and wrap to 0; the master's missing acknowledge ends
// them. With write protect high the chip acknowledges device select and
// address but no data byte, and writes nothing.
//
// The chip changes SDA only while SCL is low, so nothing it does can look
// like a start or stop condition.
#include <cstring>

#include "sim/models/memory.h"
#include "sim/models/peripherals.h"

namespace vex::sim::models {
namespace {

constexpr uint32_t kScl = 12;
constexpr uint32_t kSda = 22;
constexpr uint32_t kWp = 4;
constexpr uint8_t kDeviceSelect = 0xA0;

enum Phase : uint8_t { Idle = 0, Device, AddrHigh, AddrLow, WriteData, ReadData, Ignore };

// Receiving: bits 0..8 count the bits clocked in; 9 is the acknowledge
// clock. Sending: bits 0..8 count bits clocked out; 8 waits for the
// master's acknowledge, 9 is after it (acked says which).

void hold_sda(State& s, bool low) {
    s.chips.eeprom.holding_sda = low;
    gpio_hold(s, kSda, low);
}

void apply_commit(State& s) {
    EepromState& e = s.chips.eeprom;
    ChipImages* im = chip_images(s);
    if (!e.commit_pending || !im) return;
    for (uint32_t i = 0; i < kEepromPage; ++i) {
        if (e.commit_mask & (1ull << i)) im->eeprom[(e.commit_base + i) & (e.size - 1)] = e.commit_data[i];
    }
    e.commit_pending = 0;
}

uint8_t send_value(const State& s, uint8_t byte) {
    const ChipFaults& f = s.chips.eeprom.faults;
    return static_cast<uint8_t>((byte & ~f.stuck_mask) | (f.stuck_value & f.stuck_mask));
}

// Loads the byte at the address counter and puts its first bit on SDA.
void start_sending(State& s) {
    EepromState& e = s.chips.eeprom;
    const ChipImages* im = chip_images(s);
    e.shift = send_value(s, im ? im->eeprom[e.address & (e.size - 1)] : 0xFF);
    e.bits = 0;
    hold_sda(s, !(e.shift & 0x80));
}

void end_transaction(State& s) {
    EepromState& e = s.chips.eeprom;
    if (e.phase == ReadData && e.sent) chip_log(e.log, ChipLogKind::Read, e.read_start, e.sent);
    e.phase = Idle;
    e.bits = 0;
    hold_sda(s, false);
}

void on_start(State& s) {
    EepromState& e = s.chips.eeprom;
    if (e.phase == WriteData && e.received) chip_log(e.log, ChipLogKind::WriteAborted, e.address, e.received);
    end_transaction(s);
    e.phase = Device;
    e.shift = 0;
}

void on_stop(State& s, uint64_t now) {
    EepromState& e = s.chips.eeprom;
    if (e.phase == WriteData && e.received) {
        if (e.page_mask) {
            std::memcpy(e.commit_data, e.page_data, kEepromPage);
            e.commit_base = e.page_base;
            e.commit_mask = e.page_mask;
            e.commit_pending = 1;
            apply_commit(s);
            chip_log(e.log, ChipLogKind::Write, e.address, e.received);
            e.busy_until_ns = now + uint64_t{e.write_cycle_us} * 1000u;
            e.address = e.page_base | e.page_offset;
        }
    } else if (e.phase == WriteData && !e.acked) {
        chip_log(e.log, ChipLogKind::WriteRefused, e.address, 0);
    }
    end_transaction(s);
}

// Decides whether to acknowledge the byte just received, and acts on it.
bool take_byte(State& s, uint64_t now) {
    EepromState& e = s.chips.eeprom;
    const uint8_t byte = e.shift;
    if (e.faults.no_ack || !chip_images(s)) return false;
    if (e.faults.ack_budget == 0) return false;
    switch (e.phase) {
    case Device:
        if ((byte & 0xFE) != kDeviceSelect) return false;
        if (now < e.busy_until_ns) {
            ++e.busy_nacks;
            return false;
        }
        e.read_start = e.address & (e.size - 1);
        e.sent = 0;
        e.phase = (byte & 1) ? ReadData : AddrHigh;
        break;
    case AddrHigh:
        e.address = static_cast<uint32_t>(byte) << 8;
        e.phase = AddrLow;
        break;
    case AddrLow:
        e.address = (e.address | byte) & (e.size - 1);
        e.page_base = e.address & ~(kEepromPage - 1);
        e.page_offset = e.address & (kEepromPage - 1);
        e.page_mask = 0;
        e.received = 0;
        e.phase = WriteData;
        break;
    case WriteData:
        if (gpio_pin_high(s, kWp)) return false;
        e.page_data[e.page_offset] = byte;
        e.page_mask |= 1ull << e.page_offset;
        e.page_offset = (e.page_offset + 1) & (kEepromPage - 1);
        ++e.received;
        break;
    default:
        return false;
    }
    if (e.faults.ack_budget > 0) --e.faults.ack_budget;
    return true;
}

void receive_clock(State& s, bool rising, bool sda, uint64_t now) {
    EepromState& e = s.chips.eeprom;
    if (rising) {
        if (e.bits < 8) {
            e.shift = static_cast<uint8_t>((e.shift << 1) | (sda ? 1 : 0));
            ++e.bits;
        }
        return;
    }
    if (e.bits == 8) {  // the eighth bit is in: answer during the ninth clock
        e.acked = take_byte(s, now);
        hold_sda(s, e.acked);
        e.bits = 9;
        if (!e.acked && e.phase == Device) e.phase = Ignore;
        return;
    }
    if (e.bits == 9) {  // the acknowledge clock is over
        hold_sda(s, false);
        e.bits = 0;
        e.shift = 0;
        if (!e.acked && e.phase != WriteData) e.phase = Ignore;
        if (e.acked && e.phase == ReadData) start_sending(s);
    }
}

void send_clock(State& s, bool rising, bool sda) {
    EepromState& e = s.chips.eeprom;
    if (rising) {
        if (e.bits < 8 && ++e.bits == 8) {
            ++e.sent;
            e.address = (e.address + 1) & (e.size - 1);
        } else if (e.bits == 8) {
            e.acked = !sda;  // the master's acknowledge
            e.bits = 9;
        }
        return;
    }
    if (e.bits < 8) {
        hold_sda(s, !((e.shift << e.bits) & 0x80));
    } else if (e.bits == 8) {
        hold_sda(s, false);  // let the master acknowledge
    } else if (e.acked) {
        start_sending(s);
    } else {
        end_transaction(s);  // no acknowledge: the master wants no more
        e.phase = Ignore;
    }
}

}  // namespace

void eeprom_power_up(State& s, uint32_t size, uint32_t write_cycle_us) {
    EepromState& e = s.chips.eeprom;
    e = EepromState{};
    e.size = size;
    e.write_cycle_us = write_cycle_us;
    e.scl = e.sda = e.wp = 1;
    e.faults.ack_budget = -1;
}

void eeprom_settle(State& s) { apply_commit(s); }

void eeprom_lines_changed(State& s, uint64_t now) {
    EepromState& e = s.chips.eeprom;
    apply_commit(s);
    const uint8_t scl = gpio_pin_high(s, kScl), sda = gpio_pin_high(s, kSda);
    e.wp = gpio_pin_high(s, kWp);
    const bool scl_moved = scl != e.scl, sda_moved = sda != e.sda;
    e.scl = scl;
    e.sda = sda;
    if (!scl_moved) {
        // A data line change while the clock is high is a condition.
        if (sda_moved && scl) sda ? on_stop(s, now) : on_start(s);
        return;
    }
    switch (e.phase) {
    case Device:
    case AddrHigh:
    case AddrLow:
    case WriteData:
        receive_clock(s, scl, sda, now);
        break;
    case ReadData:
        send_clock(s, scl, sda);
        break;
    default:
        break;
    }
}

}  // namespace vex::sim::models
