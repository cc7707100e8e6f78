// What the arguments of several subcommands have in common.
#pragma once

#include "agent/Inputs.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <string>
#include <system_error>

namespace Agent {

/// Whether the text is a number from `min` to `max` and nothing else.
template <class Number>
[[nodiscard]] bool isNumber(std::string const &text, Number min, Number max) {
    Number number{};
    auto const *const end = text.data() + text.size();
    auto const [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end && number >= min && number <= max;
}

// Checks of a value, for CLI::Option::check(): what is wrong with it, or nothing.

[[nodiscard]] std::string needName(std::string const &value);
[[nodiscard]] std::string needFileName(std::string const &value);
[[nodiscard]] std::string needTraceLevels(std::string const &value);

/// The options that say which files hold the inputs, in a group of the help. `hint` ends what is
/// said of each.
void addInputOptions(CLI::App &command, InputOptions &inputs, std::string const &group,
                     std::string const &hint);
/// Throws a CLI::ValidationError unless they name one complete pair of inputs.
void checkInputOptions(InputOptions const &inputs);

} // namespace Agent
