// VLAN members on their way from a document into the bridging configuration.
#pragma once

#include "platform/Bridging.h"

#include <optional>
#include <string>
#include <string_view>

namespace Agent {

/// Make the interface a member of the VLAN. A member that is there already with the same
/// configuration stays as it is; one with another configuration stays too, and is returned: a
/// document that contradicts itself must not be decided by the order of its lines.
[[nodiscard]] std::optional<Bridging::VlanPortConfig>
memberIs(Bridging::Config &config, Bridging::VlanId vlan, Iftel::IntfId intf,
         Bridging::VlanPortConfig const &member);

/// The message for a contradiction: "bond0.100 is in VLAN 100 twice, as ... and as ...".
[[nodiscard]] std::string contradiction(std::string_view name, Bridging::VlanId vlan,
                                        Bridging::VlanPortConfig const &first,
                                        Bridging::VlanPortConfig const &second);

/// The word of a direction, and the direction of a word.
[[nodiscard]] std::string_view directionWord(Bridging::AllowedTrafficDirection direction) noexcept;
[[nodiscard]] std::optional<Bridging::AllowedTrafficDirection>
directionOf(std::string_view word) noexcept;

} // namespace Agent
