#include "agent/loop/SlowTurns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Agent {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class SlowTurnsTest : public testing::Test {
  protected:
    void turnAfter(std::chrono::milliseconds delay) {
        now_ += delay;
        turns_.report({12ms, 5ms, "store"}, now_);
    }

    std::vector<std::string> said_;
    SlowTurns turns_{[this](std::string const &line) { said_.push_back(line); }};
    Loop::Clock::time_point now_{1h};
};

TEST_F(SlowTurnsTest, SaysHowLongItTookAndWhy) {
    turnAfter(0ms);
    EXPECT_THAT(said_, ElementsAre("slow turn: 12.0 ms, 5.0 ms of it on the processor, most in "
                                   "store"));
}

TEST_F(SlowTurnsTest, SaysNoMoreThanOneASecondAndCountsTheOthers) {
    turnAfter(0ms);
    turnAfter(1ms);
    turnAfter(998ms);
    EXPECT_EQ(said_.size(), 1U);
    turnAfter(1ms);
    EXPECT_EQ(said_.size(), 2U);
    EXPECT_THAT(said_.back(), testing::EndsWith("; and 2 others since the last one that was told"));
    turnAfter(1000ms);
    EXPECT_THAT(said_.back(), testing::EndsWith("most in store"));
}

} // namespace
} // namespace Agent
