// A task that a machine owns, with the machine's subscription to its runs: the scans and the
// deletion walks each have one.
#pragma once

#include "platform/Osk/Task.h"
#include "platform/QorNuvio/Subscribe.h"

#include <utility>

namespace VlanSubIntfConfigLib::DovraCode {

class TaskSlot {
  public:
    /// `dispatch` hears the notices of the task; `machine` is what it finds as the owner.
    TaskSlot(Nuvio::Subscriber::Callback dispatch, void *machine) noexcept
        : subscriber_(dispatch, machine) {}

    [[nodiscard]] Qor::Ptr<Osk::Task> const &task() const noexcept { return task_; }
    [[nodiscard]] Nuvio::Subscriber &subscriber() noexcept { return subscriber_; }

    /// Have a task of that scheduler and name. The task that is there keeps its place if both
    /// match, and gets the priority in any case. True when a new one was made.
    bool taskIs(Qor::Ptr<Osk::TaskScheduler> const &scheduler, Osk::TaskPriority priority,
                Nuvio::String const &name) {
        if (task_) {
            task_->taskPriorityIs(priority);
            if (task_->taskScheduler() == scheduler && task_->taskName() == name) {
                return false;
            }
        }
        auto made = Qor::make<Osk::Task>(scheduler, priority, name);
        taskDel(); // not before there is another
        task_ = std::move(made);
        QorNuvio::subscribeTo(subscriber_, task_);
        return true;
    }
    /// Unsubscribe and hand the task out; null if there is none.
    Qor::Ptr<Osk::Task> taskDel() noexcept {
        notificationActiveIs(false);
        return std::exchange(task_, nullptr);
    }
    /// Hear the task's runs or not. A request made meanwhile waits.
    void notificationActiveIs(bool active) noexcept {
        QorNuvio::subscriptionIs(active, subscriber_, task_);
    }

  private:
    Qor::Ptr<Osk::Task> task_;
    Nuvio::Subscriber subscriber_; // after the task: it leaves before the task goes
};

} // namespace VlanSubIntfConfigLib::DovraCode
