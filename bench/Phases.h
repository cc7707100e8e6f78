// The four workloads on one subject, and what its start leaves in memory.
//
//     W1   start over filled inputs and an empty output
//     W2   members come up, change and go: in batches, then one by one
//     W3   LAG members come and go, each under `pairs` subinterfaces
//     W4   restart over the output of an earlier run, a tenth of it stale
//
// What a subject derived is summed after each.
#pragma once

#include "bench/Clock.h"
#include "bench/Heap.h"
#include "bench/Report.h"
#include "bench/Subject.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Bench {

inline double perItem(double total, std::uint64_t items) noexcept {
    return total / static_cast<double>(items);
}

template <Subject S>
void start(S &subject, Workload<typename S::Ids> const &workload, Report &report) {
    double const taken = nanoseconds([&] { subject.start(); });
    report.figureAdd("W1", "ns_per_member", perItem(taken, workload.members.size()));
    report.checkAdd("W1", subject.checksum());
}

/// Time per event, batch by batch.
template <Subject S>
std::vector<double> churnInBatches(S &subject, std::vector<Event<typename S::Ids>> const &events) {
    constexpr std::size_t batch = 1000;
    std::vector<double> perEvent;
    for (std::size_t i = 0; i < events.size(); i += batch) {
        std::size_t const end = std::min(i + batch, events.size());
        double const taken = nanoseconds([&] {
            subject.batchBegin();
            for (std::size_t k = i; k < end; ++k) {
                apply(subject, events[k]);
            }
            subject.batchEnd();
        });
        perEvent.push_back(perItem(taken, end - i));
    }
    return perEvent;
}

/// Time of each event, in ticks.
template <Subject S>
std::vector<std::uint64_t> churnOneByOne(S &subject,
                                         std::vector<Event<typename S::Ids>> const &events) {
    std::vector<std::uint64_t> times;
    times.reserve(events.size());
    for (auto const &event : events) {
        std::uint64_t const begin = ticks();
        apply(subject, event);
        std::uint64_t const end = ticks();
        times.push_back(end - begin);
    }
    return times;
}

/// Time per event when each batch rebuilds the output: of a few batches only, for each takes as
/// long as the others. The remaining events are written as one more batch.
template <Subject S>
std::vector<double> churnRebuilding(S &subject, std::vector<Event<typename S::Ids>> const &events,
                                    std::size_t batch, std::size_t batches) {
    std::vector<double> perEvent;
    auto next = events.begin();
    for (; batches > 0 && events.end() - next >= static_cast<std::ptrdiff_t>(batch); --batches) {
        double const taken = nanoseconds([&] {
            for (std::size_t k = 0; k < batch; ++k) {
                apply(subject, *next++);
            }
            subject.batchEnd();
        });
        perEvent.push_back(perItem(taken, batch));
    }
    std::for_each(next, events.end(), [&](auto const &event) { apply(subject, event); });
    subject.batchEnd();
    return perEvent;
}

template <Subject S>
void churn(S &subject, Workload<typename S::Ids> const &workload, Report &report) {
    if constexpr (S::rebuilds) {
        std::size_t const members = workload.members.size();
        std::size_t const batches = members > 500'000 ? 3 : members > 50'000 ? 11 : 51;
        report.figureAdd("W2", "ns_per_event_batch",
                         median(churnRebuilding(subject, workload.churn[0], 100, batches)));
        report.figureAdd("W2", "ns_per_event_each",
                         median(churnRebuilding(subject, workload.churn[1], 1, batches)));
    } else {
        report.figureAdd("W2", "ns_per_event_batch",
                         median(churnInBatches(subject, workload.churn[0])));
        Quantiles const each(churnOneByOne(subject, workload.churn[1]));
        report.figureAdd("W2", "ns_per_event_each", each.at(0.5));
        report.figureAdd("W2", "p99_ns", each.at(0.99));
        report.figureAdd("W2", "p999_ns", each.at(0.999));
    }
    report.checkAdd("W2", subject.checksum());
}

template <Subject S>
void restart(S &subject, Workload<typename S::Ids> const &workload, Report &report) {
    double const taken = nanoseconds([&] { subject.restart(); });
    report.figureAdd("W4", "ns_per_entry", perItem(taken, workload.outputEntries));
    report.checkAdd("W4", subject.checksum());
}

/// W1, W2 and W4.
template <Subject S> std::unique_ptr<S> mixed(MixedSize const &size, Report &report) {
    auto const workload = generate<typename S::Ids>(size);
    auto subject = std::make_unique<S>();
    load(*subject, workload);
    start(*subject, workload, report);
    subject->liveIs(true);
    churn(*subject, workload, report);
    subject->liveIs(false);
    makeStale(*subject, workload);
    restart(*subject, workload, report);
    return subject;
}

/// W3.
template <Subject S> std::unique_ptr<S> fan(FanSize const &size, Report &report) {
    auto const workload = generate<typename S::Ids>(size);
    auto const &events = workload.lagChurn;
    auto subject = std::make_unique<S>();
    load(*subject, workload);
    subject->start();
    subject->liveIs(true);
    std::size_t const timed =
        S::rebuilds ? std::min<std::size_t>(events.size(), 200'000 / size.pairs) : events.size();
    std::size_t const batch =
        S::rebuilds ? 1 : std::clamp<std::size_t>(10'000 / size.pairs, 1, timed);
    std::vector<double> perWrite;
    std::size_t i = 0;
    for (; i + batch <= timed; i += batch) {
        double const taken = nanoseconds([&] {
            subject->batchBegin();
            for (std::size_t k = i; k < i + batch; ++k) {
                apply(*subject, events[k]);
            }
            subject->batchEnd();
        });
        perWrite.push_back(perItem(taken, batch * size.pairs));
    }
    for (; i < events.size(); ++i) {
        apply(*subject, events[i]);
    }
    if (S::rebuilds) {
        subject->batchEnd();
    }
    report.figureAdd("W3", "ns_per_write", median(perWrite));
    report.checkAdd("W3", subject->checksum());
    return subject;
}

/// What a start adds to the memory in use, per entry of the output.
template <Subject S> std::unique_ptr<S> memory(MixedSize const &size, Report &report) {
    auto const workload = generate<typename S::Ids>(size);
    auto subject = std::make_unique<S>();
    load(*subject, workload);
    auto const perEntry = [&](std::uint64_t now, std::uint64_t before) {
        return perItem(static_cast<double>(now - before), workload.outputEntries);
    };
    auto const start = [&](auto const &counter, auto const &peakReset) {
        peakReset();
        Heap const before = counter();
        subject->start();
        Heap const after = counter();
        report.figureAdd("memory", "peak_bytes_per_entry", perEntry(after.peak, before.now));
        report.figureAdd("memory", "steady_bytes_per_entry", perEntry(after.now, before.now));
        return perEntry(after.now, before.now);
    };
    if constexpr (requires { S::heap(); }) {
        report.figureAdd("memory", "live_bytes_per_entry", start(S::heap, S::heapPeakReset));
    } else if constexpr (requires { S::liveBytes(); }) {
        std::uint64_t const before = S::liveBytes();
        start(heap, heapPeakReset);
        report.figureAdd("memory", "live_bytes_per_entry", perEntry(S::liveBytes(), before));
    } else {
        report.figureAdd("memory", "live_bytes_per_entry", start(heap, heapPeakReset));
    }
    report.checkAdd("W1", subject->checksum());
    return subject;
}

} // namespace Bench
