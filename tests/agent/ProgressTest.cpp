#include "agent/Progress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace Agent {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

class ProgressTest : public testing::Test {
  protected:
    std::string drawn;
    std::chrono::steady_clock::time_point now;
    Progress progress{[this](std::string_view text) { drawn += text; }, [this] { return now; }};

    std::string take() { return std::exchange(drawn, {}); }
};

TEST_F(ProgressTest, AStageThatIsNotLargeDrawsNothing) {
    progress.stageIs("reading", 99, 100);
    progress.doneIs(99);
    progress.finish();
    EXPECT_EQ(drawn, "");
}

TEST_F(ProgressTest, TheBarShowsHowMuchIsDone) {
    progress.stageIs("reading", 100, 100);
    progress.doneIs(50);
    EXPECT_EQ(take(), "\r\033[Kreading [###############...............]  50%");
}

TEST_F(ProgressTest, TheBarIsDrawnAgainOnlyAfterAnInterval) {
    progress.stageIs("reading", 100, 0);
    progress.doneIs(10);
    take();
    progress.doneIs(20);
    EXPECT_EQ(take(), "");
    now += Progress::drawInterval;
    progress.doneIs(30);
    EXPECT_THAT(take(), EndsWith(" 30%"));
}

TEST_F(ProgressTest, AStageOfUnknownSizeIsDrawnOnceMuchIsDone) {
    progress.stageIs("reading", 0, 100);
    progress.doneIs(99);
    EXPECT_EQ(take(), "");
    progress.doneIs(100);
    EXPECT_THAT(take(), HasSubstr("reading ..."));
}

TEST_F(ProgressTest, MoreThanTheWholeIsShownAsTheWhole) {
    progress.stageIs("reading", 10, 0);
    progress.doneIs(20);
    EXPECT_EQ(take(), "\r\033[Kreading [##############################] 100%");
}

TEST_F(ProgressTest, TheBarIsWipedOffAtTheEndOfItsStageOnce) {
    progress.stageIs("reading", 10, 0);
    progress.doneIs(5);
    take();
    progress.stageIs("deriving", 0, 0);
    EXPECT_EQ(take(), "\r\033[K");
    progress.finish();
    EXPECT_EQ(take(), "");
}

TEST(Progress, WithoutASinkNothingIsDrawn) {
    int clockReads = 0;
    Progress progress({}, [&] {
        ++clockReads;
        return std::chrono::steady_clock::time_point();
    });
    progress.stageIs("reading", 10, 0);
    progress.doneIs(5);
    EXPECT_EQ(clockReads, 0);
}

} // namespace
} // namespace Agent
