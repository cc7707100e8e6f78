// All subjects by name, each with its runs. The runs are templates over the subject; they are
// instantiated in three sources, for they take long to compile.
#pragma once

#include "bench/Report.h"
#include "bench/Workload.h"

#include <string_view>
#include <vector>

namespace Bench {

/// What is done with a subject whose run is over.
enum class Ending {
    /// Take it down.
    release,
    /// Print the report and end the process as it is; to take a million entries down takes long.
    process
};

struct Runner {
    std::string_view name;
    void (*mixed)(MixedSize const &size, Report &report, Ending ending);
    void (*fan)(FanSize const &size, Report &report, Ending ending);
    void (*memory)(MixedSize const &size, Report &report, Ending ending);
};

[[nodiscard]] std::vector<Runner> inlineJoins();
[[nodiscard]] std::vector<Runner> objectJoins();
[[nodiscard]] std::vector<Runner> machineAndOthers();

} // namespace Bench
