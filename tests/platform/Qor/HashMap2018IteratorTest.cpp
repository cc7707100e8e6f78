#include "platform/Qor/HashMap2018.h"
#include "tests/platform/Qor/HashMap2018Variants.h"
#include "tests/support/Census.h"
#include "tests/support/Random.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace Qor {
namespace {

using Nuvio::HTCnt;

template <class Variant>
class HashMap2018IteratorTest : public TestSupport::CensusTest,
                                public MapVariants::Modelled<Variant> {
  protected:
    using Iterator = typename Variant::Map::Iterator;

    void fill(std::uint32_t from, std::uint32_t to) {
        for (std::uint32_t i = from; i < to; ++i) {
            this->insert(i);
        }
    }
    /// The keys from the iterator's entry on.
    static std::vector<std::uint32_t> rest(Iterator it) {
        std::vector<std::uint32_t> keys;
        for (; it; it.advance()) {
            keys.push_back(Variant::indexOf(it.key()));
        }
        return keys;
    }
    /// An iterator that has made `steps` steps.
    Iterator at(std::uint32_t steps) {
        auto it = this->map.iterator();
        for (; steps > 0; --steps) {
            it.advance();
        }
        return it;
    }
    static std::vector<std::uint32_t> from(std::vector<std::uint32_t> const &all,
                                           std::size_t first) {
        return {all.begin() + static_cast<std::ptrdiff_t>(first), all.end()};
    }
};
TYPED_TEST_SUITE(HashMap2018IteratorTest, MapVariants::All, MapVariants::Names);

TYPED_TEST(HashMap2018IteratorTest, StandsOnTheFirstEntryAtFirst) {
    this->fill(0, 30);
    auto it = this->map.iterator();
    ASSERT_TRUE(it);
    EXPECT_EQ(TypeParam::indexOf(it.key()), this->expectedWalk().front());
    EXPECT_EQ(it.node(), this->find(TypeParam::indexOf(it.key())));
}

TYPED_TEST(HashMap2018IteratorTest, TheEndMarkerIsBehindTheLastEntry) {
    this->fill(0, 30);
    EXPECT_FALSE(this->map.iteratorEnd());
    EXPECT_EQ(this->at(30), this->map.iteratorEnd());
    EXPECT_NE(this->at(29), this->map.iteratorEnd());
}

TYPED_TEST(HashMap2018IteratorTest, FromAKeyThatIsThereStandsOnIt) {
    this->fill(0, 30);
    auto const walk = this->walk();
    for (std::size_t i = 0; i < walk.size(); ++i) {
        EXPECT_EQ(this->rest(this->iteratorFrom(walk[i])), this->from(walk, i));
    }
}

TYPED_TEST(HashMap2018IteratorTest, FromAKeyThatIsGoneStandsOnTheFirstBehindItsPlace) {
    this->fill(0, 60);
    auto const all = this->walk();
    for (std::uint32_t i = 0; i < 60; i += 2) {
        this->erase(i);
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        auto expected = this->from(all, i);
        std::erase_if(expected, [](std::uint32_t key) { return key % 2 == 0; });
        EXPECT_EQ(this->rest(this->iteratorFrom(all[i])), expected) << all[i];
    }
}

TYPED_TEST(HashMap2018IteratorTest, FromAnyKeyOfAnEmptyMapIsTheEnd) {
    EXPECT_FALSE(this->iteratorFrom(7));
    this->fill(0, 3);
    this->map.emptyAllBuckets();
    EXPECT_FALSE(this->iteratorFrom(1));
}

TYPED_TEST(HashMap2018IteratorTest, FromAKeyMeansTheSameBeforeAndAfterGrowth) {
    this->fill(0, 7);
    this->erase(3);
    auto const before = this->rest(this->iteratorFrom(3));
    this->fill(10, 200);
    auto after = this->rest(this->iteratorFrom(3));
    std::erase_if(after, [](std::uint32_t key) { return key >= 10; });
    EXPECT_EQ(after, before);
}

TYPED_TEST(HashMap2018IteratorTest, CostsNoLookUpWhileTheMapIsUnchanged) {
    this->fill(0, 200);
    auto const sought = HTCnt::count(HTCnt::Counter::iteratorSought);
    for (auto it = this->map.iterator(); it; it.advance()) {
        EXPECT_NE(it.node(), nullptr);
    }
    EXPECT_EQ(HTCnt::count(HTCnt::Counter::iteratorSought), sought);
}

TYPED_TEST(HashMap2018IteratorTest, CostsOneLookUpAfterAChange) {
    this->fill(0, 200);
    auto it = this->at(3);
    this->insert(300);
    auto const sought = HTCnt::count(HTCnt::Counter::iteratorSought);
    EXPECT_NE(it.node(), nullptr);
    EXPECT_NE(it.node(), nullptr);
    it.advance();
    it.advance();
    EXPECT_EQ(HTCnt::count(HTCnt::Counter::iteratorSought), sought + 1);
}

TYPED_TEST(HashMap2018IteratorTest, LooksAheadAtNothingButEntriesThatItComesTo) {
    this->fill(0, 200);
    std::uint32_t seen = 0;
    for (auto it = this->map.iterator(); it; it.advance()) {
        EXPECT_EQ(it.ahead(0), it.node());
        for (std::uint32_t const slots : {1U, 2U, 7U, 24U}) {
            if (auto const *const node = it.ahead(slots)) {
                auto const key = TypeParam::indexOf(node->key());
                EXPECT_EQ(node, this->find(key));
                EXPECT_TRUE(this->before(TypeParam::indexOf(it.key()), key));
                ++seen;
            }
        }
        EXPECT_EQ(it.ahead(100000), nullptr) << "behind the last slot";
    }
    EXPECT_GT(seen, 100U);
}

TYPED_TEST(HashMap2018IteratorTest, HavingLinesFetchedChangesNothing) {
    for (std::uint32_t const count : {0U, 3U, 8U, 30U}) {
        this->fill(0, count);
        auto const stamp = this->map.stamp();
        this->map.prefetch();
        for (std::uint32_t i = 0; i < 40; ++i) {
            auto const key = this->variant.key(i);
            this->map.prefetch(TypeParam::Map::Traits::view(key));
        }
        EXPECT_EQ(this->map.stamp(), stamp);
        this->check(40);
    }
}

// When the entry under it goes away.

TYPED_TEST(HashMap2018IteratorTest, KeepsTheKeyOfADeletedEntryButNotTheEntry) {
    this->fill(0, 30);
    auto it = this->at(10);
    auto const key = TypeParam::indexOf(it.key());
    this->erase(key);
    ASSERT_TRUE(it);
    EXPECT_EQ(TypeParam::indexOf(it.key()), key);
    EXPECT_EQ(it.node(), nullptr);
}

TYPED_TEST(HashMap2018IteratorTest, StepsPastADeletedEntryToTheOneBehindIt) {
    this->fill(0, 30);
    auto const walk = this->walk();
    for (std::uint32_t steps = 0; steps < 30; ++steps) {
        auto it = this->at(steps);
        this->erase(walk[steps]);
        it.advance();
        EXPECT_EQ(this->rest(it), this->from(walk, steps + 1));
        this->insert(walk[steps]);
    }
}

TYPED_TEST(HashMap2018IteratorTest, ReachesEveryEntryOfAWalkThatDeletesAsItGoes) {
    this->fill(0, 100);
    auto const expected = this->walk();
    std::vector<std::uint32_t> visited;
    for (auto it = this->map.iterator(); it; it.advance()) {
        visited.push_back(TypeParam::indexOf(it.key()));
        this->erase(visited.back());
    }
    EXPECT_EQ(visited, expected);
    EXPECT_TRUE(this->map.empty());
}

TYPED_TEST(HashMap2018IteratorTest, StandsOnTheEntryAgainWhenItsKeyReturns) {
    this->fill(0, 30);
    auto it = this->at(10);
    auto const key = TypeParam::indexOf(it.key());
    auto const behind = this->rest(it);
    this->erase(key);
    this->insert(key, 5);
    EXPECT_EQ(it.node(), this->find(key));
    EXPECT_EQ(this->rest(it), behind);
}

TYPED_TEST(HashMap2018IteratorTest, ReachesTheEndWhenAllIsDeleted) {
    this->fill(0, 30);
    auto it = this->at(10);
    auto const key = TypeParam::indexOf(it.key());
    for (std::uint32_t i = 0; i < 30; ++i) {
        this->erase(i);
    }
    EXPECT_EQ(it.node(), nullptr);
    EXPECT_EQ(TypeParam::indexOf(it.key()), key);
    it.advance();
    EXPECT_FALSE(it);
}

TYPED_TEST(HashMap2018IteratorTest, ReachesTheEndAtTheNextStepWhenTheMapIsEmptied) {
    this->fill(0, 30);
    auto it = this->at(10);
    this->map.emptyAllBuckets();
    ASSERT_TRUE(it) << "at the next advance(), not before";
    EXPECT_EQ(it.node(), nullptr);
    it.advance();
    EXPECT_FALSE(it);
}

TYPED_TEST(HashMap2018IteratorTest, WalksOnInAMapThatWasEmptiedAndFilledAgain) {
    this->fill(0, 30);
    auto it = this->at(10);
    auto const expected = this->rest(it);
    this->map.emptyAllBuckets();
    this->model.clear();
    this->fill(0, 30);
    EXPECT_EQ(this->rest(it), expected);
}

// When entries come.

TYPED_TEST(HashMap2018IteratorTest, VisitsEntriesInsertedAheadAndNotThoseBehind) {
    this->fill(0, 40);
    auto it = this->at(20);
    auto const key = TypeParam::indexOf(it.key());
    this->fill(40, 120); // grows too
    auto expected = this->expectedWalk();
    std::erase_if(expected, [&](std::uint32_t i) { return this->before(i, key); });
    EXPECT_EQ(this->rest(it), expected);
}

TYPED_TEST(HashMap2018IteratorTest, SurvivesGrowthBetweenAnyTwoSteps) {
    this->fill(0, 8);
    auto const expected = this->walk();
    std::vector<std::uint32_t> visited;
    std::uint32_t next = 100;
    for (auto it = this->map.iterator(); it; it.advance()) {
        auto const key = TypeParam::indexOf(it.key());
        if (key < 8) {
            visited.push_back(key);
        }
        // Doubles the map, then takes the newcomers out again.
        auto const end = next + this->map.size() + 1;
        this->fill(next, end);
        for (; next < end; ++next) {
            this->erase(next);
        }
    }
    EXPECT_EQ(visited, expected);
}

TYPED_TEST(HashMap2018IteratorTest, AReplacementLeavesItOnItsEntry) {
    this->fill(0, 30);
    auto it = this->at(10);
    auto const key = TypeParam::indexOf(it.key());
    auto const behind = this->rest(it);
    this->replace(key, 77);
    EXPECT_EQ(it.node(), this->find(key));
    EXPECT_EQ(this->rest(it), behind);
}

// Copies, equality, the end.

TYPED_TEST(HashMap2018IteratorTest, ACopyWalksOnItsOwn) {
    this->fill(0, 30);
    auto it = this->at(10);
    auto const copy = it;
    it.advance();
    EXPECT_EQ(TypeParam::indexOf(copy.key()), this->walk()[10]);
    EXPECT_EQ(TypeParam::indexOf(it.key()), this->walk()[11]);
    it = copy;
    EXPECT_EQ(it, copy);
}

TYPED_TEST(HashMap2018IteratorTest, AMovedIteratorGoesOnWhereItWas) {
    this->fill(0, 30);
    auto it = this->at(10);
    auto const moved = std::move(it);
    EXPECT_EQ(this->rest(moved), this->from(this->walk(), 10));
}

TYPED_TEST(HashMap2018IteratorTest, EqualOnesStandOnTheSameKeyOfTheSameMap) {
    this->fill(0, 30);
    EXPECT_EQ(this->at(10), this->at(10));
    EXPECT_NE(this->at(10), this->at(11));
    EXPECT_EQ(this->map.iteratorEnd(), this->map.iteratorEnd());

    typename TypeParam::Map other;
    EXPECT_NE(this->map.iteratorEnd(), other.iteratorEnd());
    auto const first = TypeParam::indexOf(this->map.iterator().key());
    other.newMemberG(this->variant.node(first, 0));
    EXPECT_NE(this->map.iterator(), other.iterator());
}

TYPED_TEST(HashMap2018IteratorTest, EqualOnesStayEqualWhenTheMapChanges) {
    this->fill(0, 30);
    auto const before = this->at(10);
    this->fill(30, 100);
    EXPECT_EQ(before, this->iteratorFrom(TypeParam::indexOf(before.key())));
}

TYPED_TEST(HashMap2018IteratorTest, OfAnEmptyMapIsAtTheEnd) {
    EXPECT_EQ(this->map.iterator(), this->map.iteratorEnd());
}

using Map = MapVariants::Maps::Map;

TEST(HashMap2018IteratorDeathTest, UsingItAtTheEndIsAnAssertion) {
    Map map;
    map.newMemberG({{1}, 0});
    auto it = map.iteratorEnd();
    EXPECT_DEATH(static_cast<void>(it.key()), "Assertion `iter_' failed");
    EXPECT_DEATH(static_cast<void>(it.node()), "Assertion `iter_' failed");
    EXPECT_DEATH(it.advance(), "Assertion `iter_' failed");
}

// The promise that slices of a scan rest on.

/// Walks a map that changes at random between the steps, and keeps the account: which keys were
/// there throughout, and how often each was visited.
template <class Variant> class Account {
  public:
    Account(MapVariants::Modelled<Variant> &scanned, TestSupport::Random &source,
            std::uint32_t keyLimit)
        : subject_(scanned), random_(source), limit_(keyLimit) {
        for (auto const &entry : subject_.model) {
            throughout_.insert(entry.first);
        }
    }

    /// A few random changes; now and then a burst, a clearing, or a new start.
    void disturb() {
        switch (random_.below(40)) {
        case 0:
            subject_.map.emptyAllBuckets();
            subject_.model.clear();
            throughout_.clear();
            return;
        case 1: // a burst: the map grows
            for (std::uint32_t n = 0; n < 100; ++n) {
                subject_.insert(random_.below(limit_));
            }
            return;
        case 2: // a clearing
            for (std::uint32_t n = 0; n < 30; ++n) {
                erase(random_.below(limit_));
            }
            return;
        default:
            break;
        }
        for (auto changes = random_.below(4); changes > 0; --changes) {
            std::uint32_t const i = random_.below(limit_);
            switch (random_.below(3)) {
            case 0:
                erase(i);
                break;
            case 1:
                subject_.replace(i, 1);
                break;
            default:
                subject_.insert(i);
            }
        }
    }
    /// The entry under the cursor goes away.
    void erase(std::uint32_t i) {
        subject_.erase(i);
        throughout_.erase(i);
    }
    void visit(std::uint32_t i) {
        if (last_ >= 0) {
            EXPECT_TRUE(subject_.before(static_cast<std::uint32_t>(last_), i));
        }
        last_ = i;
        ++visits_[i];
    }
    void settle() const {
        for (std::uint32_t const i : throughout_) {
            auto const found = visits_.find(i);
            EXPECT_EQ(found == visits_.end() ? 0 : found->second, 1) << "key " << i;
        }
        for (auto const &[i, count] : visits_) {
            EXPECT_EQ(count, 1) << "key " << i;
        }
    }
    [[nodiscard]] bool isThere(std::uint32_t i) const { return subject_.model.contains(i); }
    [[nodiscard]] std::size_t survivors() const { return throughout_.size(); }

  private:
    MapVariants::Modelled<Variant> &subject_;
    TestSupport::Random &random_;
    std::uint32_t limit_;
    std::set<std::uint32_t> throughout_;
    std::map<std::uint32_t, int> visits_;
    std::int64_t last_ = -1;
};

template <class Variant> class HashMap2018WalkTest : public HashMap2018IteratorTest<Variant> {
  protected:
    static constexpr std::uint32_t limit = 150;

    /// Runs `scan( account )` many times over maps of random contents.
    template <class Scan> void manyTimes(std::uint32_t seed, Scan scan) {
        TestSupport::Random random(seed);
        std::size_t survivors = 0;
        for (int round = 0; round < 150; ++round) {
            this->map.emptyAllBuckets();
            this->model.clear();
            for (auto n = random.below(limit); n > 0; --n) {
                this->insert(random.below(limit));
            }
            Account<Variant> account(*this, random, limit);
            scan(account, random);
            account.settle();
            survivors += account.survivors();
            ASSERT_FALSE(this->HasFailure()) << "round " << round;
        }
        EXPECT_GT(survivors, 500U) << "enough was there throughout to be counted";
    }
};
TYPED_TEST_SUITE(HashMap2018WalkTest, MapVariants::All, MapVariants::Names);

TYPED_TEST(HashMap2018WalkTest, AnIteratorVisitsWhatWasThereThroughoutExactlyOnce) {
    this->manyTimes(20182, [this](auto &account, TestSupport::Random &random) {
        for (auto it = this->map.iterator(); it; it.advance()) {
            auto const i = TypeParam::indexOf(it.key());
            account.visit(i);
            account.disturb();
            if (random.oneIn(10)) {
                account.erase(i);
            }
            EXPECT_EQ(it.node() != nullptr, account.isThere(i)) << "never a stale entry";
        }
    });
}

TYPED_TEST(HashMap2018WalkTest, SlicesResumedAtABookmarkVisitWhatWasThereThroughoutExactlyOnce) {
    this->manyTimes(20183, [this](auto &account, TestSupport::Random &random) {
        // The bookmark is the next key to visit, as a scan keeps it over a yield.
        auto it = this->map.iterator();
        while (it) {
            for (auto slice = 1 + random.below(5); it && slice > 0; --slice) {
                account.visit(TypeParam::indexOf(it.key()));
                it.advance();
            }
            if (it) {
                auto const bookmark = TypeParam::indexOf(it.key());
                account.disturb();
                it = this->iteratorFrom(bookmark);
            }
        }
    });
}

} // namespace
} // namespace Qor
