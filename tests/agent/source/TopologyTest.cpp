#include "agent/source/Topology.h"

#include "tests/agent/source/TopologyModel.h"
#include "tests/support/Census.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr LinkIndex eth1 = 1, eth2 = 2, bond = 10, otherBond = 11, bridge = 20, otherBridge = 21,
                    sub = 30, above = 31;

class TopologyTest : public TestSupport::CensusTest {
  protected:
    TopologyTest() { Iftel::NameTable::instance().resetForTest(); }
    ~TopologyTest() override { Iftel::NameTable::instance().resetForTest(); }

    void link(LinkIndex index, char const *name, LinkKind kind = LinkKind::plain,
              LinkIndex master = 0, LinkIndex lower = 0) {
        topology->linkIs({index, name, kind, master, lower, false, 100}, Topology::From::news);
    }
    void vlans(LinkIndex port, std::vector<VlanSpan> const &spans) {
        topology->portVlansIs(port, spans);
    }
    void table(LinkIndex port, std::vector<VlanSpan> const &spans) {
        topology->portTableIs(port, spans);
    }
    /// A bond with a member, and a subinterface of it that is a port in VLAN 100.
    void usual() {
        link(eth1, "eth1", LinkKind::plain, bond);
        link(bond, "bond0", LinkKind::lag);
        link(bridge, "br0", LinkKind::bridge);
        link(sub, "bond0.100", LinkKind::subinterface, bridge, bond);
        vlans(sub, {{100, 100, true, true}});
        settle();
    }

    /// Settle all, `tests` steps a run.
    void settle(std::uint64_t tests = 1000000) {
        scheduler->shareIs(std::make_unique<Osk::CountShare>(tests));
        Worker worker(scheduler, Osk::TaskPriority::normal, "settle",
                      [this](Osk::Task const &task) { return topology->settle(task); });
        worker.wake();
        scheduler->runUntilIdle();
        EXPECT_TRUE(topology->settled());
    }
    /// Settle no more than one run of `tests` steps.
    void settleSome(std::uint64_t tests) {
        scheduler->shareIs(std::make_unique<Osk::CountShare>(tests));
        Worker worker(scheduler, Osk::TaskPriority::normal, "settle",
                      [this](Osk::Task const &task) { return topology->settle(task); });
        worker.wake();
        (void)scheduler->runOne();
        EXPECT_FALSE(topology->settled());
    }
    /// The inputs, settled.
    std::vector<std::string> lines() {
        settle();
        auto const all = linesOf(inputs);
        return {all.begin(), all.end()};
    }
    Iftel::IntfId idOf(char const *name) { return *Iftel::NameTable::instance().lookup(name); }

    Qor::Ptr<Osk::TaskScheduler> scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    Inputs inputs = emptyInputs();
    std::vector<std::string> retired;
    std::unique_ptr<Topology> topology = make("");

    std::unique_ptr<Topology> make(std::string const &onlyBridge) {
        return std::make_unique<Topology>(inputs, onlyBridge, [this](Iftel::IntfId id) {
            retired.emplace_back(id.stringValue().view());
        });
    }
};

// Links.

TEST_F(TopologyTest, MakesLagsAndMembers) {
    usual();
    EXPECT_THAT(lines(), ElementsAre("100 bond0.100/bond0 untagged pvid both", "lag bond0: eth1"));
}

