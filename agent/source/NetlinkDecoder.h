// Facts from the bytes of one rtnetlink message. Pure: nothing is kept, nothing is looked up.
//
//     RTM_NEWLINK, RTM_DELLINK              LinkFacts, LinkGone
//     the same of family AF_BRIDGE          PortTable, PortGone (a port, never the device itself)
//     RTM_NEWVLAN, RTM_DELVLAN              PortVlans, PortVlansGone
//     anything else                         Unrelated
//
// Unrelated are messages of other kinds and families, those that say of a link only a part, and
// those in which a device speaks for its own switch. What breaks the rules of the format or
// contradicts itself is NotUnderstood, with the reason; whoever follows the kernel has then lost a
// change.
#pragma once

#include "agent/source/TopologyFacts.h"

#include <linux/netlink.h>

#include <string>
#include <variant>
#include <vector>

namespace Agent {

struct LinkGone {
    LinkIndex index;
    bool moved; ///< to another network namespace
};

/// All VLANs of a port, with their flags; of their states it says nothing.
struct PortTable {
    LinkIndex index;
    std::vector<VlanSpan> vlans;
};

struct PortGone {
    LinkIndex index;
};

/// Some VLANs of a port, with flags and states.
struct PortVlans {
    LinkIndex index;
    std::vector<VlanSpan> vlans;
};

/// Only the numbers count.
struct PortVlansGone {
    LinkIndex index;
    std::vector<VlanSpan> vlans;
};

struct Unrelated {};

struct NotUnderstood {
    std::string reason; ///< "RTM_NEWLINK of link 7: no name"
};

using NetlinkFact = std::variant<Unrelated, LinkFacts, LinkGone, PortTable, PortGone, PortVlans,
                                 PortVlansGone, NotUnderstood>;

/// Decode a message. Requires: it is aligned as netlink demands, and `nlmsg_len` bytes are there.
[[nodiscard]] NetlinkFact decodeNetlink(nlmsghdr const &message);

} // namespace Agent
