#include "bench/RecordingJoin.h"
#include "bench/RunnerOf.h"

namespace Bench {

std::vector<Runner> inlineJoins() {
    return {runnerOf<Join<P0>>("P0"), runnerOf<RecordingJoin>("P0s"), runnerOf<Join<P0i>>("P0i")};
}

} // namespace Bench
