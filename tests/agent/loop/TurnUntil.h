// Turns a loop until something has happened.
#pragma once

#include "agent/loop/Loop.h"

#include <chrono>
#include <functional>

namespace Agent {

/// True when `happened` came true within some seconds; it is asked after each turn.
inline bool turnUntil(Loop &loop, std::function<bool()> const &happened,
                      std::chrono::seconds limit = std::chrono::seconds(20)) {
    auto const end = Loop::Clock::now() + limit;
    while (!happened()) {
        if (Loop::Clock::now() > end) {
            return false;
        }
        loop.turn(std::chrono::milliseconds(100));
    }
    return true;
}

/// Turn until nothing is left to do.
inline void turnUntilIdle(Loop &loop) {
    do {
        loop.turn(std::chrono::milliseconds(0));
    } while (loop.scheduler()->hasWork());
}

} // namespace Agent
