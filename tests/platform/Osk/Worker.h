// A task that counts its runs and does in each what the test gave it to do.
#pragma once

#include "platform/Osk.h"
#include "tests/support/Observer.h"

#include <cstddef>
#include <functional>
#include <utility>

namespace Osk {

class Worker {
  public:
    Worker(Qor::Ptr<TaskScheduler> const &scheduler, char const *name,
           TaskPriority priority = TaskPriority::normal)
        : task(Qor::make<Task>(scheduler, priority, name)), observer_(*task) {}

    /// What to do in a run. It may let go of `task`.
    void workIs(std::function<void()> work) {
        observer_.reactionIs([work = std::move(work)](auto const &) { work(); });
    }
    [[nodiscard]] std::size_t runs() const { return observer_.notices().size(); }
    [[nodiscard]] auto const &notices() const { return observer_.notices(); }

    Qor::Ptr<Task> task;

  private:
    TestSupport::Observer<> observer_;
};

} // namespace Osk
