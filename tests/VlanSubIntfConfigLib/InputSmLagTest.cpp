// What only the LAG pair has: members without a configuration, and their way to the output.
#include "tests/VlanSubIntfConfigLib/InputPairs.h"

namespace VlanSubIntfConfigLib {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::Output;

class LagInputTest : public InputPairTest<LagPair> {
  protected:
    void nullMemberIs(int element, int number) {
        elementIs(element)->phyIntfIs(LagPair::memberKey(number), nullptr);
    }
    static std::string nullLine(int element, int number) {
        return LagPair::eventText(text(element), memberText(number), "Optional( null )");
    }
};

TEST_F(LagInputTest, AMemberWithoutConfigurationIsThereInTheScan) {
    nullMemberIs(1, 2);
    traceIs();
    startSynchronous();
    EXPECT_THAT(events(), ElementsAre(nullLine(1, 2)));
}

TEST_F(LagInputTest, AMemberThatLosesItsConfigurationIsNotRemoved) {
    member(100, "PortChannel1.100");
    memberIs(1, 2);
    startSynchronous();
    traceIs();
    nullMemberIs(1, 2);
    EXPECT_THAT(events(), ElementsAre(nullLine(1, 2)));
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel1.100", {false, none, {"Ethernet2"}}}}}}));
}

TEST_F(LagInputTest, AMemberWithoutConfigurationIsInTheOutput) {
    member(100, "PortChannel1.100");
    nullMemberIs(1, 2);
    startSynchronous();
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel1.100", {false, none, {"Ethernet2"}}}}}}));
}

TEST_F(LagInputTest, TheConfigurationIsReleasedAfterTheEvent) {
    memberIs(1, 2);
    startSynchronous();
    auto const config = *elementIs(1)->phyIntf(LagPair::memberKey(2));
    auto const before = config->refCount();
    child(1)->handlePhyIntf(LagPair::memberKey(2));
    EXPECT_EQ(config->refCount(), before);
}

TEST_F(LagInputTest, ARemovedLagTakesItsMembersOutOfTheOutput) {
    member(100, "PortChannel1.100");
    fill(1, 3);
    startSynchronous();
    lagDel("PortChannel1");
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel1.100", {}}}}}));
}

TEST_F(LagInputTest, ALagThatComesWithMembersHasThemInTheOutputWhenTheNoticeReturns) {
    member(100, "PortChannel1.100", {true, ingress});
    startAsynchronous();
    run();
    insertFilled(1, 2);
    EXPECT_EQ(output(),
              (Output{{100, {{"PortChannel1.100", {true, ingress, {"Ethernet1", "Ethernet2"}}}}}}));
}

TEST_F(LagInputTest, BothTasksTakeTurnsAtTheirSlices) {
    fill(2, 1);
    member(1, "Ethernet1.1");
    member(2, "Ethernet1.2");
    startAsynchronous();
    countShareIs(1);
    traceIs(TestSupport::levels(8, 8));
    scheduler->runOne();
    scheduler->runOne();
    std::vector<std::string> machines;
    for (TestSupport::TraceLine const &line : trace->records()) {
        if (line.function == "handleLagPhyIntfConfig" || line.function == "handleVlanConfig") {
            machines.push_back(line.machine);
        }
    }
    EXPECT_THAT(machines, ElementsAre("LagPhyIntfConfigSm2", "VlanConfigSm0"));
}

TEST_F(LagInputTest, AnEmptyMappingEmitsNothing) {
    traceIs();
    startSynchronous();
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_TRUE(machine->inputSmScanState()->lagUpdateStreamScan());
}

} // namespace
} // namespace VlanSubIntfConfigLib
