// Keys that an attacker makes who knows the hash function and one seed: all with one hash, or all
// with hashes that share a home slot.
//
// The mixer is a permutation of 64 bits, so hashes are simply computed backwards; where the form of
// an identifier leaves too few bits free for that, numbers are tried one after the other.
#pragma once

#include "platform/Qor/Hash.h"
#include "tests/hostile/Ids.h"

#include <cstdint>
#include <vector>

namespace Hostile {

namespace Impl {

constexpr std::uint64_t inverseOf(std::uint64_t odd) {
    std::uint64_t inverse = odd;
    for (int i = 0; i < 6; ++i) { // each step doubles the bits that are right
        inverse *= 2 - odd * inverse;
    }
    return inverse;
}

} // namespace Impl

/// Its own inverse.
constexpr std::uint64_t fold(std::uint64_t x) {
    return x ^ x >> 32;
}

/// What Qor::Impl::hashMix64 makes `mixed` of.
constexpr std::uint64_t unmix64(std::uint64_t mixed) {
    mixed = fold(mixed * Impl::inverseOf(0x94D049BB133111EBU));
    return fold(mixed * Impl::inverseOf(0xBF58476D1CE4E5B9U));
}
static_assert(unmix64(Qor::Impl::hashMix64(0x123456789ABCDEF0U)) == 0x123456789ABCDEF0U);

/// The field that hashes to `hash` under `seed`; one for every value of `choice`.
constexpr std::uint64_t fieldThatHashesTo(std::uint32_t hash, std::uint32_t seed,
                                          std::uint32_t choice) {
    return unmix64(std::uint64_t{hash} << 32 | choice) -
           (seed + std::uint64_t{1}) * Qor::Impl::hashStep;
}
static_assert(Qor::hashSingleAttr(77, fieldThatHashesTo(0x12345678, 77, 9)) == 0x12345678);

using IntfIds = std::vector<Iftel::IntfId>;

/// Subinterfaces with native names that all have one hash under `seed`.
inline IntfIds intfIdsOfOneHash(std::uint32_t seed, std::size_t count) {
    IntfIds ids;
    for (std::uint32_t choice = 0; ids.size() < count; ++choice) {
        std::uint64_t const bits = fieldThatHashesTo(0x12345678, seed, choice);
        auto const number = static_cast<std::uint32_t>(bits >> 32) & 0x1FFFFFFF;
        auto const sub = static_cast<std::uint32_t>(bits);
        bool const isSubIntf = (bits >> 61 & 1) != 0;
        auto const kind = static_cast<Iftel::IntfKind>(bits >> 62);
        if (isSubIntf && number < Iftel::IntfId::firstRegisteredIntf &&
            sub < Iftel::IntfId::firstRegisteredSubIntf &&
            (kind == Iftel::IntfKind::ethernet || kind == Iftel::IntfKind::portChannel)) {
            ids.push_back(Iftel::IntfId::subIntf(Iftel::IntfId::intf(kind, number), sub));
        }
    }
    return ids;
}

/// Subinterfaces of one port-channel whose hashes share their high `bits` under `seed`.
inline IntfIds intfIdsOfOneSlot(std::uint32_t seed, unsigned bits, std::size_t count) {
    IntfIds ids;
    for (std::uint32_t number = 1; ids.size() < count; ++number) {
        Iftel::IntfId const id = lagSubIntf(10, number);
        if (id.hash(seed) >> (32 - bits) == 0) {
            ids.push_back(id);
        }
    }
    return ids;
}

/// The valid VLAN numbers whose hashes have no high `bits` under `seed`.
inline std::vector<Bridging::VlanId> vlanIdsOfOneRegion(std::uint32_t seed, unsigned bits) {
    std::vector<Bridging::VlanId> ids;
    for (std::uint32_t number = 1; number <= 4094; ++number) {
        if (vlanId(number).hash(seed) >> (32 - bits) == 0) {
            ids.push_back(vlanId(number));
        }
    }
    return ids;
}

} // namespace Hostile
