// What a scenario delivers: the turns of one kind under one title, and what they come to.
#pragma once

#include "bench/latency/Turn.h"

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Latency {

struct Record {
    std::string title;
    std::vector<Turn> turns;
    /// Writes to the output that each turn makes, by contract; 0 where that is not fixed.
    std::uint64_t writes = 0;
    /// The turns go by this share; 0: none bounds them.
    std::chrono::nanoseconds share{0};
};

/// Bucket 0 counts what took less than a microsecond, bucket b what took 2^(b-1) up to 2^b.
using Histogram = std::array<std::uint64_t, 40>;

/// Of the turns' times on the clock.
[[nodiscard]] Histogram histogramOf(std::vector<Turn> const &turns);

/// A bucket's lower bound in microseconds.
[[nodiscard]] std::uint64_t bucketBegin(std::size_t bucket) noexcept;

/// Microseconds by which a turn may outlast the share: what the items between two readings of the
/// clock take where each misses the cache some 50 times.
inline constexpr double itemsAllowance = 100;

/// One of the two times of a turn, over all turns of a record; microseconds.
struct Summary {
    Summary(std::vector<Turn> const &turns, double Turn::*time, double shareMicroseconds);

    double total = 0;
    double median = 0;
    double p999 = 0;
    double longest = 0;
    double beyondShare = 0;        ///< of the longest; 0 where no share bounds it
    std::uint64_t turnsBeyond = 0; ///< turns longer than the share and what an item may add
};

/// The `count` turns that held the processor longest, longest first.
[[nodiscard]] std::vector<Turn> longestTurns(std::vector<Turn> turns, std::size_t count);

/// Figures, histogram and the longest turns, as lines of text. Requires: at least one turn.
[[nodiscard]] std::string textOf(Record const &record, std::size_t described);
/// The same as an object.
[[nodiscard]] nlohmann::json jsonOf(Record const &record, std::size_t described);

} // namespace Latency
