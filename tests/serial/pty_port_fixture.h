// A port opened on a pseudo-terminal mapped as COM5, in a private virtual
// controller: the test plays the far end on pty_.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/pty.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {

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
