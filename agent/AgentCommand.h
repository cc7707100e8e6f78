// The subcommand `agent`: the process that a switch runs.
#pragma once

#include "agent/ExitCode.h"
#include "agent/Inputs.h"
#include "agent/source/KernelSource.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace Agent {

struct AgentOptions {
    enum class SourceKind : std::uint8_t { kernel, files };

    SourceKind source = SourceKind::kernel;
    InputOptions files;         ///< of the source `files`
    KernelSourceOptions kernel; ///< of the source `kernel`
    std::string store;          ///< empty for the default
    std::string control;        ///< empty for the default
    std::string controlGroup;
    std::string metrics;                ///< address and port; empty for none
    std::chrono::milliseconds share{5}; ///< of a turn of the loop
    std::uint16_t traceLevels = 0;      ///< bit n enables level n
};

/// Run until SIGTERM or SIGINT. Throws an Error for what can never work.
[[nodiscard]] ExitCode runAgent(AgentOptions const &options);

} // namespace Agent
