// vexctl read / vexctl write: any module by one address, through the
// library's unified I/O calls, so the library picks the path (parallel-bus
// registers, or the serial module in a slot, on a bus or in a unit).
//
//   vexctl read  ADDRESS KIND [CHANNEL]
//   vexctl write ADDRESS KIND [CHANNEL] VALUE
//
//   ADDRESS   3 or slot3        local slot 3 (serial modules over COM0:)
//             COM1:01           module 01 (hexadecimal) on the bus of COM1:
//             COM1:10/1         slot 1 of the expansion unit 10 on COM1:
//             0x1001, 0x101001  raw I/O addresses (bus forms need --port)
//   KIND      di do dobit dio ai aihex aiall ao cnt latch poweron safe
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

#include "tools/common/cli.h"
#include "tools/common/json.h"
#include "tools/vexctl/commands.h"
#include "tools/vexctl/serial_console.h"
#include "vexsdk.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexctl_cmd_unified {

using vex::tools::fail;
using vex::tools::Json;
using vex::tools::kExitFailed;
using vex::tools::kExitUsage;
using vex::tools::parse_number;

struct UnifiedArgs {
    std::string address, kind, first, second;
    std::string port;
    std::string count = "8", di = "8", do_ = "8", latch = "1";
    LineOptions line;
};
UnifiedArgs g;

struct Where {
    int32_t address = 0;
    std::string port;  // port configuration
};

