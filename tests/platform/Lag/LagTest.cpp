#include "platform/Lag.h"

#include "tests/support/Census.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace Lag {
namespace {

using Iftel::IntfId;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using IntfObserver = TestSupport::Observer<IntfId>;

std::string printed(Qor::Entity const *entity) {
    std::ostringstream out;
    out << entity;
    return out.str();
}

// The LAGs.

class LagPhyIntfMappingTest : public TestSupport::CensusTest {
  protected:
    IntfId const portChannel10{"PortChannel10"};
    Qor::Ptr<LagPhyIntfMapping> mapping = LagPhyIntfMapping::LagPhyIntfMappingIs();
    IntfObserver observer{*mapping};
};

TEST_F(LagPhyIntfMappingTest, ANewMappingIsEmptyWithNotificationsOn) {
    EXPECT_TRUE(mapping->lagPhyIntfConfig().empty());
    EXPECT_TRUE(mapping->hasNotificationActive());
    EXPECT_EQ(mapping->refCount(), 1U);
}

TEST_F(LagPhyIntfMappingTest, ALagIsInsertedEmpty) {
    auto const lag = mapping->lagPhyIntfConfigIs(portChannel10);
    EXPECT_EQ(lag->intfId(), portChannel10);
    EXPECT_TRUE(lag->phyIntf().empty());
    EXPECT_TRUE(lag->hasNotificationActive());
    EXPECT_EQ(mapping->lagPhyIntfConfig().size(), 1U);
}

TEST_F(LagPhyIntfMappingTest, AnInsertedLagIsPublishedWithItsKey) {
    mapping->lagPhyIntfConfigIs(portChannel10);
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(131, portChannel10)));
}

TEST_F(LagPhyIntfMappingTest, ALagThatIsThereIsGivenBackWithoutANotice) {
    auto const lag = mapping->lagPhyIntfConfigIs(portChannel10);
    observer.clear();
    EXPECT_EQ(mapping->lagPhyIntfConfigIs(portChannel10), lag);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(LagPhyIntfMappingTest, ALagIsFoundByItsId) {
    auto const lag = mapping->lagPhyIntfConfigIs(portChannel10);
    ASSERT_TRUE(mapping->lagPhyIntfConfig(portChannel10).hasValue());
    EXPECT_EQ(*mapping->lagPhyIntfConfig(portChannel10), lag);
}

TEST_F(LagPhyIntfMappingTest, AnAbsentLagIsNone) {
    EXPECT_FALSE(mapping->lagPhyIntfConfig(portChannel10).hasValue());
}

TEST_F(LagPhyIntfMappingTest, TheLagsAreListedByKey) {
    mapping->lagPhyIntfConfigIs(portChannel10);
    mapping->lagPhyIntfConfigIs(IntfId("PortChannel11"));
    std::vector<IntfId> ids;
    for (auto const &[id, lag] : mapping->lagPhyIntfConfig()) {
        EXPECT_EQ(lag->intfId(), id);
        ids.push_back(id);
    }
    EXPECT_THAT(ids, UnorderedElementsAre(portChannel10, IntfId("PortChannel11")));
}

TEST_F(LagPhyIntfMappingTest, ANoticeComesAfterTheChange) {
    std::vector<bool> found;
    observer.reactionIs([&](auto const &notice) {
        found.push_back(mapping->lagPhyIntfConfig(*notice.key).hasValue());
    });
    mapping->lagPhyIntfConfigIs(portChannel10);
    mapping->lagPhyIntfConfigDel(portChannel10);
    EXPECT_THAT(found, ElementsAre(true, false));
}

TEST_F(LagPhyIntfMappingTest, ARemovedLagIsPublishedWithItsKey) {
    mapping->lagPhyIntfConfigIs(portChannel10);
    observer.clear();
    mapping->lagPhyIntfConfigDel(portChannel10);
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(131, portChannel10)));
}

