#include "bench/micro/Micro.h"

#include <array>

namespace Bench::Micro {

double clockCost() {
    static double const cost = [] {
        std::array<double, 1001> samples{};
        for (double &sample : samples) {
            double const begin = cpuSeconds();
            sample = cpuSeconds() - begin;
        }
        std::ranges::nth_element(samples, samples.begin() + samples.size() / 2);
        return samples[samples.size() / 2];
    }();
    return cost;
}

} // namespace Bench::Micro

int main(int argc, char **argv) {
    Bench::Micro::addMaps();
    Bench::Micro::addSets();
    Bench::Micro::addAllocations();
    Bench::Micro::addNotices();
    Bench::Micro::addTasks();
    Bench::Micro::addTraces();
    Bench::Micro::addPointers();

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    std::size_t const run = benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return run > 0 ? 0 : 1; // a filter that matches nothing measures nothing
}
