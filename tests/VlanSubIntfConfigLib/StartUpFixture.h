// What the tests of start-up and of the root's reactions share.
#pragma once

#include "tests/support/MachineFixture.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace VlanSubIntfConfigLib {

inline constexpr auto lagPhyIntfHandler =
    "handleVlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputInputReady";
/// The outputs' handlers in the order in which they run together.
inline constexpr std::array fiveHandlers{
    lagPhyIntfHandler, "handleLagVlanStatusIntfToVlanMapOutputInputReady",
    "handleVlanSubIntfConfigLibVlanSubIntfPtrAllowedTrafficDirectionOutputInputReady",
    "handleVlanSubIntfConfigLibVlanSubIntfPtrTagOnEgressOutputInputReady",
    "handleVlanSubIntfConfigDirConfigIntfOutputInputReady"};

class StartUpFixture : public TestSupport::MachineTest {
  protected:
    /// Which handlers were entered, in order.
    std::vector<std::string> handlersEntered() {
        std::vector<std::string> entered;
        for (TestSupport::TraceLine const &line : trace->records()) {
            if (line.level == 9 && line.message.empty() && line.function.ends_with("InputReady")) {
                entered.push_back(line.function);
            }
        }
        trace->clear();
        return entered;
    }
    /// A machine whose first scans wait for their tasks.
    void startInterrupted() {
        for (std::uint16_t vlanId = 1; vlanId <= 3; ++vlanId) {
            vlan(vlanId);
        }
        for (std::string const name : {"PortChannel1", "PortChannel2", "PortChannel3"}) {
            lag(name);
        }
        startAsynchronous();
        ASSERT_FALSE(machine->initialScanDone());
    }
    void startReady() {
        startAsynchronous();
        run();
        ASSERT_TRUE(machine->ready());
    }
};

} // namespace VlanSubIntfConfigLib
