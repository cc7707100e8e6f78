#include "platform/Osk/TaskScheduler.h"

#include "tests/platform/Osk/Worker.h"
#include "tests/support/Census.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

namespace Osk {
namespace {

using testing::ElementsAre;

class TaskSchedulerTest : public TestSupport::CensusTest {
  protected:
    /// A task that logs its name when it runs.
    Worker &workerIs(char const *name, TaskPriority priority = TaskPriority::normal) {
        workers.push_back(std::make_unique<Worker>(scheduler, name, priority));
        workers.back()->workIs([this, name] { ran.emplace_back(name); });
        return *workers.back();
    }
    /// A task that logs its name and requests itself again, for ever.
    Worker &busyWorkerIs(char const *name, TaskPriority priority) {
        Worker &worker = workerIs(name, priority);
        worker.workIs([this, name, &worker] {
            ran.emplace_back(name);
            worker.task->scheduleTask();
        });
        worker.task->scheduleTask();
        return worker;
    }
    void run(std::size_t times) {
        for (std::size_t i = 0; i < times; ++i) {
            ASSERT_TRUE(scheduler->runOne());
        }
    }

    Qor::Ptr<TaskScheduler> scheduler = TaskScheduler::TaskSchedulerIs();
    std::vector<std::unique_ptr<Worker>> workers;
    std::vector<std::string> ran;
};
using TaskSchedulerDeathTest = TaskSchedulerTest;

// Order.

TEST_F(TaskSchedulerTest, RunsTheHigherPriorityFirst) {
    workerIs("background", TaskPriority::background).task->scheduleTask();
    workerIs("normal", TaskPriority::normal).task->scheduleTask();
    workerIs("high", TaskPriority::high).task->scheduleTask();
    workerIs("low", TaskPriority::low).task->scheduleTask();
    scheduler->runUntilIdle();
    EXPECT_THAT(ran, ElementsAre("high", "normal", "low", "background"));
}

TEST_F(TaskSchedulerTest, NamesTheTaskThatRanLast) {
    EXPECT_EQ(scheduler->lastRun(), "");
    workerIs("low", TaskPriority::low).task->scheduleTask();
    workerIs("high", TaskPriority::high).task->scheduleTask();
    scheduler->runOne();
    EXPECT_EQ(scheduler->lastRun(), "high");
    scheduler->runOne();
    EXPECT_EQ(scheduler->lastRun(), "low");
    scheduler->runOne();
    EXPECT_EQ(scheduler->lastRun(), "low");
}

TEST_F(TaskSchedulerTest, ServesOnePriorityInOrderOfRequest) {
    Worker const &a = workerIs("a");
    Worker const &b = workerIs("b");
    Worker const &c = workerIs("c");
    b.task->scheduleTask();
    c.task->scheduleTask();
    a.task->scheduleTask();
    scheduler->runUntilIdle();
    EXPECT_THAT(ran, ElementsAre("b", "c", "a"));
}

TEST_F(TaskSchedulerTest, ATaskThatRequestsItselfGoesBehindThoseThatWait) {
    busyWorkerIs("a", TaskPriority::normal);
    busyWorkerIs("b", TaskPriority::normal);
    run(4);
    EXPECT_THAT(ran, ElementsAre("a", "b", "a", "b"));
}

TEST_F(TaskSchedulerTest, ASecondRequestDoesNotMoveATaskInTheLine) {
    Worker const &a = workerIs("a");
    Worker const &b = workerIs("b");
    a.task->scheduleTask();
    b.task->scheduleTask();
    a.task->scheduleTask();
    scheduler->runUntilIdle();
    EXPECT_THAT(ran, ElementsAre("a", "b"));
}

TEST_F(TaskSchedulerTest, ARequestOfHigherPriorityMadeInARunIsNext) {
    Worker const &high = workerIs("high", TaskPriority::high);
    Worker &first = workerIs("first");
    first.workIs([&] {
        ran.emplace_back("first");
        high.task->scheduleTask();
    });
    first.task->scheduleTask();
    workerIs("second").task->scheduleTask();
    scheduler->runUntilIdle();
    EXPECT_THAT(ran, ElementsAre("first", "high", "second"));
}

TEST_F(TaskSchedulerTest, ATaskWithoutSubscribersHoldsUpNoOther) {
    auto const unheard = Qor::make<Task>(scheduler, TaskPriority::high, "unheard");
    unheard->scheduleTask();
    workerIs("heard", TaskPriority::high).task->scheduleTask();
    EXPECT_EQ(scheduler->runUntilIdle(), 1U);
    EXPECT_THAT(ran, ElementsAre("heard"));
}

// Turns of those that wait.

class StarvationTest : public TaskSchedulerTest,
                       public testing::WithParamInterface<TaskPriority> {};

TEST_P(StarvationTest, AWaitingTaskHasItsTurnAfterABoundedNumberOfRuns) {
    Worker const &waiting = workerIs("waiting", GetParam());
    waiting.task->scheduleTask();
    busyWorkerIs("busy", TaskPriority::high);
    run(TaskScheduler::maxBypasses);
    EXPECT_EQ(waiting.runs(), 0U);
    run(1);
    EXPECT_EQ(waiting.runs(), 1U);
}

TEST_P(StarvationTest, AfterItsTurnItWaitsAgain) {
    Worker const &waiting = busyWorkerIs("waiting", GetParam());
    busyWorkerIs("busy", TaskPriority::high);
    run(TaskScheduler::maxBypasses + 1);
    EXPECT_EQ(waiting.runs(), 1U);
    run(TaskScheduler::maxBypasses);
    EXPECT_EQ(waiting.runs(), 1U);
    run(1);
    EXPECT_EQ(waiting.runs(), 2U);
}

INSTANTIATE_TEST_SUITE_P(LowerPriorities, StarvationTest,
                         testing::Values(TaskPriority::background, TaskPriority::low,
                                         TaskPriority::normal));

TEST_F(TaskSchedulerTest, EveryPriorityHasItsTurnsWhenAllAreBusyForEver) {
    std::array<Worker const *, taskPriorities> const busy{
        &busyWorkerIs("background", TaskPriority::background),
        &busyWorkerIs("low", TaskPriority::low), &busyWorkerIs("normal", TaskPriority::normal),
        &busyWorkerIs("high", TaskPriority::high)};
    // Lower priorities that have waited as long go first, one run each.
    constexpr std::size_t round = TaskScheduler::maxBypasses + taskPriorities - 1;
    for (std::size_t turn = 1; turn <= 10; ++turn) {
        run(round);
        for (Worker const *const worker : busy) {
            EXPECT_GE(worker->runs(), turn) << worker->task->taskName();
        }
    }
    EXPECT_GE(busy.back()->runs(), 10 * (TaskScheduler::maxBypasses - taskPriorities));
}

TEST_F(TaskSchedulerTest, ATaskThatCouldNotRunHasNotWaited) {
    auto const task = Qor::make<Task>(scheduler, TaskPriority::low, "late");
    task->scheduleTask();
    busyWorkerIs("busy", TaskPriority::high);
    run(2 * TaskScheduler::maxBypasses);
    TestSupport::Observer<> const listener(*task);
    run(TaskScheduler::maxBypasses);
    EXPECT_EQ(listener.notices().size(), 0U);
    run(1);
    EXPECT_EQ(listener.notices().size(), 1U);
}

TEST_F(TaskSchedulerTest, ATaskThatCouldNotRunForAWhileWaitsAnew) {
    Worker const &waiting = workerIs("waiting", TaskPriority::low);
    waiting.task->scheduleTask();
    busyWorkerIs("busy", TaskPriority::high);
    run(TaskScheduler::maxBypasses);
    waiting.task->hasNotificationActiveIs(false);
    run(1);
    waiting.task->hasNotificationActiveIs(true);
    run(TaskScheduler::maxBypasses);
    EXPECT_EQ(waiting.runs(), 0U);
    run(1);
    EXPECT_EQ(waiting.runs(), 1U);
}

// Running.

TEST_F(TaskSchedulerTest, RunOneRunsOneTask) {
    workerIs("a").task->scheduleTask();
    workerIs("b").task->scheduleTask();
    EXPECT_TRUE(scheduler->runOne());
    EXPECT_THAT(ran, ElementsAre("a"));
}

TEST_F(TaskSchedulerTest, RunOneSaysWhenNothingIsReady) {
    EXPECT_FALSE(scheduler->runOne());
}

TEST_F(TaskSchedulerTest, RunUntilIdleCountsRunsThatWereRequestedOnTheWay) {
    Worker const &b = workerIs("b");
    Worker &a = workerIs("a");
    a.workIs([&] {
        ran.emplace_back("a");
        b.task->scheduleTask();
    });
    a.task->scheduleTask();
    EXPECT_EQ(scheduler->runUntilIdle(), 2U);
    EXPECT_THAT(ran, ElementsAre("a", "b"));
}

TEST_F(TaskSchedulerTest, RunUntilIdleOfAnIdleSchedulerRunsNothing) {
    EXPECT_EQ(scheduler->runUntilIdle(), 0U);
}

TEST_F(TaskSchedulerTest, HasWorkWhileATaskIsReady) {
    Worker const &worker = workerIs("a");
    EXPECT_FALSE(scheduler->hasWork());
    worker.task->scheduleTask();
    EXPECT_TRUE(scheduler->hasWork());
    scheduler->runOne();
    EXPECT_FALSE(scheduler->hasWork());
}

TEST_F(TaskSchedulerTest, ARequestThatNobodyListensToIsNoWork) {
    auto const task = Qor::make<Task>(scheduler, TaskPriority::normal, "unheard");
    task->scheduleTask();
    EXPECT_FALSE(scheduler->hasWork());
}

TEST_F(TaskSchedulerDeathTest, ARunInsideARunIsAnAssertion) {
    Worker &worker = workerIs("a");
    worker.workIs([this] { scheduler->runOne(); });
    worker.task->scheduleTask();
    EXPECT_DEATH(scheduler->runOne(), "a run does not nest");
}

TEST_F(TaskSchedulerTest, AnotherSchedulerMayRunInsideARun) {
    auto const inner = TaskScheduler::TaskSchedulerIs();
    Worker const innerWorker(inner, "inner");
    innerWorker.task->scheduleTask();
    Worker &outer = workerIs("outer");
    bool stillRunning = false;
    outer.workIs([&] {
        inner->runUntilIdle();
        stillRunning = outer.task->taskCurrentlyRunning();
    });
    outer.task->scheduleTask();
    EXPECT_EQ(scheduler->runUntilIdle(), 1U);
    EXPECT_EQ(innerWorker.runs(), 1U);
    EXPECT_TRUE(stillRunning);
}

// Lifetime.

TEST_F(TaskSchedulerTest, LivesUntilTheRunInWhichItsLastTaskGoesHasEnded) {
    Worker &worker = workerIs("last");
    worker.workIs([&] { worker.task = nullptr; });
    worker.task->scheduleTask();
    TaskScheduler *const borrowed = scheduler.get();
    scheduler = nullptr;
    EXPECT_TRUE(borrowed->runOne());
    EXPECT_EQ(TestSupport::liveCount("Osk::TaskScheduler").objects, 0U);
}

TEST_F(TaskSchedulerTest, RunUntilIdleSurvivesTheReleaseOfTheSchedulerByItsLastTask) {
    Worker &worker = workerIs("last");
    worker.workIs([&] { worker.task = nullptr; });
    worker.task->scheduleTask();
    TaskScheduler *const borrowed = scheduler.get();
    scheduler = nullptr;
    EXPECT_EQ(borrowed->runUntilIdle(), 1U);
    EXPECT_EQ(TestSupport::liveCount("Osk::TaskScheduler").objects, 0U);
}

TEST_F(TaskSchedulerTest, KnowsItsType) {
    EXPECT_EQ(scheduler->fwkType().type().name(), "Osk::TaskScheduler");
}

// The share.

/// Counts what it is asked; used at every second test.
class CountingShare final : public Share {
  public:
    CountingShare(int &begins, int &tests) : begins_(begins), tests_(tests) {}
    ~CountingShare() override = default;
    void runBegins() noexcept override { ++begins_; }
    bool isUsed() noexcept override { return ++tests_ % 2 == 0; }