uint32_t hex_part(const std::string& text, const char* what, uint32_t max) {
    if (text.empty() || text.size() > 2 || text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        fail(kExitUsage, std::string(what) + " must be one or two hexadecimal digits, not '" + text + "'");
    const uint32_t v = static_cast<uint32_t>(std::stoul(text, nullptr, 16));
    if (v > max) fail(kExitUsage, std::string(what) + " must be at most " + std::to_string(max));
    return v;
}

// "COM1:01", "COM1:10/1", "slot3", "3", "0x1001".
Where where_of(const std::string& text) {
    Where w;
    const size_t colon = text.find(':');
    if (colon != std::string::npos) {
        w.port = text.substr(0, colon + 1);
        const std::string rest = text.substr(colon + 1);
        const size_t slash = rest.find('/');
        if (slash == std::string::npos) {
            w.address = static_cast<int32_t>(0x1000 + hex_part(rest, "the bus address", 0xFF));
        } else {
            const uint32_t unit = hex_part(rest.substr(0, slash), "the unit address", 0xFF);
            const uint32_t slot = parse_number(rest.substr(slash + 1), "the unit slot", 15);
            w.address = static_cast<int32_t>(0x100000 | (unit << 8) | slot);
        }
    } else {
        const std::string number = text.rfind("slot", 0) == 0 ? text.substr(4) : text;
        w.address = static_cast<int32_t>(vex::tools::parse_signed(number, "ADDRESS", INT32_MIN, INT32_MAX));
        if (w.address < 0x1000) w.port = "COM0:";
    }
    if (!g.port.empty()) w.port = g.port;
    if (w.port.empty())
        fail(kExitUsage, "address " + text + " is on a serial bus: name the port with --port (e.g. --port COM1:)");
    return w;
}

int32_t count_of(const std::string& text, const char* what) {
    return static_cast<int32_t>(parse_number(text, what, 32));
}

int32_t channel() {
    if (g.first.empty()) fail(kExitUsage, g.kind + " needs a CHANNEL");
    return static_cast<int32_t>(parse_number(g.first, "CHANNEL", 255));
}

void check(bool ok, const std::string& what) {
    if (!ok) vex::tools::fail_error(vex_GetLastError(), g.address + ": " + what);
}

// The port is opened only when the library would use it: a parallel-bus
// module in a local slot needs none, so a busy COM0: does not stop it.
VEX_PORT port_for(const Where& w) {
    if (w.address < 0x1000) {
        const uint32_t slot = static_cast<uint32_t>(w.address) & 0xFF;
        if (slot < vex_GetSlotCount() && _vex_slot_exists(slot) && _vex_slot_inp(slot, 0) != 0xFF)
            return VEX_INVALID_PORT;
    }
    return open_line(w.port, g.line);
}

using vex::tools::format;

// Prints the result: `text` for people, or one JSON object holding where
// the call went and the fields `fill` adds.
void report(const Where& w, const std::string& text, const std::function<void(Json&)>& fill) {
    if (!vex::tools::json_output()) {
        std::printf("%s\n", text.c_str());
        return;
    }
    Json j;
    j.open_object().field("address", g.address).field("io_address", w.address).field("kind", g.kind);
    if (w.port.empty())
        j.key("port").null();
    else
        j.field("port", w.port);
    fill(j);
    j.close().print();
}

void run_read() {
    if (!g.second.empty()) fail(kExitUsage, "read takes no VALUE (did you mean vexctl write?)");
    const Where w = where_of(g.address);
    const VEX_PORT port = port_for(w);
    const std::string& k = g.kind;
    uint32_t a = 0, b = 0;
    float f = 0;
    const auto real = [](float v) { return static_cast<double>(v); };
    if (k == "di" || k == "do") {
        check((k == "di" ? vex_ReadDI : vex_ReadDO)(port, w.address, count_of(g.count, "-n"), &a),
              k == "di" ? "read inputs" : "read outputs");
        report(w, format("0x%X", a), [&](Json& j) { j.field("value", a); });
    } else if (k == "dobit") {
        const int32_t ch = channel();
        check(vex_ReadDO(port, w.address, count_of(g.count, "-n"), &a), "read outputs");
        const bool on = ch < 32 && ((a >> ch) & 1u);
        report(w, on ? "on" : "off", [&](Json& j) { j.field("channel", ch).field("on", on); });
    } else if (k == "dio") {
        check(vex_ReadDIO(port, w.address, count_of(g.di, "--di"), count_of(g.do_, "--do"), &a, &b), "read I/O");
        report(w, format("DI 0x%X\nDO 0x%X", a, b), [&](Json& j) { j.field("di", a).field("do", b); });
    } else if (k == "ai" || k == "ao") {
        const int32_t ch = channel();
        check((k == "ai" ? vex_ReadAI : vex_ReadAO)(port, w.address, ch, count_of(g.count, "-n"), &f),
              k == "ai" ? "read analog input" : "read analog output");
        report(w, format("%.3f", real(f)), [&](Json& j) { j.field("channel", ch).field("value", real(f)); });
    } else if (k == "aihex") {
        const int32_t ch = channel();
        check(vex_ReadAIHex(port, w.address, ch, count_of(g.count, "-n"), &a), "read analog input");
        report(w, format("0x%04X", a), [&](Json& j) { j.field("channel", ch).field("value", a); });
    } else if (k == "aiall") {
        float v[VEX_AI_ALL_MAX] = {};
        int32_t n = 0;
        check(vex_ReadAIAllExt(port, w.address, v, VEX_AI_ALL_MAX, &n), "read analog inputs");
        n = n < 0 ? 0 : n > VEX_AI_ALL_MAX ? VEX_AI_ALL_MAX : n;
        std::string text;
        for (int32_t i = 0; i < n; ++i) text += format("%s%d %.3f", i ? "\n" : "", i, real(v[i]));
        report(w, text, [&](Json& j) {
            j.key("values").open_array();
            for (int32_t i = 0; i < n; ++i) j.value(real(v[i]));
            j.close();
        });
    } else if (k == "cnt") {
        const int32_t ch = channel();
        check(vex_ReadDICNT(port, w.address, ch, count_of(g.count, "-n"), &a), "read counter");
        report(w, format("%u", a), [&](Json& j) { j.field("channel", ch).field("value", a); });
    } else if (k == "latch") {
        const auto which = static_cast<int32_t>(parse_number(g.latch, "--latch", 1));
        check(vex_ReadDIOLatch(port, w.address, count_of(g.di, "--di"), count_of(g.do_, "--do"), which, &a, &b),
              "read latches");
        report(w, format("DI latch 0x%X\nDO latch 0x%X", a, b),
               [&](Json& j) { j.field("latch", which).field("di", a).field("do", b); });
    } else if (k == "poweron" || k == "safe") {
        const bool on = k == "poweron";
        if (!g.first.empty()) {  // an analog output's value
            const int32_t ch = channel();
            const int32_t n = count_of(g.count, "-n");
            check(on ? vex_ReadModulePowerOnValueAO(port, w.address, ch, n, &f)
                     : vex_ReadModuleSafeValueAO(port, w.address, ch, n, &f),
                  "read stored value");
            report(w, format("%.3f", real(f)), [&](Json& j) { j.field("channel", ch).field("value", real(f)); });
        } else {
            const int32_t n = count_of(g.count, "-n");
            check(on ? vex_ReadModulePowerOnValueDO(port, w.address, n, &a)
                     : vex_ReadModuleSafeValueDO(port, w.address, n, &a),
                  "read stored value");
            report(w, format("0x%X", a), [&](Json& j) { j.field("value", a); });
        }
    } else {
        fail(kExitUsage, "KIND must be di, do, dobit, dio, ai, aihex, aiall, ao, cnt, latch, poweron or safe, not '" +
                             k + "'");
    }
}

// write ADDRESS KIND [CHANNEL] VALUE: the last positional is the value.
void run_write() {
    const Where w = where_of(g.address);
    const std::string& k = g.kind;
    const bool has_channel = !g.second.empty();
    const std::string value = has_channel ? g.second : g.first;
    if (value.empty()) fail(kExitUsage, "write needs a VALUE");
    const auto channel_given = [&]() -> int32_t {
        if (!has_channel) fail(kExitUsage, k + " needs a CHANNEL before the VALUE");
        return static_cast<int32_t>(parse_number(g.first, "CHANNEL", 255));
    };
    const auto no_channel = [&]() {
        if (has_channel) fail(kExitUsage, k + " takes no CHANNEL");
    };
    const auto real = [](float v) { return static_cast<double>(v); };
    const int32_t n = count_of(g.count, "-n");
    if (k == "do") {
        no_channel();
        const uint32_t v = parse_number(value, "VALUE");
        const VEX_PORT port = port_for(w);
        check(vex_WriteDO(port, w.address, n, v), "write outputs");
        report(w, format("outputs 0x%X", v), [&](Json& j) { j.field("value", v); });
    } else if (k == "dobit") {
        const int32_t ch = channel_given();
        const bool on = value == "on" || value == "1";
        if (!on && value != "off" && value != "0") fail(kExitUsage, "VALUE must be on, off, 1 or 0, not '" + value + "'");
        check(vex_WriteDOBit(port_for(w), w.address, n, ch, on ? 1 : 0), "write output");
        report(w, format("output %d %s", ch, on ? "on" : "off"), [&](Json& j) { j.field("channel", ch).field("on", on); });
    } else if (k == "ao") {
        const int32_t ch = channel_given();
        const float v = vex::tools::parse_real(value, "VALUE");
        check(vex_WriteAO(port_for(w), w.address, ch, n, v), "write analog output");
        report(w, format("output %d %.3f", ch, real(v)), [&](Json& j) { j.field("channel", ch).field("value", real(v)); });
    } else if (k == "cnt" || k == "latch") {
        if (parse_number(value, "VALUE") != 0) fail(kExitUsage, k + " can only be cleared: write 0");
        if (k == "cnt") {
            const int32_t ch = channel_given();
            check(vex_ClearDICNT(port_for(w), w.address, ch, n), "clear counter");
            report(w, format("counter %d cleared", ch), [&](Json& j) { j.field("channel", ch).field("value", 0); });
        } else {
            no_channel();
            check(vex_ClearDIOLatch(port_for(w), w.address), "clear latches");
            report(w, "latches cleared", [&](Json& j) { j.field("value", 0); });
        }
    } else if (k == "poweron" || k == "safe") {
        const bool on = k == "poweron";
        const char* what = on ? "power-on" : "safe";
        if (has_channel) {
            const int32_t ch = channel_given();
            const float v = vex::tools::parse_real(value, "VALUE");
            const VEX_PORT port = port_for(w);
            check(on ? vex_WriteModulePowerOnValueAO(port, w.address, ch, n, v)
                     : vex_WriteModuleSafeValueAO(port, w.address, ch, n, v),
                  "store value");
            report(w, format("%s value of output %d: %.3f", what, ch, real(v)),
                   [&](Json& j) { j.field("channel", ch).field("value", real(v)); });
        } else {
            const uint32_t v = parse_number(value, "VALUE");
            const VEX_PORT port = port_for(w);
            check(on ? vex_WriteModulePowerOnValueDO(port, w.address, n, v)
                     : vex_WriteModuleSafeValueDO(port, w.address, n, v),
                  "store value");
            report(w, format("%s value 0x%X", what, v), [&](Json& j) { j.field("value", v); });
        }
    } else if (k == "di" || k == "dio" || k == "ai" || k == "aihex" || k == "aiall") {
        fail(kExitUsage, k + " is read only");
    } else {
        fail(kExitUsage, "KIND must be do, dobit, ao, cnt, latch, poweron or safe, not '" + k + "'");
    }
}

void add_common(CLI::App* c) {
    c->add_option("ADDRESS", g.address, "3, slot3, COM1:01, COM1:10/1 or a raw I/O address")->required();
    c->add_option("KIND", g.kind, "di do dobit dio ai aihex aiall ao cnt latch poweron safe")->required();
    c->add_option("--port", g.port, "Port configuration (default COM0: for local slots, the bus named in ADDRESS)");
    c->add_option("-n", g.count, "The module's channel count for KIND")->capture_default_str();
    add_line_options(*c, g.line);
    c->footer("With --json: one object with address (as given), io_address (the number the library was given),\n"
              "kind, port (null: none), and per kind value (di do aihex cnt; ai ao poweron safe as numbers),\n"
              "channel, on (dobit), di and do (dio, latch), latch (latch), values (aiall, an array).\n"
              "Exits 1 with the error code and its message when the controller or module fails, 2 for a bad "
              "command line.");
}

}  // namespace vexctl_cmd_unified
}  // namespace

void register_unified_commands(CLI::App& app) {
    using namespace vexctl_cmd_unified;
    CLI::App* r = app.add_subcommand("read", "Read a module's I/O by address (any module kind)");
    add_common(r);
    r->add_option("CHANNEL", g.first, "Channel (ai, aihex, ao, cnt, dobit; an analog output for poweron/safe)");
    r->add_option("EXTRA", g.second)->group("");
    r->add_option("--di", g.di, "Input channels (dio, latch)")->capture_default_str();
    r->add_option("--do", g.do_, "Output channels (dio, latch)")->capture_default_str();
    r->add_option("--latch", g.latch, "Latch 1 (went on) or 0 (went off)")->capture_default_str();
    r->callback(run_read);
    CLI::App* w = app.add_subcommand("write", "Write a module's outputs by address (any module kind)");
    add_common(w);
    w->add_option("CHANNEL", g.first, "Channel, when KIND takes one");
    w->add_option("VALUE", g.second, "Value");
    w->callback(run_write);
}
