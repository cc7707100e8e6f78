// Work of the agent's own that is cut into slices: a task of the scheduler, beside the machine's.
//
//     Worker settle(scheduler, Osk::TaskPriority::normal, "settle", [&](Osk::Task const &task) {
//         while (!dirty.empty()) {
//             settleNext();
//             if (task.taskShouldYield()) { return Worker::More::yes; }
//         }
//         return Worker::More::no;
//     });
//     settle.wake();
//
// The step may wake its own worker again. It does not throw, and does not destroy the worker.
#pragma once

#include "platform/Nuvio/Publisher.h"
#include "platform/Osk.h"

#include <cstdint>
#include <functional>
#include <string_view>

namespace Agent {

class Worker {
  public:
    /// Whether a step has left work: it is then called again, after whoever else is waiting.
    enum class More : std::uint8_t { no, yes };
    using Step = std::function<More(Osk::Task const &)>;

    Worker(Qor::Ptr<Osk::TaskScheduler> const &scheduler, Osk::TaskPriority priority,
           std::string_view name, Step step);
    /// Not copyable: the task knows it by its address. Its end takes its work off the scheduler.
    Worker(Worker const &) = delete;
    Worker &operator=(Worker const &) = delete;

    /// There is work: the step is called, once for any number of calls before it runs.
    void wake() noexcept { task_->scheduleTask(); }
    /// It is going to be called.
    [[nodiscard]] bool awake() const noexcept { return task_->taskQueued(); }

  private:
    static void run(Nuvio::Publisher *publisher, Nuvio::Subscriber *subscriber, short attributeId,
                    void const *key, void const *reserved) noexcept;

    Step step_;
    Qor::Ptr<Osk::Task> task_;
    Nuvio::Subscriber subscriber_;
};

} // namespace Agent
