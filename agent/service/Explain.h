// Why an entry of the directory is as it is, or why it is not there: each statement of the dataflow
// with its values, the one that ended it, the rows of the inputs behind it, and what the directory
// holds. docs/explain.md describes the document.
//
// Names stand in the document as in all others, what is not UTF-8 replaced; in "values" and "row",
// which are sentences for people, they are printable.
#pragma once

#include "agent/Inputs.h"
#include "agent/service/Audit.h"
#include "agent/service/DirectoryJournal.h"
#include "agent/service/ExplanationText.h" // IWYU pragma: export

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

/// Without a VLAN, so many of an interface's VLANs are explained; the others are named.
inline constexpr std::size_t maxExplainedVlans = 16;

/// Explain the interface in the VLAN; without one, in every VLAN that it is a member of or has an
/// entry in. `sourceFacts` are what the source knows of it, passed through. Throws an Error for a
/// name that nobody knows.
[[nodiscard]] nlohmann::json explain(Inputs const &inputs,
                                     DirectoryJournal::Directory const &directory,
                                     KeptMembers const &kept, std::string_view intf,
                                     std::optional<Bridging::VlanId> vlan,
                                     std::vector<std::string> const &sourceFacts);

} // namespace Agent
