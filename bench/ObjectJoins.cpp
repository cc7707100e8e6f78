#include "bench/Join.h"
#include "bench/RunnerOf.h"

namespace Bench {

std::vector<Runner> objectJoins() {
    return {runnerOf<Join<P1>>("P1"), runnerOf<Join<P2>>("P2"), runnerOf<Join<P2x>>("P2x"),
            runnerOf<Join<P2h>>("P2h")};
}

} // namespace Bench
