// Identifiers that someone chose to make maps slow. He knows the hash function, the map's type and
// one seed; the process has another. Counted over many seeds, also over those that differ from his
// in one bit: what crafted keys cost against what ordinary keys of that type cost under the same
// seed. At most twice is allowed. Each set is shown to be crafted well: under his own seed it costs
// a multiple.
#include "VlanSubIntfConfigLib/OutputKeys.h"
#include "platform/VlanSubIntfStatusLib.h"
#include "tests/hostile/Crafted.h"
#include "tests/hostile/Scale.h"
#include "tests/hostile/Work.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace Hostile {
namespace {

using VlanSubIntfConfigLib::ConfigIntfOutputKey;
using VlanSubIntfConfigLib::LagPhyIntfOutputKey;
using VlanSubIntfStatusLib::VidIntf;

/// The seed that the attacker knows, and the type of the map that he has in view.
constexpr std::uint32_t hisSeed = 0xC0FFEE11;
constexpr std::uint32_t mapType = 0x40CF24F4;
constexpr std::uint32_t count = 4096 / (scale == 1 ? 1 : 4);

/// A process's seed can be any: random ones, and those next to his.
std::vector<std::uint32_t> otherSeeds() {
    std::vector<std::uint32_t> seeds = {hisSeed - 1, hisSeed + 1, ~hisSeed};
    for (unsigned bit = 0; bit < 32; ++bit) {
        seeds.push_back(hisSeed ^ 1U << bit);
    }
    std::mt19937 random(20180101);
    for (std::uint32_t i = 0; i < 64 / scale; ++i) {
        seeds.push_back(static_cast<std::uint32_t>(random()));
    }
    return seeds;
}

/// Costs of two sets of keys under one seed.
struct Costs {
    Work crafted;
    Work ordinary;
    [[nodiscard]] double ratio() const {
        return static_cast<double>(crafted.total()) / static_cast<double>(ordinary.total());
    }
};

template <class Id>
Costs costsUnder(std::uint32_t seed, std::vector<Id> const &crafted,
                 std::vector<Id> const &ordinary) {
    SeedIs const here(seed);
    return {workOf<Id, mapType>(crafted), workOf<Id, mapType>(ordinary)};
}

/// Under every other seed the crafted keys cost at most twice what ordinary ones do. Both sets
/// have one size. The largest ratio is the test's property.
template <class Id>
void expectNoSlowdown(std::vector<Id> const &crafted, std::vector<Id> const &ordinary) {
    ASSERT_EQ(crafted.size(), ordinary.size());
    double largest = 0;
    for (std::uint32_t const seed : otherSeeds()) {
        Costs const costs = costsUnder(seed, crafted, ordinary);
        largest = std::max(largest, costs.ratio());
        ASSERT_LE(costs.ratio(), 2.0)
            << "seed " << seed << ": " << costs.crafted << " against " << costs.ordinary;
        ASSERT_LE(costs.crafted.longestRun, count / 4) << "seed " << seed;
    }
    testing::Test::RecordProperty("largestRatio", std::to_string(largest));
}

/// The keys are crafted: under his seed they cost many times what ordinary ones do.
template <class Id>
void expectCrafted(std::vector<Id> const &crafted, std::vector<Id> const &ordinary, double times) {
    Costs const costs = costsUnder(hisSeed, crafted, ordinary);
    EXPECT_GT(costs.ratio(), times) << costs.crafted << " against " << costs.ordinary;
    testing::Test::RecordProperty("ratioUnderHisSeed", std::to_string(costs.ratio()));
}

/// What ordinary names give: "PortChannel10.1" and so on.
IntfIds sequential() {
    IntfIds ids;
    for (std::uint32_t number = 1; number <= count; ++number) {
        ids.push_back(lagSubIntf(10, number));
    }
    return ids;
}

TEST(CraftedIds, SubinterfacesOfOneHash) {
    auto const crafted = intfIdsOfOneHash(hisSeed ^ mapType, count);
    expectCrafted(crafted, sequential(), 50);
    expectNoSlowdown(crafted, sequential());
}

TEST(CraftedIds, SubinterfacesOfOneLagAndOneHomeSlot) {
    auto const crafted = intfIdsOfOneSlot(hisSeed ^ mapType, scale == 1 ? 13 : 11, count);
    expectCrafted(crafted, sequential(), 50);
    expectNoSlowdown(crafted, sequential());
}

TEST(CraftedIds, VlansOfOneRegionOfTheMap) {
    auto const crafted = vlanIdsOfOneRegion(hisSeed ^ mapType, 3);
    std::vector<Bridging::VlanId> ordinary;
    for (std::uint32_t number = 1; number <= crafted.size(); ++number) {
        ordinary.push_back(vlanId(number));
    }
    ASSERT_GT(crafted.size(), 400U);
    expectCrafted(crafted, ordinary, 5);
    expectNoSlowdown(crafted, ordinary);
}

/// Ids at equal distances, as someone might hope that they fall on each other.
TEST(CraftedIds, ProgressionsOfEveryStep) {
    auto const ordinary = sequential();
    for (unsigned shift = 0; shift < 20; shift += 2) {
        SCOPED_TRACE(shift);
        IntfIds subIntfs;
        IntfIds intfs;
        for (std::uint32_t i = 0; i < count; ++i) {
            subIntfs.push_back(lagSubIntf(10, i << shift));
            intfs.push_back(lagId((i << shift) % (1U << 28) + (i >> (28 - shift))));
        }
        expectNoSlowdown(subIntfs, ordinary);
        if (shift <= 16) {
            expectNoSlowdown(intfs, ordinary);
        }
    }
}

TEST(CraftedIds, NumbersOfLagsOneAfterTheOther) {
    IntfIds lags;
    for (std::uint32_t number = 1; number <= count; ++number) {
        lags.push_back(lagId(number));
    }
    expectNoSlowdown(lags, sequential());
}

// Keys of several fields. The output keys take the interface's own hash, which is under the
// process's seed: so these are crafted for that of his process, not for a map.

std::vector<ConfigIntfOutputKey> entryKeys(IntfIds const &ids) {
    std::vector<ConfigIntfOutputKey> keys;
    for (auto const id : ids) {
        keys.emplace_back(vlanId(7), id, true, true);
    }
    return keys;
}
std::vector<LagPhyIntfOutputKey> memberKeys(IntfIds const &ids) {
    std::vector<LagPhyIntfOutputKey> keys;
    for (auto const id : ids) {
        keys.emplace_back(id, true);
    }
    return keys;
}
std::vector<VidIntf> pairs(IntfIds const &ids) {
    std::vector<VidIntf> keys;
    for (auto const id : ids) {
        keys.push_back({id, vlanId(7)});
    }
    return keys;
}

TEST(CraftedIds, EntryKeysOfSubinterfacesOfOneHash) {
    auto const ordinary = entryKeys(sequential());
    auto const crafted = entryKeys(intfIdsOfOneHash(hisSeed, count));
    expectCrafted(crafted, ordinary, 50);
    expectNoSlowdown(crafted, ordinary);
    expectNoSlowdown(entryKeys(intfIdsOfOneHash(0, count)), ordinary);
}

TEST(CraftedIds, MemberKeysOfInterfacesOfOneHash) {
    auto const ordinary = memberKeys(sequential());
    auto const crafted = memberKeys(intfIdsOfOneHash(hisSeed, count));
    expectCrafted(crafted, ordinary, 50);
    expectNoSlowdown(crafted, ordinary);
    expectNoSlowdown(memberKeys(intfIdsOfOneHash(0, count)), ordinary);
}

TEST(CraftedIds, PairsWhoseInterfacesHaveOneHash) {
    auto const ordinary = pairs(sequential());
    expectNoSlowdown(pairs(intfIdsOfOneHash(hisSeed ^ mapType, count)), ordinary);
    expectNoSlowdown(pairs(intfIdsOfOneHash(hisSeed, count)), ordinary);
}

/// Two wide fields: the second can be chosen so that it cancels what the first came to.
struct WideKey {
    std::uint64_t first = 0;
    std::uint64_t second = 0;

