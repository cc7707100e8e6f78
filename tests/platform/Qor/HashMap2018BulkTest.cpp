// Several keys at once into a set, the entries of a small map at once, and a map whose first array
// is part of its owner.
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Pool.h"
#include "tests/support/Census.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <span>
#include <vector>

namespace Qor {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

struct Key {
    std::uint64_t number = 0;
    [[nodiscard]] std::uint32_t hash(std::uint32_t seed) const noexcept {
        return hashSingleAttr(seed, number);
    }
    friend auto operator<=>(Key const &, Key const &) noexcept = default;
};
using Set = HashMap2018<Key, void, 0x5EED>;
using Map = HashMap2018<Key, std::uint64_t, 0x5EED>;
using Numbers = std::vector<std::uint64_t>;

constexpr std::uint32_t most = Set::smallEntries;

Numbers upTo(std::uint64_t count) {
    Numbers numbers;
    for (std::uint64_t number = 1; number <= count; ++number) {
        numbers.push_back(number);
    }
    return numbers;
}

void insertAll(Set &set, Numbers const &numbers) {
    set.newMembersG(std::span(numbers), [](std::uint64_t number) { return Set::Node{{number}}; });
}

template <class Any> Numbers walk(Any const &map) {
    Numbers numbers;
    for (auto it = map.iterator(); it; it.advance()) {
        numbers.push_back(it.key().number);
    }
    return numbers;
}

class HashMap2018BulkTest : public TestSupport::CensusTest {
  protected:
    ~HashMap2018BulkTest() override { Pool::failAfterForTest(-1); }

