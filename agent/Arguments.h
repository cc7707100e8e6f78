// What the arguments of several subcommands have in common.
#pragma once

#include "agent/Inputs.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cstdint>
#include <string>
#include <system_error>
#include <type_traits>

namespace Agent {

/// Whether the text is a decimal number from `min` to `max` and nothing else. A whole number has no
/// zeros in front: the conversion that follows the check would take it for octal.
template <class Number>
[[nodiscard]] bool isNumber(std::string const &text, Number min, Number max) {
    if (std::is_integral_v<Number> && text.size() > 1 && text.front() == '0') {
        return false;
    }
    Number number{};
    auto const *const end = text.data() + text.size();
    auto const [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end && number >= min && number <= max;
}

// Checks of a value, for CLI::Option::check(): what is wrong with it, or nothing.

[[nodiscard]] std::string needName(std::string const &value);
[[nodiscard]] std::string needFileName(std::string const &value);
[[nodiscard]] std::string needTraceLevels(std::string const &value);
[[nodiscard]] std::string needNumber(std::string const &value, std::uint64_t min,
                                     std::uint64_t max);

/// The options that say which files hold the inputs, in a group of the help. `hint` ends what is
/// said of each.
void addInputOptions(CLI::App &command, InputOptions &inputs, std::string const &group,
                     std::string const &hint);
/// Throws a CLI::ValidationError unless they name one complete pair of inputs.
void checkInputOptions(InputOptions const &inputs);

} // namespace Agent
