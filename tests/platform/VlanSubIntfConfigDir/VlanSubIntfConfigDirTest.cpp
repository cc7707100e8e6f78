#include "platform/VlanSubIntfConfigDir.h"

#include "platform/Bridging.h"
#include "tests/support/Census.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace VlanSubIntfConfigLib {
namespace {

using Bridging::AllowedTrafficDirection;
using Bridging::VlanId;
using Iftel::IntfId;
using testing::ElementsAre;
using testing::IsEmpty;

using VlanObserver = TestSupport::Observer<VlanId>;
using IntfObserver = TestSupport::Observer<IntfId>;

std::string printed(Qor::Entity const *entity) {
    std::ostringstream out;
    out << entity;
    return out.str();
}

// The directory.

/// Those that a VLAN can have, and others.
constexpr std::uint16_t anyNumbers[] = {0, 1, 4095, 4096, 65535};

class VlanSubIntfConfigDirTest : public TestSupport::CensusTest {
  protected:
    static constexpr VlanId vlan100{100};
    IntfId const subIntfId{"Ethernet4.20"};
    Qor::Ptr<VlanSubIntfConfigDir> dir = VlanSubIntfConfigDir::VlanSubIntfConfigDirIs();
    VlanObserver observer{*dir};
};
using VlanSubIntfConfigDirDeathTest = VlanSubIntfConfigDirTest;

TEST_F(VlanSubIntfConfigDirTest, ANewDirectoryIsEmptyWithNotificationsOn) {
    EXPECT_TRUE(dir->config().empty());
    EXPECT_TRUE(dir->hasNotificationActive());
    EXPECT_EQ(dir->refCount(), 1U);
}

TEST_F(VlanSubIntfConfigDirTest, AVlanIsInsertedEmpty) {
    auto const vlan = dir->configIs(vlan100);
    EXPECT_EQ(vlan->vlanId(), vlan100);
    EXPECT_TRUE(vlan->intf().empty());
    EXPECT_TRUE(vlan->hasNotificationActive());
    EXPECT_EQ(*dir->config(vlan100), vlan);
}

TEST_F(VlanSubIntfConfigDirTest, AnInsertedVlanIsPublishedWithItsKey) {
    dir->configIs(vlan100);
    EXPECT_THAT(observer.notices(), ElementsAre(VlanObserver::notice(130, vlan100)));
}

TEST_F(VlanSubIntfConfigDirTest, AVlanThatIsThereIsGivenBackWithoutANotice) {
    auto const vlan = dir->configIs(vlan100);
    observer.clear();
    EXPECT_EQ(dir->configIs(vlan100), vlan);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanSubIntfConfigDirTest, AVlanOfAnyNumberIsFoundUntilItIsRemoved) {
    for (std::uint16_t const number : anyNumbers) {
        SCOPED_TRACE(number);
        VlanId const id(number);
        auto const config = dir->configIs(id);
        EXPECT_EQ(dir->configIs(id), config);
        ASSERT_TRUE(dir->config(id).hasValue());
        EXPECT_EQ(*dir->config(id), config);
        dir->configDel(id);
        EXPECT_FALSE(dir->config(id).hasValue());
        EXPECT_NE(dir->configIs(id), config);
    }
    EXPECT_EQ(dir->config().size(), 5U);
}

TEST_F(VlanSubIntfConfigDirTest, AnAbsentVlanIsNone) {
    EXPECT_FALSE(dir->config(vlan100).hasValue());
}

TEST_F(VlanSubIntfConfigDirTest, ANoticeComesAfterTheChange) {
    std::vector<bool> found;
    observer.reactionIs(
        [&](auto const &notice) { found.push_back(dir->config(*notice.key).hasValue()); });
    dir->configIs(vlan100);
    dir->configDel(vlan100);
    EXPECT_THAT(found, ElementsAre(true, false));
}

TEST_F(VlanSubIntfConfigDirTest, ARemovedVlanIsPublishedWithItsKey) {
    dir->configIs(vlan100);
    observer.clear();
    dir->configDel(vlan100);
    EXPECT_TRUE(dir->config().empty());
    EXPECT_THAT(observer.notices(), ElementsAre(VlanObserver::notice(130, vlan100)));
}

TEST_F(VlanSubIntfConfigDirTest, ARemovedVlanOutlivesItsNotice) {
    std::string const type(VlanSubIntfConfig::qorTypeName);
    dir->configIs(vlan100);
    std::uint64_t aliveInNotice = 0;
    observer.reactionIs(
        [&](auto const &) { aliveInNotice = TestSupport::liveCount(type).objects; });
    dir->configDel(vlan100);
    EXPECT_EQ(aliveInNotice, 1U);
    EXPECT_EQ(TestSupport::liveCount(type).objects, 0U);
}

TEST_F(VlanSubIntfConfigDirTest, RemovingAnAbsentVlanDoesNothing) {
    dir->configIs(VlanId(1));
    observer.clear();
    dir->configDel(vlan100);
    EXPECT_EQ(dir->config().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanSubIntfConfigDirTest, ARemovedVlanLivesWithItsEntriesAsLongAsAReaderHoldsIt) {
    auto const vlan = dir->configIs(vlan100);
    vlan->intfIs(IntfId("Ethernet4.20"));
    dir->configDel(vlan100);
    EXPECT_EQ(vlan->refCount(), 1U);
    EXPECT_EQ(vlan->intf().size(), 1U);
}

TEST_F(VlanSubIntfConfigDirTest, ASubinterfaceIsInTheDirectoryUntilItIsRemoved) {
    auto const vlan = dir->configIs(vlan100);
    auto const former = vlan->intfIs(subIntfId);
    EXPECT_TRUE(former->inDirectory());
    vlan->intfDel(subIntfId);
    EXPECT_FALSE(former->inDirectory());
    EXPECT_TRUE(vlan->intfIs(subIntfId)->inDirectory());
    EXPECT_FALSE(former->inDirectory()) << "another one bears its name";
}

TEST_F(VlanSubIntfConfigDirTest, ASubinterfaceIsOutOfTheDirectoryInTheNoticeOfItsRemoval) {
    auto const vlan = dir->configIs(vlan100);
    auto const subIntf = vlan->intfIs(subIntfId);
    std::vector<bool> inNotice;
    IntfObserver vlanObserver(*vlan);
    vlanObserver.reactionIs([&](auto const &) { inNotice.push_back(subIntf->inDirectory()); });
    vlan->intfDel(subIntfId);
    EXPECT_THAT(inNotice, ElementsAre(false));
}

TEST_F(VlanSubIntfConfigDirTest, ASubinterfaceLeavesTheDirectoryWithItsVlan) {
    auto const vlan = dir->configIs(vlan100);
    auto const subIntf = vlan->intfIs(subIntfId);
    auto const neighbour = dir->configIs(VlanId(200))->intfIs(subIntfId);
    dir->configDel(vlan100);
    EXPECT_FALSE(subIntf->inDirectory());
    EXPECT_TRUE(neighbour->inDirectory());
    EXPECT_FALSE(vlan->intfIs(IntfId("Ethernet4.21"))->inDirectory()) << "made too late";
}

TEST_F(VlanSubIntfConfigDirTest, ASubinterfaceThatOutlivesItsVlanIsNotInTheNextOneOfThatMemory) {
    auto vlan = dir->configIs(vlan100);
    auto const before = vlan->intfIs(subIntfId);
    dir->configDel(vlan100);
    auto const after = vlan->intfIs(IntfId("Ethernet4.21"));
    vlan = nullptr;
    dir->configIs(vlan100);
    EXPECT_FALSE(before->inDirectory());
    EXPECT_FALSE(after->inDirectory());
}

TEST_F(VlanSubIntfConfigDirTest, ASubinterfaceLeavesTheDirectoryAtTheDirectorysEnd) {
    auto const vlan = dir->configIs(vlan100);
    auto const ofHeldVlan = vlan->intfIs(subIntfId);
    auto const ofGoneVlan = dir->configIs(VlanId(200))->intfIs(subIntfId);
    dir = nullptr;
    EXPECT_FALSE(ofHeldVlan->inDirectory());
    EXPECT_FALSE(ofGoneVlan->inDirectory());
    EXPECT_FALSE(vlan->intfIs(IntfId("Ethernet4.21"))->inDirectory()) << "made too late";
}

TEST_F(VlanSubIntfConfigDirTest, WithNotificationsOffChangesAreMadeInSilence) {
    dir->hasNotificationActiveIs(false);
    dir->configIs(vlan100);
    EXPECT_EQ(dir->config().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanSubIntfConfigDirTest, ANoticeMayWriteTheDirectoryAgain) {
    observer.reactionIs([this](auto const &notice) {
        if (*notice.key == vlan100) {
            dir->configIs(VlanId(200));
        }
    });
    dir->configIs(vlan100);
    EXPECT_THAT(observer.notices(), ElementsAre(VlanObserver::notice(130, vlan100),
                                                VlanObserver::notice(130, VlanId(200))));
}

#ifndef NDEBUG
TEST_F(VlanSubIntfConfigDirDeathTest, WritingAnInputInsideANoticeIsAnAssertion) {
    auto const input = Bridging::Config::ConfigIs();
    observer.reactionIs([&](auto const &) { input->vlanConfigIs(vlan100); });
    EXPECT_DEATH(dir->configIs(vlan100), "an input was written inside a notice of an output");
}
#endif

TEST_F(VlanSubIntfConfigDirTest, AnInputCanBeWrittenAfterANotice) {
    auto const input = Bridging::Config::ConfigIs();
    dir->configIs(vlan100);
    EXPECT_EQ(input->vlanConfigIs(vlan100)->vlanId(), vlan100);
}

TEST_F(VlanSubIntfConfigDirTest, PrintsAsItsTypeAndNeverAsAnAddress) {
    auto const vlan = dir->configIs(vlan100);
    EXPECT_EQ(printed(dir.get()), "VlanSubIntfConfigLib::VlanSubIntfConfigDir");
    EXPECT_EQ(printed(vlan.get()), "VlanSubIntfConfigLib::VlanSubIntfConfig");
    EXPECT_EQ(printed(vlan->intfIs(IntfId("Ethernet4.20")).get()),
              "VlanSubIntfConfigLib::VlanSubIntf");
    EXPECT_EQ(printed(Qor::Ptr<VlanSubIntf>().get()), "null");
}

// The subinterfaces of a VLAN.

class VlanSubIntfConfigTest : public TestSupport::CensusTest {
  protected:
    IntfId const id{"PortChannel10.100"};
    Qor::Ptr<VlanSubIntfConfig> vlan = Qor::make<VlanSubIntfConfig>(VlanId(100));
    IntfObserver observer{*vlan};
};

TEST_F(VlanSubIntfConfigTest, ASubinterfaceIsInsertedWithDefaults) {
    auto const subIntf = vlan->intfIs(id);
    EXPECT_EQ(subIntf->intfId(), id);
    EXPECT_TRUE(subIntf->lagPhyIntf().empty());
    EXPECT_FALSE(subIntf->tagOnEgress());
    EXPECT_EQ(subIntf->allowedTrafficDirection(), AllowedTrafficDirection::none);
    EXPECT_TRUE(subIntf->hasNotificationActive());
    EXPECT_EQ(*vlan->intf(id), subIntf);
}

TEST_F(VlanSubIntfConfigTest, AnInsertedSubinterfaceIsPublishedWithItsKey) {
    vlan->intfIs(id);
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(130, id)));
}

TEST_F(VlanSubIntfConfigTest, ASubinterfaceThatIsThereIsGivenBackWithoutANotice) {
    auto const subIntf = vlan->intfIs(id);
    observer.clear();
    EXPECT_EQ(vlan->intfIs(id), subIntf);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanSubIntfConfigTest, AnAbsentSubinterfaceIsNone) {
    EXPECT_FALSE(vlan->intf(id).hasValue());
}

TEST_F(VlanSubIntfConfigTest, ANoticeComesAfterTheChange) {
    std::vector<bool> found;
    observer.reactionIs(
        [&](auto const &notice) { found.push_back(vlan->intf(*notice.key).hasValue()); });
    vlan->intfIs(id);
    vlan->intfDel(id);
    EXPECT_THAT(found, ElementsAre(true, false));
}

TEST_F(VlanSubIntfConfigTest, ARemovedSubinterfaceIsPublishedWithItsKey) {
    vlan->intfIs(id);
    observer.clear();
    vlan->intfDel(id);
    EXPECT_TRUE(vlan->intf().empty());
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(130, id)));
}

