// A machine's whole life, with every kind of change in it.
//
// The fixture fills inputs and directory; the test makes the machine, gets it ready as it likes,
// and calls changesAndEnd(), or changes() when it ends the life itself. After each thing that it
// did, happened() says what it was.
#pragma once

#include "tests/support/MachineFixture.h"

#include <string_view>

namespace TestSupport {

class WholeLifeTest : public MachineTest {
  protected:
    /// What an earlier run left in the directory, and what the inputs say now.
    void SetUp() override {
        stale(100, "PortChannel10.100", {false, none, {"Ethernet2", "Ethernet9"}});
        stale(100, "PortChannel10.999");
        stale(900, "Ethernet4.90");
        member(100, "PortChannel10.100", {true, both});
        member(100, "Ethernet7", {false, both});
        member(200, "Ethernet4.20", {false, ingress});
        member(200, "PortChannel10.200", {true, egress});
        lagMember("PortChannel10", "Ethernet1");
        lagMember("PortChannel10", "Ethernet2");
        lagMember("PortChannel30", "Ethernet5");
    }
    /// Every kind of change that a machine that is ready reacts to.
    void changes();
    /// The same, then the end of its life.
    void changesAndEnd();

    virtual void happened(std::string_view /*what*/) {}
};

inline void WholeLifeTest::changesAndEnd() {
    changes();
    machine->doDeleteAll();
    happened("doDeleteAll()");
    EXPECT_TRUE(dir->config().empty());
    machine = nullptr;
    happened("the last reference is released");
}

inline void WholeLifeTest::changes() {
    vlan(300);
    happened("VLAN 300 appears, empty");
    member(300, "PortChannel20.300", {true, both});
    happened("PortChannel20.300 joins VLAN 300; its LAG is not there yet");
    lag("PortChannel20");
    happened("PortChannel20 appears, empty");
    lagMember("PortChannel20", "Ethernet3");
    happened("Ethernet3 joins PortChannel20");
    lag("PortChannel20")->phyIntfIs(id("Ethernet6"), nullptr);
    happened("Ethernet6 joins PortChannel20 without a configuration");
    lagMember("PortChannel20", "Ethernet6");
    happened("Ethernet6 gets its configuration");
    member(300, "PortChannel20.300", {true, ingress});
    happened("PortChannel20.300 changes its direction");
    member(300, "PortChannel10.300", {false, none});
    happened("PortChannel10.300 joins VLAN 300; its LAG has members");
    member(300, "Ethernet4.30", {true, both});
    happened("Ethernet4.30 joins VLAN 300");
    member(300, "Ethernet8", {});
    happened("Ethernet8, no subinterface, joins VLAN 300");
    lagMember("PortChannel30", "Ethernet8");
    happened("Ethernet8 joins PortChannel30, which has no subinterface");
    lagMemberDel("PortChannel20", "Ethernet3");
    happened("Ethernet3 leaves PortChannel20");
    memberDel(300, "Ethernet8");
    happened("Ethernet8 leaves VLAN 300");
    memberDel(300, "PortChannel20.300");
    happened("PortChannel20.300 leaves VLAN 300");
    memberDel(200, "Ethernet4.20");
    happened("Ethernet4.20 leaves VLAN 200");
    lagDel("PortChannel10");
    happened("PortChannel10 disappears with its members");
    vlanDel(300);
    happened("VLAN 300 disappears with its members");
    lagMember("PortChannel10", "Ethernet2");
    happened("PortChannel10 appears again, and Ethernet2 joins it");
}

} // namespace TestSupport
