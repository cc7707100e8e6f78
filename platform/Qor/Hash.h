// The runtime's seeded hash.
//
// Collections seed it with hashSeed32(), which is random per process, XORed with a constant of the
// container's type: crafted keys cannot degrade a table, and copying one table into another in
// iteration order stays linear. QOR_HASH_SEED in the environment (decimal, or hexadecimal after
// 0x) fixes the seed, so that a run can be repeated.
//
// The seed goes in before the first bit of a key is mixed, and again with each further field. What
// is mixed without it can be crafted: the mixer is a permutation, so keys that agree before the
// seed goes in are easily made, and no seed tells them apart.
//
// The mixer is a permutation of 64 bits: two multiplications, and before each the high half folded
// into the low one. So every bit of the field reaches the high bits, which make the hash, and no
// differences between fields outlive the seed: without the first fold only an addition and a
// multiplication would stand between them and the second one. Its constants are the odd number of
// the golden ratio and those of Stafford's variant 13 of the MurmurHash3 finaliser. Not
// cryptographic.
#pragma once

#include "platform/Nuvio/Export.h"

#include <concepts>
#include <cstdint>

namespace Qor {

class NUVIO_EXPORT HashHelper {
  public:
    /// The process's seed.
    [[nodiscard]] static std::uint32_t hashSeed32() noexcept { return seed_; }
    /// Replace the seed. Requires: no collection of the process has an entry.
    static void hashSeed32IsForTest(std::uint32_t seed) noexcept { seed_ = seed; }

  private:
    static std::uint32_t seed_;
};

namespace Impl {

[[nodiscard]] constexpr std::uint64_t hashMix64(std::uint64_t x) noexcept {
    x = (x ^ (x >> 32)) * 0xBF58476D1CE4E5B9U;
    return (x ^ (x >> 32)) * 0x94D049BB133111EBU;
}

constexpr std::uint64_t hashStep = 0x9E3779B97F4A7C15U;

} // namespace Impl

/// Hash of one field of 16 to 64 bits.
template <std::unsigned_integral Field>
[[nodiscard]] constexpr std::uint32_t hashSingleAttr(std::uint32_t seed, Field field) noexcept {
    return static_cast<std::uint32_t>(
        Impl::hashMix64(std::uint64_t{field} + (seed + std::uint64_t{1}) * Impl::hashStep) >> 32);
}

/// Hash of several fields, mixed in one by one; seed and width take part with each field.
class Hash {
  public:
    explicit constexpr Hash(std::uint32_t seed) noexcept
        : seed_(seed), seedStep_(seed * Impl::hashStep) {}

    template <std::unsigned_integral Field> constexpr void hashMix(Field field) noexcept {
        word_ = Impl::hashMix64(word_ + std::uint64_t{field} + seedStep_ +
                                sizeof(Field) * Impl::hashStep);
    }
    constexpr void hashMix(bool field) noexcept { hashMix(static_cast<std::uint8_t>(field)); }

    [[nodiscard]] constexpr std::uint32_t result() const noexcept {
        return hashSingleAttr(seed_, word_);
    }

  private:
    std::uint32_t seed_;
    std::uint64_t seedStep_;
    std::uint64_t word_ = 0;
};

} // namespace Qor
