// The agent's event loop: epoll for descriptors, timers, and the scheduler's work between them.
//
// A turn is: wait (not at all while the scheduler has work), call the handlers of the descriptors
// that are ready and of the timers that are due, then let the scheduler run one task for its share.
// So a descriptor waits for one share at most, and the loop sleeps when there is nothing to do.
// Work that takes longer than a handler should goes to a Worker (agent/loop/Worker.h).
//
// Everything happens on the thread that calls run(). Handlers may add and remove watches and
// timers, their own included. They do not throw.
//
//     Loop loop(scheduler);
//     Loop::Watch const input(loop, fd, EPOLLIN, "input", [&](std::uint32_t events) { ... });
//     loop.run();
#pragma once

#include "agent/Descriptor.h"
#include "platform/Osk.h"
#include "platform/Qor.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace Agent {

class Loop {
  public:
    using Clock = std::chrono::steady_clock;

    /// A descriptor that the loop waits for, as long as this object lives. The descriptor stays the
    /// owner's, who closes it after the watch.
    class Watch {
      public:
        /// Called with the events of epoll that have come (EPOLLIN, EPOLLHUP, ...).
        using Handler = std::function<void(std::uint32_t events)>;

        /// `cause` names the handler in reports of slow turns. Throws an Error.
        Watch(Loop &loop, int descriptor, std::uint32_t events, std::string cause, Handler handler);
        ~Watch();
        /// Not copyable: the loop knows it by its address.
        Watch(Watch const &) = delete;
        Watch &operator=(Watch const &) = delete;

        /// Wait for these events from now on; 0 for none but errors and hang-ups.
        void eventsIs(std::uint32_t events);

      private:
        friend Loop;
        Loop &loop_;
        int descriptor_;
        std::uint32_t events_;
        std::string cause_;
        Handler handler_;
    };

    /// Calls its handler once, a time after startAfter().
    class Timer {
      public:
        using Handler = std::function<void()>;

        Timer(Loop &loop, std::string cause, Handler handler);
        ~Timer() { stop(); }
        /// Not copyable: the loop knows it by its address.
        Timer(Timer const &) = delete;
        Timer &operator=(Timer const &) = delete;

        /// Start it, or start it anew.
        void startAfter(std::chrono::nanoseconds delay);
        void stop() noexcept;
        [[nodiscard]] bool running() const noexcept { return running_; }

      private:
        friend Loop;
        Loop &loop_;
        std::string cause_;
        Handler handler_;
        std::multimap<Clock::time_point, Timer *>::iterator place_; ///< valid while running_
        bool running_ = false;
    };

    /// How long a turn took, without its waiting.
    struct TurnTime {
        std::chrono::nanoseconds spent{0};
        std::chrono::nanoseconds processor{0}; ///< of it, on the processor: the rest was others'
        std::string cause;                     ///< what took longest in it
    };
    struct Statistics {
        /// Where the classes end that turns are counted in by their time on the processor; one more
        /// class holds what is longer.
        static constexpr std::array<std::chrono::milliseconds, 6> classEnds{
            std::chrono::milliseconds(1),  std::chrono::milliseconds(2),
            std::chrono::milliseconds(5),  std::chrono::milliseconds(10),
            std::chrono::milliseconds(20), std::chrono::milliseconds(50)};

        std::uint64_t turns = 0;
        std::array<std::uint64_t, classEnds.size() + 1> classes{};
        std::uint64_t slowTurns = 0; ///< longer than slowTurnIs() says
        TurnTime longest;
        std::chrono::nanoseconds longestProcessor{0}; ///< of any turn
    };

    /// Throws an Error where the system has no descriptor left.
    explicit Loop(Qor::Ptr<Osk::TaskScheduler> scheduler);
    ~Loop();
    /// Not copyable: watches refer to it.
    Loop(Loop const &) = delete;
    Loop &operator=(Loop const &) = delete;

    [[nodiscard]] Qor::Ptr<Osk::TaskScheduler> const &scheduler() const noexcept {
        return scheduler_;
    }

    /// Turn until stop() is called.
    void run();
    /// One turn. Waits for `longestWait` at most, or as long as it takes for a negative one.
    void turn(std::chrono::milliseconds longestWait = std::chrono::milliseconds(-1));
    /// Let run() return at the end of the turn.
    void stop() noexcept { stopped_ = true; }

    /// Turns that take longer are counted, and reported.
    void slowTurnIs(std::chrono::nanoseconds limit, std::function<void(TurnTime const &)> report);
    [[nodiscard]] Statistics const &statistics() const noexcept { return statistics_; }

  private:
    class Section;

    [[nodiscard]] int waitTime(std::chrono::milliseconds longestWait) const;
    void handle(int descriptor, std::uint32_t events);
    void handleTimers(Clock::time_point now);
    void turnEnds(Clock::time_point begin, std::chrono::nanoseconds processorBegin);

    Qor::Ptr<Osk::TaskScheduler> scheduler_;
    Descriptor epoll_;
    std::map<int, Watch *> watches_; ///< by descriptor
    Watch *handling_ = nullptr;      ///< whose handler is running; null once it has gone
    std::multimap<Clock::time_point, Timer *> timers_;
    Statistics statistics_;
    std::chrono::nanoseconds slowTurn_{std::chrono::nanoseconds::max()};
    std::function<void(TurnTime const &)> report_;
    // The turn under way: what took longest in it.
    std::chrono::nanoseconds longestSection_{0};
    std::string longestSectionCause_;
    bool stopped_ = false;
};

} // namespace Agent
