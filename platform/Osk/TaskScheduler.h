// The cooperative scheduler: one thread, one task at a time.
//
// Higher priority first, first come first served within one; a lower priority that waits gets its
// turn after maxBypasses runs of higher ones. A host's event loop calls runOne() as long as it
// returns true, between its other events.
//
//     while (scheduler->runOne()) { pollOtherEvents(); }
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Osk/Share.h"
#include "platform/Osk/Task.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/Pool.h"
#include "platform/Qor/PtrInterface.h"
#include "platform/Qor/Reclaimer.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>

namespace Osk {

class NUVIO_EXPORT TaskScheduler final : public Qor::PtrInterface,
                                         public Qor::PoolAllocated<TaskScheduler> {
  public:
    static constexpr std::string_view qorTypeName = "Osk::TaskScheduler";
    static constexpr std::chrono::milliseconds defaultShare{5};
    /// Runs of higher priorities that a waiting task lets pass before it has its turn.
    static constexpr std::uint32_t maxBypasses = 32;

    [[nodiscard]] static Qor::Ptr<TaskScheduler> TaskSchedulerIs();

    /// Run the task whose turn it is or, when none is ready, take apart a share's worth of what the
    /// Reclaimer has. False: there was neither.
    /// Requires: no task of this scheduler is running (a run does not nest).
    bool runOne();
    /// Run until there is no work; returns the number of runs of tasks.
    std::uint64_t runUntilIdle();
    /// A task is ready (requested, and with a subscriber), or the Reclaimer has work.
    [[nodiscard]] bool hasWork() const noexcept;
    /// Name of the task that ran last, or "reclaimer"; empty before the first run.
    [[nodiscard]] Nuvio::String const &lastRun() const noexcept { return lastRun_; }

    /// A run may take this long (default 5 ms).
    void shareIs(std::chrono::nanoseconds limit) { shareIs(std::make_unique<TimeShare>(limit)); }
    /// Let `share` decide when a run has used its share. Requires: not null, no task is running.
    void shareIs(std::unique_ptr<Share> share) noexcept;

    [[nodiscard]] static std::span<Qor::Attribute const> qorAttributes() noexcept;
    [[nodiscard]] Qor::FwkType fwkType() const noexcept override;

  private:
    friend class Task;
    friend Qor::Ptr<TaskScheduler> Qor::make<TaskScheduler>();

    /// The queued tasks of one priority, oldest first.
    struct Line {
        Task *first = nullptr;
        Task *last = nullptr;
        std::uint32_t bypasses = 0; ///< runs of others since it could have had a turn
    };

    TaskScheduler();
    ~TaskScheduler() override = default;
    [[nodiscard]] std::unique_lock<std::mutex> linesLockIfShared() const;
    void enqueue(Task &task) noexcept;
    void dequeue(Task &task) noexcept;
    [[nodiscard]] Qor::Ptr<Task> nextReady() noexcept;
    bool runTask();
    bool reclaim();
    [[nodiscard]] Line &line(Task const &task) noexcept {
        return lines_[static_cast<std::size_t>(task.taskPriority())];
    }

    std::array<Line, taskPriorities> lines_;
    mutable std::mutex linesGuard_; ///< for tasks that are released for the last time elsewhere
    std::unique_ptr<Share> share_;
    Task const *running_ = nullptr;
    Nuvio::String lastRun_;
    Qor::Reclaimer::Runner reclaims_;
};

inline bool Task::taskCurrentlyRunning() const noexcept {
    return scheduler_->running_ == this;
}

inline bool Task::taskShouldYield() const noexcept {
    return !taskCurrentlyRunning() || scheduler_->share_->test();
}

class NUVIO_EXPORT TaskSchedulerRoot {
  public:
    /// The process's default scheduler, made at the first call and kept.
    [[nodiscard]] static Qor::Ptr<TaskScheduler> const &findOrCreateScheduler();
    /// Let go of it, so that a test starts without one.
    static void schedulerDelForTest() noexcept;
};

} // namespace Osk