    [[nodiscard]] std::uint32_t hash(std::uint32_t seed) const noexcept {
        Qor::Hash hash(seed);
        hash.hashMix(first);
        hash.hashMix(second);
        return hash.result();
    }
    friend auto operator<=>(WideKey const &, WideKey const &) noexcept = default;
};

/// Keys that agree under `seed`, given that it takes part as `seedPart` times the step.
std::vector<WideKey> cancellingKeys(std::uint64_t seedPart) {
    std::vector<WideKey> keys;
    for (std::uint64_t first = 1; first <= count; ++first) {
        std::uint64_t const word =
            Qor::Impl::hashMix64(first + (seedPart + sizeof(first)) * Qor::Impl::hashStep);
        keys.push_back({first, 0x1234567890U - word});
    }
    return keys;
}

/// One wide field, every bit of which can be chosen.
struct WholeField {
    std::uint64_t field = 0;

    [[nodiscard]] std::uint32_t hash(std::uint32_t seed) const noexcept {
        return Qor::hashSingleAttr(seed, field);
    }
    friend auto operator<=>(WholeField const &, WholeField const &) noexcept = default;
};

/// Fields that the mixer's first multiplication takes to `base` plus each of the patterns, if the
/// seed's addition is left out or, `isFolded`, meets the first fold undone. Were there no fold
/// before the multiplication, their differences would be his whatever the seed is.
std::vector<WholeField> fieldsOfPatterns(std::uint64_t base, bool isFolded,
                                         std::vector<std::uint64_t> const &patterns) {
    constexpr std::uint64_t inverse = Impl::inverseOf(0xBF58476D1CE4E5B9U);
    std::vector<WholeField> fields;
    for (std::uint64_t const pattern : patterns) {
        std::uint64_t const field = (base + pattern) * inverse;
        fields.push_back({isFolded ? fold(field) : field});
    }
    return fields;
}

TEST(CraftedIds, DifferencesThatNoSeedTakesAway) {
    std::vector<WholeField> ordinary;
    for (std::uint64_t number = 0; number < count; ++number) {
        ordinary.push_back({number});
    }
    // Patterns in the low half, in the high half, and in both, where folding the one into the
    // other may cancel them.
    for (unsigned shift = 0; shift + 12 <= 32; shift += 4) {
        SCOPED_TRACE(shift);
        std::vector<std::uint64_t> low;
        std::vector<std::uint64_t> high;
        std::vector<std::uint64_t> both;
        for (std::uint64_t number = 0; number < count; ++number) {
            low.push_back(number << shift);
            high.push_back(number << (32 + shift));
            both.push_back(low.back() | high.back());
        }
        for (auto const &patterns : {low, high, both}) {
            for (bool const isFolded : {false, true}) {
                expectNoSlowdown(fieldsOfPatterns(0, isFolded, patterns), ordinary);
                expectNoSlowdown(fieldsOfPatterns(0x0123456789ABCDEFU, isFolded, patterns),
                                 ordinary);
            }
        }
    }
}

TEST(CraftedIds, TwoFieldsThatCancelEachOther) {
    std::vector<WideKey> ordinary;
    for (std::uint64_t first = 1; first <= count; ++first) {
        ordinary.push_back({first, 1});
    }
    auto const crafted = cancellingKeys(hisSeed ^ mapType);
    expectCrafted(crafted, ordinary, 50);
    expectNoSlowdown(crafted, ordinary);
    expectNoSlowdown(cancellingKeys(0), ordinary); // without the seed in the first field
}

// Pointer keys lie by the serials of their objects, which someone can choose by making objects and
// letting them go.

class Item final : public Qor::PtrInterface, public Qor::PoolAllocated<Item> {
  public:
    static constexpr std::string_view qorTypeName = "Test::HostileItem";
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override { return {}; }
};
using Items = std::vector<Qor::Ptr<Item>>;
using ItemMap = Qor::HashMap2018<Qor::Ptr<Item>, int, mapType>;

/// `size` objects of those whose serials pass; serials start anew.
Items itemsWhere(std::size_t size, std::function<bool(std::uint32_t)> const &passes) {
    Qor::VFPtrInterface::creationSerialResetForTest();
    Items items;
    while (items.size() < size) {
        auto item = Qor::make<Item>();
        if (passes(item->creationSerial())) {
            items.push_back(std::move(item));
        }
    }
    return items;
}

Work workOfItems(std::uint32_t seed, Items const &items) {
    SeedIs const here(seed);
    ItemMap map;
    for (auto const &item : items) {
        map.newMemberG({item, 0});
    }
    Work work;
    addStructure(map, work);
    return work;
}

TEST(CraftedIds, ObjectsMadeAtChosenMoments) {
    constexpr std::uint32_t items = 512;
    auto const crafted = itemsWhere(items, [](std::uint32_t serial) {
        return Qor::hashSingleAttr(hisSeed ^ mapType, serial) >> 22 == 0;
    });
    auto const everyThousandth =
        itemsWhere(items, [](std::uint32_t serial) { return serial % 1024 == 0; });
    auto const ordinary = itemsWhere(items, [](std::uint32_t) { return true; });
    EXPECT_GT(workOfItems(hisSeed, crafted).slots, 50 * workOfItems(hisSeed, ordinary).slots);
    for (std::uint32_t const seed : otherSeeds()) {
        auto const allowed = 2 * workOfItems(seed, ordinary).slots;
        ASSERT_LE(workOfItems(seed, crafted).slots, allowed) << seed;
        ASSERT_LE(workOfItems(seed, everyThousandth).slots, allowed) << seed;
    }
}

} // namespace
} // namespace Hostile
