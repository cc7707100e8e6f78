#include "platform/Osk/Task.h"

#include "platform/Osk/TaskScheduler.h"

#include <algorithm>

namespace Osk {

Task::Task(Qor::Ptr<TaskScheduler> const &scheduler, TaskPriority priority,
           Nuvio::String const &name)
    : scheduler_(scheduler), name_(name), priority_(priority) {
    NUVIO_ASSERT(scheduler && "a task needs a scheduler");
    NUVIO_ASSERT(static_cast<std::size_t>(priority) < taskPriorities);
}

Task::~Task() {
    if (queued_) {
        scheduler_->dequeue(*this);
    }
}

void Task::taskPriorityIs(TaskPriority priority) noexcept {
    NUVIO_ASSERT(static_cast<std::size_t>(priority) < taskPriorities);
    if (priority == priority_) {
        return;
    }
    bool const queued = queued_;
    if (queued) {
        scheduler_->dequeue(*this);
    }
    priority_ = priority;
    if (queued) {
        scheduler_->enqueue(*this);
    }
}

void Task::scheduleTask() noexcept {
    if (!queued_) {
        scheduler_->enqueue(*this);
    }
}

void Task::taskWorkPendingIs(std::uint64_t items) noexcept {
    pending_ = items;
    if (items != 0) {
        scheduleTask();
    }
}

void Task::run() noexcept {
    auto const begin = std::chrono::steady_clock::now();
    pending_ = 0;
    publish(runAttribute);
    ++statistics_.runs;
    statistics_.longestRun = std::max<std::chrono::nanoseconds>(
        statistics_.longestRun, std::chrono::steady_clock::now() - begin);
}

} // namespace Osk
