// Names of interfaces that are not current links, and their identifiers.
#pragma once

#include "platform/Iftel.h"

#include <optional>
#include <string_view>

namespace Agent {

/// The identifier that a name leads to now, of a link or else of a native text such as
/// "PortChannel10.100"; none is made.
[[nodiscard]] std::optional<Iftel::IntfId> knownIntf(std::string_view name);

/// The identifier of a name that an earlier run used for a subinterface: the one it leads to now,
/// else a new one, of a subinterface whose parent is not known. Requires: `name` is not empty.
[[nodiscard]] Iftel::IntfId earlierSubIntf(std::string_view name);
/// The same for a member of a LAG, which otherwise becomes an Ethernet interface.
[[nodiscard]] Iftel::IntfId earlierMember(std::string_view name);

} // namespace Agent
