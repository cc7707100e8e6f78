#include "bench/Report.h"

#include <fmt/core.h>

namespace Bench {

void Report::print() const {
    for (Figure const &figure : figures_) {
        fmt::print("{},{},{},{},{:.3f}\n", subject_, figure.workload, size_, figure.metric,
                   figure.value);
    }
    for (Check const &check : checks_) {
        fmt::print("check,{},{},{},{:016x},{}\n", subject_, size_, check.workload,
                   check.checksum.sum, check.checksum.items);
    }
}

} // namespace Bench
