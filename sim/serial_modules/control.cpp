// Building the serial modules from the description, and control operations.
#include "sim/serial_modules/control.h"

#include <cstring>

#include "sim/models/models.h"
#include "sim/serial_modules/module.h"

namespace vex::sim::serial {
namespace {

void copy_text(char* dst, size_t size, std::string_view src) {
    std::memset(dst, 0, size);
    std::memcpy(dst, src.data(), std::min(size - 1, src.size()));
}

std::string_view text_of(const char* field, size_t size) { return {field, strnlen(field, size)}; }

// Digest of what a module's memory is made from in the description: memory
// on file made from another description is not this module's.
uint32_t digest(const SerialModuleDescription& d) {
    uint32_t h = 2166136261u;
    auto mix = [&](const void* p, size_t n) {
        for (size_t i = 0; i < n; ++i) h = (h ^ static_cast<const uint8_t*>(p)[i]) * 16777619u;
    };
    mix(d.kind.data(), d.kind.size());
    mix(&d.power_on, sizeof d.power_on);
    mix(&d.safe, sizeof d.safe);
    for (float f : d.ao_power_on) mix(&f, sizeof f);
    h ^= 0xA5;
    for (float f : d.ao_safe) mix(&f, sizeof f);
    const uint8_t wdt[2] = {static_cast<uint8_t>(d.wdt_enabled), d.wdt_timeout};
    mix(wdt, sizeof wdt);
    return h;
}

int free_module(const State& s) {
    for (int i = 0; i < kSerialModules; ++i) {
        if (s.serial.modules[i].site == static_cast<uint8_t>(SerialSite::Unused)) return i;
    }
    return -1;
}

void apply_fault(SerialFault& f, const FaultDescription& d) {
    f = SerialFault{};
    f.kind = static_cast<uint8_t>(d.kind);
    f.param = d.param;
    f.remaining = d.count;
}

// Fills a module entry from its description and powers it up. With
// `keep_memory`, memory on file for this very module wins.
int install(State& s, SerialSite site, int port, uint8_t address, uint8_t slot, const SerialModuleDescription& d,
            bool keep_memory, uint64_t now) {
    const int index = free_module(s);
    if (index < 0) return -1;
    SerialModuleState& m = s.serial.modules[index];
    std::memset(&m, 0, sizeof m);
    m.site = static_cast<uint8_t>(site);
    m.port = static_cast<uint8_t>(port);
    m.address = address;
    m.slot = slot;
    copy_text(m.name, sizeof m.name, d.kind);
    m.present = d.fault.kind == SerialFaultKind::Removed ? 0 : 1;
    m.checksum = d.checksum.value_or(false) ? 1 : 0;
    m.format = static_cast<uint8_t>(d.format);
    m.born = digest(d);
    m.do_power_on = d.power_on;
    m.do_safe = d.safe;
    for (size_t i = 0; i < d.ao_power_on.size() && i < kSerialChannels; ++i) m.ao_power_on[i] = d.ao_power_on[i];
    for (size_t i = 0; i < d.ao_safe.size() && i < kSerialChannels; ++i) m.ao_safe[i] = d.ao_safe[i];
    m.wdt_enabled = d.wdt_enabled ? 1 : 0;
    m.wdt_timeout = d.wdt_timeout;
    if (!(keep_memory && memory_load(s, index))) memory_save(s, index);
    m.di = d.di & channel_mask(kind_of(m) ? kind_of(m)->di_channels : 0);
    for (size_t i = 0; i < d.ai.size() && i < kSerialChannels; ++i) m.ai[i] = d.ai[i];
    apply_fault(m.fault, d.fault);
    module_power_up(s, index, now);
    return index;
}

void set_port(SerialBusPort& p, const std::string& name, bool loopback, bool checksum, const std::string& terminator,
              bool pacing, uint16_t turnaround_ms, const FaultDescription& fault) {
    std::memset(&p, 0, sizeof p);
    copy_text(p.name, sizeof p.name, name);
    p.modem_loopback = loopback ? 1 : 0;
    copy_text(p.terminator, sizeof p.terminator, terminator.empty() ? std::string("\r") : terminator);
    p.checksum = checksum ? 1 : 0;
    p.pacing = pacing ? 1 : 0;
    p.turnaround_ms = turnaround_ms;
    apply_fault(p.fault, fault);
}

int slot_module(const State& s, int slot) {
    for (int i = 0; i < kSerialModules; ++i) {
        const SerialModuleState& m = s.serial.modules[i];
        if (m.site == static_cast<uint8_t>(SerialSite::Slot) && m.slot == slot) return i;
    }
    return -1;
}

}  // namespace

void power_up(State& s, const Description& d, uint64_t now) {
    SerialBusState& b = s.serial;
    std::memset(&b, 0, sizeof b);
    // COM0: is always port 0; it may be described for its settings.
    set_port(b.ports[0], "COM0:", false, false, "\r", false, 0, {});
    int next = 1;
    for (const PortDescription& pd : d.ports) {
        const int index = pd.name == "COM0:" ? 0 : next++;
        if (index >= kSerialBusPorts) break;
        set_port(b.ports[index], pd.name, pd.modem_loopback, pd.checksum, pd.terminator, pd.pacing, pd.turnaround_ms,
                 pd.fault);
        for (const SerialModuleDescription& m : pd.modules)
            install(s, SerialSite::Bus, index, m.address, 0, m, true, now);
        int unit = 0;
        while (unit < kSerialUnits && b.units[unit].used) ++unit;
        for (const UnitDescription& ud : pd.units) {
            if (unit >= kSerialUnits) break;
            SerialUnitState& u = b.units[unit++];
            u.used = 1;
            u.port = static_cast<uint8_t>(index);
            u.address = ud.address;
            u.slots = ud.slots;
            u.present = ud.fault.kind == SerialFaultKind::Removed ? 0 : 1;
            copy_text(u.name, sizeof u.name, ud.name);
            apply_fault(u.fault, ud.fault);
            for (const auto& [slot, m] : ud.modules) install(s, SerialSite::Unit, index, ud.address, slot, m, true, now);
        }
    }
}

bool slot_install(State& s, int slot, const SerialModuleDescription& d, uint64_t now) {
    slot_remove(s, slot);
    // While the instance powers up its state is not yet marked finished:
    // modules that stayed in their slots keep their memory. A plug brings
    // a new module, made from its description.
    const bool powering_up = s.magic != kStateMagic;
    return install(s, SerialSite::Slot, 0, d.address, static_cast<uint8_t>(slot), d, powering_up, now) >= 0;
}

void slot_remove(State& s, int slot) {
    const int i = slot_module(s, slot);
    if (i >= 0) std::memset(&s.serial.modules[i], 0, sizeof s.serial.modules[i]);
}

bool slot_module_present(const State& s, int slot) {
    const int i = slot_module(s, slot);
    return i >= 0 && s.serial.modules[i].present;
}

void advance_all(State& s, uint64_t now) {
    for (SerialModuleState& m : s.serial.modules) {
        if (const catalogue::SerialKind* k = kind_of(m)) module_advance(m, *k, now);
    }
}

std::string place_of(const State& s, int module) {
    const SerialModuleState& m = s.serial.modules[module];
    if (m.site == static_cast<uint8_t>(SerialSite::Slot)) return "slot" + std::to_string(m.slot);
    std::string port(text_of(s.serial.ports[m.port].name, sizeof s.serial.ports[m.port].name));
    if (port.empty() || port.back() != ':') port += ':';
    if (m.site == static_cast<uint8_t>(SerialSite::Unit)) return port + hex2(m.address) + "/" + std::to_string(m.slot);
    return port + hex2(m.address);
}

}  // namespace vex::sim::serial
