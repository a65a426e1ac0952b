// A port opened on a pseudo-terminal mapped as COM5, in a private virtual
// controller: the test plays the far end on pty_. And a wait for what a
// port's own threads do.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include "tests/support/pty.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {

// Polls until cond holds, at most 2 s (a port's threads see changes within
// a few milliseconds).
inline bool eventually(const std::function<bool()>& cond) {
    const int64_t deadline = now_ms() + 2000;
    while (!cond()) {
        if (now_ms() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

class PtyPort : public SimFixture {
protected:
    void SetUp() override {
        SimFixture::SetUp();
        pty_.map_as(L"COM5");
        port_ = uart_OpenEx("COM5:,115200,N,8,1");
        ASSERT_NE(port_, VEX_INVALID_PORT);
    }
    void TearDown() override {
        uart_Close(port_);
        SimFixture::TearDown();
    }
    Pty pty_;
    VEX_PORT port_ = VEX_INVALID_PORT;
};

}  // namespace vex::test
