#include "VlanSubIntfConfigLib/SeenColl.h"
#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/JournalFixture.h"

#include <fmt/ostream.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace VlanSubIntfConfigLib {
namespace {

using Bridging::VlanId;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using TestSupport::Output;

std::string lagLine(int level, std::string const &message) {
    return fmt::format("{} ConfigSm::eventToLagUpdateStream {}", level, message);
}
std::string mergeLine(std::string const &message) {
    return "7 ConfigSm::eventToQuam_pipeline0 " + message;
}
std::string const source =
    "lagUpdateStream = from( lagPhyIntfMapping.lagPhyIntfConfig[].phyIntf[] ): ";
std::string const foreachPair = "foreach( ( *lagVlanStatus[ lagId ] ).intfToVlanMap ) flattening ";

class PipelinesLag : public TestSupport::JournalTest {
  protected:
    void joined(std::string const &lagName, std::string const &name) {
        machine->eventToLagUpdateStream(id(lagName), id(name),
                                        Qor::Ptr<Lag::EthPhyIntfLagConfig const>(
                                            Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs()));
    }
    void left(std::string const &lagName, std::string const &name) {
        machine->eventToLagUpdateStream(id(lagName), id(name), {});
    }
    [[nodiscard]] Qor::Ptr<VlanSubIntf> entry(std::uint16_t vlanId, std::string const &name) const {
        return *(*dir->config(VlanId(vlanId)))->intf(id(name));
    }
    /// What a member event on a LAG is expected to let out behind its first line.
    Lines mergesOf(std::string const &lagName, std::string const &name, bool add,
                   bool changes = true) {
        auto const status = machine->localAttrStore()->lagVlanStatus(id(lagName))->value();
        auto const pairs = TestSupport::walkOrder(status->intfToVlanMap());
        Lines lines{lagLine(6, fmt::format("{}{} elements", foreachPair, pairs.size()))};
        for (auto const &pair : pairs) {
            auto const vlan = fmt::to_string(pair.vlanId.value());
            auto const intf = fmt::to_string(fmt::streamed(pair.intfId));
            lines.push_back(lagLine(9, "Flattening element: intfId=" + intf + " vlanId=" + vlan));
            lines.push_back(
                mergeLine("Line 65: merge( vlanConfigStream, lagUpdateStream ): vlanId=" + vlan +
                          " subIntfId=" + intf + " lagMemberId=" + name +
                          (add ? " add=true" : " add=false")));
            lines.push_back(
                mergeLine(std::string("into( vlanSubIntf.lagPhyIntf[ lagMemberId ] ): ") +
                          (add ? "inserting k1=" : "deleting k1=") + name));
            if (changes) {
                lines.push_back("* config " + vlan + " intf " + intf + " lagPhyIntf " + name +
                                (add ? " added" : " removed"));
            }
        }
        return lines;
    }
    /// Two subinterfaces of one port-channel in three memberships, one of another.
    void fourMemberships() {
        member(100, "PortChannel10.100", {true, both});
        member(200, "PortChannel10.100", {true, both});
        member(200, "PortChannel10.200", {true, both});
        member(200, "PortChannel20.200", {true, both});
    }
};

TEST_F(PipelinesLag, AnEventBeforeTheInitialScanIsDoneTouchesAndTracesNothing) {
    startDuringInitialScan();
    joined("PortChannel10", "Ethernet1");
    left("PortChannel10", "Ethernet1");
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_TRUE(machine->localAttrStore()->lagVlanStatus().empty());
}

TEST_F(PipelinesLag, AMemberOfALagWithoutSubinterfacesDerivesNothing) {
    member(100, "PortChannel20.100", {true, both});
    startReady();
    auto const before = output();
    joined("PortChannel10", "Ethernet1");
    EXPECT_THAT(
        heard(),
        ElementsAre(lagLine(7, source + "lagId=PortChannel10 lagMemberId=Ethernet1 "
                                        "phyIntfLagConfig=Optional( Lag::EthPhyIntfLagConfig )"),
                    lagLine(6, "filter( lagVlanStatus[ lagId ] ) failed, terminating pipeline")));
    left("PortChannel10", "Ethernet1");
    EXPECT_THAT(
        heard(),
        ElementsAre(lagLine(7, source + "lagId=PortChannel10 lagMemberId=Ethernet1 "
                                        "phyIntfLagConfig=None"),
                    lagLine(6, "filter( lagVlanStatus[ lagId ] ) failed, terminating pipeline")));
    EXPECT_EQ(output(), before);
    EXPECT_EQ(machine->localAttrStore()->lagVlanStatus(id("PortChannel10")), nullptr)
        << "looking up creates nothing";
}

TEST_F(PipelinesLag, AMemberJoinsEveryMembershipOfItsLagAndNoOther) {
    fourMemberships();
    startReady();
    joined("PortChannel10", "Ethernet1");
    Lines expected = mergesOf("PortChannel10", "Ethernet1", true);
    EXPECT_EQ(expected.size(), 1U + 3 * 4);
    expected.insert(expected.begin(),
                    lagLine(7, source + "lagId=PortChannel10 lagMemberId=Ethernet1 "
                                        "phyIntfLagConfig=Optional( Lag::EthPhyIntfLagConfig )"));
    EXPECT_THAT(heard(), ElementsAreArray(expected));
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {true, both, {"Ethernet1"}}}}},
                                {200,
                                 {{"PortChannel10.100", {true, both, {"Ethernet1"}}},
                                  {"PortChannel10.200", {true, both, {"Ethernet1"}}},
                                  {"PortChannel20.200", {true, both, {}}}}}}));
}

