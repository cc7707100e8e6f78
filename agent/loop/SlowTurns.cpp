#include "agent/loop/SlowTurns.h"

#include <fmt/format.h>

#include <utility>

namespace Agent {

void SlowTurns::report(Loop::TurnTime const &turn, Loop::Clock::time_point now) {
    if (now < next_) {
        ++unsaid_;
        return;
    }
    next_ = now + interval;
    using Milliseconds = std::chrono::duration<double, std::milli>;
    std::string line = fmt::format(
        "slow turn: {:.1f} ms, {:.1f} ms of it on the processor, most in {}",
        Milliseconds(turn.spent).count(), Milliseconds(turn.processor).count(), turn.cause);
    if (auto const others = std::exchange(unsaid_, 0); others != 0) {
        line += fmt::format("; and {} others since the last one that was told", others);
    }
    say_(line);
}

} // namespace Agent
