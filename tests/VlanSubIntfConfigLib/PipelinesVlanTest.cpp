#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/JournalFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using Bridging::VlanId;
using Bridging::VlanPortConfig;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using TestSupport::Output;

std::string vlanLine(int level, std::string const &message) {
    return fmt::format("{} ConfigSm::eventToVlanConfigStream {}", level, message);
}
std::string mergeLine(std::string const &message) {
    return "7 ConfigSm::eventToQuam_pipeline0 " + message;
}
std::string const source = "vlanConfigStream = from( bridgingConfig.vlanConfig[].intf[] ): ";
std::string const intoEntry = "into( vlanSubIntfConfigDir.config[ vlanId ].intf[ intfId ] ): ";
std::string const intoTag = "into( vlanSubIntf.tagOnEgress ): inserting value=";
std::string const intoDirection = "into( vlanSubIntf.allowedTrafficDirection ): inserting value=";
std::string const intoPair = "into( lagVlanStatus[ parentIntfId ].intfToVlanMap[ vidIntf ] ): ";
std::string const foreachMember =
    "foreach( ( *lagPhyIntfMapping.lagPhyIntfConfig[ parentIntfId ] ).phyIntf ) flattening ";
std::string const noSubIntf =
    "filter( SubIntfId::isSubIntfId( intfId ) ) failed, terminating pipeline";
std::string const noPortChannel =
    "filter( PortChannelIntfId::isPortChannelIntfId( intfId ) ) failed, terminating pipeline";
std::string const noLagConfig = "filter( lagPhyIntfMapping.lagPhyIntfConfig[ parentIntfId ] ) "
                                "failed, terminating pipeline";
std::string const noAdd = "filter( add ) failed, terminating pipeline";

class PipelinesVlan : public TestSupport::JournalTest {
  protected:
    void event(std::uint16_t vlanId, std::string const &name, VlanPortConfig const &config) {
        machine->eventToVlanConfigStream(VlanId(vlanId), id(name), Qor::Optional(config));
    }
    void removal(std::uint16_t vlanId, std::string const &name) {
        machine->eventToVlanConfigStream(VlanId(vlanId), id(name), {});
    }
    [[nodiscard]] bool pairIsIndexed(std::string const &lagName, std::uint16_t vlanId,
                                     std::string const &name) const {
        auto const entry = machine->localAttrStore()->lagVlanStatus(id(lagName));
        return entry && entry->value()->intfToVlanMap({id(name), VlanId(vlanId)});
    }
    [[nodiscard]] bool lagIsIndexed(std::string const &lagName) const {
        return machine->localAttrStore()->lagVlanStatus(id(lagName)) != nullptr;
    }
};

TEST_F(PipelinesVlan, AnEventBeforeTheInitialScanIsDoneTouchesAndTracesNothing) {
    stale(900, "Ethernet4.90");
    startDuringInitialScan();
    auto const before = output();
    event(100, "PortChannel10.100", {true, false, both});
    removal(900, "Ethernet4.90");
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_EQ(output(), before);
    EXPECT_TRUE(machine->localAttrStore()->lagVlanStatus().empty());
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeen().empty());
}

TEST_F(PipelinesVlan, APortChannelSubinterfaceIsWrittenIndexedAndGetsEveryMember) {
    lagMember("PortChannel10", "Ethernet1");
    lag("PortChannel10")->phyIntfIs(id("Ethernet2"), nullptr); // only the keys count
    startReady();
    event(100, "PortChannel10.100", {true, false, both});
    Lines expected{
        vlanLine(7, source + "vlanId=100 intfId=PortChannel10.100 vlanPortConfig=Optional( "
                             "tagOnEgress=true pvid=false allowedTrafficDirection=both )"),
        "* config 100 added",
        vlanLine(7, intoEntry + "inserting k1=100, k2=PortChannel10.100, value=PortChannel10.100"),
        "* config 100 intf PortChannel10.100 added",
        vlanLine(7, intoTag + "true"),
        "* config 100 intf PortChannel10.100 tagOnEgress true",
        vlanLine(7, intoDirection + "both"),
        "* config 100 intf PortChannel10.100 allowedTrafficDirection both",
        "* lagVlanStatus PortChannel10 added",
        "* lagVlanStatus PortChannel10 value added",
        vlanLine(7,
                 intoPair + "inserting k1=PortChannel10, k2=intfId=PortChannel10.100 vlanId=100"),
        "* lagVlanStatus PortChannel10 pair intfId=PortChannel10.100 vlanId=100 added",
        vlanLine(6, foreachMember + "2 elements")};
    for (std::string const &name : lagMemberOrder("PortChannel10")) {
        expected.push_back(vlanLine(9, "Flattening element: " + name));
        expected.push_back(mergeLine("Line 65: merge( vlanConfigStream, lagUpdateStream ): "
                                     "vlanId=100 subIntfId=PortChannel10.100 lagMemberId=" +
                                     name + " add=true"));
        expected.push_back(
            mergeLine("into( vlanSubIntf.lagPhyIntf[ lagMemberId ] ): inserting k1=" + name));
        expected.push_back("* config 100 intf PortChannel10.100 lagPhyIntf " + name + " added");
    }
    EXPECT_THAT(heard(), ElementsAreArray(expected));
    EXPECT_EQ(output(),
              (Output{{100, {{"PortChannel10.100", {true, both, {"Ethernet1", "Ethernet2"}}}}}}));
    EXPECT_TRUE(pairIsIndexed("PortChannel10", 100, "PortChannel10.100"));
}

