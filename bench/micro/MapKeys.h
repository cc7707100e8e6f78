// The keys of the map benchmarks, and their forms for our maps and for the others.
//
// They are those of the real system: subinterfaces of 64 port-channels in sequence, VLANs, and
// pairs of both, in shuffled order.
#pragma once

#include "bench/micro/Micro.h"
#include "platform/Bridging/VlanId.h"
#include "platform/Iftel/IntfId.h"
#include "platform/VlanSubIntfStatusLib.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Bench::Micro {

/// What VidIntf is to our maps: 8 bytes and 2.
struct PairKey {
    std::uint64_t intf;
    std::uint16_t vlan;

    friend bool operator==(PairKey const &, PairKey const &) = default;
    template <class State> friend State AbslHashValue(State state, PairKey const &key) {
        return State::combine(std::move(state), key.intf, key.vlan);
    }
};

/// One multiplication, as one would write it for PairKey.
struct MixHash {
    std::size_t operator()(PairKey const &key) const noexcept {
        std::uint64_t const mixed =
            (key.intf ^ std::uint64_t{key.vlan} << 40) * 0x9E3779B97F4A7C15U;
        return mixed ^ mixed >> 32;
    }
};

/// What the key of any form is made of.
struct KeyParts {
    Iftel::IntfId intf;
    Bridging::VlanId vlanInPair;
    Bridging::VlanId vlan; ///< distinct within one map of up to 32,768
};

template <class Key> Key keyOf(KeyParts const &parts);
template <> inline std::uint16_t keyOf(KeyParts const &parts) {
    return parts.vlan.value();
}
template <> inline Bridging::VlanId keyOf(KeyParts const &parts) {
    return parts.vlan;
}
template <> inline std::uint64_t keyOf(KeyParts const &parts) {
    return parts.intf.bits();
}
template <> inline Iftel::IntfId keyOf(KeyParts const &parts) {
    return parts.intf;
}
template <> inline PairKey keyOf(KeyParts const &parts) {
    return {parts.intf.bits(), parts.vlanInPair.value()};
}
template <> inline VlanSubIntfStatusLib::VidIntf keyOf(KeyParts const &parts) {
    return {parts.intf, parts.vlanInPair};
}

/// The keys of `maps` maps of `perMap` entries each, map by map.
template <class Key> class Keys {
  public:
    Keys(std::size_t maps, std::size_t perMap) : perMap_(perMap) {
        for (std::size_t i = 0; i < maps * perMap; ++i) {
            present.push_back(keyOf<Key>(parts(i, true)));
            absent.push_back(keyOf<Key>(parts(i, false)));
        }
        deleted = present;
        shuffle();
        shuffleEachMap(absent);
    }

    void shuffle() {
        shuffleEachMap(present);
        shuffleEachMap(deleted);
    }

    std::vector<Key> present; ///< in the order of insertion
    std::vector<Key> deleted; ///< the same in the order of deletion
    std::vector<Key> absent;

  private:
    KeyParts parts(std::size_t number, bool isPresent) {
        using Iftel::IntfId;
        auto const parent = static_cast<std::uint32_t>(random_() % 64 + 1);
        auto const kind = isPresent ? Iftel::IntfKind::portChannel : Iftel::IntfKind::ethernet;
        std::size_t const vlan = (number % perMap_ + 577 * (number / perMap_)) % 32768 * 2;
        return {IntfId::subIntf(IntfId::intf(kind, parent), static_cast<std::uint32_t>(number + 1)),
                Bridging::VlanId(static_cast<std::uint16_t>(number % 4094 + 1)),
                Bridging::VlanId(static_cast<std::uint16_t>(vlan + (isPresent ? 0 : 1)))};
    }
    void shuffleEachMap(std::vector<Key> &keys) {
        auto const step = static_cast<std::ptrdiff_t>(perMap_);
        for (auto from = keys.begin(); from != keys.end(); from += step) {
            std::shuffle(from, from + step, random_);
        }
    }

    std::size_t perMap_;
    Random random_{42};
};

} // namespace Bench::Micro
