// The kinds of map and set that the typed suites of HashMap2018 run over.
//
// A variant numbers its keys: key(i), node(i, value), and back: indexOf(key), valueOf(node). What
// is put in and found again can so be compared with a model over plain numbers.
//
//   Sets, Maps           ordinary keys
//   LargeEntries         entries so large that a small map begins with four
//   KeyedByFunctor       the key is read from the value, an object
//   PointerKeys          keys are objects, hashed by their serial; key 0 is null
//   AllHashesEqual       one run of equal hashes, ordered by key alone
//   AllHashesHighest     the same at the upper end: everything lies behind the last home slot
//   HashesAtTheEnds      hashes near 0 and near the largest, where the marks of free slots are;
//                        some differ only in the lowest bit, which the map does not keep
//   HashesInOrder        hash = key: all share the lowest home slot
#pragma once

#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Pool.h"
#include "platform/Qor/PtrInterface.h"
#include "platform/Qor/Type.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

namespace Qor::MapVariants {

template <class HashOf> struct NumberKey {
    std::uint32_t number = 0;
    [[nodiscard]] std::uint32_t hash(std::uint32_t seed) const noexcept {
        return HashOf()(seed, number);
    }
    friend auto operator<=>(NumberKey const &, NumberKey const &) = default;
};

struct Mixed {
    std::uint32_t operator()(std::uint32_t seed, std::uint32_t number) const noexcept {
        return hashSingleAttr(seed, number);
    }
};
template <std::uint32_t Constant> struct Equal {
    std::uint32_t operator()(std::uint32_t /*seed*/, std::uint32_t /*number*/) const noexcept {
        return Constant;
    }
};
struct AtTheEnds {
    std::uint32_t operator()(std::uint32_t /*seed*/, std::uint32_t number) const noexcept {
        std::array<std::uint32_t, 8> const hashes{0, 1, 2, 4, ~0U - 4, ~0U - 2, ~0U - 1, ~0U};
        return hashes[number % hashes.size()];
    }
};
struct InOrder {
    std::uint32_t operator()(std::uint32_t /*seed*/, std::uint32_t number) const noexcept {
        return number;
    }
};

/// An object with a number: a value that holds its key, or a key itself.
class Item final : public PtrInterface, public PoolAllocated<Item> {
  public:
    static constexpr std::string_view qorTypeName = "Test::Item";
    Item(std::uint32_t key, int itsValue) noexcept : number(key), value(itsValue) {}
    [[nodiscard]] FwkType fwkType() const noexcept override;

    std::uint32_t const number;
    int const value;
};

inline constexpr TypeImpl itemType("Test::Item");
inline constexpr std::array<TypeImpl const *, 1> itemTypes{&itemType};
inline constexpr Module itemModule{"HashMap2018Test", itemTypes};
inline FwkType Item::fwkType() const noexcept {
    return {&itemModule, 0};
}

struct Sets {
    using Key = NumberKey<Mixed>;
    using Map = HashMap2018<Key, void, 0x5E75>;
    static constexpr bool hasValues = false;
    static Key key(std::uint32_t i) { return {i}; }
    static Map::Node node(std::uint32_t i, int /*value*/) { return {{i}}; }
    static std::uint32_t indexOf(Key key) { return key.number; }
    static int valueOf(Map::Node const & /*node*/) { return 0; }
};

template <class HashOf> struct MapsHashedBy {
    using Key = NumberKey<HashOf>;
    using Map = HashMap2018<Key, int, 0x3A95>;
    static constexpr bool hasValues = true;
    static Key key(std::uint32_t i) { return {i}; }
    static typename Map::Node node(std::uint32_t i, int value) { return {{i}, value}; }
    static std::uint32_t indexOf(Key key) { return key.number; }
    static int valueOf(typename Map::Node const &node) { return node.value(); }
    static int replacement(std::uint32_t /*i*/, int value) { return value; }
};
using Maps = MapsHashedBy<Mixed>;
using AllHashesEqual = MapsHashedBy<Equal<0x12345678>>;
using AllHashesHighest = MapsHashedBy<Equal<~0U>>;
using HashesAtTheEnds = MapsHashedBy<AtTheEnds>;
using HashesInOrder = MapsHashedBy<InOrder>;

struct LargeEntries {
    struct Value {
        int value = 0;
        std::array<std::uint64_t, 3> more{};
    };
    using Key = NumberKey<Mixed>;
    using Map = HashMap2018<Key, Value, 0x1A46E>;
    static constexpr bool hasValues = true;
    static Key key(std::uint32_t i) { return {i}; }
    static Map::Node node(std::uint32_t i, int value) { return {{i}, {value, {}}}; }
    static std::uint32_t indexOf(Key key) { return key.number; }
    static int valueOf(Map::Node const &node) { return node.value().value; }
    static Value replacement(std::uint32_t /*i*/, int value) { return {value, {}}; }
};

struct KeyedByFunctor {
    using Key = NumberKey<Mixed>;
    struct KeyOf {
        Key operator()(Ptr<Item> const &item) const noexcept { return {item->number}; }
    };
    using Map = HashMap2018<Key, Ptr<Item>, 0x4E7, KeyOf>;
    static constexpr bool hasValues = true;
    static Key key(std::uint32_t i) { return {i}; }
    static Map::Node node(std::uint32_t i, int value) { return {make<Item>(i, value)}; }
    static std::uint32_t indexOf(Key key) { return key.number; }
    static int valueOf(Map::Node const &node) { return node.value()->value; }
    static Ptr<Item> replacement(std::uint32_t i, int value) { return make<Item>(i, value); }
};

struct PointerKeys {
    using Key = Ptr<Item>;
    using Map = HashMap2018<Key, int, 0x9714>;
    static constexpr bool hasValues = true;
    Key key(std::uint32_t i) {
        while (items_.size() <= i) {
            items_.push_back(items_.empty()
                                 ? nullptr
                                 : make<Item>(static_cast<std::uint32_t>(items_.size()), 0));
        }
        return items_[i];
    }
    Map::Node node(std::uint32_t i, int value) { return {key(i), value}; }
    static std::uint32_t indexOf(Key const &key) { return key ? key->number : 0; }
    static int valueOf(Map::Node const &node) { return node.value(); }
    static int replacement(std::uint32_t /*i*/, int value) { return value; }

