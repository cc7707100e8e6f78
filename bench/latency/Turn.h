// One turn: a stretch of time in which the event loop is held, measured on the clock and on the
// processor.
//
// A host waits for the clock; what the machine can do about it shows on the processor, for on a
// busy host the clock goes on while other programs run.
#pragma once

#include <sys/resource.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <string>

namespace Latency {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

struct Turn {
    double clock = 0;     ///< microseconds
    double processor = 0; ///< microseconds of it in which this thread ran
    std::int64_t pageFaults = 0;
    std::int64_t preemptions = 0; ///< times that the thread had to leave the processor
    std::string what;
};

/// What is read at either end of a turn.
class Reading {
  public:
    static Reading now() noexcept;
    /// The turn that began with `begin`, ended at `end`, and was read off at `after`.
    static Turn turn(Reading const &begin, Clock::time_point end, Reading const &after);
    /// The clock is read last, so that the other readings are not in the turn.
    [[nodiscard]] Clock::time_point clock() const noexcept { return clock_; }

  private:
    rusage usage_{};
    timespec processor_{};
    Clock::time_point clock_;
};

/// Measure `work()`, which is one turn.
template <class Work> Turn measured(Work work) {
    Reading const begin = Reading::now();
    work();
    Clock::time_point const end = Clock::now();
    return Reading::turn(begin, end, Reading::now());
}

} // namespace Latency
