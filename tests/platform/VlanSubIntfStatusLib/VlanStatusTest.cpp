#include "platform/Qor/GenericIf.h"
#include "platform/Qor/Pool.h"
#include "platform/VlanSubIntfConfigDir.h"
#include "platform/VlanSubIntfStatusLib.h"
#include "tests/support/Census.h"
#include "tests/support/Observer.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
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

// What is kept beside a pair.

class VlanStatusEntryTest : public VlanStatusTest {
  protected:
    using Entry = VlanStatus::Entry;
    static Entry entryOf(VidIntf const &itsPair) {
        return Qor::make<VlanSubIntfConfigLib::VlanSubIntf>(itsPair.intfId);
    }
    [[nodiscard]] Entry beside(VidIntf const &itsPair) const {
        return Qor::required(status->intfToVlanMap().lookupNodeG(itsPair)).beside().entry();
    }
    [[nodiscard]] std::uint32_t stamp() const { return status->intfToVlanMap().stamp(); }

    Entry const entry = entryOf(pair);
};

TEST_F(VlanStatusEntryTest, NothingIsBesideAPairByDefault) {
    status->intfToVlanMapIs(pair);
    EXPECT_EQ(beside(pair), nullptr);
}

TEST_F(VlanStatusEntryTest, AnEntryIsKeptBesideItsPairAndNotTheOthers) {
    status->intfToVlanMapIs(pair, entry);
    status->intfToVlanMapIs(other);
    EXPECT_EQ(beside(pair), entry);
    EXPECT_EQ(beside(other), nullptr);
    EXPECT_EQ(entry->refCount(), 2U);
    EXPECT_THAT(observer.notices(),
                ElementsAre(PairObserver::notice(130, pair), PairObserver::notice(130, other)));
}

TEST_F(VlanStatusEntryTest, StaysWithItsPairWhenTheSetGrowsAndShrinks) {
    auto const pairOf = [](std::uint16_t number) {
        return VidIntf{IntfId("PortChannel10.100"), VlanId(number)};
    };
    for (std::uint16_t number = 1; number <= 40; ++number) {
        auto const its = entryOf(pairOf(number));
        its->tagOnEgressIs(number % 3 == 0);
        status->intfToVlanMapIs(pairOf(number), its);
    }
    for (std::uint16_t number = 1; number <= 40; number += 2) {
        status->intfToVlanMapDel(pairOf(number));
    }
    for (std::uint16_t number = 2; number <= 40; number += 2) {
        EXPECT_EQ(beside(pairOf(number))->tagOnEgress(), number % 3 == 0) << number;
    }
}

TEST_F(VlanStatusEntryTest, AnotherEntryReplacesItInSilence) {
    status->intfToVlanMapIs(pair, entry);
    observer.clear();
    auto const before = stamp();
    auto const it = status->intfToVlanMap().iterator();
    auto const successor = entryOf(pair);
    status->intfToVlanMapIs(pair, successor);
    EXPECT_EQ(beside(pair), successor);
    EXPECT_EQ(entry->refCount(), 1U) << "the former one is let go of";
    EXPECT_EQ(stamp(), before);
    EXPECT_EQ(it, status->intfToVlanMap().iterator());
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanStatusEntryTest, TheSameEntryAgainChangesNothing) {
    status->intfToVlanMapIs(pair, entry);
    observer.clear();
    auto const before = stamp();
    status->intfToVlanMapIs(pair, entry);
    EXPECT_EQ(beside(pair), entry);
    EXPECT_EQ(entry->refCount(), 2U);
    EXPECT_EQ(stamp(), before);
    EXPECT_THAT(observer.notices(), IsEmpty());
}

TEST_F(VlanStatusEntryTest, APairWrittenWithoutAnEntryHasNone) {
    status->intfToVlanMapIs(pair, entry);
    status->intfToVlanMapIs(pair);
    EXPECT_EQ(beside(pair), nullptr);
    EXPECT_EQ(entry->refCount(), 1U);
}

TEST_F(VlanStatusEntryTest, AnEntryIsLetGoOfWithItsPair) {
    status->intfToVlanMapIs(pair, entry);
    status->intfToVlanMapDel(pair);
    EXPECT_EQ(entry->refCount(), 1U);
    status->intfToVlanMapIs(pair);
    EXPECT_EQ(beside(pair), nullptr) << "a pair that returns has no entry";
}

TEST_F(VlanStatusEntryTest, AnEntryIsLetGoOfWithTheStatus) {
    auto gone = Qor::make<VlanStatus>();
    gone->intfToVlanMapIs(pair, entry);
    gone = nullptr;
    EXPECT_EQ(entry->refCount(), 1U);
}