TEST_F(LagPhyIntfMappingTest, ARemovedLagOutlivesItsNotice) {
    mapping->lagPhyIntfConfigIs(portChannel10);
    std::uint64_t aliveInNotice = 0;
    observer.reactionIs([&](auto const &) {
        aliveInNotice = TestSupport::liveCount("Lag::LagPhyIntfConfig").objects;
    });
    mapping->lagPhyIntfConfigDel(portChannel10);
    EXPECT_EQ(aliveInNotice, 1U);
    EXPECT_EQ(TestSupport::liveCount("Lag::LagPhyIntfConfig").objects, 0U);
}

TEST_F(LagPhyIntfMappingTest, RemovingAnAbsentLagDoesNothing) {
    mapping->lagPhyIntfConfigIs(IntfId("PortChannel11"));
    observer.clear();
    mapping->lagPhyIntfConfigDel(portChannel10);
    EXPECT_EQ(mapping->lagPhyIntfConfig().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(LagPhyIntfMappingTest, ARemovedLagLivesAsLongAsAReaderHoldsIt) {
    auto const lag = mapping->lagPhyIntfConfigIs(portChannel10);
    lag->phyIntfIs(IntfId("Ethernet4"), nullptr);
    mapping->lagPhyIntfConfigDel(portChannel10);
    EXPECT_EQ(lag->refCount(), 1U);
    EXPECT_EQ(lag->phyIntf().size(), 1U);
}

TEST_F(LagPhyIntfMappingTest, ALagThatComesBackIsANewOne) {
    auto const former = mapping->lagPhyIntfConfigIs(portChannel10);
    former->phyIntfIs(IntfId("Ethernet4"), nullptr);
    mapping->lagPhyIntfConfigDel(portChannel10);
    auto const now = mapping->lagPhyIntfConfigIs(portChannel10);
    EXPECT_FALSE(now == former);
    EXPECT_TRUE(now->phyIntf().empty());
}

TEST_F(LagPhyIntfMappingTest, AFilledLagEntersInOneNotice) {
    auto const lag = Qor::make<LagPhyIntfConfig>(portChannel10);
    lag->phyIntfIs(IntfId("Ethernet4"), nullptr);
    lag->phyIntfIs(IntfId("Ethernet5"), nullptr);
    mapping->lagPhyIntfConfigInsertForTest(lag);
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(131, portChannel10)));
    EXPECT_EQ(*mapping->lagPhyIntfConfig(portChannel10), lag);
}

TEST_F(LagPhyIntfMappingTest, AFilledLagReplacesNone) {
    auto const present = mapping->lagPhyIntfConfigIs(portChannel10);
    observer.clear();
    mapping->lagPhyIntfConfigInsertForTest(Qor::make<LagPhyIntfConfig>(portChannel10));
    EXPECT_EQ(*mapping->lagPhyIntfConfig(portChannel10), present);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(LagPhyIntfMappingTest, WithNotificationsOffChangesAreMadeInSilence) {
    mapping->hasNotificationActiveIs(false);
    mapping->lagPhyIntfConfigIs(portChannel10);
    EXPECT_EQ(mapping->lagPhyIntfConfig().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(LagPhyIntfMappingTest, PrintsAsItsTypeAndNeverAsAnAddress) {
    EXPECT_EQ(printed(mapping.get()), "Lag::LagPhyIntfMapping");
    EXPECT_EQ(printed(mapping->lagPhyIntfConfigIs(portChannel10).get()), "Lag::LagPhyIntfConfig");
    EXPECT_EQ(printed(EthPhyIntfLagConfig::EthPhyIntfLagConfigIs().get()),
              "Lag::EthPhyIntfLagConfig");
    EXPECT_EQ(printed(Qor::Ptr<EthPhyIntfLagConfig const>().get()), "null");
}

// The members of a LAG.

class LagPhyIntfConfigTest : public TestSupport::CensusTest {
  protected:
    using MemberPtr = Qor::Ptr<EthPhyIntfLagConfig const>;

    IntfId const ethernet4{"Ethernet4"};
    Qor::Ptr<LagPhyIntfConfig> lag = Qor::make<LagPhyIntfConfig>(IntfId("PortChannel10"));
    IntfObserver observer{*lag};
};

TEST_F(LagPhyIntfConfigTest, AMemberIsInsertedWithItsConfiguration) {
    MemberPtr const member = EthPhyIntfLagConfig::EthPhyIntfLagConfigIs();
    lag->phyIntfIs(ethernet4, member);
    ASSERT_TRUE(lag->phyIntf(ethernet4).hasValue());
    EXPECT_EQ(*lag->phyIntf(ethernet4), member);
}

TEST_F(LagPhyIntfConfigTest, AnInsertedMemberIsPublishedWithItsKey) {
    lag->phyIntfIs(ethernet4, EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(131, ethernet4)));
}

TEST_F(LagPhyIntfConfigTest, AMemberWithoutConfigurationIsThere) {
    lag->phyIntfIs(ethernet4, nullptr);
    ASSERT_TRUE(lag->phyIntf(ethernet4).hasValue());
    EXPECT_EQ(*lag->phyIntf(ethernet4), nullptr);
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(131, ethernet4)));
}