TEST_F(VlanSubIntfConfigTest, RemovingAnAbsentSubinterfaceDoesNothing) {
    vlan->intfIs(id);
    observer.clear();
    vlan->intfDel(IntfId("Ethernet4.20"));
    EXPECT_EQ(vlan->intf().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanSubIntfConfigTest, ARemovedSubinterfaceLivesAsLongAsAReaderHoldsIt) {
    auto const subIntf = vlan->intfIs(id);
    subIntf->tagOnEgressIs(true);
    vlan->intfDel(id);
    EXPECT_EQ(subIntf->refCount(), 1U);
    EXPECT_TRUE(subIntf->tagOnEgress());
}

// One subinterface.

class VlanSubIntfTest : public TestSupport::CensusTest {
  protected:
    IntfId const member{"Ethernet4"};
    Qor::Ptr<VlanSubIntf> subIntf = Qor::make<VlanSubIntf>(IntfId("PortChannel10.100"));
    IntfObserver observer{*subIntf};
};

TEST_F(VlanSubIntfTest, IsInNoDirectoryWhenItIsMadeOutsideOfOne) {
    EXPECT_FALSE(subIntf->inDirectory());
    auto const vlan = Qor::make<VlanSubIntfConfig>(VlanId(100));
    EXPECT_FALSE(vlan->intfIs(subIntf->intfId())->inDirectory()) << "nor is its VLAN in one";
}

TEST_F(VlanSubIntfTest, AnInsertedMemberIsThere) {
    subIntf->lagPhyIntfIs(member);
    EXPECT_TRUE(subIntf->lagPhyIntf(member));
    EXPECT_FALSE(subIntf->lagPhyIntf(IntfId("Ethernet5")));
    EXPECT_EQ(subIntf->lagPhyIntf().size(), 1U);
}

TEST_F(VlanSubIntfTest, AnInsertedMemberIsPublishedAsKey) {
    subIntf->lagPhyIntfIs(member);
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(130, member)));
}