TEST_F(PipelinesVlan, TheSameEventAgainTracesEveryStepAndChangesNothing) {
    lagMember("PortChannel10", "Ethernet1");
    startReady();
    event(100, "PortChannel10.100", {true, false, both});
    Lines const first = heardTraces();
    event(100, "PortChannel10.100", {true, false, both});
    EXPECT_EQ(heard(), first) << "no notice, the same traces";
    EXPECT_THAT(first, testing::SizeIs(9));
}

TEST_F(PipelinesVlan, BothAttributesAndEveryMemberAreWrittenOnEveryEvent) {
    lagMember("PortChannel10", "Ethernet1");
    startReady();
    event(100, "PortChannel10.100", {true, false, both});
    auto const written = output();
    auto const entry = *(*dir->config(VlanId(100)))->intf(id("PortChannel10.100"));
    entry->tagOnEgressIs(false);
    entry->allowedTrafficDirectionIs(none);
    entry->lagPhyIntfDel(id("Ethernet1"));
    event(100, "PortChannel10.100", {true, false, both});
    EXPECT_EQ(output(), written);
}

TEST_F(PipelinesVlan, AChangedValuePublishesOnlyWhatChanged) {
    startReady();
    event(100, "Ethernet4.20", {true, false, both});
    heard();
    event(100, "Ethernet4.20", {true, true, ingress});
    EXPECT_THAT(
        heard(),
        ElementsAre(
            vlanLine(7, source + "vlanId=100 intfId=Ethernet4.20 vlanPortConfig=Optional( "
                                 "tagOnEgress=true pvid=true allowedTrafficDirection=ingress )"),
            vlanLine(7, intoEntry + "inserting k1=100, k2=Ethernet4.20, value=Ethernet4.20"),
            vlanLine(7, intoTag + "true"), vlanLine(7, intoDirection + "ingress"),
            "* config 100 intf Ethernet4.20 allowedTrafficDirection ingress",
            vlanLine(6, noPortChannel)));
}

TEST_F(PipelinesVlan, AttributesGoBackToTheirDefaults) {
    startReady();
    event(100, "Ethernet4.20", {true, false, both});
    event(100, "Ethernet4.20", {false, false, none});
    EXPECT_EQ(output(), (Output{{100, {{"Ethernet4.20", {false, none, {}}}}}}));
}

TEST_F(PipelinesVlan, AnEthernetSubinterfaceGetsItsAttributesAndNothingMore) {
    lagMember("PortChannel10", "Ethernet1");
    startReady();
    event(200, "Ethernet4.20", {true, false, egress});
    EXPECT_THAT(
        heard(),
        ElementsAre(
            vlanLine(7, source + "vlanId=200 intfId=Ethernet4.20 vlanPortConfig=Optional( "
                                 "tagOnEgress=true pvid=false allowedTrafficDirection=egress )"),
            "* config 200 added",
            vlanLine(7, intoEntry + "inserting k1=200, k2=Ethernet4.20, value=Ethernet4.20"),
            "* config 200 intf Ethernet4.20 added", vlanLine(7, intoTag + "true"),
            "* config 200 intf Ethernet4.20 tagOnEgress true",
            vlanLine(7, intoDirection + "egress"),
            "* config 200 intf Ethernet4.20 allowedTrafficDirection egress",
            vlanLine(6, noPortChannel)));
    EXPECT_EQ(output(), (Output{{200, {{"Ethernet4.20", {true, egress, {}}}}}}));
    EXPECT_TRUE(machine->localAttrStore()->lagVlanStatus().empty());
}