  private:
    int &begins_;
    int &tests_;
};

TEST_F(TaskSchedulerTest, AReplacedShareIsToldOfEachRunAndDecides) {
    int begins = 0;
    int tests = 0;
    scheduler->shareIs(std::make_unique<CountingShare>(begins, tests));
    Worker &worker = workerIs("a");
    std::vector<bool> answers;
    worker.workIs([&] {
        answers.push_back(worker.task->taskShouldYield());
        answers.push_back(worker.task->taskShouldYield());
        if (worker.runs() == 1) {
            worker.task->scheduleTask();
        }
    });
    worker.task->scheduleTask();
    scheduler->runUntilIdle();
    EXPECT_THAT(answers, ElementsAre(false, true, false, true));
    EXPECT_EQ(begins, 2);
    EXPECT_EQ(tests, 4);
}

TEST_F(TaskSchedulerTest, TheShareIsNotAskedForATaskThatIsNotRunning) {
    int begins = 0;
    int tests = 0;
    scheduler->shareIs(std::make_unique<CountingShare>(begins, tests));
    EXPECT_TRUE(workerIs("a").task->taskShouldYield());
    EXPECT_EQ(tests, 0);
}

/// What the first taskShouldYield() of a run answers under a time limit.
bool firstAnswer(Qor::Ptr<TaskScheduler> const &scheduler, std::chrono::nanoseconds limit) {
    scheduler->shareIs(limit);
    Worker worker(scheduler, "a");
    bool answer = false;
    worker.workIs([&] { answer = worker.task->taskShouldYield(); });
    worker.task->scheduleTask();
    scheduler->runUntilIdle();
    return answer;
}

TEST_F(TaskSchedulerTest, ATimeLimitOfNothingStopsARunAtItsFirstTest) {
    EXPECT_TRUE(firstAnswer(scheduler, std::chrono::nanoseconds(0)));
}

TEST_F(TaskSchedulerTest, ATimeLimitOfAnHourLetsARunGoOn) {
    EXPECT_FALSE(firstAnswer(scheduler, std::chrono::hours(1)));
}

TEST_F(TaskSchedulerDeathTest, NoShareAtAllIsAnAssertion) {
    EXPECT_DEATH(scheduler->shareIs(std::unique_ptr<Share>()), "share != nullptr");
}

TEST_F(TaskSchedulerDeathTest, ReplacingTheShareInsideARunIsAnAssertion) {
    Worker &worker = workerIs("a");
    worker.workIs([this] { scheduler->shareIs(std::make_unique<UnlimitedShare>()); });
    worker.task->scheduleTask();
    EXPECT_DEATH(scheduler->runOne(), "running_ == nullptr");
}

// The process's default scheduler.

class TaskSchedulerRootTest : public TestSupport::CensusTest {
  protected:
    TaskSchedulerRootTest() {
        TaskSchedulerRoot::schedulerDelForTest();
        baselineTake();
    }
    ~TaskSchedulerRootTest() override { TaskSchedulerRoot::schedulerDelForTest(); }
};

TEST_F(TaskSchedulerRootTest, GivesOneSchedulerToAll) {
    auto const scheduler = TaskSchedulerRoot::findOrCreateScheduler();
    ASSERT_TRUE(scheduler);
    EXPECT_EQ(TaskSchedulerRoot::findOrCreateScheduler(), scheduler);
}

TEST_F(TaskSchedulerRootTest, KeepsItWhenNobodyElseDoes) {
    std::uint32_t const serial = TaskSchedulerRoot::findOrCreateScheduler()->creationSerial();
    EXPECT_EQ(TaskSchedulerRoot::findOrCreateScheduler()->creationSerial(), serial);
}

TEST_F(TaskSchedulerRootTest, ItsTasksRun) {
    Worker const worker(TaskSchedulerRoot::findOrCreateScheduler(), "scan");
    worker.task->scheduleTask();
    EXPECT_EQ(TaskSchedulerRoot::findOrCreateScheduler()->runUntilIdle(), 1U);
    EXPECT_EQ(worker.runs(), 1U);
}

TEST_F(TaskSchedulerRootTest, MakesAnotherAfterItWasLetGo) {
    auto const former = TaskSchedulerRoot::findOrCreateScheduler();
    TaskSchedulerRoot::schedulerDelForTest();
    EXPECT_FALSE(TaskSchedulerRoot::findOrCreateScheduler() == former);
}

} // namespace
} // namespace Osk
