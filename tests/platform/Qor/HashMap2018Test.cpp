#include "platform/Qor/HashMap2018.h"

#include "tests/platform/Qor/HashMap2018Variants.h"
#include "tests/support/Census.h"
#include "tests/support/Random.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <new>
#include <numeric>
#include <type_traits>
#include <utility>
#include <vector>

namespace Qor {
namespace {

using Nuvio::HTCnt;
using TestSupport::liveCount;

template <class Variant>
class HashMap2018Test : public TestSupport::CensusTest, public MapVariants::Modelled<Variant> {};
TYPED_TEST_SUITE(HashMap2018Test, MapVariants::All, MapVariants::Names);

std::uint64_t arrays() {
    return liveCount("Qor::HashMap2018").arrays;
}

// Contents.

TYPED_TEST(HashMap2018Test, IsEmptyAndHasNoArrayAtFirst) {
    EXPECT_TRUE(this->map.empty());
    EXPECT_EQ(this->map.size(), 0U);
    EXPECT_EQ(this->map.capacity(), 0U);
    EXPECT_EQ(arrays(), 0U);
    EXPECT_FALSE(this->map.iterator());
    EXPECT_EQ(this->map.begin(), this->map.end());
    EXPECT_EQ(this->find(1), nullptr);
    EXPECT_FALSE(this->erase(1));
}

TYPED_TEST(HashMap2018Test, FindsWhatWasInserted) {
    auto const [node, isNew] = this->map.newMemberG(this->variant.node(7, 70));
    EXPECT_TRUE(isNew);
    EXPECT_EQ(this->find(7), node);
    EXPECT_EQ(TypeParam::indexOf(node->key()), 7U);
    EXPECT_EQ(TypeParam::valueOf(*node), TypeParam::hasValues ? 70 : 0);
    auto const key = this->variant.key(7);
    EXPECT_TRUE(this->map.memberHas(TypeParam::Map::Traits::view(key)));
    EXPECT_EQ(this->find(8), nullptr);
}

TYPED_TEST(HashMap2018Test, FindsTheEntryThatWasChangedLastWhereverItsNeighboursPushedIt) {
    for (std::uint32_t i = 0; i < 100; ++i) {
        this->insert(i);
        EXPECT_NE(this->find(i), nullptr) << "inserted";
        this->replace(i, 1);
        EXPECT_NE(this->find(i), nullptr) << "replaced";
        EXPECT_EQ(this->find(i + 1), nullptr) << "never there";
        if (i % 3 == 0) {
            this->erase(i);
            EXPECT_EQ(this->find(i), nullptr) << "deleted";
        }
    }
    this->check(110);
}

TYPED_TEST(HashMap2018Test, KeysAreUnique) {
    this->insert(7, 70);
    auto const *const former = this->find(7);
    auto const [node, isNew] = this->map.newMemberG(this->variant.node(7, 71));
    EXPECT_FALSE(isNew);
    EXPECT_EQ(node, former);
    EXPECT_EQ(TypeParam::valueOf(*node), TypeParam::hasValues ? 70 : 0) << "the value stays";
    EXPECT_EQ(this->map.size(), 1U);
}

TYPED_TEST(HashMap2018Test, HandsADeletedEntryBack) {
    this->insert(7, 70);
    auto const key = this->variant.key(7);
    auto const taken = this->map.deleteMemberG(TypeParam::Map::Traits::view(key));
    ASSERT_TRUE(taken.hasValue());
    EXPECT_EQ(TypeParam::indexOf(taken->key()), 7U);
    EXPECT_EQ(TypeParam::valueOf(*taken), TypeParam::hasValues ? 70 : 0);
    EXPECT_EQ(this->find(7), nullptr);
    EXPECT_TRUE(this->map.empty());
}

TYPED_TEST(HashMap2018Test, AKeyOfAnEntryMayBeHandedToItsOwnDeletion) {
    for (std::uint32_t i = 1; i <= 20; ++i) {
        this->insert(i);
    }
    auto const *const node = this->find(7);
    // By reference where the node stores the key: it goes away with the entry.
    EXPECT_TRUE(this->map.deleteMemberG(TypeParam::Map::Traits::view(node->key())).hasValue());
    this->model.erase(7);
    this->check(30);
}

TYPED_TEST(HashMap2018Test, ReplacesTheValueOfAnEntry) {
    this->insert(7, 70);
    EXPECT_EQ(this->replace(7, 71), TypeParam::hasValues);
    this->check(10);
}

TYPED_TEST(HashMap2018Test, EmptiesAllAtOnce) {
    for (std::uint32_t i = 0; i < 40; ++i) {
        this->insert(i);
    }
    this->map.emptyAllBuckets();
    this->model.clear();
    this->check(40);
    EXPECT_EQ(this->map.capacity(), 0U);
    EXPECT_EQ(arrays(), 0U);
    this->insert(3);
    this->check(40);
}

TYPED_TEST(HashMap2018Test, DeletesEntryByEntry) {
    for (std::uint32_t i = 0; i < 40; ++i) {
        this->insert(i);
    }
    auto const stamp = this->map.stamp();
    this->map._memberDelAll();
    this->model.clear();
    this->check(40);
    EXPECT_EQ(this->map.stamp(), stamp + 40) << "each is a deletion of its own";
}

// The modification stamp.

TYPED_TEST(HashMap2018Test, TheStampMovesByOneWithEveryInsertionDeletionAndReplacement) {
    EXPECT_EQ(this->map.stamp(), 0U);
    std::uint32_t expected = 0;
    for (std::uint32_t i = 0; i < 50; ++i) { // through several growths
        this->insert(i);
        EXPECT_EQ(this->map.stamp(), ++expected);
    }
    for (std::uint32_t i = 0; i < 50; i += 2) {
        expected += this->replace(i, 5) ? 1U : 0U;
        EXPECT_EQ(this->map.stamp(), expected);
        this->erase(i);
        EXPECT_EQ(this->map.stamp(), ++expected);
    }
}

TYPED_TEST(HashMap2018Test, NothingElseMovesTheStamp) {
    for (std::uint32_t i = 0; i < 20; ++i) {
        this->insert(i, 1);
    }
    auto const stamp = this->map.stamp();
    this->insert(5, 2);
    this->erase(25);
    this->check(30); // walks and look-ups
    auto it = this->iteratorFrom(25);
    static_cast<void>(it == this->map.iteratorEnd());
    EXPECT_EQ(this->map.stamp(), stamp);
}

TYPED_TEST(HashMap2018Test, EmptyingMovesTheStampOnceAndOnlyIfThereWasAnEntry) {
    this->map.emptyAllBuckets();
    EXPECT_EQ(this->map.stamp(), 0U);
    for (std::uint32_t i = 0; i < 20; ++i) {
        this->insert(i);
    }
    this->map.emptyAllBuckets();
    EXPECT_EQ(this->map.stamp(), 21U);
    this->map.emptyAllBuckets();
    EXPECT_EQ(this->map.stamp(), 21U);
}

TYPED_TEST(HashMap2018Test, MakingRoomLeavesTheStampAt0) {
    typename TypeParam::Map const roomy(100);
    EXPECT_EQ(roomy.stamp(), 0U);
    EXPECT_TRUE(roomy.empty());
    EXPECT_FALSE(roomy.iterator());
}

TEST(HashMap2018Stamp, WrapsAt23BitsAndLeavesTheMapAsItIs) {
    MapVariants::Maps::Map map;
    auto *const node = map.newMemberG({{7}, 0}).first;
    for (std::uint32_t stamp = 1; stamp < 0x7FFFFF; ++stamp) {
        map.replaceValue(*node, 1);
    }
    EXPECT_EQ(map.stamp(), 0x7FFFFFU);
    map.replaceValue(*node, 2);
    EXPECT_EQ(map.stamp(), 0U);
    EXPECT_EQ(map.capacity(), 8U);
    EXPECT_EQ(map.lookupNodeG({7})->value(), 2);
    map.newMemberG({{8}, 0});
    EXPECT_EQ(map.stamp(), 1U);
}

// Order.

TYPED_TEST(HashMap2018Test, AWalkGoesByHashAndKey) {
    for (std::uint32_t i = 0; i < 100; ++i) {
        this->insert(i);
    }
    EXPECT_EQ(this->walk(), this->expectedWalk());
}

TYPED_TEST(HashMap2018Test, RangeForMeetsTheSameEntriesInTheSameOrder) {
    for (std::uint32_t i = 0; i < 100; ++i) {
        this->insert(i, static_cast<int>(i) * 3);
    }
    std::vector<std::uint32_t> order;
    if constexpr (TypeParam::hasValues) {
        for (auto const &[key, value] : this->map) {
            order.push_back(TypeParam::indexOf(key));
            EXPECT_EQ(&value, &this->find(order.back())->value());
        }
    } else {
        for (auto const &key : this->map) {
            order.push_back(TypeParam::indexOf(key));
        }
    }
    EXPECT_EQ(order, this->walk());
}

TYPED_TEST(HashMap2018Test, GrowthKeepsTheOrderOfThoseWhoWereThere) {
    for (std::uint32_t i = 0; i < 6; ++i) {
        this->insert(i);
    }
    auto const before = this->walk();
    auto const capacity = this->map.capacity();
    for (std::uint32_t i = 6; i < 300; ++i) {
        this->insert(i);
    }
    EXPECT_GT(this->map.capacity(), capacity);
    auto after = this->walk();
    std::erase_if(after, [](std::uint32_t i) { return i >= 6; });
    EXPECT_EQ(after, before);
}

TYPED_TEST(HashMap2018Test, AMapBuiltInAnotherOrderIsWalkedInTheSameOne) {
    std::vector<std::uint32_t> keys(150);
    std::iota(keys.begin(), keys.end(), 0);
    for (std::uint32_t const i : keys) {
        this->insert(i);
    }
    auto const expected = this->walk();
    TestSupport::Random random(1);
    for (int round = 0; round < 3; ++round) {
        std::ranges::shuffle(keys, random);
        this->map.emptyAllBuckets();
        this->model.clear();
        for (std::uint32_t const i : keys) {
            this->insert(i);
        }
        EXPECT_EQ(this->walk(), expected);
    }
}

// Against the model.

TYPED_TEST(HashMap2018Test, AgreesWithTheModelUnderRandomOperations) {
    TestSupport::Random random(20181);
    for (std::uint32_t const limit : {6U, 20U, 300U}) {
        this->map.emptyAllBuckets();
        this->model.clear();
        auto stamp = this->map.stamp();
        for (int step = 0; step < 2000; ++step) {
            std::uint32_t const i = random.below(limit);
            // Phases of growing and of shrinking.
            bool const growing = step / 500 % 2 == 0;
            bool changed = false;
            switch (random.below(8)) {
            case 0:
                changed = this->replace(i, step);
                break;
            case 1:
            case 2:
                changed = growing ? this->erase(i) : this->insert(i, step);
                break;
            default:
                changed = growing ? this->insert(i, step) : this->erase(i);
            }
            stamp += changed ? 1U : 0U;
            ASSERT_EQ(this->map.stamp(), stamp) << "step " << step;
            if (step % 20 == 0) {
                ASSERT_NO_FATAL_FAILURE(this->check(limit)) << "step " << step;
            }
        }
        ASSERT_NO_FATAL_FAILURE(this->check(limit));
    }
}

// Memory.

TYPED_TEST(HashMap2018Test, HasOneArrayWhileItHasEntriesAndGivesItBack) {
    {
        typename TypeParam::Map growing;
        for (std::uint32_t i = 0; i < 500; ++i) {
            growing.newMemberG(this->variant.node(i, 0));
            ASSERT_EQ(arrays(), 1U) << "also after growth";
        }
    }
    EXPECT_EQ(liveCount("Qor::HashMap2018"), TestSupport::LiveCount());
}

/// Whether entries of the variant are stored keys, and so small that the first array takes eight.
template <class Variant> constexpr bool eightAtFirst() {
    return !std::is_same_v<Variant, MapVariants::LargeEntries> &&
           !std::is_same_v<Variant, MapVariants::KeyedByFunctor>;
}

TYPED_TEST(HashMap2018Test, SmallMapsAreSmallAndGrowByPowersOfTwo) {
    std::vector<std::uint32_t> capacities;
    for (std::uint32_t i = 0; i < 25; ++i) {
        this->insert(i);
        capacities.push_back(this->map.capacity());
    }
    std::uint32_t const first = eightAtFirst<TypeParam>() ? 8 : 4;
    std::vector<std::uint32_t> const expected{first, first, first, first, 8,  8,  8,  8,  16,
                                              16,    16,    16,    32,    32, 32, 32, 32, 32,
                                              32,    32,    32,    32,    32, 32, 64};
    EXPECT_EQ(capacities, expected);
}

TEST(HashMap2018Memory, EightSlotsOf8BytesAreOneCacheLine) {
    HashMap2018<MapVariants::NumberKey<MapVariants::Mixed>, int, 1> map;
    static_assert(sizeof(decltype(map)::Node) == 8);
    auto const before = liveCount("Qor::HashMap2018").bytes;
    for (std::uint32_t i = 0; i < 8; ++i) {
        map.newMemberG({{i}, 1});
        EXPECT_EQ(liveCount("Qor::HashMap2018").bytes - before, 64U);
    }
}

TEST(HashMap2018Memory, ASizeHintMakesRoomAtOnce) {
    for (std::uint32_t const hint : {1U, 4U, 5U, 9U, 100U, 769U}) {
        MapVariants::Maps::Map roomy(hint);
        auto const capacity = roomy.capacity();
        auto const rehashes = HTCnt::count(HTCnt::Counter::rehash);
        for (std::uint32_t i = 0; i < hint; ++i) {
            roomy.newMemberG({{i}, 0});
        }
        EXPECT_EQ(roomy.capacity(), capacity);
        EXPECT_EQ(HTCnt::count(HTCnt::Counter::rehash), rehashes) << "hint " << hint;
    }
}

TYPED_TEST(HashMap2018Test, AnInsertionThatFindsNoMemoryChangesNothing) {
    for (std::uint32_t const size : {0U, 4U, 8U, 12U, 24U}) { // each full
        if (size == 4 && eightAtFirst<TypeParam>()) {
            continue;
        }
        while (this->map.size() < size) {
            this->insert(this->map.size());
        }
        auto node = this->variant.node(100, 0);
        auto const stamp = this->map.stamp();
        Pool::failAfterForTest(0);
        EXPECT_THROW(this->map.newMemberG(std::move(node)), std::bad_alloc);
        Pool::failAfterForTest(-1);
        EXPECT_EQ(this->map.stamp(), stamp);
        ASSERT_NO_FATAL_FAILURE(this->check(101));
    }
}

// Entries whose destruction looks at the map.

/// Runs a function when it dies, and is moved as entries are.
class Watcher {
  public:
    Watcher() = default;
    explicit Watcher(std::function<void()> onDeath) : onDeath_(std::move(onDeath)) {}
    Watcher(Watcher &&other) noexcept : onDeath_(std::exchange(other.onDeath_, nullptr)) {}
    Watcher &operator=(Watcher &&other) noexcept {
        std::swap(onDeath_, other.onDeath_);
        return *this;
    }
    ~Watcher() {
        if (onDeath_) {
            onDeath_();
        }
    }

