// Says which turns of the loop were slow, a line a second at most.
#pragma once

#include "agent/loop/Loop.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace Agent {

class SlowTurns {
  public:
    static constexpr std::chrono::seconds interval{1};
    using Say = std::function<void(std::string const &)>;

    explicit SlowTurns(Say say) : say_(std::move(say)) {}

    /// Say it, or count it for the next line.
    void report(Loop::TurnTime const &turn, Loop::Clock::time_point now);

  private:
    Say say_;
    Loop::Clock::time_point next_{};
    std::uint64_t unsaid_ = 0;
};

} // namespace Agent
