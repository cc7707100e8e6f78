#include "agent/source/NetlinkDecoder.h"

#include "agent/VlanNumber.h"
#include "agent/source/NetlinkAttributes.h"

#include <fmt/format.h>
#include <libmnl/libmnl.h>
#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <net/if.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

namespace Agent {
namespace {

using Malformed = NetlinkAttributes::Malformed;
using Bytes = std::span<std::byte const>;

constexpr auto typeOf = &NetlinkAttributes::typeOf;

template <class... Args>
[[noreturn]] void malformed(fmt::format_string<Args...> format, Args &&...args) {
    throw Malformed(fmt::format(format, std::forward<Args>(args)...));
}

Bytes payloadOf(nlmsghdr const &message) {
    return {static_cast<std::byte const *>(mnl_nlmsg_get_payload(&message)),
            mnl_nlmsg_get_payload_len(&message)};
}

/// The fixed part at the head of a message, and the attributes behind it.
template <class Head> struct Parts {
    explicit Parts(nlmsghdr const &message) : head(), attributes(Bytes{}) {
        Bytes const payload = payloadOf(message);
        if (payload.size() < sizeof(Head)) {
            malformed("it has no complete head");
        }
        std::memcpy(&head, payload.data(), sizeof(Head));
        std::size_t const offset = NetlinkAttributes::aligned(sizeof(Head));
        attributes = NetlinkAttributes(payload.subspan(std::min(offset, payload.size())));
    }
    Head head;
    NetlinkAttributes attributes;
};

LinkIndex indexOf(std::int64_t number) {
    if (number <= 0 || number > INT32_MAX) {
        malformed("{} is no index of a link", number);
    }
    return static_cast<LinkIndex>(number);
}

// Links

LinkKind kindOf(std::string_view kind) {
    if (kind == "bond" || kind == "team") {
        return LinkKind::lag;
    }
    return kind == "vlan"     ? LinkKind::subinterface
           : kind == "bridge" ? LinkKind::bridge
                              : LinkKind::plain;
}

/// The number of the VLAN of a subinterface, or 0.
std::uint16_t vlanOf(nlattr const &data) {
    for (nlattr const &attribute : NetlinkAttributes(data)) {
        if (typeOf(attribute) == IFLA_VLAN_ID) {
            return NetlinkAttributes::valueOf<std::uint16_t>(attribute);
        }
    }
    return 0;
}

void linkInfoInto(LinkFacts &facts, nlattr const &info) {
    nlattr const *data = nullptr;
    for (nlattr const &attribute : NetlinkAttributes(info)) {
        if (typeOf(attribute) == IFLA_INFO_KIND) {
            facts.kind = kindOf(NetlinkAttributes::textOf(attribute));
        } else if (typeOf(attribute) == IFLA_INFO_DATA) {
            data = &attribute;
        }
    }
    if (data && facts.kind == LinkKind::subinterface) {
        facts.vlan = vlanOf(*data);
    }
}

void nameInto(LinkFacts &facts, nlattr const &attribute) {
    std::string_view const name = NetlinkAttributes::textOf(attribute);
    if (name.empty() || name.size() >= IFNAMSIZ) {
        malformed("a name of {} bytes", name.size());
    }
    facts.name = name;
}

/// Enter an attribute; false for one that only an event of a part of the link has.
bool attributeInto(LinkFacts &facts, nlattr const &attribute) {
    switch (typeOf(attribute)) {
    case IFLA_IFNAME:
        nameInto(facts, attribute);
        return true;
    case IFLA_MASTER:
        facts.master = indexOf(NetlinkAttributes::valueOf<std::uint32_t>(attribute));
        return true;
    case IFLA_LINK:
        facts.lower = NetlinkAttributes::valueOf<std::uint32_t>(attribute);
        return true;
    case IFLA_LINK_NETNSID:
        facts.lowerElsewhere = true;
        return true;
    case IFLA_LINKINFO:
        linkInfoInto(facts, attribute);
        return true;
    default:
        return typeOf(attribute) != IFLA_WIRELESS;
    }
}

NetlinkFact linkOf(Parts<ifinfomsg> const &parts) {
    LinkFacts facts;
    facts.index = indexOf(parts.head.ifi_index);
    for (nlattr const &attribute : parts.attributes) {
        if (!attributeInto(facts, attribute)) {
            return Unrelated{};
        }
    }
    if (facts.name.empty()) {
        malformed("it has no name");
    }
    if (facts.kind != LinkKind::subinterface) {
        facts.lower = 0;
        facts.lowerElsewhere = false;
    } else if (facts.lower != 0 && !facts.lowerElsewhere) {
        (void)indexOf(facts.lower);
    }
    return facts;
}

NetlinkFact linkGoneOf(Parts<ifinfomsg> const &parts) {
    bool moved = false;
    for (nlattr const &attribute : parts.attributes) {
        moved = moved || typeOf(attribute) == IFLA_NEW_NETNSID;
    }
    return LinkGone{indexOf(parts.head.ifi_index), moved};
}

// VLANs

std::uint16_t vlanNumber(std::uint16_t number) {
    if (number == 0 || number > lastVlan) {
        malformed("{} is no number of a VLAN", number);
    }
    return number;
}

VlanSpan spanOf(bridge_vlan_info const &info) {
    VlanSpan span;
    span.first = span.last = vlanNumber(info.vid);
    span.pvid = (info.flags & BRIDGE_VLAN_INFO_PVID) != 0;
    span.untagged = (info.flags & BRIDGE_VLAN_INFO_UNTAGGED) != 0;
    return span;
}

/// Make a span end elsewhere.
void spanEndIs(VlanSpan &span, std::uint16_t last) {
    if (vlanNumber(last) < span.first) {
        malformed("VLANs from {} to {}", span.first, last);
    }
    if (span.pvid && last != span.first) {
        malformed("VLANs {} to {} are all the PVID", span.first, last);
    }
    span.last = last;
}

/// Collects a port's table, in which a range is two entries.
class TableReader {
  public:
    void entry(bridge_vlan_info const &info) {
        bool const begins = (info.flags & BRIDGE_VLAN_INFO_RANGE_BEGIN) != 0;
        bool const ends = (info.flags & BRIDGE_VLAN_INFO_RANGE_END) != 0;
        VlanSpan const span = spanOf(info);
        if (ends != open_ || (begins && ends)) {
            malformed("the range of VLAN {} has only one end", span.first);
        }
        if (ends) {
            spanEndIs(table_.back(), span.first);
        } else {
            table_.push_back(span);
        }
        open_ = begins;
    }