TEST_F(PipelinesVlan, AMemberThatIsNoSubinterfaceDerivesNothing) {
    startReady();
    for (std::string const name : {"Ethernet7", "PortChannel10"}) {
        event(100, name, {true, false, both});
        EXPECT_THAT(heard(),
                    ElementsAre(vlanLine(7, source + "vlanId=100 intfId=" + name +
                                                " vlanPortConfig=Optional( tagOnEgress=true "
                                                "pvid=false allowedTrafficDirection=both )"),
                                vlanLine(6, noSubIntf)));
        removal(100, name);
        EXPECT_THAT(heard(), ElementsAre(vlanLine(7, source + "vlanId=100 intfId=" + name +
                                                         " vlanPortConfig=None"),
                                         vlanLine(6, noSubIntf)));
    }
    EXPECT_TRUE(dir->config().empty());
}

TEST_F(PipelinesVlan, WithoutALagConfigurationThePairIsIndexedAndTheEventEnds) {
    startReady();
    event(100, "PortChannel10.100", {false, false, none});
    EXPECT_THAT(
        heard(),
        ElementsAre(
            vlanLine(7, source + "vlanId=100 intfId=PortChannel10.100 vlanPortConfig=Optional( "
                                 "tagOnEgress=false pvid=false allowedTrafficDirection=none )"),
            "* config 100 added",
            vlanLine(7,
                     intoEntry + "inserting k1=100, k2=PortChannel10.100, value=PortChannel10.100"),
            "* config 100 intf PortChannel10.100 added", vlanLine(7, intoTag + "false"),
            vlanLine(7, intoDirection + "none"), "* lagVlanStatus PortChannel10 added",
            "* lagVlanStatus PortChannel10 value added",
            vlanLine(7, intoPair +
                            "inserting k1=PortChannel10, k2=intfId=PortChannel10.100 vlanId=100"),
            "* lagVlanStatus PortChannel10 pair intfId=PortChannel10.100 vlanId=100 added",
            vlanLine(6, noLagConfig)));
    EXPECT_TRUE(pairIsIndexed("PortChannel10", 100, "PortChannel10.100"));
}

TEST_F(PipelinesVlan, AnEmptyLagConfigurationPassesTheFilterAndCallsNoMerge) {
    lag("PortChannel10");
    startReady();
    event(100, "PortChannel10.100", {true, false, both});
    EXPECT_EQ(heardTraces().back(), vlanLine(6, foreachMember + "0 elements"));
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {true, both, {}}}}}}));
}

TEST_F(PipelinesVlan, RemovingOneOfTwoSubinterfacesKeepsTheVlanAndTheIndex) {
    startReady();
    event(100, "PortChannel10.100", {true, false, both});
    event(100, "PortChannel10.101", {true, false, both});
    heard();
    removal(100, "PortChannel10.100");
    EXPECT_THAT(
        heard(),
        ElementsAre(
            vlanLine(7, source + "vlanId=100 intfId=PortChannel10.100 vlanPortConfig=None"),
            vlanLine(7, intoEntry + "deleting k1=100, k2=PortChannel10.100"),
            "* config 100 intf PortChannel10.100 removed",
            vlanLine(7, intoPair +
                            "deleting k1=PortChannel10, k2=intfId=PortChannel10.100 vlanId=100"),
            "* lagVlanStatus PortChannel10 pair intfId=PortChannel10.100 vlanId=100 removed",
            vlanLine(6, noAdd)));
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.101", {true, both, {}}}}}}));
    EXPECT_FALSE(pairIsIndexed("PortChannel10", 100, "PortChannel10.100"));
    EXPECT_TRUE(pairIsIndexed("PortChannel10", 100, "PortChannel10.101"));
}

TEST_F(PipelinesVlan, RemovingTheLastSubinterfaceRemovesTheVlanAndTheIndexEntry) {
    lagMember("PortChannel10", "Ethernet1");
    startReady();
    event(100, "PortChannel10.100", {true, false, both});
    heard();
    removal(100, "PortChannel10.100");
    EXPECT_THAT(
        heard(),
        ElementsAre(
            vlanLine(7, source + "vlanId=100 intfId=PortChannel10.100 vlanPortConfig=None"),
            vlanLine(7, intoEntry + "deleting k1=100, k2=PortChannel10.100"),
            "* config 100 intf PortChannel10.100 removed", "* config 100 removed",
            vlanLine(7, intoPair +
                            "deleting k1=PortChannel10, k2=intfId=PortChannel10.100 vlanId=100"),
            "* lagVlanStatus PortChannel10 pair intfId=PortChannel10.100 vlanId=100 removed",
            "* lagVlanStatus PortChannel10 removed", "* lagVlanStatus PortChannel10 value removed",
            vlanLine(6, noAdd)));
    EXPECT_TRUE(dir->config().empty());
    EXPECT_FALSE(lagIsIndexed("PortChannel10"));
}

