#include "agent/loop/Loop.h"

#include "agent/Errno.h"
#include "platform/Nuvio/Assert.h"

#include <sys/epoll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <limits>
#include <utility>

namespace Agent {
namespace {

constexpr std::size_t eventsPerTurn = 64;

/// What this thread has had of the processor.
std::chrono::nanoseconds processorTime() noexcept {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

/// Measures one part of a turn: the longest is what a slow turn is put down to.
class Loop::Section {
  public:
    explicit Section(Loop &loop) : loop_(loop) {}
    Section(Section const &) = delete;
    Section &operator=(Section const &) = delete;

    void ends(std::string_view cause) {
        auto const now = Clock::now();
        auto const spent = now - begin_;
        begin_ = now;
        if (spent > loop_.longestSection_) {
            loop_.longestSection_ = spent;
            loop_.longestSectionCause_ = cause;
        }
    }

  private:
    Loop &loop_;
    Clock::time_point begin_ = Clock::now();
};

// Watches

Loop::Watch::Watch(Loop &loop, int descriptor, std::uint32_t events, std::string cause,
                   Handler handler)
    : loop_(loop), descriptor_(descriptor), events_(events), cause_(std::move(cause)),
      handler_(std::move(handler)) {
    epoll_event event{};
    event.events = events;
    event.data.fd = descriptor;
    if (::epoll_ctl(loop_.epoll_.number(), EPOLL_CTL_ADD, descriptor, &event) != 0) {
        failWithErrno("event loop", cause_);
    }
    bool const isNew = loop_.watches_.emplace(descriptor, this).second;
    NUVIO_ASSERT(isNew && "one watch a descriptor");
}

Loop::Watch::~Watch() {
    ::epoll_ctl(loop_.epoll_.number(), EPOLL_CTL_DEL, descriptor_, nullptr);
    loop_.watches_.erase(descriptor_);
    if (loop_.handling_ == this) {
        loop_.handling_ = nullptr;
    }
}

void Loop::Watch::eventsIs(std::uint32_t events) {
    if (events == events_) {
        return;
    }
    epoll_event event{};
    event.events = events_ = events;
    event.data.fd = descriptor_;
    if (::epoll_ctl(loop_.epoll_.number(), EPOLL_CTL_MOD, descriptor_, &event) != 0) {
        failWithErrno("event loop", cause_);
    }
}

// Timers

Loop::Timer::Timer(Loop &loop, std::string cause, Handler handler)
    : loop_(loop), cause_(std::move(cause)), handler_(std::move(handler)) {}

void Loop::Timer::startAfter(std::chrono::nanoseconds delay) {
    stop();
    place_ = loop_.timers_.emplace(Clock::now() + delay, this);
    running_ = true;
}

void Loop::Timer::stop() noexcept {
    if (std::exchange(running_, false)) {
        loop_.timers_.erase(place_);
    }
}

// Turns

Loop::Loop(Qor::Ptr<Osk::TaskScheduler> scheduler)
    : scheduler_(std::move(scheduler)), epoll_(::epoll_create1(EPOLL_CLOEXEC)) {
    if (!epoll_) {
        failWithErrno("event loop", "epoll");
    }
}

Loop::~Loop() {
    NUVIO_ASSERT(watches_.empty() && timers_.empty());
}

void Loop::slowTurnIs(std::chrono::nanoseconds limit,
                      std::function<void(TurnTime const &)> report) {
    slowTurn_ = limit;
    report_ = std::move(report);
}

void Loop::run() {
    stopped_ = false;
    while (!stopped_) {
        turn();
    }
}

void Loop::turn(std::chrono::milliseconds longestWait) {
    std::array<epoll_event, eventsPerTurn> events{};
    int const ready = ::epoll_wait(epoll_.number(), events.data(), static_cast<int>(events.size()),
                                   waitTime(longestWait));
    auto const begin = Clock::now();
    auto const processorBegin = processorTime();
    if (ready < 0 && errno != EINTR) {
        failWithErrno("event loop", "epoll");
    }
    longestSection_ = {};
    for (int i = 0; i < ready; ++i) {
        handle(events[static_cast<std::size_t>(i)].data.fd,
               events[static_cast<std::size_t>(i)].events);
    }
    handleTimers(begin);
    Section section(*this);
    if (scheduler_->runOne()) {
        section.ends(scheduler_->lastRun().view());
    }
    turnEnds(begin, processorBegin);
}

int Loop::waitTime(std::chrono::milliseconds longestWait) const {
    if (stopped_ || scheduler_->hasWork()) {
        return 0;
    }
    auto wait = longestWait < std::chrono::milliseconds::zero()
                    ? std::chrono::nanoseconds::max()
                    : std::chrono::nanoseconds(longestWait);
    if (!timers_.empty()) {
        wait = std::clamp<std::chrono::nanoseconds>(timers_.begin()->first - Clock::now(),
                                                    std::chrono::nanoseconds::zero(), wait);
    }
    if (wait == std::chrono::nanoseconds::max()) {
        return -1;
    }
    // Rounded up, so that a timer is due when the wait is over.
    auto const milliseconds = std::chrono::ceil<std::chrono::milliseconds>(wait).count();
    return static_cast<int>(std::min<std::int64_t>(milliseconds, std::numeric_limits<int>::max()));
}

void Loop::handle(int descriptor, std::uint32_t events) {
    auto const found = watches_.find(descriptor);
    if (found == watches_.end()) {
        return; // its watch went in this turn
    }
    Section section(*this);
    handling_ = found->second;
    auto const handler = handling_->handler_; // lives through the end of its watch
    handler(events);
    section.ends(handling_ ? std::string_view(handling_->cause_) : "a closing descriptor");
    handling_ = nullptr;
}

void Loop::handleTimers(Clock::time_point now) {
    // Those that are started in a handler are later than `now`.
    while (!timers_.empty() && timers_.begin()->first <= now) {
        Timer &timer = *timers_.begin()->second;
        timer.stop();
        Section section(*this);
        auto const handler = timer.handler_; // the timer may go in it
        std::string const cause = timer.cause_;
        handler();
        section.ends(cause);
    }
}

void Loop::turnEnds(Clock::time_point begin, std::chrono::nanoseconds processorBegin) {
    ++statistics_.turns;
    auto const spent = Clock::now() - begin;
    auto const processor = processorTime() - processorBegin;
    auto const *const end = std::ranges::lower_bound(Statistics::classEnds, processor);
    ++statistics_.classes[static_cast<std::size_t>(end - Statistics::classEnds.begin())];
    statistics_.longestProcessor = std::max(statistics_.longestProcessor, processor);
    if (spent > statistics_.longest.spent) {
        statistics_.longest = {spent, processor, longestSectionCause_};
    }
    if (spent > slowTurn_) {
        ++statistics_.slowTurns;
        report_({spent, processor, longestSectionCause_});
    }
}

} // namespace Agent
