// How the micro benchmarks are named, timed and checked.
//
// A benchmark is "<topic>/<operation>/<size>/<subject>"; the size is empty where there is none. The
// subject "ours" is the platform's; those that start with "floor: " show what no peer can be below
// (an empty loop, a plain increment). Each reports items_per_second: the compare script makes
// nanoseconds per operation of it.
//
// Times are CPU times of the thread, so that other programs on the machine disturb less.
//
// A benchmark computes something that depends on every operation, and fails when it is not what it
// must be: a compiler cannot drop the work, and a look-up that finds nothing shows.
//
// What a benchmark does differs from round to round, or is too much to be learned: processors of
// today know the branches of tens of thousands of operations by heart after some rounds, and a
// table looks five times as fast as it is.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <random>
#include <string>
#include <string_view>
#include <utility>

namespace Bench::Micro {

inline constexpr std::string_view ours = "ours";

/// The name of a benchmark that takes no size.
inline constexpr std::size_t noSize = 0;

/// Register `run(state)` under its name; `run` times itself when it is `Timed::byItself`.
enum class Timed : bool { byTheLoop, byItself };
template <class Run>
void add(std::string const &topic, std::string_view operation, std::size_t size,
         std::string_view subject, Run run, Timed timed = Timed::byTheLoop) {
    std::string const name = topic + '/' + std::string(operation) + '/' +
                             (size == noSize ? std::string() : std::to_string(size)) + '/' +
                             std::string(subject);
    auto *const registered = benchmark::RegisterBenchmark(name.c_str(), std::move(run));
    if (timed == Timed::byItself) {
        registered->UseManualTime();
    }
}

void addMaps();
void addSets();
void addAllocations();
void addNotices();
void addTasks();
void addTraces();
void addPointers();

/// Set the number of operations that were done in each round of the benchmark's loop.
inline void operationsPerRound(benchmark::State &state, std::size_t operations) {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(operations));
}

/// Fail the benchmark unless it computed what it must.
template <class Value> void expect(benchmark::State &state, Value actual, Value expected) {
    if (actual != expected) {
        state.SkipWithError("computed something else than expected");
    }
}

/// Run `operation` over and over; memory is what it was told to be before and after each.
template <class Operation> void repeat(benchmark::State &state, Operation operation) {
    constexpr std::size_t perRound = 1000;
    for ([[maybe_unused]] auto const round : state) {
        for (std::size_t i = 0; i < perRound; ++i) {
            operation();
            benchmark::ClobberMemory();
        }
    }
    operationsPerRound(state, perRound);
}

[[nodiscard]] inline double cpuSeconds() noexcept {
    std::timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// What timing nothing at all gives, to be taken off each timed round.
[[nodiscard]] double clockCost();

/// Rounds of `prepare()`, `work()` and `finish()`, of which only `work` is timed.
template <class Prepare, class Work, class Finish>
void timedRounds(benchmark::State &state, Prepare prepare, Work work, Finish finish) {
    for ([[maybe_unused]] auto const round : state) {
        prepare();
        benchmark::ClobberMemory();
        double const begin = cpuSeconds();
        work();
        benchmark::ClobberMemory();
        double const seconds = cpuSeconds() - begin - clockCost();
        state.SetIterationTime(std::max(seconds, 1e-9));
        finish();
    }
}

/// The same numbers in every process.
using Random = std::mt19937_64;

} // namespace Bench::Micro