TEST_F(VlanSubIntfTest, AMemberThatIsThereIsNotPublishedAgain) {
    subIntf->lagPhyIntfIs(member);
    observer.clear();
    subIntf->lagPhyIntfIs(member);
    EXPECT_EQ(subIntf->lagPhyIntf().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanSubIntfTest, ARemovedMemberIsPublishedAsKey) {
    subIntf->lagPhyIntfIs(member);
    observer.clear();
    subIntf->lagPhyIntfDel(member);
    EXPECT_FALSE(subIntf->lagPhyIntf(member));
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(130, member)));
}

TEST_F(VlanSubIntfTest, RemovingAnAbsentMemberDoesNothing) {
    subIntf->lagPhyIntfIs(member);
    observer.clear();
    subIntf->lagPhyIntfDel(IntfId("Ethernet5"));
    EXPECT_EQ(subIntf->lagPhyIntf().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanSubIntfTest, ANoticeOfAMemberComesAfterTheChange) {
    std::vector<bool> found;
    observer.reactionIs(
        [&](auto const &notice) { found.push_back(subIntf->lagPhyIntf(*notice.key)); });
    subIntf->lagPhyIntfIs(member);
    subIntf->lagPhyIntfDel(member);
    EXPECT_THAT(found, ElementsAre(true, false));
}

TEST_F(VlanSubIntfTest, AnotherTaggingIsStoredAndPublishedWithoutKey) {
    bool inNotice = false;
    observer.reactionIs([&](auto const &) { inNotice = subIntf->tagOnEgress(); });
    subIntf->tagOnEgressIs(true);
    EXPECT_TRUE(subIntf->tagOnEgress());
    EXPECT_TRUE(inNotice);
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(131)));
}

