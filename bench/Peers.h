// The peers that are one join in different materials: what each holds its collections in, how it
// holds what they lead to, whether it notifies.
//
//     P0    flat hash maps, everything in their own memory: the least that derives the output
//     P0i   P0 with a small inline set for the members of an entry
//     P1    standard hash maps and shared pointers
//     P2    flat hash maps of counted objects; one virtual notification per write
//     P2x   P2 with the inline set, and an index that holds the entries
//     P2h   P2x on a hash-ordered map
#pragma once

#include "bench/Boxes.h"
#include "bench/HashOrderedMap.h"

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace Bench {

/// A subinterface in a VLAN.
using Pair = std::pair<PeerIds::Intf, PeerIds::Vlan>;

struct PairHash {
    std::size_t operator()(Pair const &pair) const noexcept {
        std::uint64_t const product =
            (pair.first ^ std::uint64_t{pair.second} << 40) * 0x9E3779B97F4A7C15U;
        return product ^ product >> 32;
    }
};

struct FlatContainers {
    template <class Key, class Value> using Map = absl::flat_hash_map<Key, Value>;
    using Members = absl::flat_hash_set<PeerIds::Intf>;
    using Pairs = absl::flat_hash_set<Pair>;
};

/// Everything inline, nothing notified.
struct InlineBoxes {
    static constexpr bool notifies = false;
    static constexpr bool reserves = true;
    /// A box is held while its object is written.
    static constexpr bool holds = false;
    /// The index leads to the entries; otherwise they are looked up.
    static constexpr bool indexesEntries = false;

    using Base = PlainEntity;
    template <class T> using Box = Inline<T>;
    template <class T> static void make(Inline<T> &, std::uint64_t) noexcept {}
};

struct P0 : InlineBoxes, FlatContainers {};

struct P0i : P0 {
    using Members = SmallSet<8>;
};

struct P1 : InlineBoxes {
    static constexpr bool reserves = false;
    static constexpr bool holds = true;
    template <class Key, class Value> using Map = std::unordered_map<Key, Value>;
    using Members = std::unordered_set<PeerIds::Intf>;
    using Pairs = std::unordered_set<Pair, PairHash>;

    template <class T> using Box = std::shared_ptr<T>;
    template <class T> static void make(std::shared_ptr<T> &box, std::uint64_t) {
        box = std::make_shared<T>();
    }
};

struct P2 : InlineBoxes, FlatContainers {
    static constexpr bool notifies = true;
    static constexpr bool holds = true;

    using Base = CountedEntity;
    template <class T> using Box = Counted<T>;
    template <class T> static void make(Counted<T> &box, std::uint64_t key) {
        box = Counted<T>(new T);
        box->key = key;
    }
};

struct P2x : P2 {
    static constexpr bool indexesEntries = true;
    using Members = SmallSet<8>;
    template <class Value> using PairMap = absl::flat_hash_map<Pair, Value>;
};

struct P2h : P2x {
    template <class Key, class Value> using Map = HashOrderedMap<Key, Value>;
    template <class Value> using PairMap = HashOrderedMap<Pair, Value>;
};

} // namespace Bench
