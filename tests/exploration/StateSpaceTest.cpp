#include "tests/exploration/StateSpace.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace Exploration {
namespace {

using Histories::Digest;

Digest digestOf(std::uint64_t state) {
    Digest digest;
    digest.add(state);
    return digest;
}

/// Walk from state 0; `next` says the state after a choice. A history ends at a state below zero.
struct Walk {
    unsigned ways = 2;
    std::function<int(int state, std::size_t way)> next;

    StateSpace explored() const {
        StateSpace space;
        Choices choices;
        bool more = true;
        while (more) {
            play(space, choices);
            more = choices.next();
            more ? space.backTo(choices.changedAt()) : space.end();
        }
        return space;
    }
    void play(StateSpace &space, Choices &choices) const {
        int state = 0;
        while (state >= 0) {
            if (choices.isNew() &&
                space.isKnown(digestOf(static_cast<std::uint64_t>(state)), choices)) {
                return;
            }
            state = next(state, choices.choose(ways));
        }
        space.historyEnds();
    }
};

TEST(StateSpace, CountsTheHistoriesOfATree) {
    // Two levels of three ways, every state another one.
    Walk const walk{
        3, [](int state, std::size_t way) { return state == 0 ? 1 + static_cast<int>(way) : -1; }};
    StateSpace const space = walk.explored();
    EXPECT_EQ(space.states(), 4U);
    EXPECT_EQ(space.histories(), 9);
}

TEST(StateSpace, CountsTheHistoriesThatMeetInOneState) {
    // A ladder of ten rungs: both ways lead to the same next state.
    Walk const walk{2, [](int state, std::size_t) { return state < 9 ? state + 1 : -1; }};
    StateSpace const space = walk.explored();
    EXPECT_EQ(space.states(), 10U);
    EXPECT_EQ(space.histories(), 1024);
}

TEST(StateSpace, CountsWaysOfUnequalLength) {
    // One step on or two: as many histories as the Fibonacci numbers say.
    Walk const walk{2, [](int state, std::size_t way) {
                        int const following = state + 1 + static_cast<int>(way);
                        return following < 10 ? following : -1;
                    }};
    StateSpace const space = walk.explored();
    EXPECT_EQ(space.states(), 10U);
    EXPECT_EQ(space.histories(), 144);
}

TEST(StateSpace, FindsAStateThatFollowsItself) {
    Walk const walk{1, [](int, std::size_t) { return 0; }};
    EXPECT_THROW((void)walk.explored(), std::logic_error);
}

} // namespace
} // namespace Exploration
