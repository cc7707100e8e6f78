// Four workloads, each on the machine and on its peers, at the sizes below.
//
//     W1Start/<subject>/<members>      start over filled inputs and an empty output
//     W2Churn/<subject>/<members>      members come up, change and go while it runs
//     W3Fan/<subject>/<perLag>         LAG members come and go, each under `perLag` subinterfaces
//     W4Restart/<subject>/<members>    start over an output of an earlier run, a tenth of it stale
//
// An iteration is one whole life of a subject; only what the name says is timed, so the time that
// the framework reports is that part, and the figures to look at are the counters (in ns unless the
// name says bytes). After each phase the output is compared with the workload's expected checksum;
// a difference fails the benchmark and the program's exit status.
//
// What runs in one process shares its heap: for figures, use bench/ratios, which gives each
// benchmark a process of its own.
#include "bench/Machine.h"
#include "bench/Measure.h"
#include "bench/Observed.h"
#include "bench/Plain.h"
#include "bench/Subject.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <type_traits>

namespace Bench {
namespace {

constexpr std::uint32_t churnEvents = 200'000;
constexpr std::uint32_t fanWrites = 4'000'000;
constexpr std::size_t batchEvents = 1000;
constexpr std::size_t rebuiltBatchEvents = 100;

bool failed = false;

/// False, with the benchmark marked as failed, when the output is not what the inputs call for.
template <Subject S>
bool isDerived(benchmark::State &state, S const &subject, Checksum const &expected) {
    if (subject.checksum() == expected) {
        return true;
    }
    failed = true;
    state.SkipWithError("the output is not what the inputs call for");
    return false;
}

double perItem(double total, std::uint64_t items) noexcept {
    return total / static_cast<double>(items);
}

/// The one of that size, made when it is first asked for.
Workload const &mixedOf(benchmark::State const &state) {
    static std::unique_ptr<Workload> workload;
    static std::int64_t vlans = 0;
    if (vlans != state.range(0)) {
        vlans = state.range(0);
        workload = std::make_unique<Workload>(
            Workload::mixed(static_cast<std::uint32_t>(state.range(0)),
                            static_cast<std::uint32_t>(state.range(1)), churnEvents));
    }
    return *workload;
}

// W1

/// Where the memory stood before a start, and what the start added per output entry.
template <Subject S> class MemoryOfStart {
  public:
    void report(benchmark::State &state, std::uint64_t entries) const {
        auto const &counter = [&](char const *name, std::uint64_t now, std::uint64_t before) {
            state.counters[name] = perItem(static_cast<double>(now - before), entries);
        };
        counter("allocatedBytes", allocatedBytes(), allocated_);
        counter("residentPeakBytes", resident_.bytes(), 0);
        if constexpr (std::is_base_of_v<Machine, S>) {
            auto const now = Machine::census();
            counter("censusBytes", now.live, census_.live);
            counter("censusPeakBytes", now.peak, census_.live);
        }
    }

  private:
    std::uint64_t allocated_ = allocatedBytes();
    Machine::Bytes census_ = Machine::census();
    ResidentPeak resident_;
};

template <Subject S> void start(benchmark::State &state) {
    Workload const &workload = mixedOf(state);
    for ([[maybe_unused]] auto const iteration : state) {
        S subject;
        load(subject, workload);
        MemoryOfStart<S> const memory;
        double const taken = nanoseconds([&] { subject.start(); });
        memory.report(state, workload.afterStart.entries);
        state.SetIterationTime(taken / 1e9);
        state.counters["perMember"] = perItem(taken, workload.members.size());
        if constexpr (std::is_base_of_v<Machine, S>) {
            state.counters["slices"] = static_cast<double>(subject.slices());
        }
        if (!isDerived(state, subject, workload.afterStart)) {
            return;
        }
    }
}

// W2

/// Time per event, batch by batch.
template <Subject S>
std::vector<double> churnInBatches(S &subject, std::vector<Event> const &events) {
    std::vector<double> perEvent;
    std::size_t const size = S::rebuilds ? rebuiltBatchEvents : batchEvents;
    // A rebuild takes as long as a start, and each of them as long as the others.
    std::size_t const timed =
        S::rebuilds ? std::min(5 * rebuiltBatchEvents, events.size()) : events.size();
    for (std::size_t i = 0; i < timed; i += size) {
        double const taken = nanoseconds([&] {
            for (std::size_t k = i; k < i + size; ++k) {
                apply(subject, events[k]);
            }
            subject.batchEnd();
        });
        perEvent.push_back(perItem(taken, size));
    }
    for (std::size_t i = timed; i < events.size(); ++i) {
        apply(subject, events[i]);
    }
    return perEvent;
}

/// Time of each event, by kind.
template <Subject S>
std::array<std::vector<double>, eventKinds> churnOneByOne(S &subject,
                                                          std::vector<Event> const &events) {
    std::array<std::vector<double>, eventKinds> times;
    for (Event const &event : events) {
        double const taken = nanoseconds([&] { apply(subject, event); });
        times[static_cast<std::size_t>(event.kind)].push_back(std::max(0.0, taken - clockCost()));
    }
    return times;
}

template <Subject S> void churn(benchmark::State &state) {
    constexpr std::array<char const *, eventKinds> names{"present", "changed", "removed"};
    Workload const &workload = mixedOf(state);
    for ([[maybe_unused]] auto const iteration : state) {
        S subject;
        load(subject, workload);
        subject.start();
        auto const perEvent = churnInBatches(subject, workload.churn[0]);
        double const median = quantile(perEvent, 0.5);
        state.SetIterationTime(median / 1e9);
        state.counters["perEvent"] = median;
        auto const times = churnOneByOne(subject, workload.churn[1]);
        subject.batchEnd();
        for (std::size_t kind = 0; kind < eventKinds && !S::rebuilds; ++kind) {
            state.counters[names[kind]] = quantile(times[kind], 0.5);
            state.counters[std::string(names[kind]) + "P99"] = quantile(times[kind], 0.99);
        }
        if (!isDerived(state, subject, workload.afterChurn)) {
            return;
        }
    }
}

// W3

template <Subject S> void fan(benchmark::State &state) {
    auto const perLag = static_cast<std::uint32_t>(state.range(0));
    Workload const workload = Workload::fan(perLag, fanWrites / perLag);
    std::size_t const size = std::max<std::size_t>(1, 10'000 / perLag);
    for ([[maybe_unused]] auto const iteration : state) {
        S subject;
        load(subject, workload);
        subject.start();
        std::vector<double> perWrite;
        std::size_t const all = workload.lagChurn.size();
        std::size_t const timed = S::rebuilds ? 10 * size : all;
        for (std::size_t i = 0; i + size <= timed; i += size) {
            double const taken = nanoseconds([&] {
                for (std::size_t k = i; k < i + size; ++k) {
                    apply(subject, workload.lagChurn[k]);
                    subject.batchEnd();
                }
            });
            perWrite.push_back(perItem(taken, size * perLag));
        }
        for (std::size_t i = timed / size * size; i < all; ++i) {
            apply(subject, workload.lagChurn[i]);
        }
        subject.batchEnd();
        double const median = quantile(perWrite, 0.5);
        state.SetIterationTime(median / 1e9);
        state.counters["perWrite"] = median;
        if (!isDerived(state, subject, workload.afterFan)) {
            return;
        }
    }
}

// W4

template <Subject S> void restart(benchmark::State &state) {
    Workload const &workload = mixedOf(state);
    for ([[maybe_unused]] auto const iteration : state) {
        S subject;
        load(subject, workload);
        subject.start();
        for (auto const &events : workload.churn) {
            for (Event const &event : events) {
                apply(subject, event);
            }
        }
        subject.batchEnd();
        subject.stop();
        for (Member const &member : workload.gone) {
            subject.memberDel(member);
        }
        for (LagEvent const &event : workload.lagsMoved) {
            apply(subject, event);
        }
        double const taken = nanoseconds([&] { subject.start(); });
        state.SetIterationTime(taken / 1e9);
        state.counters["perEntry"] = perItem(taken, workload.afterChurn.entries);
        if (!isDerived(state, subject, workload.afterRestart)) {
            return;
        }
    }
}

// Registration.

using Function = void (*)(benchmark::State &);

benchmark::internal::Benchmark *add(std::string const &name, Function function) {
    return benchmark::RegisterBenchmark(name.c_str(), function)
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void addMixed(std::string const &name, Function function) {
    add(name, function)->ArgNames({"vlans", "perVlan"})->Args({500, 32})->Args({4094, 250});
}

template <Subject S> void addAll(std::string const &subject) {
    addMixed("W1Start/" + subject, start<S>);
    addMixed("W2Churn/" + subject, churn<S>);
    add("W3Fan/" + subject, fan<S>)->ArgName("perLag")->Arg(10)->Arg(1000);
    addMixed("W4Restart/" + subject, restart<S>);
}

} // namespace
} // namespace Bench

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    Bench::addAll<Bench::Machine>("Machine");
    Bench::addAll<Bench::Plain>("Plain");
    Bench::addAll<Bench::Observed>("Observed");
    Bench::addAll<Bench::Recompute>("Recompute");
    Bench::addMixed("W1Start/SlicedMachine", Bench::start<Bench::SlicedMachine>);
    Bench::addMixed("W4Restart/SlicedMachine", Bench::restart<Bench::SlicedMachine>);
    benchmark::RunSpecifiedBenchmarks();
    return Bench::failed ? 1 : 0;
}
