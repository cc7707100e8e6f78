#include "platform/Osk/Task.h"

#include "platform/Qor/Exceptions.h"
#include "tests/platform/Osk/Worker.h"
#include "tests/support/Census.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Osk {
namespace {

using testing::ElementsAre;

class TaskTest : public TestSupport::CensusTest {
  protected:
    Qor::Ptr<TaskScheduler> scheduler = TaskScheduler::TaskSchedulerIs();
};
using TaskDeathTest = TaskTest;

// Its properties.

TEST_F(TaskTest, IsWhatItWasMadeWith) {
    auto const task = Qor::make<Task>(scheduler, TaskPriority::low, "scan");
    EXPECT_EQ(task->taskName(), Nuvio::String("scan"));
    EXPECT_EQ(task->taskScheduler(), scheduler);
    EXPECT_EQ(task->taskPriority(), TaskPriority::low);
    EXPECT_EQ(task->fwkType().type().name(), "Osk::Task");
}

TEST_F(TaskTest, ANewTaskIsNeitherRequestedNorRunning) {
    auto const task = Qor::make<Task>(scheduler, TaskPriority::normal, "scan");
    EXPECT_FALSE(task->taskQueued());
    EXPECT_FALSE(task->taskCurrentlyRunning());
    EXPECT_EQ(task->taskWorkPending(), 0U);
}

TEST_F(TaskDeathTest, ATaskWithoutSchedulerIsAnAssertion) {
    EXPECT_DEATH((void)Qor::make<Task>(Qor::Ptr<TaskScheduler>(), TaskPriority::normal, "scan"),
                 "a task needs a scheduler");
}

TEST_F(TaskDeathTest, APriorityThatThereIsNotIsAnAssertion) {
    EXPECT_DEATH((void)Qor::make<Task>(scheduler, TaskPriority{4}, "scan"), "taskPriorities");
}

TEST(TaskPriority, IsReadFromItsWord) {
    using Traits = Qor::ValueTraits<TaskPriority>;
    for (auto const priority :
         {TaskPriority::background, TaskPriority::low, TaskPriority::normal, TaskPriority::high}) {
        EXPECT_EQ(Traits::parse(Traits::text(priority)), priority);
    }
    for (char const *const text : {"", "urgent", "High", "low "}) {
        EXPECT_THROW(Traits::parse(text), Qor::RangeException) << '"' << text << '"';
    }
}

// Requests.

TEST_F(TaskTest, ARequestedRunPublishesTheRunAttribute) {
    Worker worker(scheduler, "scan");
    worker.task->scheduleTask();
    scheduler->runUntilIdle();
    EXPECT_THAT(worker.notices(), ElementsAre(TestSupport::Observer<>::notice(131)));
}

TEST_F(TaskTest, ATaskThatIsNotRequestedDoesNotRun) {
    Worker const worker(scheduler, "scan");
    EXPECT_FALSE(scheduler->runOne());
    EXPECT_EQ(worker.runs(), 0U);
}

TEST_F(TaskTest, HoweverOftenItIsRequestedItRunsOnce) {
    Worker worker(scheduler, "scan");
    worker.task->scheduleTask();
    worker.task->taskWorkPendingIs(3);
    worker.task->scheduleTask();
    EXPECT_EQ(scheduler->runUntilIdle(), 1U);
    EXPECT_EQ(worker.runs(), 1U);
}

TEST_F(TaskTest, PendingWorkIsARequest) {
    Worker worker(scheduler, "scan");
    worker.task->taskWorkPendingIs(3);
    EXPECT_EQ(worker.task->taskWorkPending(), 3U);
    EXPECT_EQ(scheduler->runUntilIdle(), 1U);
}

TEST_F(TaskTest, NoPendingWorkIsNoRequest) {
    Worker worker(scheduler, "scan");
    worker.task->taskWorkPendingIs(0);
    EXPECT_FALSE(worker.task->taskQueued());
    EXPECT_EQ(scheduler->runUntilIdle(), 0U);
}

TEST_F(TaskTest, NoPendingWorkDoesNotWithdrawARequest) {
    Worker worker(scheduler, "scan");
    worker.task->scheduleTask();
    worker.task->taskWorkPendingIs(0);
    EXPECT_EQ(scheduler->runUntilIdle(), 1U);
}

TEST_F(TaskTest, TheRequestIsConsumedWhenTheRunStarts) {
    Worker worker(scheduler, "scan");
    std::optional<bool> queued;
    std::optional<std::uint64_t> pending;
    worker.workIs([&] {
        queued = worker.task->taskQueued();
        pending = worker.task->taskWorkPending();
    });
    worker.task->taskWorkPendingIs(3);
    EXPECT_TRUE(worker.task->taskQueued());
    scheduler->runUntilIdle();
    EXPECT_EQ(queued, false);
    EXPECT_EQ(pending, 0U);
}

TEST_F(TaskTest, RequestsInsideARunGiveOneMore) {
    Worker worker(scheduler, "scan");
    worker.workIs([&] {
        if (worker.runs() == 1) {
            worker.task->scheduleTask();
            worker.task->taskWorkPendingIs(7);
        }
    });
    worker.task->scheduleTask();
    EXPECT_EQ(scheduler->runUntilIdle(), 2U);
    EXPECT_EQ(worker.runs(), 2U);
}

TEST_F(TaskTest, ATaskThatNobodyListensToWaitsForASubscriber) {
    auto const task = Qor::make<Task>(scheduler, TaskPriority::normal, "scan");
    task->scheduleTask();
    EXPECT_EQ(scheduler->runUntilIdle(), 0U);
    EXPECT_TRUE(task->taskQueued());

    TestSupport::Observer<> const listener(*task);
    EXPECT_EQ(scheduler->runUntilIdle(), 1U);
    EXPECT_EQ(listener.notices().size(), 1U);
}

TEST_F(TaskTest, ARequestOutlastsNotificationsThatAreSwitchedOff) {
    Worker worker(scheduler, "scan");
    worker.task->scheduleTask();
    worker.task->hasNotificationActiveIs(false);
    EXPECT_EQ(scheduler->runUntilIdle(), 0U);
    EXPECT_EQ(worker.task->statistics().runs, 0U);

    worker.task->hasNotificationActiveIs(true);
    EXPECT_EQ(scheduler->runUntilIdle(), 1U);
    EXPECT_EQ(worker.runs(), 1U);
}

// Deletion.

/// Request three tasks, destroy the one at `destroyed`, and return who ran.
std::vector<std::string> runsWithout(std::size_t destroyed,
                                     Qor::Ptr<TaskScheduler> const &scheduler) {
    std::vector<std::string> ran;
    std::vector<std::unique_ptr<Worker>> workers;
    for (char const *const name : {"first", "middle", "last"}) {
        workers.push_back(std::make_unique<Worker>(scheduler, name));
        workers.back()->workIs([&ran, name] { ran.emplace_back(name); });
        workers.back()->task->scheduleTask();
    }
    workers[destroyed].reset();
    scheduler->runUntilIdle();
    return ran;
}

TEST_F(TaskTest, TheFirstOfTheQueueLeavesItWhenItIsDestroyed) {
    EXPECT_THAT(runsWithout(0, scheduler), ElementsAre("middle", "last"));
}

TEST_F(TaskTest, ATaskInTheMiddleOfTheQueueLeavesItWhenItIsDestroyed) {
    EXPECT_THAT(runsWithout(1, scheduler), ElementsAre("first", "last"));
}

TEST_F(TaskTest, TheLastOfTheQueueLeavesItWhenItIsDestroyed) {
    EXPECT_THAT(runsWithout(2, scheduler), ElementsAre("first", "middle"));
}

TEST_F(TaskTest, AQueueWhoseLastTaskWasDestroyedTakesAnother) {
    auto gone = std::make_unique<Worker>(scheduler, "gone");
    gone->task->scheduleTask();
    gone.reset();
    Worker const next(scheduler, "next");
    next.task->scheduleTask();
    EXPECT_EQ(scheduler->runUntilIdle(), 1U);
    EXPECT_EQ(next.runs(), 1U);
}

TEST_F(TaskTest, TheQueueOwnsNothing) {
    Worker const worker(scheduler, "scan");
    worker.task->scheduleTask();
    EXPECT_EQ(worker.task->refCount(), 1U);
}

TEST_F(TaskTest, ATaskMayBeDeletedInsideItsOwnRun) {
    Worker worker(scheduler, "scan");
    std::string nameAfterwards;
    worker.workIs([&] {
        Task const *const running = worker.task.get();
        worker.task = nullptr;
        nameAfterwards = running->taskName().view(); // the scheduler holds it until the run ends
    });
    worker.task->scheduleTask();
    EXPECT_EQ(scheduler->runUntilIdle(), 1U);
    EXPECT_EQ(nameAfterwards, "scan");
    EXPECT_EQ(TestSupport::liveCount("Osk::Task").objects, 0U);
}

TEST_F(TaskTest, ATaskThatIsRequestedAndDeletedInsideItsRunDoesNotRunAgain) {
    Worker worker(scheduler, "scan");
    worker.workIs([&] {
        worker.task->scheduleTask();
        worker.task = nullptr;
    });
    worker.task->scheduleTask();
    EXPECT_EQ(scheduler->runUntilIdle(), 1U);
    EXPECT_FALSE(scheduler->hasWork());
}

TEST_F(TaskTest, AWaitingTaskMayBeDeletedInsideTheRunOfAnother) {
    Worker running(scheduler, "running");
    Worker waiting(scheduler, "waiting");
    running.workIs([&] { waiting.task = nullptr; });
    running.task->scheduleTask();
    waiting.task->scheduleTask();
    EXPECT_EQ(scheduler->runUntilIdle(), 1U);
    EXPECT_EQ(waiting.runs(), 0U);
}

// Yielding.

TEST_F(TaskTest, ATaskThatIsNotRunningShouldYield) {
    scheduler->shareIs(std::make_unique<UnlimitedShare>());
    Worker const worker(scheduler, "scan");
    EXPECT_TRUE(worker.task->taskShouldYield());
    worker.task->scheduleTask();
    EXPECT_TRUE(worker.task->taskShouldYield());
}

TEST_F(TaskTest, TheRunningTaskShouldNotYieldBeforeItsShareIsUsed) {
    scheduler->shareIs(std::make_unique<CountShare>(3));
    Worker worker(scheduler, "scan");
    std::vector<bool> answers;
    worker.workIs([&] {
        for (int i = 0; i < 4; ++i) {
            answers.push_back(worker.task->taskShouldYield());
        }
    });
    worker.task->scheduleTask();
    scheduler->runUntilIdle();
    EXPECT_THAT(answers, ElementsAre(false, false, true, true));
}

TEST_F(TaskTest, OnlyTheOneThatRunsIsRunning) {
    scheduler->shareIs(std::make_unique<UnlimitedShare>());
    Worker running(scheduler, "running");
    Worker const other(scheduler, "other");
    std::vector<bool> answers;
    running.workIs([&] {
        answers = {running.task->taskCurrentlyRunning(), running.task->taskShouldYield(),
                   other.task->taskCurrentlyRunning(), other.task->taskShouldYield()};
    });
    running.task->scheduleTask();
    scheduler->runUntilIdle();
    EXPECT_THAT(answers, ElementsAre(true, false, false, true));
}

TEST_F(TaskTest, ATaskWhoseRunHasEndedIsNotRunning) {
    Worker const worker(scheduler, "scan");
    worker.task->scheduleTask();
    scheduler->runUntilIdle();
    EXPECT_FALSE(worker.task->taskCurrentlyRunning());
    EXPECT_TRUE(worker.task->taskShouldYield());
}

// Priority.

TEST_F(TaskTest, AQueuedTaskMovesToTheEndOfTheLineOfItsNewPriority) {
    std::vector<std::string> ran;
    Worker high(scheduler, "high", TaskPriority::high);
    Worker raised(scheduler, "raised", TaskPriority::low);
    Worker normal(scheduler, "normal");
    high.workIs([&] { ran.emplace_back("high"); });
    raised.workIs([&] { ran.emplace_back("raised"); });
    normal.workIs([&] { ran.emplace_back("normal"); });
    raised.task->scheduleTask();
    normal.task->scheduleTask();
    high.task->scheduleTask();
    raised.task->taskPriorityIs(TaskPriority::high);
    scheduler->runUntilIdle();
    EXPECT_THAT(ran, ElementsAre("high", "raised", "normal"));
    EXPECT_EQ(raised.task->taskPriority(), TaskPriority::high);
}

TEST_F(TaskTest, TheSamePriorityLeavesAQueuedTaskInItsPlace) {
    std::vector<std::string> ran;
    Worker first(scheduler, "first");
    Worker second(scheduler, "second");
    first.workIs([&] { ran.emplace_back("first"); });
    second.workIs([&] { ran.emplace_back("second"); });
    first.task->scheduleTask();
    second.task->scheduleTask();
    first.task->taskPriorityIs(TaskPriority::normal);
    scheduler->runUntilIdle();
    EXPECT_THAT(ran, ElementsAre("first", "second"));
}

TEST_F(TaskTest, ANewPriorityIsNoRequest) {
    Worker const worker(scheduler, "scan");
    worker.task->taskPriorityIs(TaskPriority::high);
    EXPECT_FALSE(worker.task->taskQueued());
    EXPECT_EQ(scheduler->runUntilIdle(), 0U);
}

TEST_F(TaskDeathTest, ChangingToAPriorityThatThereIsNotIsAnAssertion) {
    Worker const worker(scheduler, "scan");
    EXPECT_DEATH(worker.task->taskPriorityIs(TaskPriority{4}), "taskPriorities");
}

// Statistics.

TEST_F(TaskTest, CountsItsRuns) {
    Worker const worker(scheduler, "scan");
    for (int i = 0; i < 3; ++i) {
        worker.task->scheduleTask();
        scheduler->runUntilIdle();
    }
    EXPECT_EQ(worker.task->statistics().runs, 3U);
}

TEST_F(TaskTest, SumsTheItemsOfItsRuns) {
    Worker worker(scheduler, "scan");
    worker.workIs([&] { worker.task->taskWorkCountInc(5); });
    for (int i = 0; i < 2; ++i) {
        worker.task->scheduleTask();
        scheduler->runUntilIdle();
    }
    EXPECT_EQ(worker.task->statistics().items, 10U);
}

TEST_F(TaskTest, KeepsTheLengthOfItsLongestRun) {
    using std::chrono::steady_clock;
    constexpr std::chrono::microseconds spell{200};
    Worker worker(scheduler, "scan");
    worker.workIs([&] {
        auto const begin = steady_clock::now();
        while (worker.runs() == 1 && steady_clock::now() - begin < spell) {
        }
    });
    worker.task->scheduleTask();
    scheduler->runUntilIdle();
    auto const longest = worker.task->statistics().longestRun;
    EXPECT_GE(longest, spell);
    worker.task->scheduleTask();
    scheduler->runUntilIdle();
    EXPECT_GE(worker.task->statistics().longestRun, longest);
}

} // namespace
} // namespace Osk