    /// Whatever is there, inserting at once comes to what inserting one by one comes to.
    static void expectAsOneByOne(Numbers const &before, Numbers const &inserted) {
        SCOPED_TRACE(testing::PrintToString(before) + " and " + testing::PrintToString(inserted));
        Set atOnce;
        Set oneByOne;
        for (auto const number : before) {
            atOnce.newMemberG({{number}});
            oneByOne.newMemberG({{number}});
        }
        insertAll(atOnce, inserted);
        for (auto const number : inserted) {
            oneByOne.newMemberG({{number}});
        }
        EXPECT_EQ(atOnce.size(), oneByOne.size());
        EXPECT_EQ(atOnce.stamp(), oneByOne.stamp());
        EXPECT_EQ(walk(atOnce), walk(oneByOne));
        for (auto const number : inserted) {
            EXPECT_TRUE(atOnce.memberHas({number}));
        }
    }
};

TEST_F(HashMap2018BulkTest, InsertsWhatIsNotThereWhateverIs) {
    for (std::uint64_t count = 0; count <= most + 2; ++count) {
        auto const inserted = upTo(count);
        expectAsOneByOne({}, inserted);
        expectAsOneByOne(inserted, inserted);
        expectAsOneByOne(Numbers(inserted.rbegin(), inserted.rend()), inserted);
        expectAsOneByOne({100}, inserted);
        expectAsOneByOne(upTo(count / 2), inserted);
        expectAsOneByOne(upTo(count + 1), inserted);
        expectAsOneByOne({1, 2, 100}, inserted);
        expectAsOneByOne(upTo(40), inserted);
    }
}

TEST_F(HashMap2018BulkTest, InsertingNothingNewLeavesTheStampAndTheOrderOfTheWalk) {
    Set set;
    insertAll(set, upTo(5));
    auto const stamp = set.stamp();
    auto const order = walk(set);
    insertAll(set, upTo(5));
    insertAll(set, upTo(3));
    insertAll(set, {});
    EXPECT_EQ(set.stamp(), stamp);
    EXPECT_EQ(walk(set), order);
}

TEST_F(HashMap2018BulkTest, AWalkUnderWayFindsWhatIsInsertedAtOnceAhead) {
    Set set;
    insertAll(set, upTo(2));
    Numbers visited;
    auto it = set.iterator();
    visited.push_back(it.key().number);
    insertAll(set, upTo(6));
    for (it.advance(); it; it.advance()) {
        visited.push_back(it.key().number);
    }
    auto const order = walk(set);
    auto const from = std::ranges::find(order, visited.front());
    EXPECT_THAT(visited, ElementsAreArray(from, order.end()));
}

TEST_F(HashMap2018BulkTest, WithoutMemoryNothingIsInserted) {
    Set set;
    auto const numbers = upTo(3);
    auto const wanted = std::span(numbers);
    Pool::failAfterForTest(0);
    EXPECT_THROW(set.newMembersG(wanted, [](std::uint64_t number) { return Set::Node{{number}}; }),
                 std::bad_alloc);
    EXPECT_TRUE(set.empty());
}

Numbers unordered(Map const &map) {
    Numbers numbers;
    for (Map::Node const &node : map.unordered()) {
        EXPECT_EQ(node.value(), 10 * node.key().number);
        numbers.push_back(node.key().number);
    }
    return numbers;
}

TEST_F(HashMap2018BulkTest, TheEntriesOfASmallMapAreAtHandAsTheyCame) {
    Map map;
    EXPECT_THAT(unordered(map), IsEmpty());
    for (std::uint64_t count = 1; count <= most; ++count) {
        map.newMemberG({{count}, 10 * count});
        EXPECT_EQ(unordered(map), upTo(count));
    }
    map.deleteMemberG({2});
    EXPECT_THAT(unordered(map), UnorderedElementsAreArray(walk(map)));
}

TEST_F(HashMap2018BulkTest, ATableHandsOutNoEntriesEvenIfItHasFew) {
    Map map(20);
    map.newMemberG({{1}, 10});
    EXPECT_THAT(unordered(map), IsEmpty());
}

/// An owner with room for a small set.
struct Owner {
    Set set{&room};
    Set::Room room;
};

std::uint64_t arraysNow() {
    for (CensusLine const &line : census()) {
        if (line.type == Impl::hashMapArrays().name()) {
            return line.arrays;
        }
    }
    return 0;
}

TEST_F(HashMap2018BulkTest, ASetWithRoomNeedsNoArrayForItsFirstEntries) {
    auto const before = arraysNow();
    Owner owner;
    EXPECT_TRUE(owner.set.empty());
    EXPECT_THAT(walk(owner.set), IsEmpty());
    for (auto const number : upTo(most)) {
        owner.set.newMemberG({{number}});
    }
    EXPECT_EQ(arraysNow(), before);
    EXPECT_EQ(owner.set.capacity(), most);
    EXPECT_THAT(walk(owner.set), UnorderedElementsAreArray(upTo(most)));
}

TEST_F(HashMap2018BulkTest, ASetThatOutgrowsItsRoomIsATable) {
    auto const before = arraysNow();
    {
        Owner owner;
        for (auto const number : upTo(most + 1)) {
            owner.set.newMemberG({{number}});
        }
        EXPECT_EQ(arraysNow(), before + 1);
        EXPECT_THAT(walk(owner.set), UnorderedElementsAreArray(upTo(most + 1)));
        owner.set.deleteMemberG({3});
        EXPECT_FALSE(owner.set.memberHas({3}));
        EXPECT_EQ(owner.set.size(), most);
    }
    EXPECT_EQ(arraysNow(), before);
}

TEST_F(HashMap2018BulkTest, ASetWithRoomThatIsEmptiedTakesNewEntries) {
    auto const before = arraysNow();
    Owner owner;
    insertAll(owner.set, upTo(4));
    auto const stamp = owner.set.stamp();
    owner.set.emptyAllBuckets();
    EXPECT_TRUE(owner.set.empty());
    EXPECT_NE(owner.set.stamp(), stamp);
    EXPECT_FALSE(owner.set.memberHas({1}));
    insertAll(owner.set, {7});
    EXPECT_THAT(walk(owner.set), ElementsAre(7));
    owner.set.emptyAllBuckets();
    EXPECT_EQ(arraysNow(), before);
}

TEST_F(HashMap2018BulkTest, ASetWithRoomIsMadeLargerByReserve) {
    Owner owner;
    insertAll(owner.set, upTo(4));
    owner.set.reserve(100);
    EXPECT_GE(owner.set.capacity(), 128U);
    EXPECT_THAT(walk(owner.set), UnorderedElementsAreArray(upTo(4)));
}

} // namespace
} // namespace Qor
