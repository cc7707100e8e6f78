// What the arguments of several subcommands have in common.
#pragma once

#include "agent/Inputs.h"

#include <CLI/CLI.hpp>

#include <string>

namespace Agent {

// Checks of a value, for CLI::Option::check(): what is wrong with it, or nothing.

[[nodiscard]] std::string needFileName(std::string const &value);
[[nodiscard]] std::string needTraceLevels(std::string const &value);

/// The options that say which files hold the inputs, in a group of the help. `hint` ends what is
/// said of each.
void addInputOptions(CLI::App &command, InputOptions &inputs, std::string const &group,
                     std::string const &hint);
/// Throws a CLI::ValidationError unless they name one complete pair of inputs.
void checkInputOptions(InputOptions const &inputs);

} // namespace Agent
