// A task: a named unit of deferred work, bound to a scheduler.
//
// A run of the task publishes attribute Task::runAttribute on it; whoever does the work subscribes
// and works in the callback, until it is done or taskShouldYield() says that the run has used its
// share.
//
// Requests. scheduleTask() and taskWorkPendingIs(non-zero) are one request: the task is queued once
// however often it is asked for, the request is consumed when the run starts, and one made inside a
// run gives one more run. The queue owns nothing: destroying a task takes it off. A task without
// subscribers is not run; its request waits until there is one.
//
// A task may be deleted by its own subscriber during its run: the scheduler holds it until the run
// ends. Everything happens on the thread of the scheduler, but that the last release of a task may
// happen on any thread while VFPtrInterface::threadSafePointers_ is on: a scheduler guards its
// lines then.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Nuvio/String.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/Entity.h"
#include "platform/Qor/Pool.h"
#include "platform/Qor/Value.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Osk {

class TaskScheduler;

/// Higher runs first.
enum class TaskPriority : std::uint8_t { background, low, normal, high };
inline constexpr std::size_t taskPriorities = 4;

class NUVIO_EXPORT Task final : public Qor::Entity, public Qor::PoolAllocated<Task> {
  public:
    static constexpr std::string_view qorTypeName = "Osk::Task";
    /// Attribute published when the task runs.
    static constexpr short runAttribute = 131;

    /// What the task has done so far, for whoever looks for a stall.
    struct Statistics {
        std::uint64_t runs = 0;
        std::uint64_t items = 0; ///< as reported by taskWorkCountInc()
        std::chrono::nanoseconds longestRun{0};
    };

    /// Requires: `scheduler` is not null. Make it with Qor::make<Osk::Task>.
    Task(Qor::Ptr<TaskScheduler> const &scheduler, TaskPriority priority,
         Nuvio::String const &name);
    ~Task() override;

    [[nodiscard]] Nuvio::String const &taskName() const noexcept { return name_; }
    [[nodiscard]] Qor::Ptr<TaskScheduler> const &taskScheduler() const noexcept {
        return scheduler_;
    }
    [[nodiscard]] TaskPriority taskPriority() const noexcept { return priority_; }
    /// A queued task moves to the end of its new priority's line.
    void taskPriorityIs(TaskPriority priority) noexcept;

    /// Request a run.
    void scheduleTask() noexcept;
    /// Note how much work remains, in items; non-zero requests a run.
    void taskWorkPendingIs(std::uint64_t items) noexcept;
    [[nodiscard]] std::uint64_t taskWorkPending() const noexcept { return pending_; }
    /// Account `items` of work to the current run.
    void taskWorkCountInc(std::uint64_t items) noexcept { statistics_.items += items; }

    /// True when the current run has used its share, and for a task that is not running.
    [[nodiscard]] bool taskShouldYield() const noexcept;
    [[nodiscard]] bool taskCurrentlyRunning() const noexcept;
    /// A run is requested and has not started.
    [[nodiscard]] bool taskQueued() const noexcept { return queued_; }

    [[nodiscard]] Statistics const &statistics() const noexcept { return statistics_; }

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override;

  private:
    friend TaskScheduler;
    void run() noexcept;

    Qor::Ptr<TaskScheduler> scheduler_;
    Nuvio::String name_;
    Statistics statistics_;
    std::uint64_t pending_ = 0;
    // Links of the scheduler's line; valid while queued_.
    Task *next_ = nullptr;
    Task *previous_ = nullptr;
    bool queued_ = false;
    TaskPriority priority_;
};

} // namespace Osk

/// "background", "low", "normal" or "high".
template <> struct NUVIO_EXPORT Qor::ValueTraits<Osk::TaskPriority> {
    static constexpr std::string_view name = "Osk::TaskPriority";
    static std::string text(Osk::TaskPriority value);
    static Osk::TaskPriority parse(std::string_view text);
};
