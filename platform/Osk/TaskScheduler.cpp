#include "platform/Osk/TaskScheduler.h"

#include <utility>

namespace Osk {
namespace {

constexpr Qor::TypeImpl taskType = Qor::typeOf<Task>();
constexpr Qor::TypeImpl schedulerType = Qor::typeOf<TaskScheduler>();
constexpr Qor::TypeImpl const *types[] = {&taskType, &schedulerType};
constexpr Qor::Module module{"Osk", types};
[[maybe_unused]] bool const registered = Qor::qorModuleIs(module);

/// A task that nobody listens to has its request wait.
bool isReady(Task const &task) noexcept {
    return task.hasNotificationActive() && task.publisher().hasSubscribers();
}

Qor::Ptr<TaskScheduler> &defaultScheduler() {
    static Qor::Ptr<TaskScheduler> scheduler;
    return scheduler;
}

} // namespace

Qor::FwkType Task::fwkType() const noexcept {
    return {&module, 0};
}

Qor::FwkType TaskScheduler::fwkType() const noexcept {
    return {&module, 1};
}

std::span<Qor::Attribute const> Task::qorAttributes() noexcept {
    static constexpr Qor::Attribute table[] = {
        Qor::property<&Task::taskName>(130, "taskName"),
        Qor::method<&Task::scheduleTask>(runAttribute, "scheduleTask"),
        Qor::property<&Task::taskPriority, &Task::taskPriorityIs>(132, "taskPriority"),
        Qor::property<&Task::taskScheduler>(133, "taskScheduler"),
        Qor::computed<&Task::taskQueued>(134, "taskQueued"),
        Qor::computed<&Task::taskWorkPending>(135, "taskWorkPending")};
    static_assert(Qor::numbersGrow(table));
    return table;
}

std::span<Qor::Attribute const> TaskScheduler::qorAttributes() noexcept {
    static constexpr Qor::Attribute table[] = {
        Qor::computed<&TaskScheduler::hasWork>(130, "hasWork"),
        Qor::method<&TaskScheduler::runOne>(131, "runOne"),
        Qor::method<&TaskScheduler::runUntilIdle>(132, "runUntilIdle")};
    static_assert(Qor::numbersGrow(table));
    return table;
}

TaskScheduler::TaskScheduler() : share_(std::make_unique<TimeShare>(defaultShare)) {}

Qor::Ptr<TaskScheduler> TaskScheduler::TaskSchedulerIs() {
    return Qor::make<TaskScheduler>();
}

void TaskScheduler::shareIs(std::unique_ptr<Share> share) noexcept {
    NUVIO_ASSERT(share != nullptr && running_ == nullptr);
    share_ = std::move(share);
}

std::unique_lock<std::mutex> TaskScheduler::linesLockIfShared() const {
    return Qor::VFPtrInterface::threadSafePointers_ ? std::unique_lock(linesGuard_)
                                                    : std::unique_lock<std::mutex>();
}

void TaskScheduler::enqueue(Task &task) noexcept {
    auto const lock = linesLockIfShared();
    Line &queue = line(task);
    task.queued_ = true;
    task.next_ = nullptr;
    task.previous_ = queue.last;
    (queue.last ? queue.last->next_ : queue.first) = &task;
    queue.last = &task;
}

void TaskScheduler::dequeue(Task &task) noexcept {
    auto const lock = linesLockIfShared();
    Line &queue = line(task);
    (task.previous_ ? task.previous_->next_ : queue.first) = task.next_;
    (task.next_ ? task.next_->previous_ : queue.last) = task.previous_;
    task.queued_ = false;
}

Qor::Ptr<Task> TaskScheduler::nextReady() noexcept {
    auto const lock = linesLockIfShared();
    Task *chosen = nullptr;
    Line *chosenLine = nullptr;
    // From the highest priority down: the first ready task, unless a lower one has waited its fill.
    for (std::size_t i = lines_.size(); i-- > 0;) {
        Line &queue = lines_[i];
        Task *task = queue.first;
        while (task && !isReady(*task)) {
            task = task->next_;
        }
        if (!task) {
            queue.bypasses = 0;
        } else if (!chosen || ++queue.bypasses > maxBypasses) {
            chosen = task;
            chosenLine = &queue;
        }
    }
    if (chosenLine) {
        chosenLine->bypasses = 0;
    }
    return Qor::Ptr<Task>(chosen); // a task with a subscriber is held by the subscriber's owner
}

bool TaskScheduler::runOne() {
    NUVIO_ASSERT(running_ == nullptr && "a run does not nest");
    return runTask() || reclaim();
}

bool TaskScheduler::runTask() {
    Qor::Ptr<Task> const task = nextReady(); // which holds this scheduler
    if (!task) {
        return false;
    }
    dequeue(*task);
    running_ = task.get();
    lastRun_ = task->taskName();
    share_->runBegins();
    task->run();
    running_ = nullptr;
    if (Qor::Reclaimer::hasWork()) { // a little, so that it ends where a task is always ready
        Qor::Reclaimer::step();
    }
    return true;
}

std::uint64_t TaskScheduler::runUntilIdle() {
    Qor::Ptr<TaskScheduler> const self(this); // for the test that follows the last run
    NUVIO_ASSERT(running_ == nullptr && "a run does not nest");
    std::uint64_t runs = 0;
    do {
        while (runTask()) {
            ++runs;
        }
    } while (reclaim());
    return runs;
}

bool TaskScheduler::reclaim() {
    if (!Qor::Reclaimer::hasWork()) {
        return false;
    }
    static Nuvio::String const name("reclaimer");
    lastRun_ = name;
    share_->runBegins();
    // It may have no more to do: a share may look at the census, which drains it.
    for (bool isUsed = false; !isUsed && Qor::Reclaimer::hasWork(); isUsed = share_->test()) {
        Qor::Reclaimer::step();
    }
    return true;
}

bool TaskScheduler::hasWork() const noexcept {
    auto const lock = linesLockIfShared();
    for (Line const &queue : lines_) {
        for (Task const *task = queue.first; task; task = task->next_) {
            if (isReady(*task)) {
                return true;
            }
        }
    }
    return Qor::Reclaimer::hasWork();
}

Qor::Ptr<TaskScheduler> const &TaskSchedulerRoot::findOrCreateScheduler() {
    if (!defaultScheduler()) {
        defaultScheduler() = TaskScheduler::TaskSchedulerIs();
    }
    return defaultScheduler();
}

void TaskSchedulerRoot::schedulerDelForTest() noexcept {
    defaultScheduler() = nullptr;
}

} // namespace Osk

namespace {

constexpr std::array<std::string_view, Osk::taskPriorities> priorityWords = {"background", "low",
                                                                             "normal", "high"};

} // namespace

std::string Qor::ValueTraits<Osk::TaskPriority>::text(Osk::TaskPriority value) {
    return std::string(priorityWords[static_cast<std::size_t>(value)]);
}

Osk::TaskPriority Qor::ValueTraits<Osk::TaskPriority>::parse(std::string_view text) {
    for (std::size_t i = 0; i < priorityWords.size(); ++i) {
        if (text == priorityWords[i]) {
            return static_cast<Osk::TaskPriority>(i);
        }
    }
    CharRange(text).fail("background, low, normal or high");
}
