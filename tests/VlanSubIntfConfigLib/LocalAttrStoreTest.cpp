#include "VlanSubIntfConfigLib/LocalAttrStore.h"

#include "tests/support/Census.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace VlanSubIntfConfigLib::DovraCode::ConfigSm {
namespace {

using Iftel::IntfId;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using VlanSubIntfStatusLib::VidIntf;

using Entry = LocalAttrStore::Entry;
using StoreObserver = TestSupport::Observer<IntfId>;
using EntryObserver = TestSupport::Observer<>;

static_assert(LocalAttrStore::Map::typeConstant == 0x6A9D4438);
static_assert(LocalAttrStore::lagVlanStatusAttribute == 130 && Entry::valueAttribute == 131);
static_assert(noexcept(std::declval<LocalAttrStore &>().lagVlanStatusIs(IntfId())));
static_assert(noexcept(std::declval<Entry &>().valueIs()));

IntfId const po10("PortChannel10");
IntfId const po20("PortChannel20");

class LocalAttrStoreTest : public TestSupport::CensusTest {
  protected:
    Qor::Ptr<LocalAttrStore> store_ = Qor::make<LocalAttrStore>();
};

TEST_F(LocalAttrStoreTest, IsEmptyAtFirst) {
    EXPECT_TRUE(store_->lagVlanStatus().empty());
    EXPECT_EQ(store_->lagVlanStatus(po10), nullptr);
    EXPECT_EQ(store_->notifieeList(), &store_->publisher());
    EXPECT_FALSE(store_->publisher().hasSubscribers());
}

TEST_F(LocalAttrStoreTest, CreatesAnEntryOnceAndPublishesItOnce) {
    StoreObserver const observer(*store_);
    auto const entry = store_->lagVlanStatusIs(po10);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->key(), po10);
    EXPECT_EQ(entry->value(), nullptr);
    EXPECT_TRUE(entry->hasNotificationActive());
    EXPECT_EQ(store_->lagVlanStatusIs(po10), entry);
    EXPECT_EQ(store_->lagVlanStatus(po10), entry);
    EXPECT_EQ(store_->lagVlanStatus().size(), 1U);
    EXPECT_THAT(observer.notices(), ElementsAre(StoreObserver::notice(130, po10)));
}

TEST_F(LocalAttrStoreTest, PublishesANewEntryWhenItIsInTheStore) {
    StoreObserver observer(*store_);
    bool wasThere = false;
    observer.reactionIs([&](auto const &) { wasThere = store_->lagVlanStatus(po10) != nullptr; });
    store_->lagVlanStatusIs(po10);
    EXPECT_TRUE(wasThere);
}

