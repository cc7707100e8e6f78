// What large maps cost: copying one into another must stay linear whatever the two have in common.
// Counted in moves and rebuilds; that the searches stay short, too, is the benchmark's to show.
#include "platform/Qor/HashMap2018.h"
#include "tests/platform/Qor/HashMap2018Variants.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace Qor {
namespace {

using Nuvio::HTCnt;

/// A value that counts how often entries are moved.
struct Moved {
    Moved() = default;
    Moved(Moved const &) = default;
    Moved &operator=(Moved const &) = default;
    Moved(Moved &&) noexcept { ++count; }
    Moved &operator=(Moved &&) noexcept { return *this; }
    ~Moved() = default;

    static inline std::uint64_t count = 0;
};

using Key = MapVariants::NumberKey<MapVariants::Mixed>;
using Source = HashMap2018<Key, Moved, 1>;
using OfAnotherType = HashMap2018<Key, Moved, 2>;
using OfTheSameType = Source;

class HashMap2018CopyTest : public testing::Test {
  protected:
    static constexpr std::uint32_t entries = 100000;

    struct Cost {
        std::uint64_t moves;
        std::uint64_t rehashes;
    };
    template <class Act> static Cost costOf(Act act) {
        auto const rehashes = HTCnt::count(HTCnt::Counter::rehash);
        Moved::count = 0;
        act();
        return {Moved::count, HTCnt::count(HTCnt::Counter::rehash) - rehashes};
    }
    static void fill(Source &map) {
        for (std::uint32_t i = 0; i < entries; ++i) {
            map.newMemberG({{i}, Moved()});
        }
    }
    /// Copies in iteration order, and compares with what it cost to build the source in an order
    /// that has nothing to do with its hashes.
    template <class Map> void expectLinearCopy() {
        Source source;
        Cost const building = costOf([&source] { fill(source); });
        Map copy;
        Cost const copying = costOf([&source, &copy] {
            for (auto const &entry : source) {
                copy.newMemberG({entry.first, Moved()});
            }
        });
        ASSERT_EQ(copy.size(), entries);
        EXPECT_EQ(copying.rehashes, building.rehashes);
        EXPECT_LT(copying.moves, 2 * building.moves);
    }
};

TEST_F(HashMap2018CopyTest, GrowsALogarithmicNumberOfTimesAndMovesEachEntryAFewTimes) {
    Source map;
    Cost const cost = costOf([&map] { fill(map); });
    EXPECT_EQ(cost.rehashes, 15U) << "8 to 2^18 home slots";
    EXPECT_LT(cost.moves, std::uint64_t{12} * entries);
}

TEST_F(HashMap2018CopyTest, CopyingIntoAnotherTypeOfMapMovesALinearNumberOfEntries) {
    expectLinearCopy<OfAnotherType>();
}

TEST_F(HashMap2018CopyTest, CopyingIntoAMapOfTheSameTypeMovesALinearNumberOfEntries) {
    expectLinearCopy<OfTheSameType>();
}

TEST_F(HashMap2018CopyTest, TwoTypesOfMapOrderTheSameKeysDifferently) {
    Source source;
    OfAnotherType other;
    for (std::uint32_t i = 0; i < 100; ++i) {
        source.newMemberG({{i}, Moved()});
        other.newMemberG({{i}, Moved()});
    }
    auto a = source.iterator();
    auto b = other.iterator();
    int same = 0;
    for (; a; a.advance(), b.advance()) {
        same += a.key() == b.key() ? 1 : 0;
    }
    EXPECT_LT(same, 20);
}

} // namespace
} // namespace Qor
