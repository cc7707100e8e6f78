// A map of up to 8 stored keys: entries in the order in which they came, walked in the order of a
// table. Each edge of it: every number of entries, every entry gone, every step of a walk at which
// it turns into a table.
#include "platform/Qor/HashMap2018.h"
#include "tests/platform/Qor/HashMap2018Variants.h"
#include "tests/support/Census.h"
#include "tests/support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <type_traits>
#include <utility>
#include <vector>

namespace Qor {
namespace {

using Keys = std::vector<std::uint32_t>;

template <class Variant>
class HashMap2018SmallTest : public TestSupport::CensusTest, public MapVariants::Modelled<Variant> {
  protected:
    using Map = typename Variant::Map;
    using Traits = typename Map::Traits;
    using Iterator = typename Map::Iterator;

    static constexpr std::uint32_t most = 8;

    ~HashMap2018SmallTest() override { Pool::failAfterForTest(-1); }

    static Keys upTo(std::uint32_t count) {
        Keys keys(count);
        std::iota(keys.begin(), keys.end(), 0);
        return keys;
    }
    /// Start anew with these keys, inserted in this order.
    void startWith(Keys const &keys) {
        this->map.emptyAllBuckets();
        this->model.clear();
        for (std::uint32_t const i : keys) {
            this->insert(i, static_cast<int>(i) + 1);
        }
    }
    /// The order in which a map that was a table from the start has the keys of this one.
    Keys walkOfATable() {
        Map table(20);
        EXPECT_EQ(table.capacity(), 32U);
        for (auto const &entry : this->model) {
            table.newMemberG(this->variant.node(entry.first, 0));
        }
        Keys order;
        for (auto it = table.iterator(); it; it.advance()) {
            order.push_back(Variant::indexOf(it.key()));
        }
        return order;
    }
    Iterator at(std::uint32_t steps) {
        auto it = this->map.iterator();
        for (; steps > 0; --steps) {
            it.advance();
        }
        return it;
    }
    static Keys rest(Iterator it) {
        Keys keys;
        for (; it; it.advance()) {
            keys.push_back(Variant::indexOf(it.key()));
        }
        return keys;
    }
    /// Insert a key by a function that makes the entry; how often it was asked to.
    int insertMade(std::uint32_t i, int value) {
        int made = 0;
        auto const key = this->variant.key(i);
        auto const [node, isNew] = this->map.newMemberG(Traits::view(key), [&] {
            ++made;
            return this->variant.node(i, value);
        });
        EXPECT_EQ(isNew, made == 1);
        EXPECT_EQ(node, this->find(i));
        this->model.try_emplace(i, Variant::hasValues ? value : 0);
        return made;
    }
};
TYPED_TEST_SUITE(HashMap2018SmallTest, MapVariants::All, MapVariants::Names);

// Every number of entries.

TYPED_TEST(HashMap2018SmallTest, AnyNumberOfEntriesIsWalkedAsATableIsWhateverTheOrderTheyCameIn) {
    TestSupport::Random random(20185);
    for (std::uint32_t count = 0; count <= this->most + 1; ++count) {
        Keys keys = this->upTo(count);
        for (int round = 0; round < 20; ++round) {
            this->startWith(keys);
            ASSERT_EQ(this->map.size(), count);
            ASSERT_EQ(this->walk(), this->walkOfATable()) << count;
            ASSERT_NO_FATAL_FAILURE(this->check(this->most + 3)) << count;
            std::ranges::shuffle(keys, random);
        }
    }
}

TYPED_TEST(HashMap2018SmallTest, TheNinthEntryMakesItATable) {
    this->startWith(this->upTo(this->most));
    EXPECT_EQ(this->map.capacity(), 8U);
    this->insert(this->most);
    EXPECT_EQ(this->map.capacity(), 16U);
    EXPECT_NO_FATAL_FAILURE(this->check(10));
}

TYPED_TEST(HashMap2018SmallTest, ATableThatHasFewEntriesLeftIsWalkedAlike) {
    this->startWith(this->upTo(20));
    for (std::uint32_t i = 20; i-- > 0;) {
        this->erase(i);
        ASSERT_NO_FATAL_FAILURE(this->check(20));
    }
    EXPECT_EQ(this->map.capacity(), 32U);
}

TYPED_TEST(HashMap2018SmallTest, AnEmptiedTableStartsSmallAgain) {
    this->startWith(this->upTo(20));
    this->startWith(this->upTo(3));
    EXPECT_LE(this->map.capacity(), 8U);
    EXPECT_NO_FATAL_FAILURE(this->check(20));
}

TYPED_TEST(HashMap2018SmallTest, AnInsertionThatFitsTheArrayNeedsNoMemory) {
    for (std::uint32_t i = 0; i < this->most; ++i) {
        auto node = this->variant.node(i, 0);
        bool const fits = i < this->map.capacity();
        Pool::failAfterForTest(fits ? 0 : -1);
        EXPECT_NO_THROW(this->map.newMemberG(std::move(node))) << i;
        Pool::failAfterForTest(-1);
        this->model.emplace(i, 0);
        ASSERT_NO_FATAL_FAILURE(this->check(10));
    }
}

// Entries that go.

TYPED_TEST(HashMap2018SmallTest, AnyEntryOfAnyNumberCanGoAndComeBack) {
    for (std::uint32_t count = 1; count <= this->most + 1; ++count) {
        for (std::uint32_t gone = 0; gone < count; ++gone) {
            this->startWith(this->upTo(count));
            auto const all = this->walk();
            ASSERT_TRUE(this->erase(gone));
            ASSERT_NO_FATAL_FAILURE(this->check(10)) << gone << " of " << count;
            ASSERT_FALSE(this->erase(gone));
            this->insert(gone);
            ASSERT_EQ(this->walk(), all);
        }
    }
}

TYPED_TEST(HashMap2018SmallTest, AnIteratorStepsFromAnyDeletedEntryToTheOneBehindIt) {
    for (std::uint32_t count = 1; count <= this->most + 1; ++count) {
        for (std::uint32_t steps = 0; steps < count; ++steps) {
            this->startWith(this->upTo(count));
            auto expected = this->walk();
            auto it = this->at(steps);
            auto const key = expected[steps];
            expected.erase(expected.begin(), expected.begin() + steps + 1);
            this->erase(key);
            ASSERT_EQ(it.node(), nullptr);
            ASSERT_EQ(TypeParam::indexOf(it.key()), key);
            ASSERT_EQ(this->rest(this->iteratorFrom(key)), expected);
            it.advance();
            ASSERT_EQ(this->rest(it), expected) << steps << " of " << count;
        }
    }
}

TYPED_TEST(HashMap2018SmallTest, AnIteratorStaysOnItsEntryWhenAnotherGoes) {
    for (std::uint32_t steps = 0; steps < this->most; ++steps) {
        for (std::uint32_t gone = 0; gone < this->most; ++gone) {
            this->startWith(this->upTo(this->most));
            auto expected = this->rest(this->at(steps));
            auto it = this->at(steps);
            if (gone == expected.front()) {
                continue;
            }
            this->erase(gone); // the last one takes its place in the array
            std::erase(expected, gone);
            ASSERT_EQ(it.node(), this->find(expected.front()));
            ASSERT_EQ(this->rest(it), expected) << gone << " gone after " << steps << " steps";
        }
    }
}

// Growth in the middle of a walk.

TYPED_TEST(HashMap2018SmallTest, AWalkGoesOnWhenTheMapGrowsAtAnyStep) {
    for (std::uint32_t count = 1; count <= this->most; ++count) {
        for (std::uint32_t steps = 0; steps < count; ++steps) {
            for (std::uint32_t const target : {count + 1, 5U, 9U, 30U}) {
                this->startWith(this->upTo(count));
                auto it = this->at(steps);
                auto const key = TypeParam::indexOf(it.key());
                for (std::uint32_t i = count; i < target; ++i) {
                    this->insert(i);
                }
                auto expected = this->walkOfATable();
                std::erase_if(expected, [&](std::uint32_t i) { return this->before(i, key); });
                ASSERT_EQ(it.node(), this->find(key));
                ASSERT_EQ(this->rest(it), expected)
                    << "from " << count << " to " << target << " after " << steps << " steps";
            }
        }
    }
}

TYPED_TEST(HashMap2018SmallTest, AWalkGoesOnWhenItsEntryGoesAndTheMapGrows) {
    for (std::uint32_t steps = 0; steps < this->most; ++steps) {
        this->startWith(this->upTo(this->most));
        auto it = this->at(steps);
        auto const key = TypeParam::indexOf(it.key());
        this->erase(key);
        for (std::uint32_t i = this->most; i < 12; ++i) {
            this->insert(i);
        }
        auto expected = this->walkOfATable();
        std::erase_if(expected, [&](std::uint32_t i) { return this->before(i, key); });
        ASSERT_EQ(it.node(), nullptr);
        it.advance();
        ASSERT_EQ(this->rest(it), expected) << steps;
    }
}

// Look-ups.

TYPED_TEST(HashMap2018SmallTest, LookUpsInAnyOrderFindWhatIsThere) {
    for (std::uint32_t count = 0; count <= this->most + 1; ++count) {
        this->startWith(this->upTo(count));
        for (std::uint32_t first = 0; first < 10; ++first) {
            for (std::uint32_t second = 0; second < 10; ++second) {
                for (std::uint32_t const i : {first, second}) {
                    auto const *const node = this->find(i);
                    ASSERT_EQ(node != nullptr, i < count) << first << ", then " << second;
                    if (node) {
                        ASSERT_EQ(TypeParam::indexOf(node->key()), i);
                    }
                }
            }
        }
    }
}

TYPED_TEST(HashMap2018SmallTest, ALookUpAfterADeletionFindsWhatIsThere) {
    for (std::uint32_t asked = 0; asked < this->most; ++asked) {
        for (std::uint32_t gone = 0; gone < this->most; ++gone) {
            for (std::uint32_t wanted = 0; wanted < this->most; ++wanted) {
                this->startWith(this->upTo(this->most));
                this->find(asked);
                this->erase(gone);
                ASSERT_EQ(this->find(wanted) != nullptr, wanted != gone);
            }
        }
    }
}

TYPED_TEST(HashMap2018SmallTest, LookUpsBetweenTheStepsOfAWalkDoNotDisturbIt) {
    for (std::uint32_t count = 1; count <= this->most; ++count) {
        this->startWith(this->upTo(count));
        auto const expected = this->walkOfATable();
        Keys visited;
        Keys ranged;
        auto range = this->map.begin();
        for (auto it = this->map.iterator(); it; it.advance(), ++range) {
            visited.push_back(TypeParam::indexOf(it.key()));
            ASSERT_EQ(it.node(), this->find(visited.back()));
            if constexpr (TypeParam::hasValues) {
                ranged.push_back(TypeParam::indexOf((*range).first));
            } else {
                ranged.push_back(TypeParam::indexOf(*range));
            }
            this->find((visited.back() + 5) % 10);
            this->insert(visited.front()); // is there: a look-up, too
        }
        EXPECT_EQ(range, this->map.end());
        ASSERT_EQ(visited, expected);
        ASSERT_EQ(ranged, expected);
    }
}

// Room made in advance.

TYPED_TEST(HashMap2018SmallTest, MakingRoomLeavesEntriesOrderAndStampAsTheyAre) {
    for (std::uint32_t const count : {0U, 1U, 4U, 8U, 9U, 30U}) {
        for (std::uint32_t const room : {0U, 1U, 4U, 5U, 8U, 9U, 12U, 13U, 100U}) {
            this->startWith(this->upTo(count));
            auto const stamp = this->map.stamp();
            auto const capacity = this->map.capacity();
            this->map.reserve(room);
            EXPECT_EQ(this->map.stamp(), stamp);
            EXPECT_GE(this->map.capacity(), std::max(room, capacity));
            ASSERT_NO_FATAL_FAILURE(this->check(31)) << count << " with room for " << room;
        }
    }
}

TYPED_TEST(HashMap2018SmallTest, MakingRoomLeavesIteratorsOnTheirEntries) {
    for (std::uint32_t const count : {1U, 4U, 8U, 9U, 30U}) {
        for (std::uint32_t const room : {5U, 8U, 9U, 13U, 100U}) {
            for (std::uint32_t steps = 0; steps < count; ++steps) {
                this->startWith(this->upTo(count));
                auto const expected = this->rest(this->at(steps));
                auto it = this->at(steps);
                this->map.reserve(room);
                ASSERT_EQ(it.node(), this->find(expected.front()))
                    << count << " with room for " << room << " after " << steps << " steps";
                ASSERT_EQ(this->rest(it), expected);
            }
        }
    }
}

// Entries made by a function.

TYPED_TEST(HashMap2018SmallTest, AnEntryIsMadeOnlyIfItsKeyIsNotThere) {
    for (std::uint32_t i = 0; i < 20; ++i) {
        EXPECT_EQ(this->insertMade(i, 5), 1);
        EXPECT_EQ(this->insertMade(i, 6), 0);
        EXPECT_EQ(this->map.stamp(), i + 1);
        ASSERT_NO_FATAL_FAILURE(this->check(20));
    }
}

TYPED_TEST(HashMap2018SmallTest, AnEntryThatCannotBeMadeLeavesTheMapAsItWas) {
    for (std::uint32_t i = 0; i < 20; ++i) {
        auto const key = this->variant.key(i);
        auto const stamp = this->map.stamp();
        auto const capacity = this->map.capacity();
        EXPECT_THROW(this->map.newMemberG(TestFixture::Traits::view(key),
                                          []() -> typename TypeParam::Map::Node { throw 1; }),
                     int);
        EXPECT_EQ(this->map.stamp(), stamp);
        EXPECT_EQ(this->map.capacity(), capacity);
        ASSERT_NO_FATAL_FAILURE(this->check(20));
        this->insert(i);
    }
}

// What a small map is for: hashes are needed for walks only.

struct CountedHash {
    static inline std::uint32_t count = 0;
    std::uint32_t operator()(std::uint32_t seed, std::uint32_t number) const noexcept {
        ++count;
        return hashSingleAttr(seed, number);
    }
};
using CountedKey = MapVariants::NumberKey<CountedHash>;

class HashMap2018SmallHashes : public testing::Test {
  protected:
    HashMap2018SmallHashes() {
        for (std::uint32_t i = 0; i < 8; ++i) {
            map.newMemberG({{i}, 0});
        }
        CountedHash::count = 0;
    }
    /// Hashes that a walk over all needs.
    std::uint32_t hashesOfAWalk() {
        CountedHash::count = 0;
        for (auto it = map.iterator(); it; it.advance()) {
            EXPECT_NE(it.node(), nullptr);
        }
        return CountedHash::count;
    }
    HashMap2018<CountedKey, int, 1> map;
};

TEST_F(HashMap2018SmallHashes, NoneIsNeededToInsertToFindAndToDelete) {
    map.deleteMemberG({7});
    map.newMemberG({{8}, 0});
    EXPECT_TRUE(map.memberHas({8}));
    EXPECT_FALSE(map.memberHas({7}));
    map.replaceValue(*map.lookupNodeG({3}), 5);
    map.deleteMemberG({9});
    EXPECT_EQ(CountedHash::count, 0U);
}

TEST_F(HashMap2018SmallHashes, OnePerEntryIsNeededForTheFirstWalkAfterAChange) {
    EXPECT_EQ(hashesOfAWalk(), 8U);
    EXPECT_EQ(hashesOfAWalk(), 0U) << "the order is kept";
    EXPECT_TRUE(map.memberHas({3}));
    map.replaceValue(*map.lookupNodeG({3}), 5);
    EXPECT_EQ(hashesOfAWalk(), 0U) << "nothing came or went";
    map.deleteMemberG({3});
    EXPECT_EQ(hashesOfAWalk(), 7U);
    map.newMemberG({{3}, 0});
    EXPECT_EQ(hashesOfAWalk(), 8U);
}

// Sets with something beside each key.

using BesideSet = HashMap2018<CountedKey, Beside<Ptr<MapVariants::Item>>, 1>;
static_assert(Impl::isSet<BesideSet::Node>);
static_assert(!Impl::isSet<HashMap2018<CountedKey, int, 1>::Node>);

TEST(HashMap2018Beside, IsWalkedAsASetAndKeepsWhatIsBesideAtItsKey) {
    BesideSet set;
    for (std::uint32_t i = 0; i < 20; ++i) {
        set.newMemberG({{i}, make<MapVariants::Item>(i, 0)});
        for (std::uint32_t k = 0; k <= i; ++k) {
            ASSERT_EQ(set.lookupNodeG({k})->beside()->number, k);
        }
    }
    std::uint32_t keys = 0;
    for (CountedKey const &key : set) {
        EXPECT_EQ(set.lookupNodeG(key)->beside()->number, key.number);
        ++keys;
    }
    EXPECT_EQ(keys, 20U);
}

TEST(HashMap2018Beside, ChangingItIsNoChangeOfTheSet) {
    BesideSet set;
    auto *const node = set.newMemberG({{1}, nullptr}).first;
    auto it = set.iterator();
    auto const item = make<MapVariants::Item>(1U, 0);
    node->beside_ = item;
    EXPECT_EQ(set.stamp(), 1U);
    EXPECT_EQ(it.node()->beside(), item);
    EXPECT_EQ(item->refCount(), 2U);
    set.deleteMemberG({1});
    EXPECT_EQ(item->refCount(), 1U) << "it goes with its key";
}

} // namespace
} // namespace Qor
