#include "bench/Clock.h"

#include <algorithm>
#include <utility>

namespace Bench {
namespace {

/// In ticks; 1 where two readings in succession always differ by more.
double counterStep() {
    std::vector<double> differences;
    std::uint64_t last = ticks();
    for (int i = 0; i < 10'000; ++i) {
        std::uint64_t const now = ticks();
        differences.push_back(static_cast<double>(now - last));
        last = now;
    }
    return std::ranges::min(differences) <= 1 ? std::max(1.0, median(differences)) : 1;
}

} // namespace

double nanosecondsPerTick() {
    static double const value = [] {
        std::uint64_t const begin = ticks();
        double const taken = nanoseconds([] {
            auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
            while (std::chrono::steady_clock::now() < end) {
            }
        });
        return taken / static_cast<double>(ticks() - begin);
    }();
    return value;
}

double median(std::vector<double> values) {
    auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

Quantiles::Quantiles(std::vector<std::uint64_t> times)
    : times_(std::move(times)), step_(counterStep()) {
    std::ranges::sort(times_);
}

/// How many lie below `time`; of those within half a step, a part.
double Quantiles::countBelow(double time) const {
    auto const isBelow = [](std::uint64_t value, double bound) {
        return static_cast<double>(value) < bound;
    };
    auto const first = std::lower_bound(times_.begin(), times_.end(), time - step_ / 2, isBelow);
    auto const last = std::lower_bound(first, times_.end(), time + step_ / 2, isBelow);
    double count = static_cast<double>(first - times_.begin());
    std::for_each(first, last, [&](std::uint64_t value) {
        count += (time + step_ / 2 - static_cast<double>(value)) / step_;
    });
    return count;
}

double Quantiles::at(double part) const {
    double const wanted = part * static_cast<double>(times_.size());
    double low = static_cast<double>(times_.front()) - step_;
    double high = static_cast<double>(times_.back()) + step_;
    while (high - low > 0.01) {
        double const middle = (low + high) / 2;
        (countBelow(middle) < wanted ? low : high) = middle;
    }
    return high * nanosecondsPerTick();
}

} // namespace Bench
