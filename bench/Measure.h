// What the benchmark measures with: a clock that knows its own cost, quantiles, and the memory of
// the process.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace Bench {

using Clock = std::chrono::steady_clock;

/// Nanoseconds that `work()` takes, the reading of the clock not included.
template <class Work> double nanoseconds(Work work) {
    auto const begin = Clock::now();
    work();
    return std::chrono::duration<double, std::nano>(Clock::now() - begin).count();
}

/// What nanoseconds() answers for no work: to be taken off the time of a single event.
[[nodiscard]] double clockCost();

/// Requires: 0 <= part < 1. 0 for no values.
[[nodiscard]] double quantile(std::vector<double> values, double part);

/// Bytes that were handed out and not given back; 0 where the C library cannot tell.
[[nodiscard]] std::uint64_t allocatedBytes() noexcept;

/// Most bytes of memory that the process occupied since construction, beyond what it occupied then.
class ResidentPeak {
  public:
    ResidentPeak();
    /// 0 where the system cannot tell.
    [[nodiscard]] std::uint64_t bytes() const;

  private:
    std::uint64_t before_;
};

} // namespace Bench
