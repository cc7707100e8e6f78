// The benchmark's stream of random numbers: the same on every machine, so that every subject gets
// the same workload and ends with the same checksum.
#pragma once

#include <cstdint>

namespace Bench {

/// Scrambles all bits of a number; different numbers stay different.
constexpr std::uint64_t mix(std::uint64_t x) noexcept {
    x += 0x9E3779B97F4A7C15U;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9U;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBU;
    return x ^ (x >> 31);
}

class Random {
  public:
    explicit Random(std::uint64_t seed) noexcept : state_(seed) {}

    std::uint64_t next() noexcept {
        std::uint64_t const result = mix(state_);
        state_ += 0x9E3779B97F4A7C15U;
        return result;
    }
    std::uint64_t below(std::uint64_t bound) noexcept {
        __extension__ using Wide = unsigned __int128;
        return static_cast<std::uint64_t>((Wide{next()} * bound) >> 64);
    }

  private:
    std::uint64_t state_;
};

} // namespace Bench
