// Routing of commands on the controller's ports to its serial modules (see
// bus.h), faults, and the serial trace.
#include "sim/serial_modules/bus.h"

#include <algorithm>
#include <cstring>

#include "sim/serial_modules/framing.h"
#include "sim/serial_modules/module.h"

namespace vex::sim::serial {
namespace {

std::string_view text_of(const char* field, size_t size) { return {field, strnlen(field, size)}; }

bool is_set(const SerialFault& f) { return f.kind != static_cast<uint8_t>(SerialFaultKind::None); }

// The fault that spoils this exchange, counted down.
SerialFault take_fault(std::initializer_list<SerialFault*> candidates) {
    for (SerialFault* f : candidates) {
        if (!f || !is_set(*f)) continue;
        const SerialFault used = *f;
        if (f->remaining > 0 && --f->remaining == 0 &&
            f->kind != static_cast<uint8_t>(SerialFaultKind::Removed))
            *f = SerialFault{};
        return used;
    }
    return SerialFault{};
}

void record(State& s, int port, std::string_view command, const Answer& a, uint8_t flags, uint64_t now) {
    SerialBusState& b = s.serial;
    SerialTraceEntry& e = b.trace[b.trace_next % kSerialTraceEntries];
    std::memset(&e, 0, sizeof e);
    e.when_ns = now;
    e.port = static_cast<uint8_t>(port);
    e.flags = flags;
    if (a.bytes.empty()) e.flags |= kTraceNoAnswer;
    if (command.size() > sizeof e.command) e.flags |= kTraceCommandCut;
    if (a.bytes.size() > sizeof e.answer) e.flags |= kTraceAnswerCut;
    e.command_len = static_cast<uint8_t>(std::min(command.size(), sizeof e.command));
    e.answer_len = static_cast<uint8_t>(std::min(a.bytes.size(), sizeof e.answer));
    std::memcpy(e.command, command.data(), e.command_len);
    std::memcpy(e.answer, a.bytes.data(), e.answer_len);
    ++b.trace_next;
}

struct Route {
    State& s;
    int port;
    uint64_t now;
    std::string_view terminator;
    uint8_t flags = 0;

    // Frames an answer and lets a fault spoil it.
    Answer finish(const std::string& text, bool checksum, const SerialFault& fault) {
        Outgoing out = spoil(frame_answer(text, checksum, terminator), text.size(), checksum, fault, terminator,
                             s.serial.noise_seed++);
        if (out.spoiled) flags |= kTraceFault;
        return Answer{std::move(out.bytes), out.gap_ms};
    }

    // A command for one module; `echo` is the address its answer carries.
    Answer to_module(int index, std::string_view received, bool checksum, SerialFault* unit_fault, bool via_unit) {
        SerialModuleState& m = s.serial.modules[index];
        const catalogue::SerialKind* k = kind_of(m);
        if (!k || !m.present) return {};
        std::string_view text = received;
        if (checksum) {
            const auto stripped = strip_checksum(received);
            if (!stripped) return {};  // a garbled command is not for anybody
            text = *stripped;
        }
        const auto a = split_address(text);
        if (!a || a->address != m.address) return {};  // not for this module
        const SerialFault fault = take_fault({&m.fault, unit_fault, &s.serial.ports[port].fault});
        if (fault.kind == static_cast<uint8_t>(SerialFaultKind::Refuse))
            return finish(refuse(a->address), checksum, fault);
        const Shape shape = shape_of(*k);
        Request r;
        if (!via_unit) {
            r = decode(a->prefix, a->body, shape);
        } else if (const auto us = split_unit_slot(a->body)) {
            r = decode_unit(a->prefix, us->rest, shape);
        }
        Exec x{s, m, *k, index, a->address, now};
        return finish(execute(x, r), checksum, fault);
    }

