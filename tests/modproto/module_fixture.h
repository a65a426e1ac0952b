// A port on a pseudo-terminal with a scripted module on its far side, in a
// private virtual controller (whose backplane supplies the local slots).
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/modproto/module_peer.h"
#include "tests/support/pty.h"
#include "tests/support/sim_fixture.h"
#include "vexsdk.h"

namespace vex::test {

class ModuleFixture : public SimFixture {
protected:
    void SetUp() override {
        SimFixture::SetUp();
        pty_ = std::make_unique<Pty>();
        pty_->map_as(L"COM5");
        port_ = uart_OpenEx("COM5:,115200,N,8,1");
        ASSERT_NE(port_, VEX_INVALID_PORT);
        // Short silences keep the misbehaving cases quick (but long enough
        // for a dribbling module on a loaded machine).
        ASSERT_TRUE(uart_SetTimeOut(port_, 150, 0));
        peer_ = std::make_unique<ModulePeer>(*pty_);
        for (uint32_t s = 0; s < vex_GetSlotCount(); ++s) {
            const uint32_t id = _vex_slot_inp(s, 0);
            if (id == 0xFF && serial_slot_ < 0 && _vex_slot_exists(s)) serial_slot_ = static_cast<int32_t>(s);
            if (id < 0xFF && parallel_slot_ < 0) parallel_slot_ = static_cast<int32_t>(s);
        }
        ASSERT_GE(serial_slot_, 0) << "the controller needs a serial module in a slot";
        ASSERT_GE(parallel_slot_, 0) << "the controller needs a parallel-bus module";
    }
    void TearDown() override {
        peer_.reset();
        uart_Close(port_);
        pty_.reset();
        SimFixture::TearDown();
    }
    // The commands the module heard, expecting exactly `count` of them.
    std::vector<std::string> heard(size_t count) {
        auto c = peer_->take(count);
        EXPECT_EQ(c.size(), count);
        return c;
    }
    std::string heard_one() {
        auto c = heard(1);
        return c.empty() ? "" : c[0];
    }
    // Nothing reached the module.
    void heard_nothing() { EXPECT_TRUE(peer_->take(0, 100).empty()); }

    std::unique_ptr<Pty> pty_;
    std::unique_ptr<ModulePeer> peer_;
    VEX_PORT port_ = VEX_INVALID_PORT;
    int32_t serial_slot_ = -1;
    int32_t parallel_slot_ = -1;
};

}  // namespace vex::test
