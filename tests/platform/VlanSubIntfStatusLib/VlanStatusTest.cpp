#include "platform/VlanSubIntfStatusLib.h"
#include "tests/support/Census.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <sstream>
#include <unordered_map>
#include <utility>
#include <vector>

namespace VlanSubIntfStatusLib {
namespace {

using Bridging::VlanId;
using Iftel::IntfId;
using testing::ElementsAre;
using testing::IsEmpty;

using PairObserver = TestSupport::Observer<VidIntf>;

// The pair.

TEST(VidIntf, PrintsItsFieldsByName) {
    std::ostringstream out;
    out << VidIntf{IntfId("PortChannel10.100"), VlanId(100)};
    EXPECT_EQ(out.str(), "intfId=PortChannel10.100 vlanId=100");
}

TEST(VidIntf, ByDefaultIsNoInterfaceInVlanOne) {
    EXPECT_EQ(VidIntf(), (VidIntf{IntfId(), VlanId(1)}));
}

TEST(VidIntf, BothFieldsTakePartInEquality) {
    VidIntf const pair{IntfId("PortChannel10.100"), VlanId(100)};
    EXPECT_EQ(pair, (VidIntf{IntfId("PortChannel10.100"), VlanId(100)}));
    EXPECT_NE(pair, (VidIntf{IntfId("PortChannel10.101"), VlanId(100)}));
    EXPECT_NE(pair, (VidIntf{IntfId("PortChannel10.100"), VlanId(101)}));
}

TEST(VidIntf, OrdersByInterfaceThenByVlan) {
    EXPECT_LT((VidIntf{IntfId("PortChannel10.1"), VlanId(9)}),
              (VidIntf{IntfId("PortChannel10.2"), VlanId(1)}));
    EXPECT_LT((VidIntf{IntfId("PortChannel10.1"), VlanId(1)}),
              (VidIntf{IntfId("PortChannel10.1"), VlanId(2)}));
}

TEST(VidIntf, BothFieldsAndTheSeedTakePartInTheHash) {
    VidIntf const pair{IntfId("PortChannel10.100"), VlanId(100)};
    EXPECT_EQ(pair.hash(7), (VidIntf{IntfId("PortChannel10.100"), VlanId(100)}).hash(7));
    EXPECT_NE(pair.hash(7), (VidIntf{IntfId("PortChannel10.101"), VlanId(100)}).hash(7));
    EXPECT_NE(pair.hash(7), (VidIntf{IntfId("PortChannel10.100"), VlanId(101)}).hash(7));
    EXPECT_NE(pair.hash(7), pair.hash(8));
}

/// Two interfaces whose hashes are equal under one seed, as a hostile naming could choose them.
std::pair<IntfId, IntfId> interfacesThatHashAlike() {
    std::unordered_map<std::uint32_t, IntfId> seen;
    for (std::uint32_t number = 0;; ++number) {
        IntfId const id = IntfId::intf(Iftel::IntfKind::ethernet, number);
        auto const [other, isNew] = seen.emplace(id.hash(0), id);
        if (!isNew) {
            return {other->second, id};
        }
    }
}

TEST(VidIntf, InterfacesChosenToHashAlikeDoNotMeetInASeededHash) {
    auto const [a, b] = interfacesThatHashAlike();
    EXPECT_NE((VidIntf{a, VlanId(1)}).hash(7), (VidIntf{b, VlanId(1)}).hash(7)) << a << ' ' << b;
}

// The status.

class VlanStatusTest : public TestSupport::CensusTest {
  protected:
    VidIntf const pair{IntfId("PortChannel10.100"), VlanId(100)};
    VidIntf const other{IntfId("PortChannel10.100"), VlanId(200)};
    Qor::Ptr<VlanStatus> status = Qor::make<VlanStatus>();
    PairObserver observer{*status};
};

TEST_F(VlanStatusTest, ANewStatusIsEmpty) {
    EXPECT_TRUE(status->intfToVlanMap().empty());
}

TEST_F(VlanStatusTest, AnInsertedPairIsThere) {
    status->intfToVlanMapIs(pair);
    EXPECT_TRUE(status->intfToVlanMap(pair));
    EXPECT_FALSE(status->intfToVlanMap(other));
    EXPECT_EQ(status->intfToVlanMap().size(), 1U);
}

TEST_F(VlanStatusTest, AnInsertedPairIsPublishedAsKey) {
    status->intfToVlanMapIs(pair);
    EXPECT_THAT(observer.notices(), ElementsAre(PairObserver::notice(130, pair)));
}

TEST_F(VlanStatusTest, APairThatIsThereIsNotPublishedAgain) {
    status->intfToVlanMapIs(pair);
    observer.clear();
    status->intfToVlanMapIs(pair);
    EXPECT_EQ(status->intfToVlanMap().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanStatusTest, ARemovedPairIsPublishedAsKey) {
    status->intfToVlanMapIs(pair);
    status->intfToVlanMapIs(other);
    observer.clear();
    status->intfToVlanMapDel(pair);
    EXPECT_FALSE(status->intfToVlanMap(pair));
    EXPECT_TRUE(status->intfToVlanMap(other));
    EXPECT_THAT(observer.notices(), ElementsAre(PairObserver::notice(130, pair)));
}

TEST_F(VlanStatusTest, RemovingAnAbsentPairDoesNothing) {
    status->intfToVlanMapIs(other);
    observer.clear();
    status->intfToVlanMapDel(pair);
    EXPECT_EQ(status->intfToVlanMap().size(), 1U);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanStatusTest, APairOfTheSetItselfCanBeRemoved) {
    status->intfToVlanMapIs(pair);
    observer.clear();
    status->intfToVlanMapDel(*status->intfToVlanMap().begin());
    EXPECT_TRUE(status->intfToVlanMap().empty());
    EXPECT_THAT(observer.notices(), ElementsAre(PairObserver::notice(130, pair)));
}

TEST_F(VlanStatusTest, ANoticeComesAfterTheChange) {
    std::vector<bool> found;
    observer.reactionIs(
        [&](auto const &notice) { found.push_back(status->intfToVlanMap(*notice.key)); });
    status->intfToVlanMapIs(pair);
    status->intfToVlanMapDel(pair);
    EXPECT_THAT(found, ElementsAre(true, false));
}

TEST_F(VlanStatusTest, WithNotificationsOffChangesAreMadeInSilence) {
    status->hasNotificationActiveIs(false);
    status->intfToVlanMapIs(pair);
    EXPECT_TRUE(status->intfToVlanMap(pair));
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanStatusTest, PrintsAsItsTypeAndNeverAsAnAddress) {
    std::ostringstream out;
    out << status.get() << ' ' << Qor::Ptr<VlanStatus>().get();
    EXPECT_EQ(out.str(), "VlanSubIntfStatusLib::VlanStatus null");
}

} // namespace
} // namespace VlanSubIntfStatusLib
