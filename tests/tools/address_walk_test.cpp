// vexctl read / write against every module of the built-in virtual
// controller, by every address form that reaches it: the value set on the
// far side comes back through vexctl read, and what vexctl write drives is
// what the module holds afterwards (vexsim show --json). A different value
// for each form, so that a form that silently reaches nothing cannot pass
// on the value the previous form left.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/sim_fixture.h"

namespace vex::test {
namespace {

using Args = std::vector<std::string>;

// Runs `tool args --json` and prints `expression` of its document `d` (in
// Python), or "ERROR ..." when the tool failed or printed no document.
std::string query(const char* tool, const Args& args, const std::string& expression) {
    std::string cmd = shell_program(tool);
    for (const std::string& a : args) cmd += " " + shell_quote(a);
    cmd += " --json 2>/dev/null | python3 -c " +
           shell_quote("import json,sys\n"
                       "d=json.load(sys.stdin)\n"
                       "def module(place):\n"
                       "    def walk(x):\n"
                       "        if isinstance(x, dict):\n"
                       "            if x.get('place') == place: return x\n"
                       "            x = list(x.values())\n"
                       "        for v in x if isinstance(x, list) else []:\n"
                       "            r = walk(v)\n"
                       "            if r is not None: return r\n"
                       "    return walk(d)\n"
                       "if 'error' in d: print('ERROR', d['error']['message'])\n"
                       "else: print(" + expression + ")\n");
    ProcessResult r = run_process({"/bin/sh", "-c", cmd});
    while (!r.output.empty() && (r.output.back() == '\n' || r.output.back() == ' ')) r.output.pop_back();
    return r.status == 0 ? r.output : "ERROR " + r.output;
}

// Every way to name one module: the address words, and options they need.
struct Form {
    Args address;  // e.g. {"COM1:01"} or {"0x1001", "--port", "COM1:"}
};

std::vector<Form> local(int slot) {
    return {{{std::to_string(slot)}}, {{"slot" + std::to_string(slot)}}};
}
std::vector<Form> on_bus(const char* hex) {
    return {{{std::string("COM1:") + hex}}, {{std::string("0x10") + hex, "--port", "COM1:"}}};
}
std::vector<Form> in_unit(int slot) {
    return {{{"COM1:10/" + std::to_string(slot)}}, {{"0x10100" + std::to_string(slot), "--port", "COM1:"}}};
}

Args with(const Form& f, const Args& head, const Args& tail) {
    Args out = head;
    out.insert(out.end(), f.address.begin(), f.address.end());
    out.insert(out.end(), tail.begin(), tail.end());
    // vexctl reads the address as ADDRESS KIND ...: put the options last.
    for (size_t i = 0; i + 1 < out.size(); ++i) {
        if (out[i] == "--port") {
            const Args opt{out[i], out[i + 1]};
            out.erase(out.begin() + static_cast<long>(i), out.begin() + static_cast<long>(i) + 2);
            out.insert(out.end(), opt.begin(), opt.end());
            break;
        }
    }
    return out;
}

std::string vexctl(const Args& args, const std::string& expression = "d['value']") {
    return query(VEXCTL_PATH, args, expression);
}
std::string shown(const std::string& expression) { return query(VEXSIM_PATH, {"show"}, expression); }

using AddressWalk = SimFixture;

TEST_F(AddressWalk, DigitalInputsOfEveryModuleReadBackByEveryForm) {
    struct Case {
        std::vector<Form> forms;
        int channels;
        std::string set_slot;  // vexsim set inputs (parallel) or set di (serial)
        bool serial;
        Args read;             // after ADDRESS
        std::string value;     // in vexctl's JSON
    };
    // The serial module in slot 3 has outputs too: its unified DI read (the
    // combined read with no output channels) takes the first byte of the
    // answer, which is its outputs, so its inputs are read with dio.
    const std::vector<Case> cases = {
        {local(1), 16, "1", false, {"di", "-n", "16"}, "d['value']"},
        {local(2), 8, "2", false, {"di", "-n", "8"}, "d['value']"},
        {local(4), 32, "4", false, {"di", "-n", "32"}, "d['value']"},
        {local(3), 8, "3", true, {"dio", "--di", "8", "--do", "8"}, "d['di']"},
        {in_unit(0), 16, "COM1:10/0", true, {"di", "-n", "16"}, "d['value']"},
    };
    uint32_t pattern = 0x1;
    for (const Case& c : cases) {
        for (const Form& f : c.forms) {
            pattern = pattern * 5 + 3;
            const uint32_t lines = c.channels == 32 ? pattern : pattern & ((1u << c.channels) - 1);
            const Args set = c.serial ? Args{"set", "di", c.set_slot, std::to_string(lines)}
                                      : Args{"set", "inputs", c.set_slot, std::to_string(lines)};
            ASSERT_EQ(run_vexsim(set).status, 0) << c.set_slot;
            EXPECT_EQ(vexctl(with(f, {"read"}, c.read), c.value), std::to_string(lines)) << f.address[0];
        }
    }
}

TEST_F(AddressWalk, DigitalOutputsOfEveryModuleAreDrivenByEveryForm) {
    struct Case {
        std::vector<Form> forms;
        int channels;
        std::string held;  // what vexsim show --json says the module drives
    };
    const std::vector<Case> cases = {
        {local(0), 32, "d['slots'][0]['outputs']"},         {local(2), 8, "d['slots'][2]['outputs']"},
        {local(5), 16, "d['slots'][5]['outputs']"},         {local(3), 8, "module('slot3')['outputs']"},
        {on_bus("02"), 16, "module('COM1:02')['outputs']"},
    };
    uint32_t pattern = 0x7;
    for (const Case& c : cases) {
        for (const Form& f : c.forms) {
            pattern = pattern * 7 + 1;
            const uint32_t v = (c.channels == 32 ? pattern : pattern & ((1u << c.channels) - 1)) & ~2u;
            const std::string n = std::to_string(c.channels);
            EXPECT_EQ(vexctl(with(f, {"write"}, {"do", std::to_string(v), "-n", n})), std::to_string(v))
                << f.address[0];
            // Then one channel on its own (channel 1 is off in v): the module
            // holds both writes, and reading the outputs back says so.
            EXPECT_EQ(vexctl(with(f, {"write"}, {"dobit", "1", "on", "-n", n}), "d['on']"), "True") << f.address[0];
            EXPECT_EQ(shown(c.held), std::to_string(v | 2)) << f.address[0];
            EXPECT_EQ(vexctl(with(f, {"read"}, {"do", "-n", n})), std::to_string(v | 2)) << f.address[0];
        }
    }
}

TEST_F(AddressWalk, AnalogModulesByEveryForm) {
    // Inputs: set on the far side in engineering units, read back.
    const char* levels[] = {"3.75", "-6.25"};
    const std::vector<Form> forms = on_bus("01");
    for (size_t i = 0; i < forms.size(); ++i) {
        const Form& f = forms[i];
        ASSERT_EQ(run_vexsim({"set", "ai", "COM1:01", "3", levels[i]}).status, 0);
        EXPECT_EQ(vexctl(with(f, {"read"}, {"ai", "3", "-n", "8"}), "round(d['value'], 3)"), levels[i]) << f.address[0];
        EXPECT_EQ(vexctl(with(f, {"read"}, {"aiall"}), "round(d['values'][3], 3)"), levels[i]) << f.address[0];
    }
    // Outputs: written, held by the module, read back.
    struct Case {
        std::vector<Form> forms;
        int channels;
        std::string place;
    };
    const std::vector<Case> cases = {{local(7), 4, "slot7"}, {in_unit(1), 2, "COM1:10/1"}};
    const char* values[] = {"2.25", "1.75", "3.5", "0.25"};
    size_t next = 0;
    for (const Case& c : cases) {
        for (const Form& f : c.forms) {
            const std::string v = values[next++ % 4];
            const std::string n = std::to_string(c.channels);
            EXPECT_EQ(vexctl(with(f, {"write"}, {"ao", "1", v, "-n", n}), "round(d['value'], 3)"), v) << f.address[0];
            EXPECT_EQ(shown("round(module('" + c.place + "')['analog_outputs'][1], 3)"), v) << f.address[0];
            EXPECT_EQ(vexctl(with(f, {"read"}, {"ao", "1", "-n", n}), "round(d['value'], 3)"), v) << f.address[0];
        }
    }
}

TEST_F(AddressWalk, CountersByEveryFormAndClearedByWrite) {
    struct Case {
        std::vector<Form> forms;
        int channels;
        std::string place;
    };
    const std::vector<Case> cases = {{local(3), 8, "3"}, {in_unit(0), 16, "COM1:10/0"}};
    for (const Case& c : cases) {
        uint32_t pulses = 4;
        for (const Form& f : c.forms) {
            ASSERT_EQ(run_vexsim({"set", "pulses", c.place, "5", std::to_string(pulses)}).status, 0);
            const Args read = with(f, {"read"}, {"cnt", "5", "-n", std::to_string(c.channels)});
            EXPECT_EQ(vexctl(read), std::to_string(pulses)) << f.address[0];
            EXPECT_EQ(vexctl(with(f, {"write"}, {"cnt", "5", "0", "-n", std::to_string(c.channels)})), "0");
            EXPECT_EQ(vexctl(read), "0") << f.address[0];
            pulses += 3;
        }
    }
}

TEST_F(AddressWalk, AnAddressThatNamesNoModuleFailsAsAJsonError) {
    EXPECT_EQ(vexctl({"read", "6", "di"}, "d"), "ERROR 6: read inputs: error 0x10003: Unknown Module");
    const std::string silent = vexctl({"read", "COM1:33", "di", "--timeout", "50"}, "d");
    EXPECT_EQ(silent.rfind("ERROR COM1:33: read inputs: error 0x", 0), 0u) << silent;
}

}  // namespace
}  // namespace vex::test