    [[nodiscard]] std::vector<VlanSpan> take() {
        if (open_) {
            malformed("the range of VLAN {} has only one end", table_.back().first);
        }
        return std::move(table_);
    }

  private:
    std::vector<VlanSpan> table_;
    bool open_ = false; ///< the latest entry begins a range
};

/// The table of a bridge's port; empty for what a device says of a switch of its own.
std::optional<std::vector<VlanSpan>> tableOf(nlattr const &specification) {
    TableReader table;
    for (nlattr const &attribute : NetlinkAttributes(specification)) {
        if (typeOf(attribute) == IFLA_BRIDGE_VLAN_INFO) {
            table.entry(NetlinkAttributes::valueOf<bridge_vlan_info>(attribute));
        } else if (typeOf(attribute) == IFLA_BRIDGE_FLAGS &&
                   (NetlinkAttributes::valueOf<std::uint16_t>(attribute) & BRIDGE_FLAGS_SELF)) {
            return std::nullopt;
        }
    }
    return table.take();
}

void checkPvid(std::vector<VlanSpan> const &spans) {
    std::uint16_t pvid = 0;
    for (VlanSpan const &span : spans) {
        if (span.pvid && pvid != 0) {
            malformed("both VLAN {} and VLAN {} are the PVID", pvid, span.first);
        }
        pvid = span.pvid ? span.first : pvid;
    }
}

NetlinkFact portTableOf(Parts<ifinfomsg> const &parts) {
    PortTable port{indexOf(parts.head.ifi_index), {}};
    for (nlattr const &attribute : parts.attributes) {
        if (typeOf(attribute) != IFLA_AF_SPEC) {
            continue;
        }
        auto table = tableOf(attribute);
        if (!table) {
            return Unrelated{};
        }
        port.vlans = std::move(*table);
    }
    checkPvid(port.vlans);
    return port;
}

VlanState stateOf(std::uint8_t number) {
    if (number > static_cast<std::uint8_t>(VlanState::blocking)) {
        malformed("{} is no state of a VLAN", number);
    }
    return static_cast<VlanState>(number);
}

VlanSpan entryOf(nlattr const &entry) {
    std::optional<VlanSpan> span;
    std::optional<std::uint16_t> last;
    VlanState state = VlanState::forwarding;
    for (nlattr const &attribute : NetlinkAttributes(entry)) {
        switch (typeOf(attribute)) {
        case BRIDGE_VLANDB_ENTRY_INFO:
            span = spanOf(NetlinkAttributes::valueOf<bridge_vlan_info>(attribute));
            break;
        case BRIDGE_VLANDB_ENTRY_RANGE:
            last = NetlinkAttributes::valueOf<std::uint16_t>(attribute);
            break;
        case BRIDGE_VLANDB_ENTRY_STATE:
            state = stateOf(NetlinkAttributes::valueOf<std::uint8_t>(attribute));
            break;
        default:
            break;
        }
    }
    if (!span) {
        malformed("an entry has no VLAN");
    }
    spanEndIs(*span, last.value_or(span->first));
    span->state = state;
    return *span;
}

/// A bridge that had no default PVID and gets one says that VLAN 0 is gone.
bool isOfNoVlan(nlattr const &entry) {
    for (nlattr const &attribute : NetlinkAttributes(entry)) {
        if (typeOf(attribute) == BRIDGE_VLANDB_ENTRY_INFO) {
            return NetlinkAttributes::valueOf<bridge_vlan_info>(attribute).vid == 0;
        }
    }
    return false;
}

NetlinkFact portVlansOf(nlmsghdr const &message, bool gone) {
    Parts<br_vlan_msg> const parts(message);
    LinkIndex const index = indexOf(parts.head.ifindex);
    std::vector<VlanSpan> spans;
    for (nlattr const &attribute : parts.attributes) {
        if (typeOf(attribute) == BRIDGE_VLANDB_ENTRY && !(gone && isOfNoVlan(attribute))) {
            spans.push_back(entryOf(attribute));
        }
    }
    if (gone) {
        return PortVlansGone{index, std::move(spans)};
    }
    checkPvid(spans);
    return PortVlans{index, std::move(spans)};
}

// Messages

NetlinkFact linkMessageOf(nlmsghdr const &message, bool gone) {
    Parts<ifinfomsg> const parts(message);
    switch (parts.head.ifi_family) {
    case AF_UNSPEC:
        return gone ? linkGoneOf(parts) : linkOf(parts);
    case AF_BRIDGE:
        return gone ? PortGone{indexOf(parts.head.ifi_index)} : portTableOf(parts);
    default:
        return Unrelated{};
    }
}

NetlinkFact factOf(nlmsghdr const &message) {
    switch (message.nlmsg_type) {
    case RTM_NEWLINK:
    case RTM_DELLINK:
        return linkMessageOf(message, message.nlmsg_type == RTM_DELLINK);
    case RTM_NEWVLAN:
    case RTM_DELVLAN:
        return portVlansOf(message, message.nlmsg_type == RTM_DELVLAN);
    default:
        return Unrelated{};
    }
}

std::string_view typeName(std::uint16_t type) {
    switch (type) {
    case RTM_NEWLINK:
        return "RTM_NEWLINK";
    case RTM_DELLINK:
        return "RTM_DELLINK";
    case RTM_NEWVLAN:
        return "RTM_NEWVLAN";
    default:
        return "RTM_DELVLAN";
    }
}

/// The index of the link that a message is about, which is at one place in all of them; else 0.
std::int32_t subjectOf(nlmsghdr const &message) {
    static_assert(offsetof(ifinfomsg, ifi_index) == offsetof(br_vlan_msg, ifindex));
    constexpr std::size_t offset = offsetof(ifinfomsg, ifi_index);
    Bytes const payload = payloadOf(message);
    std::int32_t index = 0;
    if (payload.size() >= offset + sizeof(index)) {
        std::memcpy(&index, payload.data() + offset, sizeof(index));
    }
    return index;
}

} // namespace

NetlinkFact decodeNetlink(nlmsghdr const &message) {
    try {
        return factOf(message);
    } catch (Malformed const &problem) {
        return NotUnderstood{fmt::format("{} of link {}: {}", typeName(message.nlmsg_type),
                                         subjectOf(message), problem.what())};
    }
}

} // namespace Agent