TEST_F(LocalAttrStoreTest, LookingUpCreatesNothing) {
    StoreObserver const observer(*store_);
    EXPECT_EQ(store_->lagVlanStatus(po10), nullptr);
    EXPECT_TRUE(store_->lagVlanStatus().empty());
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(LocalAttrStoreTest, DeletingAnAbsentEntryReturnsNullAndPublishesNothing) {
    store_->lagVlanStatusIs(po10);
    StoreObserver const observer(*store_);
    EXPECT_EQ(store_->lagVlanStatusDel(po20), nullptr);
    EXPECT_THAT(observer.notices(), IsEmpty());
    EXPECT_EQ(store_->lagVlanStatus().size(), 1U);
}

TEST_F(LocalAttrStoreTest, DeletingAnEntryReturnsItAndPublishesAfterItIsGone) {
    auto const entry = store_->lagVlanStatusIs(po10);
    StoreObserver observer(*store_);
    bool wasGone = false;
    observer.reactionIs([&](auto const &) { wasGone = store_->lagVlanStatus(po10) == nullptr; });
    EXPECT_EQ(store_->lagVlanStatusDel(po10), entry);
    EXPECT_TRUE(wasGone);
    EXPECT_THAT(observer.notices(), ElementsAre(StoreObserver::notice(130, po10)));
}

TEST_F(LocalAttrStoreTest, DeletingAllPublishesTheRemovalOfEachEntry) {
    store_->lagVlanStatusIs(po10);
    store_->lagVlanStatusIs(po20);
    StoreObserver const observer(*store_);
    store_->lagVlanStatusDelAll();
    EXPECT_TRUE(store_->lagVlanStatus().empty());
    EXPECT_THAT(observer.notices(), UnorderedElementsAre(StoreObserver::notice(130, po10),
                                                         StoreObserver::notice(130, po20)));
}

TEST_F(LocalAttrStoreTest, ADeletedEntryLivesOnWithWhoeverHoldsIt) {
    auto const entry = store_->lagVlanStatusIs(po10);
    auto const status = entry->valueIs();
    store_->lagVlanStatusDelAll();
    EXPECT_EQ(entry->value(), status);
    EXPECT_NE(store_->lagVlanStatusIs(po10), entry);
}

TEST_F(LocalAttrStoreTest, CreatesTheValueOfAnEntryOnceAndPublishesItOnce) {
    auto const entry = store_->lagVlanStatusIs(po10);
    EntryObserver observer(*entry);
    bool wasThere = false;
    observer.reactionIs([&](auto const &) { wasThere = entry->value() != nullptr; });
    auto const status = entry->valueIs();
    ASSERT_TRUE(status);
    EXPECT_TRUE(wasThere);
    EXPECT_TRUE(status->intfToVlanMap().empty());
    EXPECT_TRUE(status->hasNotificationActive());
    EXPECT_EQ(entry->valueIs(), status);
    EXPECT_EQ(entry->value(), status);
    EXPECT_THAT(observer.notices(), ElementsAre(EntryObserver::notice(131)));
}

TEST_F(LocalAttrStoreTest, TheValueOfAnEntryIsNoBusinessOfTheStoresObservers) {
    auto const entry = store_->lagVlanStatusIs(po10);
    StoreObserver const observer(*store_);
    entry->valueIs();
    entry->valueDel();
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(LocalAttrStoreTest, DeletingAValueReturnsItAndPublishesAfterItIsGone) {
    auto const entry = store_->lagVlanStatusIs(po10);
    auto const status = entry->valueIs();
    EntryObserver observer(*entry);
    bool wasGone = false;
    observer.reactionIs([&](auto const &) { wasGone = entry->value() == nullptr; });
    EXPECT_EQ(entry->valueDel(), status);
    EXPECT_TRUE(wasGone);
    EXPECT_EQ(entry->value(), nullptr);
    EXPECT_THAT(observer.notices(), ElementsAre(EntryObserver::notice(131)));
}

TEST_F(LocalAttrStoreTest, DeletingAnAbsentValueReturnsNullAndPublishesNothing) {
    auto const entry = store_->lagVlanStatusIs(po10);
    EntryObserver const observer(*entry);
    EXPECT_EQ(entry->valueDel(), nullptr);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(LocalAttrStoreTest, ADyingEntryPublishesTheLossOfItsValueBeforeItReleasesIt) {
    auto entry = Qor::make<Entry>(po10);
    auto const status = std::string(VlanSubIntfStatusLib::VlanStatus::qorTypeName);
    entry->valueIs();
    EntryObserver observer(*entry);
    std::uint64_t aliveInside = 0;
    observer.reactionIs(
        [&](auto const &) { aliveInside = TestSupport::liveCount(status).objects; });
    entry = nullptr;
    EXPECT_THAT(observer.notices(), ElementsAre(EntryObserver::notice(131)));
    EXPECT_EQ(aliveInside, 1U);
    EXPECT_EQ(TestSupport::liveCount(status).objects, 0U);
}

TEST_F(LocalAttrStoreTest, ADyingEntryWithoutAValuePublishesNothing) {
    auto entry = Qor::make<Entry>(po10);
    EntryObserver const observer(*entry);
    entry = nullptr;
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(LocalAttrStoreTest, ADyingStorePublishesEachRemovalAndThenTheLossOfTheEntrysValue) {
    auto const *const withValue = store_->lagVlanStatusIs(po10).get();
    store_->lagVlanStatusIs(po10)->valueIs();
    auto const *const withoutValue = store_->lagVlanStatusIs(po20).get();
    std::vector<std::string> heard;
    StoreObserver ofStore(*store_);
    EntryObserver ofEntry(*withValue);
    EntryObserver ofOther(*withoutValue);
    ofStore.reactionIs([&](auto const &notice) {
        heard.push_back("removed " + std::string(notice.key->stringValue().view()));
    });
    ofEntry.reactionIs([&](auto const &) { heard.emplace_back("value lost"); });
    store_ = nullptr;
    EXPECT_THAT(ofStore.notices(), UnorderedElementsAre(StoreObserver::notice(130, po10),
                                                        StoreObserver::notice(130, po20)));
    EXPECT_THAT(ofEntry.notices(), ElementsAre(EntryObserver::notice(131)));
    EXPECT_THAT(ofOther.notices(), IsEmpty());
    auto const lost = std::ranges::find(heard, "value lost");
    ASSERT_NE(lost, heard.begin());
    EXPECT_EQ(*(lost - 1), "removed PortChannel10");
}

TEST_F(LocalAttrStoreTest, SaysWhatItsObjectsAre) {
    EXPECT_EQ(store_->fwkType().type().name(),
              "VlanSubIntfConfigLib::DovraCode::ConfigSm::LocalAttrStore");
    EXPECT_EQ(store_->lagVlanStatusIs(po10)->fwkType().type().name(),
              "VlanSubIntfConfigLib::DovraCode::ConfigSm::"
              "LocalAttrIftelIntfIdVlanSubIntfStatusLibVlanStatusPtr");
}

TEST_F(LocalAttrStoreTest, AValueCollectsThePairsOfItsPortChannel) {
    auto const status = store_->lagVlanStatusIs(po10)->valueIs();
    VidIntf const pair{IntfId("PortChannel10.100"), Bridging::VlanId(100)};
    status->intfToVlanMapIs(pair);
    EXPECT_TRUE(store_->lagVlanStatus(po10)->value()->intfToVlanMap(pair));
}

} // namespace
} // namespace VlanSubIntfConfigLib::DovraCode::ConfigSm
