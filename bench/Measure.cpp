// Measuring. Memory is asked of glibc and of Linux; elsewhere the answers are 0.
#include "bench/Measure.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <utility>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace Bench {
namespace {

/// A line of /proc/self/status, in bytes.
std::uint64_t statusBytes(std::string const &name) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == name) {
            std::uint64_t kilobytes = 0;
            status >> kilobytes;
            return kilobytes * 1024;
        }
    }
    return 0;
}

} // namespace

double clockCost() {
    static double const cost = [] {
        std::vector<double> samples;
        for (int i = 0; i < 10001; ++i) {
            samples.push_back(nanoseconds([] {}));
        }
        return quantile(std::move(samples), 0.5);
    }();
    return cost;
}

double quantile(std::vector<double> values, double part) {
    if (values.empty()) {
        return 0;
    }
    auto const index = static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size()));
    std::ranges::nth_element(values, values.begin() + index);
    return values[static_cast<std::size_t>(index)];
}

std::uint64_t allocatedBytes() noexcept {
#if defined(__GLIBC__)
    struct mallinfo2 const info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
#else
    return 0;
#endif
}

ResidentPeak::ResidentPeak() {
#if defined(__GLIBC__)
    ::malloc_trim(0); // free memory that is still occupied would hide what comes
#endif
    std::ofstream("/proc/self/clear_refs") << "5"; // start VmHWM anew
    before_ = statusBytes("VmRSS:");
}

std::uint64_t ResidentPeak::bytes() const {
    std::uint64_t const most = statusBytes("VmHWM:");
    return most > before_ ? most - before_ : 0;
}

} // namespace Bench
