// A task that waits in its scheduler's line while the last reference to it goes elsewhere.
#include "platform/Osk.h"
#include "platform/QorNuvio/Subscribe.h"
#include "tests/support/Census.h"
#include "tests/threads/Sharers.h"
#include "tests/threads/Switch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace Threads {
namespace {

/// Asks for another run in each, as often as it was told.
class Worker {
  public:
    Worker(Qor::Ptr<Osk::TaskScheduler> const &scheduler, Osk::TaskPriority priority,
           std::uint64_t itsRuns)
        : task_(Qor::make<Osk::Task>(scheduler, priority, "worker")), left_(itsRuns),
          subscriber_(&Worker::onRun, this) {
        QorNuvio::subscribeTo(subscriber_, task_);
        task_->scheduleTask();
    }
    [[nodiscard]] std::uint64_t runs() const { return task_->statistics().runs; }

  private:
    static void onRun(Nuvio::Publisher * /*publisher*/, Nuvio::Subscriber *subscriber,
                      short /*attribute*/, void const * /*key*/,
                      void const * /*reserved*/) noexcept {
        auto &self = *static_cast<Worker *>(subscriber->owner());
        if (--self.left_ != 0) {
            self.task_->scheduleTask();
        }
    }

    Qor::Ptr<Osk::Task> task_;
    std::uint64_t left_;
    Nuvio::Subscriber subscriber_;
};

class TaskRelease : SwitchOn, public TestSupport::CensusTest {
  protected:
    Qor::Ptr<Osk::TaskScheduler> scheduler = Osk::TaskScheduler::TaskSchedulerIs();

    /// `count` tasks that are queued and that nobody listens to, for the other threads alone.
    void giveQueuedTasks(Sharers &sharers, unsigned count) const {
        for (unsigned i = 0; i < count; ++i) {
            auto const priority = static_cast<Osk::TaskPriority>(i % Osk::taskPriorities);
            auto const task = Qor::make<Osk::Task>(scheduler, priority, "abandoned");
            task->scheduleTask();
            sharers.give(task);
        }
    }
};

TEST_F(TaskRelease, AQueuedTaskLeavesItsLineWhileTheSchedulerRunsOthers) {
    constexpr std::uint64_t runs = 2000;
    Sharers sharers;
    Worker const high(scheduler, Osk::TaskPriority::high, runs);
    Worker const low(scheduler, Osk::TaskPriority::low, runs);
    std::uint64_t done = 0;
    for (int round = 0; round < 20; ++round) {
        giveQueuedTasks(sharers, 32);
        sharers.letGo();
        for (int run = 0; run < 50; ++run) {
            done += scheduler->runOne() ? 1U : 0U;
        }
    }
    done += scheduler->runUntilIdle();
    sharers.drain();
    EXPECT_EQ(done, 2 * runs);
    EXPECT_EQ(high.runs(), runs);
    EXPECT_EQ(low.runs(), runs);
    EXPECT_EQ(sharers.lastReleases(), 20U * 32U);
    EXPECT_EQ(TestSupport::liveCount("Osk::Task").objects, 2U) << "the workers' own";
}

TEST_F(TaskRelease, ASchedulerGoesWithTheLastOfItsTasks) {
    Sharers sharers;
    giveQueuedTasks(sharers, 16);
    scheduler = nullptr;
    ASSERT_EQ(TestSupport::liveCount("Osk::TaskScheduler").objects, 1U);
    sharers.drain();
    EXPECT_EQ(TestSupport::liveCount("Osk::TaskScheduler").objects, 0U);
}

} // namespace
} // namespace Threads
