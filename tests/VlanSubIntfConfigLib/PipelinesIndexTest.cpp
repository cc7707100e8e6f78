// The index of pairs as the VLAN stream keeps it: an entry that is in it says so, and its pair is
// not written again. Whatever becomes of the index, what an entry says is never believed wrongly.
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/Census.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

namespace VlanSubIntfConfigLib {
namespace {

using Bridging::VlanId;
using Iftel::IntfId;
using Iftel::IntfKind;
using testing::IsEmpty;

class PipelinesIndex : public TestSupport::CensusTest {
  protected:
    [[nodiscard]] Qor::Ptr<ConfigSm> made() const {
        Quam::SmControl control;
        control.synchronousIs(Quam::Synchronous::synchronous);
        auto sm = configSmFactory(config, mapping, dir, control);
        EXPECT_TRUE(sm->ready());
        return sm;
    }
    /// Each call writes another configuration than the one before.
    void memberIs(IntfId intfId) {
        tagOnEgress = !tagOnEgress;
        config->vlanConfigIs(vlan)->intfIs(intfId, {tagOnEgress, false, {}});
    }
    void memberIs() { memberIs(subIntf); }
    [[nodiscard]] Qor::Ptr<VlanSubIntf> entry(IntfId intfId) const {
        return *(*dir->config(vlan))->intf(intfId);
    }
    [[nodiscard]] Qor::Ptr<VlanSubIntf> entry() const { return entry(subIntf); }
    [[nodiscard]] bool isIndexed(ConfigSm const &sm) const {
        auto const status = sm.localAttrStore()->lagVlanStatus(lag);
        return status && status->value() && status->value()->intfToVlanMap(pair);
    }
    /// Whether a change of the LAG's members reaches the entry.
    [[nodiscard]] bool lagReachesEntry() {
        auto const member = IntfId::intf(IntfKind::ethernet, ++lagMembers);
        mapping->lagPhyIntfConfigIs(lag)->phyIntfIs(member, nullptr);
        return entry()->lagPhyIntf(member);
    }

    VlanId const vlan{100};
    IntfId const lag = IntfId::intf(IntfKind::portChannel, 10);
    IntfId const subIntf = IntfId::subIntf(lag, 100);
    VlanSubIntfStatusLib::VidIntf const pair{subIntf, vlan};
    Qor::Ptr<Bridging::Config> config = Bridging::Config::ConfigIs();
    Qor::Ptr<Lag::LagPhyIntfMapping> mapping = Lag::LagPhyIntfMapping::LagPhyIntfMappingIs();
    Qor::Ptr<VlanSubIntfConfigDir> dir = VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    bool tagOnEgress = false;
    std::uint32_t lagMembers = 0;
};

TEST_F(PipelinesIndex, AnEntrySaysThatItIsInTheMachinesIndexAsLongAsItsPairIs) {
    auto const machine = made();
    memberIs();
    auto const its = entry();
    EXPECT_TRUE(isIndexed(*machine));
    EXPECT_EQ(its->listedIn(), machine->localAttrStore()->creationSerial());
    memberIs();
    EXPECT_EQ(its->listedIn(), machine->localAttrStore()->creationSerial());
    config->vlanConfigIs(vlan)->intfDel(subIntf);
    EXPECT_FALSE(isIndexed(*machine));
    EXPECT_EQ(its->listedIn(), 0U);
}

TEST_F(PipelinesIndex, AnEntryThatRidesOnNoPortChannelIsInNone) {
    auto const machine = made();
    auto const ethernet = IntfId::subIntf(IntfId::intf(IntfKind::ethernet, 4), 20);
    memberIs(ethernet);
    EXPECT_EQ(entry(ethernet)->listedIn(), 0U);
    EXPECT_THAT(machine->localAttrStore()->lagVlanStatus(), IsEmpty());
}

TEST_F(PipelinesIndex, APairThatSomebodyTookOutReturnsWithTheNextEvent) {
    auto const machine = made();
    memberIs();
    machine->localAttrStore()->lagVlanStatus(lag)->value()->intfToVlanMapDel(pair);
    memberIs();
    EXPECT_TRUE(isIndexed(*machine));
    EXPECT_TRUE(lagReachesEntry());
}

TEST_F(PipelinesIndex, AStatusThatSomebodyTookOutReturnsWithTheNextEvent) {
    auto const machine = made();
    memberIs();
    machine->localAttrStore()->lagVlanStatus(lag)->valueDel();
    memberIs();
    EXPECT_TRUE(isIndexed(*machine));
    machine->localAttrStore()->lagVlanStatusDel(lag);
    memberIs();
    EXPECT_TRUE(isIndexed(*machine));
    EXPECT_TRUE(lagReachesEntry());
}

TEST_F(PipelinesIndex, AnEntryThatSomebodyReplacedIsInTheIndexWithTheNextEvent) {
    auto const machine = made();
    memberIs();
    auto const former = entry();
    (*dir->config(vlan))->intfDel(subIntf);
    memberIs();
    EXPECT_NE(entry(), former);
    EXPECT_EQ(former->listedIn(), 0U);
    EXPECT_TRUE(lagReachesEntry());
    EXPECT_THAT(former->lagPhyIntf(), IsEmpty());
}

TEST_F(PipelinesIndex, APairWithoutItsEntryHasItAfterTheNextEvent) {
    auto const machine = made();
    memberIs();
    auto const status = machine->localAttrStore()->lagVlanStatus(lag)->value();
    status->intfToVlanMapIs(pair);
    memberIs();
    EXPECT_EQ(Qor::required(status->intfToVlanMap().lookupNodeG(pair)).beside().entry(), entry());
}

TEST_F(PipelinesIndex, WhatAnEarlierMachineListedIsInTheIndexOfTheNextOne) {
    auto machine = made();
    memberIs();
    auto const its = entry();
    machine = nullptr;
    EXPECT_EQ(its->listedIn(), 0U);
    machine = made();
    EXPECT_EQ(entry(), its);
    EXPECT_TRUE(isIndexed(*machine));
    EXPECT_TRUE(lagReachesEntry());
}

TEST_F(PipelinesIndex, WhatAnotherMachineListsIsInTheIndexOfBoth) {
    auto const one = made();
    memberIs();
    auto const other = made();
    EXPECT_TRUE(isIndexed(*one));
    EXPECT_TRUE(isIndexed(*other));
    memberIs();
    EXPECT_TRUE(lagReachesEntry());
    EXPECT_EQ(one->localAttrStore()->lagVlanStatus(lag)->value()->intfToVlanMap().size(), 1U);
    EXPECT_EQ(other->localAttrStore()->lagVlanStatus(lag)->value()->intfToVlanMap().size(), 1U);
}

} // namespace
} // namespace VlanSubIntfConfigLib
