// The subcommand `inspect`: loads inputs like `derive`, brings the machine up, and then takes
// commands that look into it by attribute numbers and names.
#pragma once

#include "agent/ExitCode.h"
#include "agent/Inputs.h"
#include "agent/MachineRun.h"

#include <string>
#include <vector>

namespace Agent {

struct InspectOptions {
    InputOptions inputs;
    std::string previous; ///< an earlier document; empty for none
    bool json = false;
    bool paused = false; ///< leave the scheduler's work to the commands
    MachineOptions machine;
    std::string script;             ///< a file of commands; empty for none
    std::vector<std::string> words; ///< the words of commands, with ";" between two
};

/// Run the commands of the arguments, of the file, or of standard input. The first one that fails
/// ends it, but for a terminal. Throws an Error.
[[nodiscard]] ExitCode inspect(InspectOptions const &options);

} // namespace Agent
