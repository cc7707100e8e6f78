#include "tests/exploration/Choices.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace Exploration {
namespace {

using testing::ElementsAre;

/// The texts of all histories that `play` makes.
template <class Play> std::vector<std::string> histories(Play play) {
    std::vector<std::string> texts;
    Choices choices;
    do {
        play(choices);
        texts.push_back(choices.text());
    } while (choices.next());
    return texts;
}

TEST(Choices, EveryWayIsTakenOnce) {
    auto const play = [](Choices &choices) {
        choices.choose(2);
        choices.choose(3);
    };
    EXPECT_THAT(histories(play), ElementsAre("0.0", "0.1", "0.2", "1.0", "1.1", "1.2"));
}

TEST(Choices, WhatIsChosenDecidesWhatIsChosenNext) {
    auto const play = [](Choices &choices) {
        if (choices.choose(3) == 1) {
            choices.choose(2);
        }
    };
    EXPECT_THAT(histories(play), ElementsAre("0", "1.0", "1.1", "2"));
}

TEST(Choices, AHistoryWithoutChoicesIsTheOnlyOne) {
    EXPECT_THAT(histories([](Choices &) {}), ElementsAre(""));
}

TEST(Choices, AHistoryIsNewOnceItHasLeftTheOneBefore) {
    Choices choices;
    EXPECT_TRUE(choices.isNew());
    choices.choose(2);
    choices.choose(2);
    ASSERT_TRUE(choices.next());
    EXPECT_EQ(choices.changedAt(), 1U);
    EXPECT_FALSE(choices.isNew());
    choices.choose(2);
    EXPECT_FALSE(choices.isNew());
    choices.choose(2);
    EXPECT_TRUE(choices.isNew());
}

TEST(Choices, AHistoryIsNamedByItsText) {
    Choices choices("1.2");
    EXPECT_EQ(choices.choose(2), 1U);
    EXPECT_EQ(choices.choose(3), 2U);
    EXPECT_EQ(choices.choose(2), 0U);
}

TEST(Choices, AHistoryThatDoesNotRepeatIsFound) {
    Choices choices;
    choices.choose(2);
    ASSERT_TRUE(choices.next());
    EXPECT_THROW(choices.choose(3), std::logic_error);
}

} // namespace
} // namespace Exploration
