#include "platform/Bridging/Config.h"

#include "tests/support/Census.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace Bridging {
namespace {

using Iftel::IntfId;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using VlanObserver = TestSupport::Observer<VlanId>;
using IntfObserver = TestSupport::Observer<IntfId>;

constexpr VlanPortConfig tagged{true, false, AllowedTrafficDirection::both};
constexpr VlanPortConfig untagged{false, true, AllowedTrafficDirection::ingress};

std::string printed(Qor::Entity const *entity) {
    std::ostringstream out;
    out << entity;
    return out.str();
}

// The VLANs.

/// Those that a VLAN can have, and others.
constexpr std::uint16_t anyNumbers[] = {0, 1, 4095, 4096, 65535};

class ConfigTest : public TestSupport::CensusTest {
  protected:
    static constexpr VlanId vlan100{100};
    Qor::Ptr<Config> config = Config::ConfigIs();
    VlanObserver observer{*config};
};

TEST_F(ConfigTest, ANewConfigurationIsEmptyWithNotificationsOn) {
    EXPECT_TRUE(config->vlanConfig().empty());
    EXPECT_TRUE(config->hasNotificationActive());
    EXPECT_EQ(config->refCount(), 1U);
}

TEST_F(ConfigTest, AVlanIsInsertedEmpty) {
    auto const vlan = config->vlanConfigIs(vlan100);
    EXPECT_EQ(vlan->vlanId(), vlan100);
    EXPECT_TRUE(vlan->intf().empty());
    EXPECT_TRUE(vlan->hasNotificationActive());
    EXPECT_EQ(config->vlanConfig().size(), 1U);
}

TEST_F(ConfigTest, AVlanOfAnyNumberIsFoundUntilItIsRemoved) {
    for (std::uint16_t const number : anyNumbers) {
        SCOPED_TRACE(number);
        VlanId const id(number);
        auto const vlan = config->vlanConfigIs(id);
        EXPECT_EQ(config->vlanConfigIs(id), vlan);
        ASSERT_TRUE(config->vlanConfig(id).hasValue());
        EXPECT_EQ(*config->vlanConfig(id), vlan);
        config->vlanConfigDel(id);
        EXPECT_FALSE(config->vlanConfig(id).hasValue());
        EXPECT_NE(config->vlanConfigIs(id), vlan);
    }
    EXPECT_EQ(config->vlanConfig().size(), 5U);
}

TEST_F(ConfigTest, AVlanThatIsRemovedInItsNoticeIsMadeAnew) {
    observer.reactionIs([this](auto const &) { config->vlanConfigDel(vlan100); });
    auto const gone = config->vlanConfigIs(vlan100);
    observer.reactionIs({});
    EXPECT_TRUE(config->vlanConfig().empty());
    EXPECT_NE(config->vlanConfigIs(vlan100), gone);
}

TEST_F(ConfigTest, AVlanThatWasInsertedWithItsMembersIsTheOneThatIsWritten) {
    auto const vlan = Qor::make<VlanConfig>(vlan100);
    config->vlanConfigInsertForTest(vlan);
    EXPECT_EQ(config->vlanConfigIs(vlan100), vlan);
}

TEST_F(ConfigTest, AnInsertedVlanIsPublishedWithItsKey) {
    config->vlanConfigIs(vlan100);
    EXPECT_THAT(observer.notices(), ElementsAre(VlanObserver::notice(258, vlan100)));
}

TEST_F(ConfigTest, TheNoticeOfAVlanComesAfterItsInsertion) {
    bool found = false;
    observer.reactionIs(
        [&](auto const &notice) { found = config->vlanConfig(*notice.key).hasValue(); });
    config->vlanConfigIs(vlan100);
    EXPECT_TRUE(found);
}

TEST_F(ConfigTest, AVlanThatIsThereIsGivenBackWithoutANotice) {
    auto const vlan = config->vlanConfigIs(vlan100);
    observer.clear();
    EXPECT_EQ(config->vlanConfigIs(vlan100), vlan);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(ConfigTest, AVlanIsFoundByItsId) {
    auto const vlan = config->vlanConfigIs(vlan100);
    ASSERT_TRUE(config->vlanConfig(vlan100).hasValue());
    EXPECT_EQ(*config->vlanConfig(vlan100), vlan);
}

TEST_F(ConfigTest, AnAbsentVlanIsNone) {
    EXPECT_FALSE(config->vlanConfig(vlan100).hasValue());
}

TEST_F(ConfigTest, TheVlansAreListedByKey) {
    config->vlanConfigIs(VlanId(1));
    config->vlanConfigIs(VlanId(4094));
    std::vector<VlanId> ids;
    for (auto const &[id, vlan] : config->vlanConfig()) {
        EXPECT_EQ(vlan->vlanId(), id);
        ids.push_back(id);
    }
    EXPECT_THAT(ids, UnorderedElementsAre(VlanId(1), VlanId(4094)));
}

TEST_F(ConfigTest, ARemovedVlanIsGoneWhenItsNoticeComes) {
    config->vlanConfigIs(vlan100);
    observer.clear();
    bool found = true;
    observer.reactionIs(
        [&](auto const &notice) { found = config->vlanConfig(*notice.key).hasValue(); });
    config->vlanConfigDel(vlan100);
    EXPECT_THAT(observer.notices(), ElementsAre(VlanObserver::notice(258, vlan100)));
    EXPECT_FALSE(found);
}

TEST_F(ConfigTest, ARemovedVlanOutlivesItsNotice) {
    config->vlanConfigIs(vlan100);
    std::uint64_t aliveInNotice = 0;
    observer.reactionIs([&](auto const &) {
        aliveInNotice = TestSupport::liveCount("Bridging::VlanConfig").objects;
    });
    config->vlanConfigDel(vlan100);
    EXPECT_EQ(aliveInNotice, 1U);
    EXPECT_EQ(TestSupport::liveCount("Bridging::VlanConfig").objects, 0U);
}

TEST_F(ConfigTest, RemovingAnAbsentVlanDoesNothing) {
    config->vlanConfigIs(VlanId(1));
    observer.clear();
    config->vlanConfigDel(vlan100);
    EXPECT_EQ(config->vlanConfig().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(ConfigTest, ARemovedVlanLivesAsLongAsAReaderHoldsIt) {
    auto const vlan = config->vlanConfigIs(vlan100);
    vlan->intfIs(IntfId("Ethernet4"), tagged);
    config->vlanConfigDel(vlan100);
    EXPECT_EQ(vlan->refCount(), 1U);
    EXPECT_EQ(vlan->intf().size(), 1U);
}

TEST_F(ConfigTest, AVlanThatComesBackIsANewOne) {
    auto const former = config->vlanConfigIs(vlan100);
    former->intfIs(IntfId("Ethernet4"), tagged);
    config->vlanConfigDel(vlan100);
    auto const now = config->vlanConfigIs(vlan100);
    EXPECT_FALSE(now == former);
    EXPECT_TRUE(now->intf().empty());
}

TEST_F(ConfigTest, AVlanThatANoticeRemovesAgainIsStillHandedBack) {
    observer.reactionIs([this](auto const &notice) {
        if (config->vlanConfig(*notice.key)) {
            config->vlanConfigDel(*notice.key);
        }
    });
    auto const vlan = config->vlanConfigIs(vlan100);
    EXPECT_EQ(vlan->vlanId(), vlan100);
    EXPECT_TRUE(config->vlanConfig().empty());
}

TEST_F(ConfigTest, TheConfigurationOwnsItsVlans) {
    Qor::Ptr<VlanConfig> const vlan = config->vlanConfigIs(vlan100);
    EXPECT_EQ(vlan->refCount(), 2U);
    config = nullptr;
    EXPECT_EQ(vlan->refCount(), 1U);
}

TEST_F(ConfigTest, AFilledVlanEntersInOneNotice) {
    auto const vlan = Qor::make<VlanConfig>(vlan100);
    vlan->intfIs(IntfId("Ethernet4"), tagged);
    vlan->intfIs(IntfId("Ethernet5"), tagged);
    config->vlanConfigInsertForTest(vlan);
    EXPECT_THAT(observer.notices(), ElementsAre(VlanObserver::notice(258, vlan100)));
    EXPECT_EQ(*config->vlanConfig(vlan100), vlan);
}

TEST_F(ConfigTest, AFilledVlanReplacesNone) {
    auto const present = config->vlanConfigIs(vlan100);
    observer.clear();
    config->vlanConfigInsertForTest(Qor::make<VlanConfig>(vlan100));
    EXPECT_EQ(*config->vlanConfig(vlan100), present);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(ConfigTest, WithNotificationsOffChangesAreMadeInSilence) {
    config->hasNotificationActiveIs(false);
    config->vlanConfigIs(vlan100);
    EXPECT_EQ(config->vlanConfig().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(ConfigTest, PrintsAsItsTypeAndNeverAsAnAddress) {
    EXPECT_EQ(printed(config.get()), "Bridging::Config");
    EXPECT_EQ(printed(config->vlanConfigIs(vlan100).get()), "Bridging::VlanConfig");
    EXPECT_EQ(printed(Qor::Ptr<VlanConfig>().get()), "null");
}

// The members of a VLAN.

class VlanConfigTest : public TestSupport::CensusTest {
  protected:
    IntfId const ethernet4{"Ethernet4"};
    Qor::Ptr<VlanConfig> vlan = Qor::make<VlanConfig>(VlanId(100));
    IntfObserver observer{*vlan};
};

TEST_F(VlanConfigTest, AMemberIsInsertedWithItsConfiguration) {
    vlan->intfIs(ethernet4, tagged);
    ASSERT_TRUE(vlan->intf(ethernet4).hasValue());
    EXPECT_EQ(*vlan->intf(ethernet4), tagged);
    EXPECT_EQ(vlan->intf().size(), 1U);
}

TEST_F(VlanConfigTest, AnInsertedMemberIsPublishedWithItsKey) {
    vlan->intfIs(ethernet4, tagged);
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(262, ethernet4)));
}

TEST_F(VlanConfigTest, ANoticeComesAfterTheChange) {
    std::vector<Qor::Optional<VlanPortConfig>> seen;
    observer.reactionIs([&](auto const &notice) { seen.push_back(vlan->intf(*notice.key)); });
    vlan->intfIs(ethernet4, tagged);
    vlan->intfIs(ethernet4, untagged);
    vlan->intfDel(ethernet4);
    EXPECT_TRUE(seen == (std::vector<Qor::Optional<VlanPortConfig>>{
                            tagged, untagged, Qor::Optional<VlanPortConfig>()}));
}

TEST_F(VlanConfigTest, AnotherConfigurationReplacesAndIsPublished) {
    vlan->intfIs(ethernet4, tagged);
    observer.clear();
    vlan->intfIs(ethernet4, untagged);
    EXPECT_EQ(*vlan->intf(ethernet4), untagged);
    EXPECT_EQ(vlan->intf().size(), 1U);
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(262, ethernet4)));
}

TEST_F(VlanConfigTest, AReplacedConfigurationMovesTheStampOfTheMembers) {
    vlan->intfIs(ethernet4, tagged);
    auto const stamp = vlan->intf().stamp();
    vlan->intfIs(ethernet4, untagged);
    EXPECT_NE(vlan->intf().stamp(), stamp);
}

TEST_F(VlanConfigTest, TheSameConfigurationPublishesNothingAndMovesNoStamp) {
    vlan->intfIs(ethernet4, tagged);
    observer.clear();
    auto const stamp = vlan->intf().stamp();
    vlan->intfIs(ethernet4, tagged);
    EXPECT_THAT(observer.notices(), IsEmpty());
    EXPECT_EQ(vlan->intf().stamp(), stamp);
}

TEST_F(VlanConfigTest, ARemovedMemberIsPublishedWithItsKey) {
    vlan->intfIs(ethernet4, tagged);
    observer.clear();
    vlan->intfDel(ethernet4);
    EXPECT_FALSE(vlan->intf(ethernet4).hasValue());
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(262, ethernet4)));
}

TEST_F(VlanConfigTest, RemovingAnAbsentMemberDoesNothing) {
    vlan->intfIs(ethernet4, tagged);
    observer.clear();
    vlan->intfDel(IntfId("Ethernet5"));
    EXPECT_EQ(vlan->intf().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanConfigTest, AnAbsentMemberIsNone) {
    EXPECT_FALSE(vlan->intf(ethernet4).hasValue());
}

TEST_F(VlanConfigTest, AMemberMayBeOfAnyInterfaceEvenOfNone) {
    vlan->intfIs(IntfId(), untagged);
    ASSERT_TRUE(vlan->intf(IntfId()).hasValue());
    EXPECT_EQ(*vlan->intf(IntfId()), untagged);
}

} // namespace
} // namespace Bridging
