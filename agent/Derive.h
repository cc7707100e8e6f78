// The subcommand `derive`: inputs in, the directory of subinterfaces out.
#pragma once

#include "agent/ExitCode.h"
#include "agent/Inputs.h"
#include "agent/MachineRun.h"

#include <cstdint>
#include <string>

namespace Agent {

struct DeriveOptions {
    InputOptions inputs;
    std::string previous; ///< an earlier document; empty for none
    bool json = false;
    std::uint16_t traceLevels = 0; ///< bit n enables level n
    MachineOptions machine;
};

/// The whole job: writes to standard output, and what is said about it to standard error. Nothing
/// is written to standard output before the result is there. Throws an Error.
[[nodiscard]] ExitCode derive(DeriveOptions const &options);

} // namespace Agent