TEST_F(PipelinesVlan, TheIndexOutlivesTheVlanAsLongAsAnotherVlanRidesOnTheLag) {
    startReady();
    event(100, "PortChannel10.100", {true, false, both});
    event(200, "PortChannel10.100", {true, false, both});
    removal(100, "PortChannel10.100");
    EXPECT_EQ(output(), (Output{{200, {{"PortChannel10.100", {true, both, {}}}}}}));
    EXPECT_TRUE(pairIsIndexed("PortChannel10", 200, "PortChannel10.100"));
    removal(200, "PortChannel10.100");
    EXPECT_FALSE(lagIsIndexed("PortChannel10"));
}

TEST_F(PipelinesVlan, RemovingAnEthernetSubinterfaceEndsAtThePortChannelFilter) {
    startReady();
    event(200, "Ethernet4.20", {});
    heard();
    removal(200, "Ethernet4.20");
    EXPECT_THAT(heard(), ElementsAre(vlanLine(7, source + "vlanId=200 intfId=Ethernet4.20 "
                                                          "vlanPortConfig=None"),
                                     vlanLine(7, intoEntry + "deleting k1=200, k2=Ethernet4.20"),
                                     "* config 200 intf Ethernet4.20 removed",
                                     "* config 200 removed", vlanLine(6, noPortChannel)));
}

TEST_F(PipelinesVlan, RemovingWhatWasNeverWrittenDeletesNothingAndEndsAtTheAddFilter) {
    startReady();
    removal(100, "PortChannel10.100");
    EXPECT_THAT(
        heard(),
        ElementsAre(vlanLine(7, source + "vlanId=100 intfId=PortChannel10.100 vlanPortConfig=None"),
                    vlanLine(6, noAdd)));
}

TEST_F(PipelinesVlan, RemovingAnUnknownNeighbourOfWrittenEntriesIsTracedAndDeletesNothing) {
    startReady();
    event(100, "PortChannel10.100", {true, false, both});
    auto const before = output();
    heard();
    removal(100, "PortChannel10.101");
    EXPECT_THAT(
        heard(),
        ElementsAre(
            vlanLine(7, source + "vlanId=100 intfId=PortChannel10.101 vlanPortConfig=None"),
            vlanLine(7, intoEntry + "deleting k1=100, k2=PortChannel10.101"),
            vlanLine(7, intoPair +
                            "deleting k1=PortChannel10, k2=intfId=PortChannel10.101 vlanId=100"),
            vlanLine(6, noAdd)));
    EXPECT_EQ(output(), before);
}

TEST_F(PipelinesVlan, ARemovalDeletesAVlanThatIsEmptyAlready) {
    startReady();
    dir->configIs(VlanId(100));
    removal(100, "Ethernet4.20");
    EXPECT_TRUE(dir->config().empty());
}

TEST_F(PipelinesVlan, DuringStartUpAValueAndARemovalBothMarkTheirKeySeen) {
    stale(900, "Ethernet4.90");
    startUntilInitialScanDone();
    ASSERT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputReconciling());
    event(100, "PortChannel10.100", {true, false, both});
    removal(900, "Ethernet4.90");
    event(100, "Ethernet8", {});
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeenHas(
        {VlanId(100), id("PortChannel10.100"), true, true}));
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeenHas(
        {VlanId(900), id("Ethernet4.90"), true, true}));
    EXPECT_EQ(machine->vlanSubIntfConfigDirConfigIntfOutputSeen().size(), 2U)
        << "what is no subinterface is not marked";
}

TEST_F(PipelinesVlan, NothingIsMarkedSeenWithoutAReconciliation) {
    startUntilInitialScanDone();
    ASSERT_FALSE(machine->vlanSubIntfConfigDirConfigIntfOutputReconciling());
    event(100, "PortChannel10.100", {true, false, both});
    EXPECT_TRUE(machine->vlanSubIntfConfigDirConfigIntfOutputSeen().empty());
}

} // namespace
} // namespace VlanSubIntfConfigLib
