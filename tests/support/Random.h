// A source of random numbers that repeats: it is made with a seed and prints it when a test fails.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <random>

namespace TestSupport {

class Random {
  public:
    using result_type = std::uint32_t;

    explicit Random(std::uint32_t firstState) : seed_(firstState), engine_(firstState) {}
    ~Random() {
        if (testing::Test::HasFailure()) {
            std::cerr << "random numbers of seed " << seed_ << '\n';
        }
    }
    /// Not copyable: two would give the same numbers.
    Random(Random const &) = delete;
    Random &operator=(Random const &) = delete;

    static constexpr result_type min() { return 0; }
    static constexpr result_type max() { return ~0U; }
    result_type operator()() { return static_cast<result_type>(engine_()); }
    /// A number from 0 to `limit` - 1.
    std::uint32_t below(std::uint32_t limit) { return (*this)() % limit; }
    /// True once in `n` times.
    bool oneIn(std::uint32_t n) { return below(n) == 0; }

  private:
    std::uint32_t seed_;
    std::mt19937 engine_;
};

} // namespace TestSupport
