// Names in command lines that are shown for people to copy.
#pragma once

#include <string>
#include <string_view>

namespace Agent {

/// A name as one word of a shell, quoted where that is needed. Only printable ASCII: all else is
/// written as $'\x1b', which bash and zsh know.
[[nodiscard]] std::string shellWord(std::string_view name);

} // namespace Agent
