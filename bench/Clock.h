// Time, in two ways: nanoseconds around what takes long, ticks of the processor around one event.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

#if defined(__x86_64__)
#include <x86intrin.h>
#endif

namespace Bench {

/// Nanoseconds that `work()` takes.
template <class Work> double nanoseconds(Work work) {
    auto const begin = std::chrono::steady_clock::now();
    work();
    std::chrono::duration<double, std::nano> const taken = std::chrono::steady_clock::now() - begin;
    return taken.count();
}

inline std::uint64_t ticks() noexcept {
#if defined(__x86_64__)
    return __rdtsc();
#else
    return static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch() /
                                      std::chrono::nanoseconds(1));
#endif
}

[[nodiscard]] double nanosecondsPerTick();

/// The middle one; the upper of two. Requires: there are any.
[[nodiscard]] double median(std::vector<double> values);

/// Quantiles of times in ticks.
///
/// Where the counter of ticks advances in steps (of 10 ns on some virtual machines), a time is
/// known to a step only, and many are equal. Each is taken to lie anywhere within a step around
/// what was read, so that a quantile of many times is finer than the step.
class Quantiles {
  public:
    /// Requires: there are any.
    explicit Quantiles(std::vector<std::uint64_t> times);
    /// In nanoseconds. Requires: 0 < part < 1.
    [[nodiscard]] double at(double part) const;

  private:
    [[nodiscard]] double countBelow(double time) const;

    std::vector<std::uint64_t> times_; ///< sorted
    double step_;                      ///< of the counter, in ticks
};

} // namespace Bench
