// Text of JSON values: for documents, and for messages that quote a value.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace Agent {

/// Append `text` as a JSON string, quotes and escapes included.
void appendJsonString(std::string &to, std::string_view text);
/// A value as it looks in JSON, on one line, cut off where it gets long.
[[nodiscard]] std::string quote(nlohmann::json const &value);
/// A name as a JSON string without its quotes: no control character reaches a terminal.
[[nodiscard]] std::string printable(std::string_view name);
/// A message in words of others, which may quote an input: what is not UTF-8 is replaced, and no
/// control character reaches a terminal.
[[nodiscard]] std::string visible(std::string_view text);

} // namespace Agent