    // A command for an expansion unit: its own, or one for a module in it.
    Answer to_unit(SerialUnitState& u, std::string_view received) {
        if (!u.present) return {};
        const bool checksum = s.serial.ports[port].checksum != 0;
        std::string_view text = received;
        if (checksum) {
            const auto stripped = strip_checksum(received);
            if (!stripped) return {};
            text = *stripped;
        }
        const auto a = split_address(text);
        if (!a) return {};
        if (const auto us = split_unit_slot(a->body)) {
            for (int i = 0; i < kSerialModules; ++i) {
                const SerialModuleState& m = s.serial.modules[i];
                if (m.site == static_cast<uint8_t>(SerialSite::Unit) && m.port == port && m.address == u.address &&
                    m.slot == us->slot && m.present)
                    return to_module(i, received, checksum, &u.fault, true);
            }
        }
        const SerialFault fault = take_fault({&u.fault, &s.serial.ports[port].fault});
        const bool own_name = a->prefix == '$' && a->body == "M" && fault.kind != static_cast<uint8_t>(SerialFaultKind::Refuse);
        return finish(own_name ? ack(u.address) + std::string(text_of(u.name, sizeof u.name)) : refuse(u.address),
                      checksum, fault);
    }

    // "~**": every module on the bus (or only `only`) that takes it as
    // meant for it.
    void broadcast(std::string_view received, int only = -1) {
        for (int i = 0; i < kSerialModules; ++i) {
            SerialModuleState& m = s.serial.modules[i];
            const catalogue::SerialKind* k = kind_of(m);
            if (!k || !m.present || m.port != port || (only >= 0 && i != only)) continue;
            const bool checksum = m.site == static_cast<uint8_t>(SerialSite::Unit) ? s.serial.ports[port].checksum
                                                                                     : m.checksum;
            if (received == "~**" ? !checksum : (checksum && strip_checksum(received) == std::string_view("~**")))
                module_refresh(m, *k, now);
        }
    }
};

// The module the slot-select register connects the internal port to.
int selected_slot_module(const State& s) {
    const uint8_t selected = static_cast<uint8_t>(~s.slot_select);
    if (selected == 0 || (selected & (selected - 1)) != 0) return -1;  // none, or several at once
    int slot = 0;
    while (!(selected & (1u << slot))) ++slot;
    if (s.slots[slot].kind != static_cast<uint8_t>(ModuleKind::Serial)) return -1;
    for (int i = 0; i < kSerialModules; ++i) {
        const SerialModuleState& m = s.serial.modules[i];
        if (m.site == static_cast<uint8_t>(SerialSite::Slot) && m.slot == slot) return i;
    }
    return -1;
}

}  // namespace

int bus_port_index(const State& s, std::string_view name) {
    for (int i = 0; i < kSerialBusPorts; ++i) {
        const SerialBusPort& p = s.serial.ports[i];
        if (p.name[0] && text_of(p.name, sizeof p.name) == name) return i;
    }
    return -1;
}

Answer answer_command(State& s, int port, std::string_view received, uint64_t now) {
    if (port < 0 || port >= kSerialBusPorts) return {};
    SerialBusPort& p = s.serial.ports[port];
    Route route{s, port, now, text_of(p.terminator, sizeof p.terminator)};
    Answer answer;
    if (text_of(p.name, sizeof p.name) == "COM0:") {
        const int index = selected_slot_module(s);
        if (index >= 0) {
            const SerialModuleState& m = s.serial.modules[index];
            if (received.substr(0, 3) == "~**") {
                route.broadcast(received, index);  // only the selected module hears it
            } else {
                answer = route.to_module(index, received, m.checksum != 0, nullptr, false);
            }
        }
    } else if (const auto a = split_address(received)) {
        if (a->broadcast) {
            route.broadcast(received);
        } else {
            bool found = false;
            for (int i = 0; i < kSerialModules && !found; ++i) {
                const SerialModuleState& m = s.serial.modules[i];
                if (m.site == static_cast<uint8_t>(SerialSite::Bus) && m.port == port && m.address == a->address) {
                    answer = route.to_module(i, received, m.checksum != 0, nullptr, false);
                    found = true;
                }
            }
            for (SerialUnitState& u : s.serial.units) {
                if (!found && u.used && u.port == port && u.address == a->address) {
                    answer = route.to_unit(u, received);
                    found = true;
                }
            }
        }
    }
    record(s, port, std::string(received) + std::string(route.terminator), answer, route.flags, now);
    return answer;
}

}  // namespace vex::sim::serial
