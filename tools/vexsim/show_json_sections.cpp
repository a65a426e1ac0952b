// vexsim show --json: the services, interrupt and serial sections. They read
// the same state fields, after the same advances, as the text of vexsim
// show (cmd_services.cpp, cmd_irq.cpp, cmd_show.cpp); state locked by the
// caller.
#include <cstring>
#include <string>

#include "platform/peripherals.h"
#include "sim/models/models.h"
#include "sim/serial_modules/control.h"
#include "sim/serial_modules/module.h"
#include "tools/common/json.h"
#include "tools/vexsim/commands.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexsim_show_json_sections {

namespace sim = vex::sim;
using vex::tools::Json;

std::string text(const char* field, size_t size) { return std::string(field, strnlen(field, size)); }

double seconds_left(uint64_t deadline, uint64_t now) {
    return deadline > now ? static_cast<double>(deadline - now) / 1e9 : 0.0;
}

// A fault setting as {kind, param, remaining}, or null when there is none.
void fault(Json& j, const sim::SerialFault& f) {
    j.key("fault");
    if (!f.kind) {
        j.null();
        return;
    }
    j.open_object().field("kind", sim::serial::fault_name(static_cast<sim::SerialFaultKind>(f.kind)));
    j.field("param", f.param).field("remaining", f.remaining).close();
}

void reals(Json& j, const char* key, const float* v, int n) {
    j.key(key).open_array();
    for (int i = 0; i < n; ++i) j.value(static_cast<double>(v[i]));
    j.close();
}

void watchdogs(Json& j, const sim::State& s, uint64_t now) {
    const sim::SystemWatchdogState& w = s.services.watchdog;
    j.key("system_watchdog").open_object();
    j.key("backplane").open_object().field("enabled", w.enabled != 0).field("time_s", w.time ? w.time : 32u);
    if (w.enabled)
        j.field("resets_in_s", seconds_left(w.deadline0_ns, now));
    else
        j.key("resets_in_s").null();
    j.close().key("os_timer").open_object().field("armed", w.deadline1_ns != UINT64_MAX);
    if (w.deadline1_ns != UINT64_MAX)
        j.field("resets_in_s", seconds_left(w.deadline1_ns, now));
    else
        j.key("resets_in_s").null();
    j.close().field("resets", w.resets);
    if (w.resets)
        j.field("last_reset_s_ago", static_cast<double>(now - w.last_reset_ns) / 1e9)
            .field("last_reset_by", w.last_reset_type == 0 ? "backplane" : "os_timer");
    else
        j.key("last_reset_s_ago").null().key("last_reset_by").null();
    const uint32_t status = s.peripherals.power.word[vex::plat::power::kResetStatus / 4];
    j.field("reset_status", status).field("watchdog_reset", (status & vex::plat::power::kResetWatchdog) != 0);
    j.close();
}

void panel(Json& j, const sim::State& s) {
    const sim::PanelState& p = s.services.panel;
    j.key("panel").open_object().key("buzzer").open_object().field("sounding", p.buzzer_hz != 0);
    j.field("hz", p.buzzer_hz).field("duty_percent", p.buzzer_duty).field("beeps", p.beeps).close();
    j.field("led", p.led_on != 0).field("backlight_percent", p.backlight).field("backlight_pwm", p.backlight_pwm != 0);
    j.close();
}

void card(Json& j, const sim::State& s) {
    const sim::CardState& c = s.services.card;
    j.key("card").open_object().field("present", c.present != 0);
    if (c.present && c.mounted) {
        j.field("mounted", text(c.part[c.mounted - 1].name, sizeof c.part[0].name));
        j.field("folder", text(c.folder, sizeof c.folder));
    } else {
        j.key("mounted").null().key("folder").null();
    }
    j.key("partitions").open_array();
    for (int i = 0; c.present && i < c.partitions; ++i) {
        const sim::CardPartitionState& p = c.part[i];
        j.open_object().field("name", text(p.name, sizeof p.name));
        j.field("file_system", text(p.file_system, sizeof p.file_system)).field("label", text(p.label, sizeof p.label));
        j.field("contents", text(p.contents, sizeof p.contents)).close();
    }
    j.close().close();
}

void links(Json& j, const sim::State& s) {
    j.key("links").open_array();
    for (const sim::LinkEntry& e : s.services.links.link) {
        if (!e.interface[0]) continue;
        j.open_object().field("interface", text(e.interface, sizeof e.interface)).field("up", e.up != 0).close();
    }
    j.close();
}

// A slot mask per trigger type.
void per_trigger(Json& j, const char* key, const uint8_t masks[3]) {
    j.key(key).open_object().field("rising", masks[0]).field("level", masks[1]).field("falling", masks[2]).close();
}

