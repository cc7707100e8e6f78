#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"
#include "tests/support/JournalFixture.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace VlanSubIntfConfigLib {
namespace {

using Bridging::VlanId;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::Output;

std::string line(std::string const &message) {
    return "7 ConfigSm::eventToQuam_pipeline0 " + message;
}
std::string const source = "Line 65: merge( vlanConfigStream, lagUpdateStream ): ";
std::string const into = "into( vlanSubIntf.lagPhyIntf[ lagMemberId ] ): ";

class PipelinesMerge : public TestSupport::JournalTest {
  protected:
    void merge(std::uint16_t vlanId, std::string const &subIntf, std::string const &lagMemberName,
               bool add) {
        machine->eventToQuam_pipeline0(VlanId(vlanId), id(subIntf), id(lagMemberName), add);
    }
    [[nodiscard]] Qor::Ptr<VlanSubIntf> entry(std::uint16_t vlanId, std::string const &name) const {
        return *(*dir->config(VlanId(vlanId)))->intf(id(name));
    }
};

TEST_F(PipelinesMerge, ACallBeforeTheInitialScanIsDoneNeitherFailsNorChangesAnything) {
    stale(100, "PortChannel10.100");
    startDuringInitialScan();
    merge(100, "PortChannel10.100", "Ethernet1", true);
    merge(200, "PortChannel10.100", "Ethernet1", true); // there is no such entry
    EXPECT_THAT(heard(), IsEmpty());
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {}}}}}));
    EXPECT_TRUE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen().empty());
}

TEST_F(PipelinesMerge, AddInsertsTheMember) {
    member(100, "PortChannel10.100", {true, both});
    startReady();
    merge(100, "PortChannel10.100", "Ethernet1", true);
    EXPECT_THAT(heard(),
                ElementsAre(line(source + "vlanId=100 subIntfId=PortChannel10.100 "
                                          "lagMemberId=Ethernet1 add=true"),
                            line(into + "inserting k1=Ethernet1"),
                            "* config 100 intf PortChannel10.100 lagPhyIntf Ethernet1 added"));
}

TEST_F(PipelinesMerge, AddOfAMemberThatIsThereIsTracedAndChangesNothing) {
    member(100, "PortChannel10.100", {true, both});
    lagMember("PortChannel10", "Ethernet1");
    startReady();
    merge(100, "PortChannel10.100", "Ethernet1", true);
    EXPECT_THAT(heard(), ElementsAre(line(source + "vlanId=100 subIntfId=PortChannel10.100 "
                                                   "lagMemberId=Ethernet1 add=true"),
                                     line(into + "inserting k1=Ethernet1")));
}

TEST_F(PipelinesMerge, NoAddDeletesTheMember) {
    member(100, "PortChannel10.100", {true, both});
    lagMember("PortChannel10", "Ethernet1");
    startReady();
    merge(100, "PortChannel10.100", "Ethernet1", false);
    EXPECT_THAT(heard(),
                ElementsAre(line(source + "vlanId=100 subIntfId=PortChannel10.100 "
                                          "lagMemberId=Ethernet1 add=false"),
                            line(into + "deleting k1=Ethernet1"),
                            "* config 100 intf PortChannel10.100 lagPhyIntf Ethernet1 removed"));
}

TEST_F(PipelinesMerge, NoAddOfAMemberThatIsNotThereIsTracedAndChangesNothing) {
    member(100, "PortChannel10.100", {true, both});
    startReady();
    merge(100, "PortChannel10.100", "Ethernet1", false);
    EXPECT_THAT(heard(), ElementsAre(line(source + "vlanId=100 subIntfId=PortChannel10.100 "
                                                   "lagMemberId=Ethernet1 add=false"),
                                     line(into + "deleting k1=Ethernet1")));
}

TEST_F(PipelinesMerge, AMissingEntryIsABadAccessAfterTheFirstLine) {
    member(100, "PortChannel10.100", {true, both});
    startReady();
    EXPECT_THROW(merge(200, "PortChannel10.100", "Ethernet1", true), Qor::BadOptionalAccess);
    EXPECT_THAT(heard(), ElementsAre(line(source + "vlanId=200 subIntfId=PortChannel10.100 "
                                                   "lagMemberId=Ethernet1 add=true")));
    EXPECT_THROW(merge(100, "PortChannel10.101", "Ethernet1", false), Qor::BadOptionalAccess);
    EXPECT_THAT(heard(), ElementsAre(line(source + "vlanId=100 subIntfId=PortChannel10.101 "
                                                   "lagMemberId=Ethernet1 add=false")));
}

TEST_F(PipelinesMerge, DuringStartUpAnInsertionAndADeletionBothMarkTheirKeySeen) {
    stale(100, "PortChannel10.100", {false, none, {"Ethernet2"}});
    stale(100, "PortChannel10.101");
    startUntilInitialScanDone();
    auto const &seen = machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen();
    merge(100, "PortChannel10.100", "Ethernet1", true);
    merge(100, "PortChannel10.100", "Ethernet2", false);
    merge(100, "PortChannel10.100", "Ethernet3", false); // not in the set
    merge(100, "PortChannel10.100", "Ethernet1", true);
    ASSERT_EQ(seen.size(), 1U) << "one collection for one subinterface";
    auto const subIntf = entry(100, "PortChannel10.100");
    auto const coll = seen.lookupNodeG(subIntf.get())->value();
    EXPECT_EQ(coll->vlanSubIntf(), subIntf);
    EXPECT_EQ(coll->seen().size(), 3U);
    for (std::string const name : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
        EXPECT_TRUE(coll->seen().memberHas({id(name), true})) << name;
    }
}

TEST_F(PipelinesMerge, DuringStartUpAnEntryThatIsReplacedWhileItIsWrittenIsNotMarkedSeen) {
    lagMember("PortChannel10", "Ethernet1");
    stale(100, "PortChannel10.100");
    startUntilInitialScanDone();
    auto const former = entry(100, "PortChannel10.100");
    TestSupport::Observer<> observer(*former);
    observer.reactionIs([&](auto const & /*notice*/) {
        if (former->inDirectory()) {
            dir->configDel(VlanId(100)); // by another hand than the machine's
            stale(100, "PortChannel10.100");
        }
    });
    machine->eventToVlanConfigStream(VlanId(100), id("PortChannel10.100"),
                                     Bridging::VlanPortConfig{true, false, both});
    ASSERT_FALSE(former->inDirectory());
    auto const &seen = machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen();
    EXPECT_FALSE(seen.memberHas(former.get()));
    auto const *const now = seen.lookupNodeG(entry(100, "PortChannel10.100").get());
    ASSERT_NE(now, nullptr);
    EXPECT_TRUE(now->value()->seen().memberHas({id("Ethernet1"), true}));
    EXPECT_EQ(seen.size(), 1U);
    EXPECT_EQ(output(), (Output{{100, {{"PortChannel10.100", {false, none, {"Ethernet1"}}}}}}));
}

TEST_F(PipelinesMerge, NothingIsMarkedSeenOnceTheOutputIsReady) {
    member(100, "PortChannel10.100", {true, both});
    startReady();
    merge(100, "PortChannel10.100", "Ethernet1", true);
    EXPECT_TRUE(machine->vlanSubIntfConfigLibVlanSubIntfPtrLagPhyIntfOutputPtrSeen().empty());
}

} // namespace
} // namespace VlanSubIntfConfigLib
