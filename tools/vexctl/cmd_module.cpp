// vexctl module: drives one serial module through the library's module
// families, given by port and I/O address.
//
//   vexctl module PORT_CONFIG ADDRESS ACTION ...
//     ADDRESS   0x1000 + bus address (0x1001: module 01 on the bus),
//               0..0xFF a local slot (over COM0:), 0x100000 + unit << 8 +
//               slot: a slot of a remote expansion unit
//   actions:
//     name                           the module's name ("$AAM")
//     do VALUE -n N                  write all N outputs
//     dio --di N --do N              read inputs and outputs
//     bit BIT on|off -n N            switch one output
//     counter CH --di N [--clear]    read (or clear) an input counter
//     latch --di N --do N [--kind K] [--clear]
//     ai CH -n N [--hex] | ai all [-n N] [--hex]
//     ao CH -n N [VALUE]             write an output, or read it back
//     power-on|safe -n N [VALUE]     digital stored values (--ao CH for analog)
//     wdt status|config|reset|refresh | wdt set TIMEOUT [--disable]
//   with the line options of 'vexctl serial' (--checksum, --timeout, --trace).
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "modproto/families.h"
#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "tools/vexctl/serial_console.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_module {

using vex::tools::fail;
using vex::tools::Json;
using vex::tools::parse_number;
namespace mp = vex::modproto;

struct ModuleArgs {
    std::string config, address;
    LineOptions line;
    std::string value, channel, state, what;
    std::string di = "0", do_ = "0", count = "8", kind = "0";
    bool clear = false, hex = false, disable = false;
    std::string ao_channel;
};
ModuleArgs g;

// Where the module is: its family and target, resolved once.
struct Resolved {
    const mp::SerialFamily* family;
    mp::Target target;
    int32_t address;
    VEX_PORT port;
};

Resolved resolve() {
    const uint32_t a = parse_number(g.address, "ADDRESS", 0x7FFFFFFF);
    const VEX_PORT port = open_line(g.config, g.line);
    const auto address = static_cast<int32_t>(a);
    if (a < 0x1000) {
        const uint32_t slot = a & 0xFF;
        if (slot >= vex_GetSlotCount()) fail(1, "slot " + std::to_string(slot) + " does not exist");
        if (_vex_slot_inp(slot, 0) != 0xFF)
            fail(1, "slot " + std::to_string(slot) + " holds a parallel-bus module (use vexctl di/do)");
    }
    if (a >= 0x100000) return {&mp::unit_family(), mp::unit_slot(port, address), address, port};
    return {&mp::standard_family(), mp::remote_or_local(port, address), address, port};
}

int32_t count_of(const std::string& text, const char* what) {
    return static_cast<int32_t>(parse_number(text, what, 32));
}

[[noreturn]] void failed(const char* what) {
    vex::tools::fail_error(vex_GetLastError(), g.config + " " + g.address + ": " + what);
}

void check(bool ok, const char* what) {
    if (!ok) failed(what);
}

using vex::tools::format;

// Prints the result: `text` for people, or one JSON object of the port,
// the address, the action and what `fill` adds.
void emit(const char* action, const std::string& text, const std::function<void(Json&)>& fill) {
    if (!vex::tools::json_output()) {
        std::printf("%s\n", text.c_str());
        return;
    }
    Json j;
    j.open_object().field("port", g.config).field("address", g.address).field("action", action);
    fill(j);
    j.close().print();
}

double real(float v) { return static_cast<double>(v); }

void run_name() {
    const Resolved r = resolve();
    char answer[mp::kShortAnswer] = "";
    const bool ok = mp::exchange(r.target, mp::make_command(mp::kShortCommand, "$%02XM", r.target.address), answer,
                                 sizeof answer);
    check(ok && answer[0] == '!', "name");
    const std::string name = mp::rest(answer, 3).data();
    emit("name", printable(name.c_str()), [&](Json& j) { j.field("name", name); });
}

void run_do() {
    const Resolved r = resolve();
    const uint32_t value = parse_number(g.value, "VALUE");
    check(r.family->write_do(r.target, count_of(g.count, "-n"), value), "write outputs");
    const uint32_t written = value & mp::channel_mask(count_of(g.count, "-n"));
    emit("do", format("outputs 0x%X", written), [&](Json& j) { j.field("value", written); });
}