  private:
    std::vector<Key> items_;
};

using All = testing::Types<Sets, Maps, LargeEntries, KeyedByFunctor, PointerKeys, AllHashesEqual,
                           AllHashesHighest, HashesAtTheEnds, HashesInOrder>;

/// Names the variants in the output.
struct Names {
    template <class Variant> static char const *GetName(int index) {
        static constexpr std::array names{
            "Sets",         "Maps",           "LargeEntries",     "KeyedByFunctor",
            "PointerKeys",  "AllHashesEqual", "AllHashesHighest", "HashesAtTheEnds",
            "HashesInOrder"};
        return names[static_cast<std::size_t>(index)];
    }
};

/// A map of one variant, next to a model of it.
template <class Variant> class Modelled {
  public:
    using Map = typename Variant::Map;
    using Traits = typename Map::Traits;

    Variant variant;
    Map map;
    std::map<std::uint32_t, int> model;

    bool insert(std::uint32_t i, int value = 0) {
        bool const isNew = map.newMemberG(variant.node(i, value)).second;
        EXPECT_EQ(isNew, model.try_emplace(i, Variant::hasValues ? value : 0).second) << i;
        return isNew;
    }
    bool erase(std::uint32_t i) {
        auto const key = variant.key(i);
        bool const wasThere = map.deleteMemberG(Traits::view(key)).hasValue();
        EXPECT_EQ(wasThere, model.erase(i) == 1) << i;
        return wasThere;
    }
    /// Give the entry of that key another value, if it is there and the map has values.
    bool replace(std::uint32_t i, int value) {
        if constexpr (Variant::hasValues) {
            if (auto const *const node = find(i)) {
                map.replaceValue(*node, variant.replacement(i, value));
                model[i] = value;
                return true;
            }
        }
        return false;
    }
    /// Both look-ups find the same.
    typename Map::Node const *find(std::uint32_t i) {
        auto const key = variant.key(i);
        auto const *const node = map.lookupNodeG(Traits::view(key));
        EXPECT_EQ(map.lookupChangedG(Traits::view(key)), node) << i;
        return node;
    }
    typename Map::Iterator iteratorFrom(std::uint32_t i) {
        auto const key = variant.key(i);
        return map.iteratorFrom(Traits::view(key));
    }

    /// The keys in the order in which a walk meets them.
    [[nodiscard]] std::vector<std::uint32_t> walk() const {
        std::vector<std::uint32_t> order;
        for (auto it = map.iterator(); it; it.advance()) {
            order.push_back(Variant::indexOf(it.key()));
        }
        return order;
    }
    /// Whether `a` stands before `b` in the order of (hash, key).
    bool before(std::uint32_t a, std::uint32_t b) {
        auto const first = variant.key(a);
        auto const second = variant.key(b);
        auto const firstHash = hashOf(first);
        auto const secondHash = hashOf(second);
        return firstHash != secondHash ? firstHash < secondHash
                                       : Traits::before(Traits::view(first), Traits::view(second));
    }
    /// The keys of the model in the order that the map promises.
    std::vector<std::uint32_t> expectedWalk() {
        std::vector<std::uint32_t> order;
        for (auto const &entry : model) {
            order.push_back(entry.first);
        }
        std::ranges::sort(order, [this](std::uint32_t a, std::uint32_t b) { return before(a, b); });
        return order;
    }
    /// Everything that a reader can see agrees with the model; keys are below `limit`.
    void check(std::uint32_t limit) {
        ASSERT_EQ(map.size(), model.size());
        ASSERT_EQ(map.empty(), model.empty());
        ASSERT_EQ(walk(), expectedWalk());
        for (std::uint32_t i = 0; i < limit; ++i) {
            auto const *const node = find(i);
            auto const expected = model.find(i);
            ASSERT_EQ(node != nullptr, expected != model.end()) << i;
            if (node) {
                ASSERT_EQ(Variant::indexOf(node->key()), i);
                ASSERT_EQ(Variant::valueOf(*node), expected->second) << i;
            }
        }
    }

  private:
    /// What the map keeps of a key's hash, and orders by.
    static std::uint32_t hashOf(typename Variant::Key const &key) {
        return Impl::HashTable<typename Map::Node, Traits>::storedHash(
            Traits::hash(HashHelper::hashSeed32() ^ Map::typeConstant, Traits::view(key)));
    }
};

} // namespace Qor::MapVariants
