// Answers of the agent as text for people. What is quoted is made printable; lines are closed. All
// throw what nlohmann::json throws for a document of another form.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace Agent {

/// The document of `status`.
[[nodiscard]] std::string statusText(nlohmann::json const &status);
/// A line of `watch`: "+ 100 bond0.100 untagged both".
[[nodiscard]] std::string changeText(nlohmann::json const &change);
/// The document of `audit`: its counts and its findings.
[[nodiscard]] std::string auditText(nlohmann::json const &audit);

} // namespace Agent