void run_dio() {
    const Resolved r = resolve();
    uint32_t di = 0, do_ = 0;
    check(r.family->read_dio(r.target, count_of(g.di, "--di"), count_of(g.do_, "--do"), &di, &do_), "read I/O");
    emit("dio", format("DI 0x%X\nDO 0x%X", di, do_), [&](Json& j) { j.field("di", di).field("do", do_); });
}

void run_bit() {
    const Resolved r = resolve();
    if (g.state != "on" && g.state != "off") fail(2, "the state must be on or off, not '" + g.state + "'");
    const auto bit = static_cast<int32_t>(parse_number(g.channel, "BIT", 31));
    check(r.family->write_do_bit(r.target, bit, count_of(g.count, "-n"), g.state == "on" ? 1 : 0), "write bit");
    emit("bit", format("output %d %s", bit, g.state.c_str()),
         [&](Json& j) { j.field("channel", bit).field("on", g.state == "on"); });
}

void run_counter() {
    const Resolved r = resolve();
    const auto ch = static_cast<int32_t>(parse_number(g.channel, "CH", 31));
    const int32_t di = count_of(g.di, "--di");
    if (g.clear) {
        check(r.family->clear_counter(r.target, ch, di), "clear counter");
        emit("counter", format("counter %d cleared", ch), [&](Json& j) { j.field("channel", ch).field("value", 0); });
        return;
    }
    uint32_t v = 0;
    check(r.family->read_counter(r.target, ch, di, &v), "read counter");
    emit("counter", format("%u", v), [&](Json& j) { j.field("channel", ch).field("value", v); });
}

void run_latch() {
    const Resolved r = resolve();
    if (g.clear) {
        check(r.family->clear_latch(r.target), "clear latches");
        emit("latch", "latches cleared", [](Json& j) { j.field("cleared", true); });
        return;
    }
    uint32_t di = 0, do_ = 0;
    check(r.family->read_latch(r.target, count_of(g.di, "--di"), count_of(g.do_, "--do"),
                               static_cast<int32_t>(parse_number(g.kind, "--kind", 1)), &di, &do_),
          "read latches");
    emit("latch", format("DI latch 0x%X\nDO latch 0x%X", di, do_),
         [&](Json& j) { j.field("cleared", false).field("di", di).field("do", do_); });
}

void run_ai() {
    const Resolved r = resolve();
    const int32_t n = count_of(g.count, "-n");
    if (g.channel == "all") {
        float v[32];
        uint32_t h[32];
        size_t got = 0;
        const bool ok = g.hex ? r.family->read_ai_all_hex(r.target, h, 32, &got)
                              : r.family->read_ai_all(r.target, v, 32, &got);
        got = got < 32 ? got : 32;
        check(ok, "read inputs");
        std::string text;
        for (size_t i = 0; i < got; ++i)
            text += g.hex ? format("%s%zu 0x%04X", i ? "\n" : "", i, h[i]) : format("%s%zu %.3f", i ? "\n" : "", i, real(v[i]));
        emit("ai", text, [&](Json& j) {
            j.key("values").open_array();
            for (size_t i = 0; i < got; ++i) g.hex ? j.value(h[i]) : j.value(real(v[i]));
            j.close();
        });
        return;
    }
    const auto ch = static_cast<int32_t>(parse_number(g.channel, "CH", 31));
    if (g.hex) {
        uint32_t v = 0;
        check(r.family->read_ai_hex(r.target, ch, n, &v), "read input");
        emit("ai", format("0x%04X", v), [&](Json& j) { j.field("channel", ch).field("value", v); });
    } else {
        float v = 0;
        check(r.family->read_ai(r.target, ch, n, &v), "read input");
        emit("ai", format("%.3f", real(v)), [&](Json& j) { j.field("channel", ch).field("value", real(v)); });
    }
}

