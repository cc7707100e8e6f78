// How an interface is a member of a VLAN.
#pragma once

#include "platform/Nuvio/Export.h"
#include "platform/Qor/Value.h"

#include <cstdint>
#include <iosfwd>

namespace Bridging {

/// Where frames of the VLAN may go through the interface.
enum class AllowedTrafficDirection : std::uint8_t { none, ingress, egress, both };

/// The word of a direction: "none", "ingress", "egress" or "both".
NUVIO_EXPORT std::ostream &operator<<(std::ostream &out, AllowedTrafficDirection const &direction);

/// A small value, copied through pipelines.
struct VlanPortConfig {
    bool tagOnEgress = false; ///< frames of the VLAN leave the interface tagged
    bool pvid = false;        ///< untagged frames that come in belong to the VLAN; not derived from
    AllowedTrafficDirection allowedTrafficDirection = AllowedTrafficDirection::none;

    friend bool operator==(VlanPortConfig const &, VlanPortConfig const &) = default;
};

NUVIO_EXPORT std::ostream &operator<<(std::ostream &out, VlanPortConfig const &config);

} // namespace Bridging

/// Both read back what they print.
template <> struct NUVIO_EXPORT Qor::ValueTraits<Bridging::AllowedTrafficDirection> {
    static constexpr std::string_view name = "Bridging::AllowedTrafficDirection";
    static std::string text(Bridging::AllowedTrafficDirection value);
    static Bridging::AllowedTrafficDirection parse(std::string_view text);
};
template <> struct NUVIO_EXPORT Qor::ValueTraits<Bridging::VlanPortConfig> {
    static constexpr std::string_view name = "Bridging::VlanPortConfig";
    static std::string text(Bridging::VlanPortConfig const &value);
    static Bridging::VlanPortConfig parse(std::string_view text);
};
