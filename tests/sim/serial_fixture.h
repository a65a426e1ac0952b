// A private virtual controller whose serial modules a test talks to over
// the real pseudo-terminals, with the library's own transport, and looks at
// from the far side: the serial trace and the modules' state.
#pragma once

#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "sim/serial_modules/control.h"
#include "platform/system.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {

class SerialSim : public SimFixture {
protected:
    void TearDown() override {
        for (VEX_PORT p : ports_) uart_Close(p);
        SimFixture::TearDown();
    }

    VEX_PORT open_port(const std::string& name, const std::string& settings = ",115200,N,8,1") {
        const VEX_PORT p = uart_OpenEx((name + settings).c_str());
        EXPECT_NE(p, VEX_INVALID_PORT) << "open " << name;
        ports_.push_back(p);
        return p;
    }

    // One exchange: the answer, or "error 0x<code>" when it failed.
    static std::string ask(VEX_PORT port, const std::string& command) {
        char answer[VEX_UART_BUFFER_SIZE] = {};
        if (uart_SendCmd(port, command.c_str(), answer)) return answer;
        char buf[32];
        std::snprintf(buf, sizeof buf, "error 0x%05X", vex_GetLastError());
        return buf;
    }
    // An exchange with the module in a local slot over the internal port.
    std::string ask_slot(uint32_t slot, const std::string& command) {
        if (com0_ == VEX_INVALID_PORT) com0_ = open_port("COM0:");
        vex_ChangeSlot(slot);
        return ask(com0_, command);
    }

    // The latest exchange of the serial trace: "<command> -> <answer>",
    // bytes as they went over the line (terminators and checksums included).
    std::string last_exchange() {
        return sim().with_lock([](sim::State& s) {
            const sim::SerialBusState& b = s.serial;
            if (b.trace_next == 0) return std::string("(none)");
            const sim::SerialTraceEntry& e = b.trace[(b.trace_next - 1) % sim::kSerialTraceEntries];
            return std::string(e.command, e.command_len) + " -> " +
                   ((e.flags & sim::kTraceNoAnswer) ? std::string("(none)") : std::string(e.answer, e.answer_len));
        });
    }

    // Waits until the host has handled a command sent without waiting for an
    // answer (uart_Send): a purge of the next command would discard it while
    // it waits in the line. True when it showed up in the trace.
    bool wait_handled(const std::string& exchange, int timeout_ms = 5000) {
        const uint64_t end = plat::monotonic_ns() + static_cast<uint64_t>(timeout_ms) * 1000000u;
        while (last_exchange() != exchange) {
            if (plat::monotonic_ns() > end) return false;
            ::usleep(1000);
        }
        return true;
    }

    // A copy of a module's state, by place ("3", "COM1:01", "COM1:10/0").
    sim::SerialModuleState module(const std::string& place) {
        return sim().with_lock([&](sim::State& s) {
            sim::serial::Place p;
            std::string error;
            EXPECT_TRUE(sim::serial::find_place(s, place, p, &error)) << error;
            return p.index >= 0 ? s.serial.modules[p.index] : sim::SerialModuleState{};
        });
    }
    // Runs a control operation on a module's place with the state locked.
    template <typename Op>
    bool control(const std::string& place, Op op) {
        return sim().with_lock([&](sim::State& s) {
            sim::serial::Place p;
            return sim::serial::find_place(s, place, p, nullptr) && op(s, p);
        });
    }

    VEX_PORT com0_ = VEX_INVALID_PORT;

private:
    std::vector<VEX_PORT> ports_;
};

}  // namespace vex::test
