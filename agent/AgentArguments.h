// The arguments of the subcommand `agent`.
#pragma once

#include "agent/AgentCommand.h"

#include <CLI/CLI.hpp>

namespace Agent {

/// Add the subcommand; `options` are filled when it is parsed, and must outlive the parsing.
void addAgent(CLI::App &program, AgentOptions &options);

} // namespace Agent