TEST_F(VlanSubIntfTest, TheSameTaggingPublishesNothing) {
    subIntf->tagOnEgressIs(false);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanSubIntfTest, AnotherDirectionIsStoredAndPublishedWithoutKey) {
    AllowedTrafficDirection inNotice = AllowedTrafficDirection::none;
    observer.reactionIs([&](auto const &) { inNotice = subIntf->allowedTrafficDirection(); });
    subIntf->allowedTrafficDirectionIs(AllowedTrafficDirection::egress);
    EXPECT_EQ(subIntf->allowedTrafficDirection(), AllowedTrafficDirection::egress);
    EXPECT_EQ(inNotice, AllowedTrafficDirection::egress);
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(132)));
}

TEST_F(VlanSubIntfTest, TheSameDirectionPublishesNothing) {
    subIntf->allowedTrafficDirectionIs(AllowedTrafficDirection::none);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanSubIntfTest, ADirectionIsStoredUnchecked) {
    subIntf->allowedTrafficDirectionIs(AllowedTrafficDirection{200});
    EXPECT_EQ(subIntf->allowedTrafficDirection(), AllowedTrafficDirection{200});
}

TEST_F(VlanSubIntfTest, WithNotificationsOffChangesAreMadeInSilence) {
    subIntf->hasNotificationActiveIs(false);
    subIntf->lagPhyIntfIs(member);
    subIntf->tagOnEgressIs(true);
    subIntf->allowedTrafficDirectionIs(AllowedTrafficDirection::both);
    EXPECT_TRUE(subIntf->lagPhyIntf(member));
    EXPECT_THAT(observer.notices(), IsEmpty());
}

} // namespace
} // namespace VlanSubIntfConfigLib
