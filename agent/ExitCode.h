// What the program's exit status says.
#pragma once

namespace Agent {

enum class ExitCode : int {
    done = 0,
    failed = 1, ///< bad input, or output that could not be written
    usage = 2,
    differs = 3, ///< the result is not ready, or not what it was compared with
};

} // namespace Agent
