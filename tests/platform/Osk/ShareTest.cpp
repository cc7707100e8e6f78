#include "platform/Osk/Share.h"

#include <gtest/gtest.h>

namespace Osk {
namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;

TEST(CountShare, TheLastTestAndAllLaterOnesAnswerTrue) {
    CountShare share(3);
    share.runBegins();
    EXPECT_FALSE(share.test());
    EXPECT_FALSE(share.test());
    EXPECT_TRUE(share.test());
    EXPECT_TRUE(share.test());
}

TEST(CountShare, AShareOfOneTestIsUsedAtTheFirst) {
    CountShare share(1);
    share.runBegins();
    EXPECT_TRUE(share.test());
}

TEST(CountShare, EachRunStartsItsCountAnew) {
    CountShare share(2);
    share.runBegins();
    EXPECT_FALSE(share.test());
    EXPECT_TRUE(share.test());
    share.runBegins();
    EXPECT_FALSE(share.test());
}

TEST(CountShareDeathTest, NoTestAtAllIsAnAssertion) {
    EXPECT_DEATH(CountShare(0), "tests != 0");
}

TEST(UnlimitedShare, IsNeverUsed) {
    UnlimitedShare share;
    share.runBegins();
    for (int i = 0; i < 1000; ++i) {
        ASSERT_FALSE(share.test());
    }
}

TEST(TimeShare, NoTimeAtAllIsUsedAtTheFirstTest) {
    TimeShare share(nanoseconds(0));
    share.runBegins();
    EXPECT_TRUE(share.test());
}

TEST(TimeShare, StaysUsedOnceItIs) {
    TimeShare share(nanoseconds(0));
    share.runBegins();
    for (std::uint32_t i = 0; i < 2 * TimeShare::testsPerClockRead; ++i) {
        ASSERT_TRUE(share.test()) << "test " << i;
    }
}

TEST(TimeShare, TheLongestLimitIsNotUsed) {
    TimeShare share(nanoseconds::max());
    share.runBegins();
    for (std::uint32_t i = 0; i < 4 * TimeShare::testsPerClockRead; ++i) {
        ASSERT_FALSE(share.test()) << "test " << i;
    }
}

/// Begin a run, test once, and spin until the limit has passed. False when so much time went by
/// before the first test that it answered true: try again.
bool overrunAfterTheFirstTest(TimeShare &share, nanoseconds limit) {
    share.runBegins();
    if (share.test()) {
        return false;
    }
    auto const tested = steady_clock::now();
    while (steady_clock::now() - tested < limit) {
    }
    return true;
}

TEST(TimeShare, NoticesThatTheLimitHasPassedAtEverySixteenthTest) {
    constexpr nanoseconds limit = std::chrono::milliseconds(1);
    TimeShare share(limit);
    while (!overrunAfterTheFirstTest(share, limit)) {
    }
    for (std::uint32_t i = 1; i < TimeShare::testsPerClockRead; ++i) {
        ASSERT_FALSE(share.test()) << "the clock was read at test " << i;
    }
    EXPECT_TRUE(share.test());
}

} // namespace
} // namespace Osk