void run_ao() {
    const Resolved r = resolve();
    const auto ch = static_cast<int32_t>(parse_number(g.channel, "CH", 31));
    const int32_t n = count_of(g.count, "-n");
    float v = 0;
    if (!g.value.empty()) {
        v = vex::tools::parse_real(g.value, "VALUE");
        check(r.family->write_ao(r.target, ch, n, v), "write output");
    } else {
        check(r.family->read_ao(r.target, ch, n, &v), "read output");
    }
    emit("ao", format("%.3f", real(v)), [&](Json& j) { j.field("channel", ch).field("value", real(v)); });
}

// Power-on and safe values, digital (-n outputs) or analog (--ao CH).
void run_stored(mp::Stored which) {
    const Resolved r = resolve();
    const int32_t n = count_of(g.count, "-n");
    const bool power_on = which == mp::Stored::PowerOn;
    if (!g.ao_channel.empty()) {
        const auto ch = static_cast<int32_t>(parse_number(g.ao_channel, "--ao", 31));
        float v = 0;
        if (!g.value.empty()) {
            v = vex::tools::parse_real(g.value, "VALUE");
            check(power_on ? r.family->set_ao_power_on(r.target, ch, n, v) : r.family->set_ao_safe(r.target, ch, n, v),
                  "store value");
        } else {
            check(power_on ? r.family->read_ao_power_on(r.target, ch, n, &v) : r.family->read_ao_safe(r.target, ch, n, &v),
                  "read value");
        }
        emit(power_on ? "power-on" : "safe", format("%.3f", real(v)),
             [&](Json& j) { j.field("channel", ch).field("value", real(v)); });
        return;
    }
    uint32_t v = 0;
    if (!g.value.empty()) {
        v = parse_number(g.value, "VALUE");
        check(r.family->store_do(r.target, n, which, v), "store value");
    } else {
        check(r.family->read_stored_do(r.target, n, which, &v), "read value");
    }
    emit(power_on ? "power-on" : "safe", format("0x%X", v), [&](Json& j) { j.field("value", v); });
}

// The host watchdog: by slot (vexsund_) for local slots, by bus address
// (zed_) otherwise.
void run_wdt() {
    const Resolved r = resolve();
    const bool slot = r.target.via_slot;
    const uint32_t where = slot ? r.target.slot : r.target.address;
    if (g.what == "status") {
        uint16_t s = 0;
        check(slot ? vexsund_GetModuleWDTStatus(r.port, where, &s) : zed_GetModuleWDTStatus(r.port, where, &s),
              "watchdog status");
        emit("wdt", s ? "timed out (outputs at their safe values)" : "running",
             [&](Json& j) { j.field("timed_out", s != 0); });
    } else if (g.what == "config") {
        uint16_t e = 0;
        uint32_t t = 0;
        check(slot ? vexsund_GetModuleWDTConfig(r.port, where, &e, &t) : zed_GetModuleWDTConfig(r.port, where, &e, &t),
              "watchdog configuration");
        emit("wdt", format("%s, time-out %u", e ? "enabled" : "disabled", t),
             [&](Json& j) { j.field("enabled", e != 0).field("timeout", t); });
    } else if (g.what == "reset") {
        check(slot ? vexsund_ResetModuleWDT(r.port, where) : zed_ResetModuleWDT(r.port, where), "watchdog reset");
        emit("wdt", "time-out state cleared", [](Json& j) { j.field("timed_out", false); });
    } else if (g.what == "refresh") {
        check(slot ? vexsund_RefreshModuleWDT(r.port) : zed_RefreshModuleWDT(r.port), "watchdog refresh");
        emit("wdt", "refreshed every module on the line", [](Json& j) { j.field("refreshed", true); });
    } else if (g.what == "set") {
        const uint32_t t = parse_number(g.value, "TIMEOUT", 0xFF);
        const int16_t enable = g.disable ? 0 : 1;
        check(slot ? vexsund_SetModuleWDTConfig(r.port, where, enable, t) : zed_SetModuleWDTConfig(r.port, where, enable, t),
              "watchdog configuration");
        emit("wdt", format("%s, time-out %u", enable ? "enabled" : "disabled", t),
             [&](Json& j) { j.field("enabled", enable != 0).field("timeout", t); });
    } else {
        fail(2, "wdt takes status, config, reset, refresh or set TIMEOUT, not '" + g.what + "'");
    }
}

}  // namespace vexctl_cmd_module
}  // namespace