TEST_F(PipelinesLag, AMemberLeavesEveryMembershipOfItsLagAndNoOther) {
    fourMemberships();
    lagMember("PortChannel10", "Ethernet1");
    lagMember("PortChannel10", "Ethernet2");
    lagMember("PortChannel20", "Ethernet1");
    startReady();
    left("PortChannel10", "Ethernet1");
    Lines expected = mergesOf("PortChannel10", "Ethernet1", false);
    expected.insert(expected.begin(), lagLine(7, source + "lagId=PortChannel10 "
                                                          "lagMemberId=Ethernet1 "
                                                          "phyIntfLagConfig=None"));
    EXPECT_THAT(heard(), ElementsAreArray(expected));
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {true, both, {"Ethernet2"}}}}},
                                {200,
                                 {{"PortChannel10.100", {true, both, {"Ethernet2"}}},
                                  {"PortChannel10.200", {true, both, {"Ethernet2"}}},
                                  {"PortChannel20.200", {true, both, {"Ethernet1"}}}}}}));
}

TEST_F(PipelinesLag, APresentNullConfigurationIsAMember) {
    member(100, "PortChannel10.100", {true, both});
    startReady();
    machine->eventToLagUpdateStream(id("PortChannel10"), id("Ethernet1"),
                                    Qor::Ptr<Lag::EthPhyIntfLagConfig const>());
    EXPECT_EQ(heard().front(), lagLine(7, source + "lagId=PortChannel10 lagMemberId=Ethernet1 "
                                                   "phyIntfLagConfig=Optional( null )"));
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {true, both, {"Ethernet1"}}}}}}));
}

TEST_F(PipelinesLag, AChangedConfigurationAddsTheMemberAgainWhichChangesNothing) {
    fourMemberships();
    lagMember("PortChannel10", "Ethernet1");
    startReady();
    lagMember("PortChannel10", "Ethernet1"); // another configuration
    Lines expected = mergesOf("PortChannel10", "Ethernet1", true, false);
    expected.insert(expected.begin(),
                    {"8 PhyIntfSm3::handlePhyIntf k: Ethernet1",
                     lagLine(7, source + "lagId=PortChannel10 lagMemberId=Ethernet1 "
                                         "phyIntfLagConfig=Optional( Lag::EthPhyIntfLagConfig )")});
    EXPECT_THAT(heard(), ElementsAreArray(expected));
}

// Which entry a pair stands for.

TEST_F(PipelinesLag, APairThatWasWrittenWithoutItsEntryFindsItInTheDirectory) {
    member(100, "PortChannel10.100", {true, both});
    startReady();
    auto const status = machine->localAttrStore()->lagVlanStatus(id("PortChannel10"))->value();
    status->intfToVlanMapIs({id("PortChannel10.100"), VlanId(100)});
    EXPECT_EQ(status->intfToVlanMap().iterator().node()->beside().entry(), nullptr);
    joined("PortChannel10", "Ethernet1");
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {true, both, {"Ethernet1"}}}}}}));
    left("PortChannel10", "Ethernet1");
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {true, both, {}}}}}}));
}

TEST_F(PipelinesLag, AMemberJoinsTheEntryOfASubinterfaceThatReturnedAndNotItsFormerOne) {
    member(100, "PortChannel10.100", {true, both});
    startReady();
    auto const former = entry(100, "PortChannel10.100");
    memberDel(100, "PortChannel10.100");
    EXPECT_EQ(former->refCount(), 1U) << "nothing of the machine's holds an entry that is gone";
    member(100, "PortChannel10.100", {true, both});
    joined("PortChannel10", "Ethernet1");
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {true, both, {"Ethernet1"}}}}}}));
    EXPECT_TRUE(former->lagPhyIntf().empty());
}

TEST_F(PipelinesLag, AMemberJoinsTheEntryThatTheDirectoryHasNow) {
    member(100, "PortChannel10.100", {true, both});
    startReady();
    dir->configDel(VlanId(100)); // by another hand than the machine's
    dir->configIs(VlanId(100))->intfIs(id("PortChannel10.100"));
    joined("PortChannel10", "Ethernet1");
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {false, none, {"Ethernet1"}}}}}}));
}

TEST_F(PipelinesLag, DuringStartUpAMemberIsMarkedSeenOnlyForTheEntryThatTheDirectoryHasNow) {
    startUntilInitialScanDone();
    member(100, "PortChannel10.100", {true, both});
    auto const former = entry(100, "PortChannel10.100");
    dir->configDel(VlanId(100)); // by another hand than the machine's
    stale(100, "PortChannel10.100");
    joined("PortChannel10", "Ethernet1");
    left("PortChannel10", "Ethernet2");
    auto const &seen = machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen();
    EXPECT_FALSE(seen.memberHas(former.get()));
    auto const *const now = seen.lookupNodeG(entry(100, "PortChannel10.100").get());
    ASSERT_NE(now, nullptr);
    EXPECT_TRUE(now->value()->seen().memberHas({id("Ethernet1"), true}));
    EXPECT_TRUE(now->value()->seen().memberHas({id("Ethernet2"), true}));
    EXPECT_EQ(seen.size(), 1U);
}

TEST_F(PipelinesLag, ASubinterfaceThatComesLaterGetsTheMembersThatWereThere) {
    startReady();
    lagMember("PortChannel10", "Ethernet1");
    member(100, "PortChannel10.100", {true, both});
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {true, both, {"Ethernet1"}}}}}}));
}

} // namespace
} // namespace VlanSubIntfConfigLib
