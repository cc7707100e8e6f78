#include "bench/latency/Record.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>

namespace Latency {
namespace {

/// Up to here a record of turns with a fixed number of writes is a single line.
constexpr std::size_t fewTurns = 10;

double microseconds(std::chrono::nanoseconds time) noexcept {
    return Microseconds(time).count();
}

/// The smallest value that at least `part` of them do not exceed. Requires: sorted, not empty.
double quantile(std::vector<double> const &sorted, double part) {
    auto const rank = std::ceil(part * static_cast<double>(sorted.size()));
    return sorted[static_cast<std::size_t>(std::max(rank, 1.0)) - 1];
}

void addRow(std::string &text, char const *name, double onClock, double onProcessor) {
    fmt::format_to(std::back_inserter(text), "  {:<26}{:>13.1f}{:>13.1f}\n", name, onClock,
                   onProcessor);
}

void addHistogram(std::string &text, Histogram const &histogram) {
    constexpr std::uint64_t width = 50;
    auto const isUsed = [](std::uint64_t count) { return count != 0; };
    auto const first = std::ranges::find_if(histogram, isUsed);
    auto const last = std::find_if(histogram.rbegin(), histogram.rend(), isUsed).base();
    std::uint64_t const most = *std::ranges::max_element(histogram);
    for (auto bucket = first; bucket != last; ++bucket) {
        auto const index = static_cast<std::size_t>(bucket - histogram.begin());
        std::uint64_t const bar = (*bucket * width + most - 1) / most;
        fmt::format_to(std::back_inserter(text), "  {:>9} us.. {:>9}  {}\n", bucketBegin(index),
                       *bucket, std::string(bar, '#'));
    }
}

void addLongest(std::string &text, std::vector<Turn> const &turns) {
    for (Turn const &turn : turns) {
        fmt::format_to(
            std::back_inserter(text),
            "  {:.1f}, on the processor {:.1f} ({} page faults, preempted {} times): {}\n",
            turn.clock, turn.processor, turn.pageFaults, turn.preemptions, turn.what);
    }
}

/// What a histogram of a handful of turns would say in ten lines.
std::string lineOf(Record const &record, Summary const &onClock) {
    return fmt::format(
        "{:<78} {:>8} writes, microseconds: median {:>9.1f}, longest {:>9.1f}; {:>5.0f} ns "
        "a write\n",
        record.title, record.writes, onClock.median, onClock.longest,
        onClock.median * 1e3 / static_cast<double>(record.writes));
}

nlohmann::json jsonOf(Summary const &summary) {
    return {{"total_us", summary.total},
            {"median_us", summary.median},
            {"p99.9_us", summary.p999},
            {"longest_us", summary.longest},
            {"beyond_share_us", summary.beyondShare},
            {"turns_beyond_share", summary.turnsBeyond}};
}

nlohmann::json jsonOf(Turn const &turn) {
    return {{"clock_us", turn.clock},
            {"processor_us", turn.processor},
            {"page_faults", turn.pageFaults},
            {"preemptions", turn.preemptions},
            {"what", turn.what}};
}

} // namespace

Histogram histogramOf(std::vector<Turn> const &turns) {
    Histogram histogram{};
    for (Turn const &turn : turns) {
        auto const bucket =
            static_cast<std::size_t>(std::bit_width(static_cast<std::uint64_t>(turn.clock)));
        ++histogram[std::min(bucket, histogram.size() - 1)];
    }
    return histogram;
}

std::uint64_t bucketBegin(std::size_t bucket) noexcept {
    return bucket == 0 ? 0 : std::uint64_t{1} << (bucket - 1);
}

Summary::Summary(std::vector<Turn> const &turns, double Turn::*time, double shareMicroseconds) {
    std::vector<double> times;
    for (Turn const &turn : turns) {
        times.push_back(turn.*time);
        total += turn.*time;
        bool const isBeyond = turn.*time > shareMicroseconds + itemsAllowance;
        turnsBeyond += shareMicroseconds > 0 && isBeyond ? 1U : 0U;
    }
    std::ranges::sort(times);
    median = quantile(times, 0.5);
    p999 = quantile(times, 0.999);
    longest = times.back();
    beyondShare = shareMicroseconds > 0 ? std::max(longest - shareMicroseconds, 0.0) : 0;
}

std::vector<Turn> longestTurns(std::vector<Turn> turns, std::size_t count) {
    std::ranges::stable_sort(turns, std::ranges::greater(), &Turn::processor);
    turns.resize(std::min(turns.size(), count));
    return turns;
}

std::string textOf(Record const &record, std::size_t described) {
    double const share = microseconds(record.share);
    Summary const onClock(record.turns, &Turn::clock, share);
    if (record.turns.size() <= fewTurns && record.writes != 0) {
        return lineOf(record, onClock);
    }
    Summary const onProcessor(record.turns, &Turn::processor, share);
    std::string text = "\n" + record.title;
    if (share > 0) {
        text += fmt::format(", share {} ms", share / 1e3);
    }
    text += fmt::format(": {} turns\n  {:<26}{:>13}{:>13}\n", record.turns.size(), "microseconds",
                        "clock", "processor");
    addRow(text, "in all", onClock.total, onProcessor.total);
    addRow(text, "median", onClock.median, onProcessor.median);
    addRow(text, "p99.9", onClock.p999, onProcessor.p999);
    addRow(text, "longest", onClock.longest, onProcessor.longest);
    if (share > 0) {
        addRow(text, "longest beyond the share", onClock.beyondShare, onProcessor.beyondShare);
        text += fmt::format("  {:<26}{:>13}{:>13}\n", "turns beyond it and items",
                            onClock.turnsBeyond, onProcessor.turnsBeyond);
    }
    addHistogram(text, histogramOf(record.turns));
    addLongest(text, longestTurns(record.turns, described));
    return text;
}

nlohmann::json jsonOf(Record const &record, std::size_t described) {
    double const share = microseconds(record.share);
    auto json =
        nlohmann::json{{"title", record.title},
                       {"turns", record.turns.size()},
                       {"writes", record.writes},
                       {"share_us", share},
                       {"clock", jsonOf(Summary(record.turns, &Turn::clock, share))},
                       {"processor", jsonOf(Summary(record.turns, &Turn::processor, share))}};
    Histogram const histogram = histogramOf(record.turns);
    for (std::size_t bucket = 0; bucket < histogram.size(); ++bucket) {
        if (histogram[bucket] != 0) {
            json["histogram"].push_back(
                {{"from_us", bucketBegin(bucket)}, {"count", histogram[bucket]}});
        }
    }
    for (Turn const &turn : longestTurns(record.turns, described)) {
        json["longest"].push_back(jsonOf(turn));
    }
    return json;
}

} // namespace Latency
