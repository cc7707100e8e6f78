// What only the VLAN pair has: the configuration of a member, and its way to the output.
#include "tests/VlanSubIntfConfigLib/InputPairs.h"
#include "tests/support/Observer.h"

namespace VlanSubIntfConfigLib {
namespace {

using testing::ElementsAre;
using TestSupport::Output;

class VlanInputTest : public InputPairTest<VlanPair> {};

TEST_F(VlanInputTest, AnEventCarriesTheMembersConfiguration) {
    startSynchronous();
    vlan(100);
    traceIs();
    vlan(100)->intfIs(id("Ethernet1.100"), {true, true, egress});
    EXPECT_THAT(events(),
                ElementsAre("7 ConfigSm::eventToVlanConfigStream vlanConfigStream = from( "
                            "bridgingConfig.vlanConfig[].intf[] ): vlanId=100 "
                            "intfId=Ethernet1.100 vlanPortConfig=Optional( tagOnEgress=true "
                            "pvid=true allowedTrafficDirection=egress )"));
}

TEST_F(VlanInputTest, AChangedMemberIsOneEvent) {
    member(100, "Ethernet1.100", {true, egress});
    startSynchronous();
    traceIs();
    member(100, "Ethernet1.100", {false, egress});
    EXPECT_EQ(events().size(), 1U);
    EXPECT_EQ(output(), (Output{{100, {{"Ethernet1.100", {false, egress, {}}}}}}));
}

TEST_F(VlanInputTest, AVlanThatComesWithMembersHasThemInTheOutputWhenTheNoticeReturns) {
    lagMember("PortChannel7", "Ethernet3");
    startAsynchronous();
    run();
    auto const filled = Qor::make<Bridging::VlanConfig>(Bridging::VlanId(300));
    filled->intfIs(id("PortChannel7.300"), {true, false, both});
    filled->intfIs(id("Ethernet9.300"), {});
    bridging->vlanConfigInsertForTest(filled);
    EXPECT_EQ(
        output(),
        (Output{
            {300, {{"PortChannel7.300", {true, both, {"Ethernet3"}}}, {"Ethernet9.300", {}}}}}));
}

TEST_F(VlanInputTest, BeforeTheInitialScanAVlanThatComesWithMembersIsNotInTheOutput) {
    fill(2, 2);
    startAsynchronous();
    insertFilled(3, 2);
    EXPECT_TRUE(output().empty());
    run();
    EXPECT_EQ(output()[3].size(), 2U);
}

TEST_F(VlanInputTest, AMemberThatIsHandledFromOutsideHoldsTheRootUntilItIsWritten) {
    member(100, "Ethernet1.100", {true, both});
    startReady();
    Bridging::VlanId const vlanId(100);
    dir->configDel(vlanId);
    auto &child = *machine->vlanConfigSm0()->childSm(vlanId);
    TestSupport::Observer<Bridging::VlanId> observer(*dir);
    observer.reactionIs([this](auto const &) { machine = nullptr; });
    child.handleKeyHeld(id("Ethernet1.100"));
    EXPECT_EQ(machine, nullptr);
    EXPECT_EQ(output(), (Output{{100, {{"Ethernet1.100", {true, both, {}}}}}}));
}

TEST_F(VlanInputTest, ARemovedVlanTakesItsEntryOutOfTheOutput) {
    fill(2, 2);
    startSynchronous();
    vlanDel(1);
    auto const left = output();
    EXPECT_FALSE(left.contains(1));
    EXPECT_TRUE(left.contains(2));
}

} // namespace
} // namespace VlanSubIntfConfigLib