void register_module_commands(CLI::App& app) {
    using namespace vexctl_cmd_module;
    CLI::App* m = app.add_subcommand("module", "Drive a serial module through the library's module families");
    m->add_option("PORT_CONFIG", g.config, "Port and settings, e.g. COM1:,9600,N,8,1 or COM0:")->required();
    m->add_option("ADDRESS", g.address, "0x1000 + bus address, a local slot, or 0x100000 + unit * 0x100 + slot")
        ->required();
    add_line_options(*m, g.line);
    m->require_subcommand(1);
    m->footer("With --json: {port, address (as given), action} and: name; value (do, counter, ai, ao, power-on,\n"
              "safe); channel; on (bit); di and do (dio, latch); cleared (latch); values (ai all); timed_out,\n"
              "enabled, timeout, refreshed (wdt).\n"
              "Exits 1 with the error code and its message when the module fails, 2 for a bad command line.");

    m->add_subcommand("name", "The module's name text")->callback(run_name);
    CLI::App* d = m->add_subcommand("do", "Write all outputs");
    d->add_option("VALUE", g.value)->required();
    d->add_option("-n", g.count, "Output channels")->capture_default_str();
    d->callback(run_do);
    CLI::App* io = m->add_subcommand("dio", "Read inputs and outputs");
    io->add_option("--di", g.di, "Input channels")->capture_default_str();
    io->add_option("--do", g.do_, "Output channels")->capture_default_str();
    io->callback(run_dio);
    CLI::App* b = m->add_subcommand("bit", "Switch one output");
    b->add_option("BIT", g.channel)->required();
    b->add_option("STATE", g.state, "on or off")->required();
    b->add_option("-n", g.count, "Output channels")->capture_default_str();
    b->callback(run_bit);
    CLI::App* c = m->add_subcommand("counter", "Read or clear an input counter");
    c->add_option("CH", g.channel)->required();
    c->add_option("--di", g.di, "Input channels")->capture_default_str();
    c->add_flag("--clear", g.clear);
    c->callback(run_counter);
    CLI::App* l = m->add_subcommand("latch", "Read or clear the latches");
    l->add_option("--di", g.di, "Input channels")->capture_default_str();
    l->add_option("--do", g.do_, "Output channels")->capture_default_str();
    l->add_option("--kind", g.kind, "Latch kind, 0 or 1")->capture_default_str();
    l->add_flag("--clear", g.clear);
    l->callback(run_latch);
    CLI::App* ai = m->add_subcommand("ai", "Read an analog input, or all of them");
    ai->add_option("CH", g.channel, "Channel, or all")->required();
    ai->add_option("-n", g.count, "Input channels")->capture_default_str();
    ai->add_flag("--hex", g.hex, "As counts");
    ai->callback(run_ai);
    CLI::App* ao = m->add_subcommand("ao", "Write an analog output, or read it back");
    ao->add_option("CH", g.channel)->required();
    ao->add_option("VALUE", g.value, "Value to write");
    ao->add_option("-n", g.count, "Output channels")->capture_default_str();
    ao->callback(run_ao);
    for (const char* name : {"power-on", "safe"}) {
        const bool power_on = std::string(name) == "power-on";
        CLI::App* s = m->add_subcommand(name, power_on ? "Read or store the power-on value"
                                                       : "Read or store the safe value");
        s->add_option("VALUE", g.value, "Value to store (outputs are driven to it first)");
        s->add_option("-n", g.count, "Output channels")->capture_default_str();
        s->add_option("--ao", g.ao_channel, "Analog output channel (digital outputs without it)");
        s->callback([power_on] { run_stored(power_on ? mp::Stored::PowerOn : mp::Stored::Safe); });
    }
    CLI::App* w = m->add_subcommand("wdt", "The module's host watchdog");
    w->add_option("WHAT", g.what, "status, config, reset, refresh or set")->required();
    w->add_option("TIMEOUT", g.value, "For set: the time-out in the module's unit (0..255)");
    w->add_flag("--disable", g.disable, "For set: disarm the watchdog");
    w->callback(run_wdt);
}