TEST_F(LagPhyIntfConfigTest, AnAbsentMemberIsNone) {
    EXPECT_FALSE(lag->phyIntf(ethernet4).hasValue());
}

TEST_F(LagPhyIntfConfigTest, AMemberWithoutConfigurationInsertedAgainPublishesNothing) {
    lag->phyIntfIs(ethernet4, nullptr);
    observer.clear();
    lag->phyIntfIs(ethernet4, nullptr);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(LagPhyIntfConfigTest, TheSameConfigurationPublishesNothing) {
    MemberPtr const member = EthPhyIntfLagConfig::EthPhyIntfLagConfigIs();
    lag->phyIntfIs(ethernet4, member);
    observer.clear();
    lag->phyIntfIs(ethernet4, member);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(LagPhyIntfConfigTest, AnotherConfigurationReplacesAndIsPublished) {
    lag->phyIntfIs(ethernet4, EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
    observer.clear();
    MemberPtr const other = EthPhyIntfLagConfig::EthPhyIntfLagConfigIs();
    lag->phyIntfIs(ethernet4, other);
    EXPECT_EQ(*lag->phyIntf(ethernet4), other);
    EXPECT_EQ(lag->phyIntf().size(), 1U);
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(131, ethernet4)));
}

TEST_F(LagPhyIntfConfigTest, AMemberMayLoseItsConfigurationAndStay) {
    lag->phyIntfIs(ethernet4, EthPhyIntfLagConfig::EthPhyIntfLagConfigIs());
    observer.clear();
    lag->phyIntfIs(ethernet4, nullptr);
    ASSERT_TRUE(lag->phyIntf(ethernet4).hasValue());
    EXPECT_EQ(*lag->phyIntf(ethernet4), nullptr);
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(131, ethernet4)));
}

TEST_F(LagPhyIntfConfigTest, ANoticeComesAfterTheChange) {
    std::vector<bool> found;
    observer.reactionIs(
        [&](auto const &notice) { found.push_back(lag->phyIntf(*notice.key).hasValue()); });
    lag->phyIntfIs(ethernet4, nullptr);
    lag->phyIntfDel(ethernet4);
    EXPECT_THAT(found, ElementsAre(true, false));
}

TEST_F(LagPhyIntfConfigTest, ARemovedMemberIsPublishedWithItsKey) {
    lag->phyIntfIs(ethernet4, nullptr);
    observer.clear();
    lag->phyIntfDel(ethernet4);
    EXPECT_TRUE(lag->phyIntf().empty());
    EXPECT_THAT(observer.notices(), ElementsAre(IntfObserver::notice(131, ethernet4)));
}

TEST_F(LagPhyIntfConfigTest, RemovingAnAbsentMemberDoesNothing) {
    lag->phyIntfIs(ethernet4, nullptr);
    observer.clear();
    lag->phyIntfDel(IntfId("Ethernet5"));
    EXPECT_EQ(lag->phyIntf().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(LagPhyIntfConfigTest, AConfigurationIsSharedWithTheOneWhoMadeIt) {
    auto const member = EthPhyIntfLagConfig::EthPhyIntfLagConfigIs();
    lag->phyIntfIs(ethernet4, member);
    EXPECT_EQ(member->refCount(), 2U);
    lag->phyIntfDel(ethernet4);
    EXPECT_EQ(member->refCount(), 1U);
}

} // namespace
} // namespace Lag
