// What the kernel says of links and ports, in its own terms: links by their index, VLANs by spans.
#pragma once

#include "agent/LinkTable.h"

#include <cstdint>
#include <string>

namespace Agent {

/// The number of a link in its network namespace; 0 for none.
using LinkIndex = std::uint32_t;

/// All that matters of a link.
struct LinkFacts {
    LinkIndex index = 0;
    std::string name;
    LinkKind kind = LinkKind::plain;
    LinkIndex master = 0;
    LinkIndex lower = 0;         ///< of a subinterface: the link below
    bool lowerElsewhere = false; ///< that is in another network namespace
    std::uint16_t vlan = 0;      ///< of a subinterface: its own VLAN number

    friend bool operator==(LinkFacts const &, LinkFacts const &) = default;
};

/// The kernel's numbers.
enum class VlanState : std::uint8_t { disabled, listening, learning, forwarding, blocking };

/// VLANs in a row, on one port, with one configuration. Numbers are from 1 to 4094; a span with the
/// PVID has one VLAN.
struct VlanSpan {
    std::uint16_t first = 0;
    std::uint16_t last = 0;
    bool pvid = false;
    bool untagged = false;
    VlanState state = VlanState::forwarding;

    friend bool operator==(VlanSpan const &, VlanSpan const &) = default;
};

} // namespace Agent