TEST_F(TopologyTest, ALagWithoutMembersIsOne) {
    link(bond, "bond0", LinkKind::lag);
    EXPECT_THAT(lines(), ElementsAre("lag bond0:"));
    topology->linkDel(bond);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(TopologyTest, TheOrderOfTheFactsDoesNotMatter) {
    vlans(above, {{7, 7}});
    link(above, "q", LinkKind::subinterface, bridge, sub);
    link(sub, "bond0.100", LinkKind::subinterface, 0, bond);
    link(eth1, "eth1", LinkKind::plain, bond);
    EXPECT_THAT(lines(), ElementsAre("7 q/ tagged both"));
    link(bond, "bond0", LinkKind::lag);
    EXPECT_THAT(lines(), ElementsAre("7 q/bond0 tagged both", "lag bond0: eth1"));
}

TEST_F(TopologyTest, ARenameIsARemovalAndAnAdditionOfAllAbove) {
    usual();
    link(above, "q", LinkKind::subinterface, bridge, sub);
    vlans(above, {{7, 7}});
    settle();
    auto const before = idOf("bond0.100");
    link(bond, "bondX", LinkKind::lag);
    EXPECT_THAT(lines(), ElementsAre("100 bond0.100/bondX untagged pvid both",
                                     "7 q/bondX tagged both", "lag bondX: eth1"));
    EXPECT_NE(idOf("bond0.100"), before);
    EXPECT_THAT(retired, testing::UnorderedElementsAre("bond0", "bond0.100", "q"));
}

TEST_F(TopologyTest, NamesMayBeSwapped) {
    link(eth1, "a");
    link(eth2, "b");
    vlans(eth1, {{1, 1}});
    vlans(eth2, {{2, 2}});
    settle();
    link(eth1, "tmp");
    link(eth2, "a");
    link(eth1, "b");
    EXPECT_THAT(lines(), ElementsAre("1 b/- tagged both", "2 a/- tagged both"));
}

TEST_F(TopologyTest, ANewcomerTakesANameFromItsHolder) {
    link(eth1, "a");
    vlans(eth1, {{1, 1}});
    settle();
    link(eth2, "a");
    EXPECT_THAT(lines(), IsEmpty());
    link(eth1, "b");
    EXPECT_THAT(lines(), ElementsAre("1 b/- tagged both"));
}

TEST_F(TopologyTest, WhatIsDeletedAndMadeAgainBeforeItIsSettledStays) {
    usual();
    auto const id = idOf("bond0.100");
    auto const vlan = *inputs.bridgingConfig->vlanConfig(Bridging::VlanId(100));
    auto const stamp = vlan->intf().stamp();
    topology->linkDel(sub);
    link(above, "bond0.100", LinkKind::subinterface, bridge, bond);
    vlans(above, {{100, 100, true, true}});
    settle();
    EXPECT_EQ(idOf("bond0.100"), id);
    EXPECT_EQ(vlan->intf().stamp(), stamp);
    EXPECT_THAT(retired, IsEmpty());
}

TEST_F(TopologyTest, ASubinterfaceOutlivesItsLowerLink) {
    usual();
    auto const id = idOf("bond0.100");
    topology->linkDel(bond);
    EXPECT_THAT(lines(), ElementsAre("100 bond0.100/bond0 untagged pvid both"));
    link(sub, "bond0.100", LinkKind::subinterface, 0, bond);
    settle();
    EXPECT_EQ(idOf("bond0.100"), id);
    topology->linkDel(sub);
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_THAT(retired, ElementsAre("bond0", "bond0.100"));
}

TEST_F(TopologyTest, ALowerLinkThatMovesAwayIsNoParentAnyMore) {
    usual();
    topology->linkDel(bond, true);
    EXPECT_TRUE(topology->hasLowerElsewhere());
    EXPECT_THAT(lines(), ElementsAre("100 bond0.100/ untagged pvid both"));
    topology->linkDel(sub);
    EXPECT_FALSE(topology->hasLowerElsewhere());
}

TEST_F(TopologyTest, AMemberMovesFromOneLagToAnother) {
    usual();
    link(otherBond, "bond1", LinkKind::lag);
    link(eth1, "eth1", LinkKind::plain, otherBond);
    EXPECT_THAT(lines(), ElementsAre("100 bond0.100/bond0 untagged pvid both",
                                     "lag bond0:", "lag bond1: eth1"));
}

TEST_F(TopologyTest, ALoopOfLowerLinksHasNoParent) {
    link(sub, "a", LinkKind::subinterface, 0, above);
    link(above, "b", LinkKind::subinterface, 0, sub);
    vlans(sub, {{1, 1}});
    EXPECT_THAT(lines(), ElementsAre("1 a/ tagged both"));
}

TEST_F(TopologyTest, UsesTheIdentifiersOfItsLinks) {
    usual();
    auto const id = idOf("bond0");
    EXPECT_TRUE(topology->uses(id));
    topology->linkDel(bond);
    settle();
    EXPECT_FALSE(topology->uses(id));
}

TEST_F(TopologyTest, UsesAnIdentifierAsLongAsTheInputsHoldIt) {
    usual();
    auto const id = idOf("bond0");
    link(bond, "bondX", LinkKind::lag);
    EXPECT_TRUE(topology->uses(id));
    settle();
    EXPECT_FALSE(topology->uses(id));
}

// VLANs.

TEST_F(TopologyTest, TheBridgesOwnEntryIsNoPort) {
    link(bridge, "br0", LinkKind::bridge);
    vlans(bridge, {{100, 100}});
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(TopologyTest, APvidThatMovesIsTakenFromTheVlanThatHadIt) {
    usual();
    vlans(sub, {{101, 101, true, true}});
    EXPECT_THAT(lines(), ElementsAre("100 bond0.100/bond0 untagged egress",
                                     "101 bond0.100/bond0 untagged pvid both", "lag bond0: eth1"));
}

TEST_F(TopologyTest, ATableTellsOfAPvidThatIsLost) {
    usual();
    table(sub, {{100, 100, false, true}});
    EXPECT_THAT(lines(), ElementsAre("100 bond0.100/bond0 untagged egress", "lag bond0: eth1"));
}

TEST_F(TopologyTest, ATableLeavesStatesAlone) {
    usual();
    vlans(sub, {{100, 100, true, true, VlanState::blocking}});
    table(sub, {{100, 102, false, false}});
    EXPECT_THAT(lines(),
                ElementsAre("100 bond0.100/bond0 tagged none", "101 bond0.100/bond0 tagged both",
                            "102 bond0.100/bond0 tagged both", "lag bond0: eth1"));
}

TEST_F(TopologyTest, AVlanGoesWithItsLastMember) {
    usual();
    topology->portVlansDel(sub, std::vector<VlanSpan>{{1, 4094}});
    settle();
    EXPECT_EQ(inputs.bridgingConfig->vlanConfig().size(), 0U);
}

TEST_F(TopologyTest, WhatIsNoPortAnyMoreIsStillALink) {
    usual();
    EXPECT_TRUE(topology->portDel(sub));
    EXPECT_THAT(lines(), ElementsAre("lag bond0: eth1"));
    EXPECT_TRUE(topology->knows(sub));
    EXPECT_THAT(retired, IsEmpty());
}

TEST_F(TopologyTest, ABondMayBeAPortAndHaveSubinterfacesThatArePorts) {
    usual();
    link(bond, "bond0", LinkKind::lag, bridge);
    vlans(bond, {{5, 5}});
    EXPECT_THAT(lines(), ElementsAre("100 bond0.100/bond0 untagged pvid both",
                                     "5 bond0/- tagged both", "lag bond0: eth1"));
}

TEST_F(TopologyTest, TakesOnlyThePortsOfTheBridgeThatIsNamed) {
    topology = make("br1");
    usual();
    link(otherBridge, "br1", LinkKind::bridge);
    link(eth2, "eth2", LinkKind::plain, otherBridge);
    vlans(eth2, {{5, 5}});
    EXPECT_THAT(lines(), ElementsAre("5 eth2/- tagged both", "lag bond0: eth1"));
    link(bridge, "tmp", LinkKind::bridge);
    link(otherBridge, "br0", LinkKind::bridge);
    link(bridge, "br1", LinkKind::bridge);
    EXPECT_THAT(lines(), ElementsAre("100 bond0.100/bond0 untagged pvid both", "lag bond0: eth1"));
}

TEST_F(TopologyTest, SaysWhenThePvidMayHideTheStateOfAnother) {
    link(eth1, "eth1", LinkKind::plain, bridge);
    vlans(eth1, {{100, 100, true, true}, {101, 102, false, true}});
    std::vector<VlanSpan> const blocked{{100, 100, true, true, VlanState::blocking}};
    topology->portVlansIs(eth1, blocked);
    EXPECT_TRUE(topology->portVlansMayHide(eth1, blocked));
    std::vector<VlanSpan> const tagged{{100, 100, true, false, VlanState::blocking}};
    topology->portVlansIs(eth1, tagged);
    EXPECT_FALSE(topology->portVlansMayHide(eth1, tagged));
}

// Views.

TEST_F(TopologyTest, WhatAViewDoesNotNameIsGoneAtItsEnd) {
    usual();
    topology->linksBegin();
    topology->linkIs({bond, "bond0", LinkKind::lag, 0, 0, false, 100}, Topology::From::view);
    EXPECT_THAT(lines(), ElementsAre("100 bond0.100/bond0 untagged pvid both", "lag bond0: eth1"));
    topology->linksEnd();
    EXPECT_THAT(lines(), ElementsAre("lag bond0:"));
}

TEST_F(TopologyTest, NewsWinsOverAView) {
    usual();
    topology->linksBegin();
    link(eth2, "eth2", LinkKind::plain, bond);
    topology->linkDel(eth1);
    topology->linkIs({bond, "bond0", LinkKind::lag, 0, 0, false, 0}, Topology::From::view);
    topology->linkIs({eth1, "eth1", LinkKind::plain, bond, 0, false, 0}, Topology::From::view);
    topology->linkIs({eth2, "old", LinkKind::plain, 0, 0, false, 0}, Topology::From::view);
    topology->linksEnd();
    EXPECT_THAT(lines(), ElementsAre("lag bond0: eth2"));
}

TEST_F(TopologyTest, AViewThatNamesEverythingTouchesNothing) {
    usual();
    auto const vlan = *inputs.bridgingConfig->vlanConfig(Bridging::VlanId(100));
    auto const stamp = vlan->intf().stamp();
    topology->linksBegin();
    for (auto const &[index, name, kind, master, lower] :
         {std::tuple{eth1, "eth1", LinkKind::plain, bond, 0U},
          std::tuple{bond, "bond0", LinkKind::lag, 0U, 0U},
          std::tuple{bridge, "br0", LinkKind::bridge, 0U, 0U},
          std::tuple{sub, "bond0.100", LinkKind::subinterface, bridge, bond}}) {
        topology->linkIs({index, name, kind, master, lower, false, 100}, Topology::From::view);
    }
    topology->linksEnd();
    topology->vlansBegin();
    vlans(sub, {{100, 100, true, true}});
    topology->vlansEnd();
    EXPECT_TRUE(topology->settled());
    EXPECT_EQ(vlan->intf().stamp(), stamp);
}

TEST_F(TopologyTest, VlansThatAViewDoesNotNameAreGoneAtItsEnd) {
    usual();
    vlans(sub, {{200, 300}});
    settle();
    topology->vlansBegin();
    vlans(sub, {{250, 250}});
    topology->vlansEnd();
    EXPECT_THAT(lines(), ElementsAre("250 bond0.100/bond0 tagged both", "lag bond0: eth1"));
}

TEST_F(TopologyTest, WhatAViewLeavesOutBehindThePvidHasItsState) {
    link(eth1, "eth1", LinkKind::plain, bridge);
    table(eth1, {{100, 100, true, true}, {101, 102, false, true}, {103, 103}});
    topology->vlansBegin();
    vlans(eth1, {{100, 100, true, true, VlanState::learning}});
    topology->vlansEnd();
    EXPECT_THAT(lines(), ElementsAre("100 eth1/- untagged pvid none", "101 eth1/- untagged none",
                                     "102 eth1/- untagged none"));
}

// Slices.

TEST_F(TopologyTest, ItCanBeCutAtEveryStep) {
    usual();
    vlans(sub, {{200, 300}});
    link(bond, "bondX", LinkKind::lag);
    settle(1);
    EXPECT_EQ(linesOf(inputs).size(), 103U);
    topology->linkDel(sub);
    settle(1);
    EXPECT_EQ(linesOf(inputs).size(), 1U);
}

TEST_F(TopologyTest, WhatIsNoPortAnyMoreInTheMidstOfItsVlansHasNoneLeft) {
    topology = make("br0");
    link(bridge, "br0", LinkKind::bridge);
    link(eth1, "eth1", LinkKind::plain, bridge);
    settle();
    vlans(eth1, {{1, 4}});
    settleSome(2);
    ASSERT_EQ(linesOf(inputs).size(), 2U);
    link(eth1, "eth1");
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(TopologyTest, WhatIsAPortAgainBeforeItsVlansAreWithdrawnHasThemAll) {
    topology = make("br0");
    link(bridge, "br0", LinkKind::bridge);
    link(eth1, "eth1", LinkKind::plain, bridge);
    vlans(eth1, {{1, 4}});
    settle();
    link(bridge, "brX", LinkKind::bridge);
    settleSome(6);
    ASSERT_THAT(linesOf(inputs),
                testing::IsSupersetOf({"empty VLAN 1", "empty VLAN 2", "4 eth1/- tagged both"}));
    link(bridge, "br0", LinkKind::bridge);
    EXPECT_THAT(lines(), ElementsAre("1 eth1/- tagged both", "2 eth1/- tagged both",
                                     "3 eth1/- tagged both", "4 eth1/- tagged both"));
}

TEST_F(TopologyTest, WhatHasItsNameBackBeforeItIsSettledStillKnowsWhatItHasWritten) {
    usual();
    link(eth2, "eth2");
    link(eth1, "tmp", LinkKind::plain, bond);
    link(eth2, "eth1");
    settleSome(1);
    link(eth2, "eth2");
    link(eth1, "eth1");
    EXPECT_THAT(lines(), ElementsAre("100 bond0.100/bond0 untagged pvid both", "lag bond0:"));
}

// Words.

TEST_F(TopologyTest, DescribesWhatItKnows) {
    usual();
    vlans(sub, {{200, 209, false, false, VlanState::listening}});
    EXPECT_THAT(topology->describe("bond0.100"),
                ElementsAre("link 30, vlan 100 on bond0, port of br0",
                            "vlan 100: untagged, PVID, forwarding",
                            "vlan 200-209: tagged, listening"));
    EXPECT_THAT(topology->describe("eth1"), ElementsAre("link 1, member of bond0"));
    EXPECT_THAT(topology->describe("bond0"), ElementsAre("link 10, LAG"));
    EXPECT_THAT(topology->describe("nobody"), IsEmpty());
    topology->linkDel(bond, true);
    EXPECT_EQ(topology->describe("bond0.100").front(),
              "link 30, vlan 100 on a link of another network namespace, port of br0");
}

} // namespace
} // namespace Agent