TEST_F(VlanStatusEntryTest, IsThereWhenThePairIsPublished) {
    observer.reactionIs([this](auto const &notice) { EXPECT_EQ(beside(*notice.key), entry); });
    status->intfToVlanMapIs(pair, entry);
    EXPECT_EQ(observer.notices().size(), 1U);
}

// What an entry says about where it is listed.

constexpr std::uint32_t list = 7;

TEST_F(VlanStatusEntryTest, AnEntrySaysWhereItIsListedFromTheNoticeOnUntilItsPairGoes) {
    EXPECT_EQ(entry->listedIn(), 0U);
    observer.reactionIs([this](auto const &notice) {
        EXPECT_EQ(entry->listedIn(), status->intfToVlanMap(*notice.key) ? list : 0U);
    });
    status->intfToVlanMapIs(pair, entry, list);
    EXPECT_EQ(entry->listedIn(), list);
    status->intfToVlanMapDel(pair);
    EXPECT_EQ(observer.notices().size(), 2U);
    EXPECT_EQ(entry->listedIn(), 0U);
}

TEST_F(VlanStatusEntryTest, AnEntryWrittenAgainIsListedWhereItWasWrittenLast) {
    status->intfToVlanMapIs(pair, entry, list);
    status->intfToVlanMapIs(pair, entry, list);
    EXPECT_EQ(entry->listedIn(), list);
    status->intfToVlanMapIs(pair, entry, list + 1);
    EXPECT_EQ(entry->listedIn(), list + 1);
}

TEST_F(VlanStatusEntryTest, AnEntryThatIsReplacedIsNotListedAnyMore) {
    status->intfToVlanMapIs(pair, entry, list);
    auto const successor = entryOf(pair);
    status->intfToVlanMapIs(pair, successor, list);
    EXPECT_EQ(entry->listedIn(), 0U);
    EXPECT_EQ(successor->listedIn(), list);
    status->intfToVlanMapIs(pair);
    EXPECT_EQ(successor->listedIn(), 0U) << "the pair is there, without an entry";
}

TEST_F(VlanStatusEntryTest, EntriesStayListedWhenTheSetGrowsAndShrinks) {
    std::vector<Entry> entries;
    auto const pairOf = [](std::uint16_t number) {
        return VidIntf{IntfId("PortChannel10.100"), VlanId(number)};
    };
    for (std::uint16_t number = 0; number < 40; ++number) {
        entries.push_back(entryOf(pairOf(number)));
        status->intfToVlanMapIs(pairOf(number), entries.back(), list);
    }
    for (std::uint16_t number = 0; number < 40; number += 3) {
        status->intfToVlanMapDel(pairOf(number));
    }
    for (std::uint16_t number = 0; number < 40; ++number) {
        EXPECT_EQ(entries[number]->listedIn(), number % 3 == 0 ? 0U : list) << number;
    }
}

TEST_F(VlanStatusEntryTest, NoEntryIsListedInAStatusThatIsGoneHoweverLarge) {
    for (std::uint16_t const pairs : std::initializer_list<std::uint16_t>{3, 100, 10'000}) {
        std::vector<Entry> entries;
        auto gone = Qor::make<VlanStatus>();
        for (std::uint16_t number = 0; number < pairs; ++number) {
            VidIntf const its{IntfId("PortChannel10.100"), VlanId(number)};
            entries.push_back(entryOf(its));
            gone->intfToVlanMapIs(its, entries.back(), list);
        }
        gone = nullptr;
        static_cast<void>(Qor::census()); // what is taken apart later is now
        EXPECT_TRUE(std::ranges::all_of(entries, [](Entry const &its) {
            return its->listedIn() == 0;
        })) << pairs;
    }
}

TEST_F(VlanStatusEntryTest, IsNotSeenThroughTheGenericInterface) {
    status->intfToVlanMapIs(pair, entry);
    status->intfToVlanMapIs(other);
    for (VidIntf const &key : {pair, other}) {
        Qor::Value const arguments[] = {Qor::Value::of(key)};
        Qor::Operation index{Qor::OpCode::index, arguments, {}};
        EXPECT_EQ(Qor::GenericIf::operate(*status, 130, index), Qor::Status::done);
        EXPECT_EQ(index.result.text(), Qor::Value::of(true).text());
    }
    auto const walk = Qor::GenericIf::genericIfIterator(*status, 130);
    for (; walk->iterNonnull(); walk->iterInc()) {
        EXPECT_EQ(walk->iterObj().text(), Qor::Value::of(true).text());
    }
}

TEST_F(VlanStatusTest, PrintsAsItsTypeAndNeverAsAnAddress) {
    std::ostringstream out;
    out << status.get() << ' ' << Qor::Ptr<VlanStatus>().get();
    EXPECT_EQ(out.str(), "VlanSubIntfStatusLib::VlanStatus null");
}

} // namespace
} // namespace VlanSubIntfStatusLib
