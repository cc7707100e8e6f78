// A turn of a task that asks for the next one, and a test whether its share is used, beside queues
// of other kinds.
#include "bench/micro/Micro.h"
#include "platform/Nuvio/Publisher.h"
#include "platform/Osk.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace Bench::Micro {
namespace {

using Clock = std::chrono::steady_clock;

/// A task that does `work` in each of its runs.
template <class Work> class Worker {
  public:
    Worker(Qor::Ptr<Osk::TaskScheduler> const &scheduler, Work work)
        : work_(std::move(work)),
          task_(Qor::make<Osk::Task>(scheduler, Osk::TaskPriority::normal, Nuvio::String("bench"))),
          subscriber_(run, this) {
        task_->publisher().subscriberAdd(subscriber_, false);
        task_->scheduleTask();
    }

  private:
    static void run(Nuvio::Publisher *, Nuvio::Subscriber *subscriber, short, void const *,
                    void const *) noexcept {
        auto &self = *static_cast<Worker *>(subscriber->owner());
        self.work_(*self.task_);
    }

    Work work_;
    Qor::Ptr<Osk::Task> task_;
    Nuvio::Subscriber subscriber_;
};

void turnOfTask(benchmark::State &state, std::unique_ptr<Osk::Share> share) {
    auto const scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    scheduler->shareIs(std::move(share));
    std::int64_t runs = 0;
    Worker const worker(scheduler, [&runs](Osk::Task &task) {
        ++runs;
        task.scheduleTask();
    });
    repeat(state, [&] { scheduler->runOne(); });
    expect(state, runs, state.items_processed());
}

void turnOfAsio(benchmark::State &state) {
    boost::asio::io_context context(1);
    std::int64_t runs = 0;
    struct Turn {
        boost::asio::io_context *context;
        std::int64_t *runs;
        void operator()() const {
            ++*runs;
            boost::asio::post(*context, *this);
        }
    };
    boost::asio::post(context, Turn{&context, &runs});
    repeat(state, [&] { context.poll_one(); });
    expect(state, runs, state.items_processed());
}

/// The least that one would write: a list through the tasks, first come first served.
class PlainQueue {
  public:
    struct Task {
        void (*run)(Task &task) = nullptr;
        Task *next = nullptr;
        bool queued = false;
    };
    void add(Task &task) {
        if (!std::exchange(task.queued, true)) {
            task.next = nullptr;
            *end_ = &task;
            end_ = &task.next;
        }
    }
    bool runOne() {
        Task *const task = first_;
        if (!task) {
            return false;
        }
        first_ = task->next;
        if (!first_) {
            end_ = &first_;
        }
        task->queued = false;
        task->run(*task);
        return true;
    }

  private:
    Task *first_ = nullptr;
    Task **end_ = &first_;
};

struct PlainTask : PlainQueue::Task {
    PlainQueue *queue = nullptr;
    std::int64_t runs = 0;
};

void turnOfPlainQueue(benchmark::State &state) {
    PlainQueue queue;
    PlainTask task;
    task.queue = &queue;
    task.run = [](PlainQueue::Task &running) {
        auto &self = static_cast<PlainTask &>(running);
        ++self.runs;
        self.queue->add(self);
    };
    queue.add(task);
    benchmark::DoNotOptimize(&queue);
    repeat(state, [&] { queue.runOne(); });
    expect(state, task.runs, state.items_processed());
}

void readClock(benchmark::State &state) {
    repeat(state, [] { benchmark::DoNotOptimize(Clock::now()); });
}

/// A share that no run of a benchmark uses up: once it is used, no clock is read any more.
constexpr std::chrono::hours endless{1};

/// Inside the one run, where it has an answer other than true.
void testShare(benchmark::State &state) {
    auto const scheduler = Osk::TaskScheduler::TaskSchedulerIs();
    scheduler->shareIs(endless);
    std::int64_t yields = 0;
    Worker const worker(scheduler, [&](Osk::Task &task) {
        repeat(state, [&] { yields += task.taskShouldYield() ? 1 : 0; });
    });
    scheduler->runOne();
    expect(state, yields, std::int64_t{0});
}

void testByHand(benchmark::State &state) {
    auto const end = Clock::now() + endless;
    std::uint32_t tests = 0;
    std::int64_t yields = 0;
    repeat(state, [&] {
        bool const used = tests++ % Osk::TimeShare::testsPerClockRead == 0 && Clock::now() >= end;
        yields += used ? 1 : 0;
    });
    expect(state, yields, std::int64_t{0});
}

} // namespace

void addTasks() {
    auto const turn = [](auto makeShare) {
        return [makeShare](benchmark::State &state) { turnOfTask(state, makeShare()); };
    };
    add("task", "turn", noSize, ours,
        turn([] { return std::make_unique<Osk::TimeShare>(Osk::TaskScheduler::defaultShare); }));
    add("task", "turn", noSize, "floor: a reading of the clock", readClock);
    add("task", "turn without a limit", noSize, ours,
        turn([] { return std::make_unique<Osk::UnlimitedShare>(); }));
    for (std::string_view const operation : {"turn", "turn without a limit"}) {
        add("task", operation, noSize, "boost::asio", turnOfAsio);
        add("task", operation, noSize, "a plain queue", turnOfPlainQueue);
    }
    add("task", "taskShouldYield", noSize, ours, testShare);
    add("task", "taskShouldYield", noSize, "the same by hand", testByHand);
}

} // namespace Bench::Micro
