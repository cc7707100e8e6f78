#include "agent/loop/Signals.h"

#include "tests/agent/loop/TurnUntil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <vector>

namespace Agent {
namespace {

TEST(Signals, ComeAsEventsOfTheLoop) {
    Loop loop(Osk::TaskScheduler::TaskSchedulerIs());
    std::vector<int> come;
    Signals const signals(loop, {SIGUSR1, SIGUSR2}, [&](int signal) { come.push_back(signal); });
    ::raise(SIGUSR2);
    ::raise(SIGUSR1);
    ASSERT_TRUE(turnUntil(loop, [&] { return come.size() == 2; }));
    EXPECT_THAT(come, testing::UnorderedElementsAre(SIGUSR1, SIGUSR2));
}

TEST(Signals, AreAsBeforeAtTheEnd) {
    Loop loop(Osk::TaskScheduler::TaskSchedulerIs());
    {
        Signals const signals(loop, {SIGUSR1}, [](int) {});
    }
    sigset_t set;
    ASSERT_EQ(::sigprocmask(SIG_BLOCK, nullptr, &set), 0);
    EXPECT_EQ(sigismember(&set, SIGUSR1), 0);
}

} // namespace
} // namespace Agent
