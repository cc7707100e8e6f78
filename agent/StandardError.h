// Words for the operator. A standard error that is closed or full is no reason to stop, so unlike
// fmt::print() nothing here throws for it.
#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>
#include <utility>

namespace Agent {

/// Write to standard error, at once; failures are ignored.
void sayText(std::string_view text) noexcept;

/// Write a formatted line, its end included.
template <class... Args> void say(fmt::format_string<Args...> format, Args &&...args) {
    sayText(fmt::format(format, std::forward<Args>(args)...) + '\n');
}

} // namespace Agent
