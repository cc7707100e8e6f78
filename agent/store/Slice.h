// A part of a run of a task: it ends after its own time, or when the run should yield.
#pragma once

#include "platform/Osk.h"

#include <chrono>

namespace Agent {

class Slice {
  public:
    /// Begins. `task` must outlive it.
    Slice(Osk::Task const &task, std::chrono::nanoseconds length) noexcept
        : task_(task), end_(Clock::now() + length) {}

    /// Asked after each item.
    [[nodiscard]] bool isOver() const noexcept {
        return task_.taskShouldYield() || Clock::now() >= end_;
    }

  private:
    using Clock = std::chrono::steady_clock;

    Osk::Task const &task_;
    Clock::time_point end_;
};

} // namespace Agent
