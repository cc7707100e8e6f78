#include "bench/latency/Turn.h"

#include <algorithm>

namespace Latency {
namespace {

double microseconds(timespec time) noexcept {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

} // namespace

Reading Reading::now() noexcept {
    Reading reading;
    ::getrusage(RUSAGE_THREAD, &reading.usage_);
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &reading.processor_);
    reading.clock_ = Clock::now();
    return reading;
}

Turn Reading::turn(Reading const &begin, Clock::time_point end, Reading const &after) {
    Turn turn;
    turn.clock = Microseconds(end - begin.clock_).count();
    // Reading the processor's time takes a system call, which is no part of a short turn.
    turn.processor =
        std::min(turn.clock, microseconds(after.processor_) - microseconds(begin.processor_));
    turn.pageFaults = after.usage_.ru_minflt - begin.usage_.ru_minflt;
    turn.preemptions = after.usage_.ru_nivcsw - begin.usage_.ru_nivcsw;
    return turn;
}

} // namespace Latency
