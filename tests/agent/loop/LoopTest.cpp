#include "agent/loop/Loop.h"

#include "agent/loop/Worker.h"
#include "tests/agent/loop/TurnUntil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Agent {
namespace {

using namespace std::chrono_literals;

class Pipe {
  public:
    Pipe() { EXPECT_EQ(::pipe(ends_.data()), 0); }
    ~Pipe() {
        ::close(ends_[0]);
        ::close(ends_[1]);
    }
    Pipe(Pipe const &) = delete;
    Pipe &operator=(Pipe const &) = delete;

    [[nodiscard]] int out() const { return ends_[0]; }
    void put() const { EXPECT_EQ(::write(ends_[1], "x", 1), 1); }
    void take() const {
        char byte = 0;
        EXPECT_EQ(::read(ends_[0], &byte, 1), 1);
    }

  private:
    std::array<int, 2> ends_{};
};

class LoopTest : public testing::Test {
  protected:
    void turn() { loop_.turn(0ms); }

    Pipe pipe_;
    Pipe other_;
    Loop loop_{Osk::TaskScheduler::TaskSchedulerIs()};
    std::vector<std::string> calls_;
};

TEST_F(LoopTest, CallsTheHandlerOfADescriptorThatIsReadyWithItsEvents) {
    std::uint32_t events = 0;
    Loop::Watch const watch(loop_, pipe_.out(), EPOLLIN, "pipe",
                            [&](std::uint32_t come) { events = come; });
    turn();
    EXPECT_EQ(events, 0U);
    pipe_.put();
    turn();
    EXPECT_EQ(events, std::uint32_t{EPOLLIN});
}

TEST_F(LoopTest, DoesNotCallAWatchThatHasGone) {
    auto watch = std::make_optional<Loop::Watch>(
        loop_, pipe_.out(), EPOLLIN, "pipe", [&](std::uint32_t) { calls_.emplace_back("pipe"); });
    pipe_.put();
    watch.reset();
    turn();
    EXPECT_TRUE(calls_.empty());
}

TEST_F(LoopTest, AWatchMayGoInItsOwnHandler) {
    std::unique_ptr<Loop::Watch> watch;
    watch = std::make_unique<Loop::Watch>(loop_, pipe_.out(), EPOLLIN, "pipe", [&](std::uint32_t) {
        calls_.emplace_back("pipe");
        watch.reset();
    });
    pipe_.put();
    turn();
    turn();
    EXPECT_EQ(calls_.size(), 1U);
}

TEST_F(LoopTest, AWatchMayGoInTheHandlerOfAnotherOfTheSameTurn) {
    std::unique_ptr<Loop::Watch> first;
    std::unique_ptr<Loop::Watch> second;
    first = std::make_unique<Loop::Watch>(loop_, pipe_.out(), EPOLLIN, "first", [&](std::uint32_t) {
        calls_.emplace_back("first");
        second.reset();
        pipe_.take();
    });
    second =
        std::make_unique<Loop::Watch>(loop_, other_.out(), EPOLLIN, "second", [&](std::uint32_t) {
            calls_.emplace_back("second");
            first.reset();
            other_.take();
        });
    pipe_.put();
    other_.put();
    turn();
    turn();
    EXPECT_EQ(calls_.size(), 1U);
}

TEST_F(LoopTest, AWatchCanStopWaitingAndWaitAgain) {
    Loop::Watch watch(loop_, pipe_.out(), EPOLLIN, "pipe",
                      [&](std::uint32_t) { calls_.emplace_back("pipe"); });
    pipe_.put();
    watch.eventsIs(0);
    turn();
    EXPECT_TRUE(calls_.empty());
    watch.eventsIs(EPOLLIN);
    turn();
    EXPECT_EQ(calls_.size(), 1U);
}

TEST_F(LoopTest, CallsATimerOnceWhenItIsDue) {
    Loop::Timer timer(loop_, "timer", [&] { calls_.emplace_back("timer"); });
    timer.startAfter(1ms);
    EXPECT_TRUE(timer.running());
    ASSERT_TRUE(turnUntil(loop_, [&] { return !calls_.empty(); }));
    EXPECT_FALSE(timer.running());
    turn();
    EXPECT_EQ(calls_.size(), 1U);
}

TEST_F(LoopTest, CallsTimersInTheOrderOfTheirTimes) {
    Loop::Timer late(loop_, "late", [&] { calls_.emplace_back("late"); });
    Loop::Timer early(loop_, "early", [&] { calls_.emplace_back("early"); });
    late.startAfter(2ms);
    early.startAfter(1ms);
    ASSERT_TRUE(turnUntil(loop_, [&] { return calls_.size() == 2; }));
    EXPECT_THAT(calls_, testing::ElementsAre("early", "late"));
}

TEST_F(LoopTest, DoesNotCallATimerThatWasStopped) {
    Loop::Timer stopped(loop_, "stopped", [&] { calls_.emplace_back("stopped"); });
    Loop::Timer other(loop_, "other", [&] { calls_.emplace_back("other"); });
    stopped.startAfter(0ms);
    other.startAfter(1ms);
    stopped.stop();
    ASSERT_TRUE(turnUntil(loop_, [&] { return !calls_.empty(); }));
    EXPECT_THAT(calls_, testing::ElementsAre("other"));
}

TEST_F(LoopTest, ATimerThatStartsItselfAnewIsNotCalledTwiceInATurn) {
    Loop::Timer timer(loop_, "timer", [&] {
        calls_.emplace_back("timer");
        timer.startAfter(0ms);
    });
    timer.startAfter(0ms);
    turn();
    EXPECT_EQ(calls_.size(), 1U);
}

TEST_F(LoopTest, RunsOneTaskBetweenTheDescriptors) {
    Worker worker(loop_.scheduler(), Osk::TaskPriority::normal, "work", [&](Osk::Task const &) {
        calls_.emplace_back("work");
        return calls_.size() < 3 ? Worker::More::yes : Worker::More::no;
    });
    Loop::Watch const watch(loop_, pipe_.out(), EPOLLIN, "pipe", [&](std::uint32_t) {
        calls_.emplace_back("pipe");
        pipe_.take();
    });
    worker.wake();
    pipe_.put();
    turn();
    turn();
    EXPECT_THAT(calls_, testing::ElementsAre("pipe", "work", "work"));
}

TEST_F(LoopTest, RunsUntilItIsStopped) {
    Loop::Timer timer(loop_, "timer", [&] { loop_.stop(); });
    timer.startAfter(1ms);
    loop_.run();
    EXPECT_FALSE(timer.running());
}

TEST_F(LoopTest, ReportsATurnThatTookTooLongWithWhatTookLongest) {
    loop_.slowTurnIs(5ms, [&](Loop::TurnTime const &turn) {
        EXPECT_GE(turn.spent, 10ms);
        EXPECT_LT(turn.processor, turn.spent); // it sleeps
        calls_.push_back(turn.cause);
    });
    Loop::Watch const watch(loop_, pipe_.out(), EPOLLIN, "a slow pipe", [&](std::uint32_t) {
        pipe_.take();
        std::this_thread::sleep_for(10ms);
    });
    pipe_.put();
    turn();
    EXPECT_THAT(calls_, testing::ElementsAre("a slow pipe"));
    EXPECT_EQ(loop_.statistics().slowTurns, 1U);
    EXPECT_EQ(loop_.statistics().longest.cause, "a slow pipe");
}

TEST_F(LoopTest, NamesTheTaskThatTookTooLong) {
    loop_.slowTurnIs(5ms, [&](Loop::TurnTime const &turn) { calls_.push_back(turn.cause); });
    Worker worker(loop_.scheduler(), Osk::TaskPriority::normal, "a slow task",
                  [&](Osk::Task const &) {
                      std::this_thread::sleep_for(10ms);
                      return Worker::More::no;
                  });
    worker.wake();
    turn();
    EXPECT_THAT(calls_, testing::ElementsAre("a slow task"));
}

TEST_F(LoopTest, CountsTurnsByTheirTimeOnTheProcessor) {
    Worker worker(loop_.scheduler(), Osk::TaskPriority::normal, "busy", [](Osk::Task const &) {
        auto const end = Loop::Clock::now() + 60ms;
        while (Loop::Clock::now() < end) {
        }
        return Worker::More::no;
    });
    worker.wake();
    turn();
    turn();
    auto const &statistics = loop_.statistics();
    EXPECT_EQ(statistics.classes.front(), 1U);
    EXPECT_EQ(std::accumulate(statistics.classes.begin(), statistics.classes.end(), 0U), 2U);
    EXPECT_GT(statistics.longestProcessor, 1ms);
}

TEST_F(LoopTest, DoesNotCountTheTimeThatItWaits) {
    loop_.slowTurnIs(5ms, [&](Loop::TurnTime const &turn) { calls_.push_back(turn.cause); });
    loop_.turn(10ms);
    EXPECT_TRUE(calls_.empty());
    EXPECT_EQ(loop_.statistics().turns, 1U);
}

TEST_F(LoopTest, AWorkerThatEndsIsNotCalled) {
    auto worker = std::make_optional<Worker>(loop_.scheduler(), Osk::TaskPriority::normal, "work",
                                             [&](Osk::Task const &) {
                                                 calls_.emplace_back("work");
                                                 return Worker::More::no;
                                             });
    worker->wake();
    EXPECT_TRUE(worker->awake());
    worker.reset();
    turn();
    EXPECT_TRUE(calls_.empty());
}

} // namespace
} // namespace Agent
