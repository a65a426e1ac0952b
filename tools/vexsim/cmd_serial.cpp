// vexsim set di / ai / pulses / format and vexsim fault: the serial modules
// of an instance from the outside. A module is named by its place: a slot
// (3 or slot3), a bus address (COM1:01), a unit's slot (COM1:10/1); faults
// also take a unit (COM1:10) or a whole port (COM1:).
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "sim/serial_modules/command.h"
#include "sim/serial_modules/control.h"
#include "tools/vexsim/commands.h"

namespace {
// Named apart from the other commands' helpers: the commands compile
// together in larger units (see CMakeLists.txt).
namespace vexsim_cmd_serial {

namespace serial = vex::sim::serial;

[[noreturn]] void refuse(const std::string& why) {
    std::fprintf(stderr, "vexsim: %s\n", why.c_str());
    std::exit(1);
}

// Runs `op` on the place's module with the state locked; exits on failure.
template <typename Op>
void on_module(const std::string& instance, const std::string& place_text, Op op) {
    auto inst = attach_or_exit(instance);
    std::string error;
    const bool ok = inst->with_lock([&](vex::sim::State& s) {
        serial::Place place;
        if (!serial::find_place(s, place_text, place, &error)) return false;
        if (place.what != serial::Place::What::Module) {
            error = place_text + " is not a module";
            return false;
        }
        return op(s, place.index, inst->now_ns(), &error);
    });
    if (!ok) refuse(error);
    std::exit(0);
}

float parse_float_or_exit(const std::string& text, const char* what) {
    float v = 0;
    if (!serial::parse_decimal(text, v) || !std::isfinite(v)) {
        std::fprintf(stderr, "vexsim: %s must be a number such as 2.5 or -10, not '%s'\n", what, text.c_str());
        std::exit(2);
    }
    return v;
}

}  // namespace vexsim_cmd_serial
}  // namespace

void register_serial_commands(CLI::App& app) {
    using namespace vexsim_cmd_serial;
    static InstanceOption inst;
    CLI::App* set = app.get_subcommand("set");

    static std::string di_place, di_value;
    CLI::App* di = set->add_subcommand("di", "Set a serial module's digital input lines (bit n = channel n on)");
    inst.add_to(di);
    di->add_option("place", di_place, "Module: 3, COM1:01, COM1:10/0")->required();
    di->add_option("value", di_value, "Input lines, e.g. 0x0101")->required();
    di->callback([] {
        const uint32_t lines = parse_number_or_exit(di_value, "the inputs", 0xFFFFFFFF);
        on_module(inst.resolve(), di_place, [&](vex::sim::State& s, int m, uint64_t, std::string* e) {
            return serial::set_inputs(s, m, lines, e);
        });
    });

    static std::string ai_place, ai_channel, ai_value;
    CLI::App* ai = set->add_subcommand("ai", "Set an analog input in engineering units (out of range gives range markers)");
    inst.add_to(ai);
    ai->add_option("place", ai_place, "Module: COM1:01, ...")->required();
    ai->add_option("channel", ai_channel, "Channel, from 0")->required();
    ai->add_option("value", ai_value, "Value, e.g. 4.75 or -12")->required();
    ai->callback([] {
        const int ch = static_cast<int>(parse_number_or_exit(ai_channel, "the channel", 31));
        const float v = parse_float_or_exit(ai_value, "the value");
        on_module(inst.resolve(), ai_place, [&](vex::sim::State& s, int m, uint64_t, std::string* e) {
            return serial::set_analog_input(s, m, ch, v, e);
        });
    });

    static std::string pulse_place, pulse_channel, pulse_count;
    CLI::App* pu = set->add_subcommand("pulses", "Feed pulses to a counter input");
    inst.add_to(pu);
    pu->add_option("place", pulse_place, "Module: COM1:10/0, ...")->required();
    pu->add_option("channel", pulse_channel, "Counter, from 0")->required();
    pu->add_option("count", pulse_count, "How many pulses")->required();
    pu->callback([] {
        const int ch = static_cast<int>(parse_number_or_exit(pulse_channel, "the counter", 31));
        const uint32_t n = parse_number_or_exit(pulse_count, "the pulse count", 0xFFFFFFFF);
        on_module(inst.resolve(), pulse_place, [&](vex::sim::State& s, int m, uint64_t, std::string* e) {
            return serial::add_pulses(s, m, ch, n, e);
        });
    });

    static std::string fmt_place, fmt_value;
    CLI::App* fm = set->add_subcommand("format", "How an analog input module answers: engineering or hex");
    inst.add_to(fm);
    fm->add_option("place", fmt_place, "Module")->required();
    fm->add_option("format", fmt_value, "engineering or hex")->required()->check(CLI::IsMember({"engineering", "hex"}));
    fm->callback([] {
        const auto f = fmt_value == "hex" ? vex::sim::SerialFormat::Hex : vex::sim::SerialFormat::Engineering;
        on_module(inst.resolve(), fmt_place, [&](vex::sim::State& s, int m, uint64_t, std::string* e) {
            return serial::set_format(s, m, f, e);
        });
    });

    static std::string fault_place, fault_kind;
    static unsigned bytes = 4, chars = 1, ms = 50, count = 0;
    CLI::App* f = app.add_subcommand("fault", "Make a serial module, unit or port misbehave (or stop: clear)");
    inst.add_to(f);
    f->add_option("place", fault_place, "Module (3, COM1:01, COM1:10/0), unit (COM1:10) or port (COM1:)")->required();
    f->add_option("kind", fault_kind,
                  "silent, garbage, bad-checksum, cut, dribble, refuse, removed, or clear (re-inserts a removed module)")
        ->required()
        ->check(CLI::IsMember({"silent", "garbage", "bad-checksum", "cut", "dribble", "refuse", "removed", "clear"}));
    f->add_option("--bytes", bytes, "garbage: noise bytes before the answer (1..64)")->check(CLI::Range(1, 64));
    f->add_option("--chars", chars, "cut: characters kept (0..64)")->check(CLI::Range(0, 64));
    f->add_option("--ms", ms, "dribble: milliseconds between characters (1..10000)")->check(CLI::Range(1, 10000));
    f->add_option("--count", count, "spoil only the next N exchanges (default: until cleared)");
    f->callback([] {
        vex::sim::FaultDescription d;
        if (fault_kind != "clear" && !serial::fault_from_name(fault_kind, d.kind)) std::exit(2);
        d.param = d.kind == vex::sim::SerialFaultKind::Garbage ? bytes
                  : d.kind == vex::sim::SerialFaultKind::Cut   ? chars
                  : d.kind == vex::sim::SerialFaultKind::Dribble ? ms
                                                                 : 0;
        d.count = count;
        auto i = attach_or_exit(inst.resolve());
        std::string error;
        const bool ok = i->with_lock([&](vex::sim::State& s) {
            serial::Place place;
            return serial::find_place(s, fault_place, place, &error) &&
                   serial::set_fault(s, place, d, i->now_ns(), &error);
        });
        if (!ok) refuse(error);
        std::exit(0);
    });
}