void bus_module(Json& j, const sim::State& s, int index) {
    const sim::SerialModuleState& m = s.serial.modules[index];
    const vex::catalogue::SerialKind* k = sim::serial::kind_of(m);
    j.open_object().field("place", sim::serial::place_of(s, index)).field("name", text(m.name, sizeof m.name));
    j.field("address", m.address).field("present", m.present != 0).field("checksum", m.checksum != 0);
    fault(j, m.fault);
    if (!k) {
        j.field("known", false).close();
        return;
    }
    j.field("known", true).field("description", k->description);
    if (k->di_channels) {
        j.field("di_channels", k->di_channels).field("inputs", m.di);
        if (k->latches) j.field("latched_on", m.di_latch[1]).field("latched_off", m.di_latch[0]);
    }
    if (k->counters) {
        j.key("counters").open_array();
        for (int i = 0; i < k->counters; ++i) j.value(m.counter[i]);
        j.close().key("overflowed").open_array();
        for (int i = 0; i < k->counters; ++i) j.value(m.overflow[i] != 0);
        j.close();
    }
    if (k->do_channels) {
        j.field("do_channels", k->do_channels).field("outputs", m.do_value).field("power_on", m.do_power_on);
        if (k->watchdog) j.field("safe", m.do_safe);
    }
    if (k->ai_channels || k->ao_channels) j.field("unit", k->unit);
    if (k->ai_channels) {
        reals(j, "analog_inputs", m.ai, k->ai_channels);
        j.field("answers_counts", m.format == static_cast<uint8_t>(sim::SerialFormat::Hex));
    }
    if (k->ao_channels) {
        reals(j, "analog_outputs", m.ao, k->ao_channels);
        reals(j, "analog_power_on", m.ao_power_on, k->ao_channels);
        if (k->watchdog) reals(j, "analog_safe", m.ao_safe, k->ao_channels);
    }
    j.key("watchdog");
    if (k->watchdog) {
        j.open_object().field("enabled", m.wdt_enabled != 0).field("timeout_s", m.wdt_timeout / 10.0);
        j.field("expired", m.wdt_expired != 0).close();
    } else {
        j.null();
    }
    j.close();
}

bool on_port(const sim::SerialModuleState& m, int port, sim::SerialSite site) {
    return m.site == static_cast<uint8_t>(site) && m.port == port;
}

}  // namespace vexsim_show_json_sections
}  // namespace

void show_json_services(vex::tools::Json& j, const vex::sim::State& s, uint64_t now) {
    using namespace vexsim_show_json_sections;
    j.key("services").open_object();
    watchdogs(j, s, now);
    panel(j, s);
    card(j, s);
    links(j, s);
    j.close();
}

void show_json_interrupts(vex::tools::Json& j, const vex::sim::State& s, uint64_t now) {
    using namespace vexsim_show_json_sections;
    const sim::IrqState& q = s.irq;
    j.key("interrupts").open_object();
    per_trigger(j, "enabled", q.enable);
    per_trigger(j, "latched", q.latch);
    j.field("gate", q.gate).field("in_service", q.in_service).field("lines", q.line);
    j.key("timers").open_array();
    for (int n = 0; n < 3; ++n) {
        const sim::BackplaneTimer& t = q.timers[n];
        j.open_object().field("timer", n).field("running", t.start_ns != 0);
        if (t.start_ns)
            j.field("period_us", static_cast<double>(t.period_ns) / 1e3).field("ticks", t.ticks).field("merged", t.merged);
        else
            j.key("period_us").null().key("ticks").null().key("merged").null();
        if (n == 0 && t.start_ns)
            j.field("output_high", sim::models::timer0_output(s, now));
        else if (n == 0)
            j.key("output_high").null();
        j.close();
    }
    j.close().key("hot_plug").open_object().field("enabled", (q.control & 0x08) != 0);
    j.field("pending", (q.status & 0x08) != 0).close();
    j.field("ms_counter", (now - s.epoch_ns) / 1000000).key("bindings").open_array();
    for (const sim::IrqBinding& b : q.bindings) {
        if (!b.token) continue;
        const int line = static_cast<int>(b.line);
        j.open_object();
        if (line < sim::kSlots)
            j.field("source", "slot").field("number", line);
        else if (line >= sim::kIrqLineTimer0)
            j.field("source", "timer").field("number", line - sim::kIrqLineTimer0);
        else
            j.field("source", "single_slot").key("number").null();
        j.field("pid", b.pid).close();
    }
    j.close().close();
}

void show_json_serial(vex::tools::Json& j, const vex::sim::State& s) {
    using namespace vexsim_show_json_sections;
    const sim::SerialBusState& b = s.serial;
    j.key("serial").open_array();
    for (int p = 0; p < sim::kSerialBusPorts; ++p) {
        const sim::SerialBusPort& port = b.ports[p];
        if (!port.name[0]) continue;
        j.open_object().field("port", text(port.name, sizeof port.name));
        j.field("terminator", text(port.terminator, sizeof port.terminator)).field("checksum", port.checksum != 0);
        j.field("paced", port.pacing != 0).field("turnaround_ms", port.turnaround_ms);
        fault(j, port.fault);
        j.key("modules").open_array();
        for (int i = 0; i < sim::kSerialModules; ++i) {
            const sim::SerialModuleState& m = b.modules[i];
            if (on_port(m, p, sim::SerialSite::Slot) || on_port(m, p, sim::SerialSite::Bus)) bus_module(j, s, i);
        }
        j.close().key("units").open_array();
        for (int u = 0; u < sim::kSerialUnits; ++u) {
            const sim::SerialUnitState& unit = b.units[u];
            if (!unit.used || unit.port != p) continue;
            j.open_object().field("address", unit.address).field("name", text(unit.name, sizeof unit.name));
            j.field("slots", unit.slots).field("present", unit.present != 0);
            fault(j, unit.fault);
            j.key("modules").open_array();
            for (int i = 0; i < sim::kSerialModules; ++i) {
                const sim::SerialModuleState& m = b.modules[i];
                if (on_port(m, p, sim::SerialSite::Unit) && m.address == unit.address) bus_module(j, s, i);
            }
            j.close().close();
        }
        j.close().close();
    }
    j.close();
}