  private:
    std::function<void()> onDeath_;
};
using NumberKey = MapVariants::NumberKey<MapVariants::Mixed>;
using WatchedMap = HashMap2018<NumberKey, Watcher, 0x3A7C>;

/// What a dying entry sees of the map: its size, and whether a key is still found.
struct Sight {
    std::uint32_t size;
    bool finds7;
    friend bool operator==(Sight const &, Sight const &) = default;
};

class HashMap2018Entries : public TestSupport::CensusTest {
  protected:
    void fill() {
        for (std::uint32_t i = 0; i < 20; ++i) {
            map.newMemberG({{i}, Watcher([this] {
                                sights.push_back({map.size(), map.memberHas({7})});
                            })});
        }
    }
    std::vector<Sight> sights;
    WatchedMap map;
};

TEST_F(HashMap2018Entries, EmptyAllBucketsTakesThemOutBeforeItDestroysThem) {
    fill();
    map.emptyAllBuckets();
    EXPECT_EQ(sights, std::vector<Sight>(20, Sight{0, false}));
}

TEST_F(HashMap2018Entries, MemberDelAllTakesEachOutBeforeItIsDestroyed) {
    fill();
    map._memberDelAll();
    ASSERT_EQ(sights.size(), 20U);
    for (std::uint32_t i = 0; i < 20; ++i) {
        EXPECT_EQ(sights[i].size, 19 - i);
    }
    EXPECT_FALSE(sights.back().finds7);
}

TEST_F(HashMap2018Entries, ADeletedEntryIsGoneFromTheMapBeforeItIsDestroyed) {
    fill();
    map.deleteMemberG({7});
    EXPECT_EQ(sights, (std::vector<Sight>{{19, false}}));
    map.emptyAllBuckets();
}

TEST_F(HashMap2018Entries, AnEntryThatDiesDuringEmptyingMayInsert) {
    map.newMemberG({{1}, Watcher([this] { map.newMemberG({{2}, Watcher()}); })});
    map.newMemberG({{3}, Watcher()});
    map.emptyAllBuckets();
    EXPECT_EQ(map.size(), 1U);
    EXPECT_TRUE(map.memberHas({2}));
}

TEST_F(HashMap2018Entries, AnEntryThatDiesDuringMemberDelAllMayDeleteOthers) {
    for (std::uint32_t i = 0; i < 20; ++i) {
        map.newMemberG({{i}, Watcher([this, i] { map.deleteMemberG({(i + 10) % 20}); })});
    }
    map._memberDelAll();
    EXPECT_TRUE(map.empty());
}

TEST_F(HashMap2018Entries, MayLookAtTheMapWhileItIsDestroyed) {
    std::vector<bool> found;
    {
        WatchedMap dying;
        for (std::uint32_t i = 0; i < 20; ++i) {
            dying.newMemberG({{i}, Watcher([&dying, &found] {
                                  found.push_back(dying.memberHas({7}) || dying.iterator());
                              })});
        }
    }
    EXPECT_EQ(found, std::vector<bool>(20, false));
}

#ifndef NDEBUG
TEST(HashMap2018DeathTest, ARangeForLoopMustNotChangeItsMap) {
    MapVariants::Maps::Map map;
    map.newMemberG({{1}, 0});
    map.newMemberG({{2}, 0});
    EXPECT_DEATH(
        for (auto const &[key, value]
             : map) {
            map.deleteMemberG(key);
            static_cast<void>(value);
        },
        "a range-for loop changed its map");
}
#endif

// Pointer keys.

TEST(HashMap2018PointerKeys, WalksRepeatWhateverTheAddresses) {
    using MapVariants::Item;
    auto const walkOf = [](int gap) {
        VFPtrInterface::creationSerialResetForTest();
        std::vector<Ptr<Item>> items;
        std::vector<void *> gaps; // so that addresses differ
        MapVariants::PointerKeys::Map map;
        for (std::uint32_t i = 0; i < 60; ++i) {
            items.push_back(make<Item>(i, 0));
            gaps.push_back(gap > 0 && i % 3 == 0 ? Pool::allocate(sizeof(Item)) : nullptr);
            map.newMemberG({items.back(), 0});
        }
        std::vector<std::uint32_t> order;
        for (auto const &entry : map) {
            order.push_back(entry.first->number);
        }
        for (void *const block : gaps) {
            if (block) {
                Pool::release(block, sizeof(Item));
            }
        }
        return order;
    };
    EXPECT_EQ(walkOf(0), walkOf(1));
}

TEST(HashMap2018PointerKeys, EqualityIsIdentityAlsoUnderOneSerial) {
    using MapVariants::Item;
    VFPtrInterface::creationSerialResetForTest();
    auto const first = make<Item>(1U, 0);
    VFPtrInterface::creationSerialResetForTest();
    auto const second = make<Item>(2U, 0);
    ASSERT_EQ(first->creationSerial(), second->creationSerial());
    MapVariants::PointerKeys::Map map;
    map.newMemberG({first, 10});
    map.newMemberG({second, 20});
    EXPECT_EQ(map.size(), 2U);
    EXPECT_EQ(map.lookupNodeG(first.get())->value(), 10);
    EXPECT_EQ(map.lookupNodeG(second.get())->value(), 20);
}

} // namespace
} // namespace Qor
