#include "bench/Machine.h"
#include "bench/Recompute.h"
#include "bench/RunnerOf.h"
#include "bench/Sqlite.h"

namespace Bench {

std::vector<Runner> machineAndOthers() {
    return {runnerOf<Machine>("machine"), runnerOf<Sqlite>("P3"), runnerOf<Recompute>("P4")};
}

} // namespace Bench
