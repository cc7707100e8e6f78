// Netlink messages for tests: captures of a real kernel, and messages made by hand.
#pragma once

#include "agent/source/NetlinkDecoder.h"

#include <gtest/gtest.h>
#include <libmnl/libmnl.h>
#include <linux/if_bridge.h>
#include <linux/rtnetlink.h>

#include <cstddef>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

namespace Agent {

/// A message with its bytes; vectors of bytes are aligned enough for it.
class NetlinkMessage {
  public:
    explicit NetlinkMessage(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}
    /// One with a head and whatever attributes `fill` puts.
    template <class Head>
    static NetlinkMessage of(std::uint16_t type, Head const &head,
                             std::function<void(nlmsghdr &)> const &fill = {}) {
        std::vector<std::byte> bytes(std::size_t{1} << 16);
        nlmsghdr &message = *mnl_nlmsg_put_header(bytes.data());
        message.nlmsg_type = type;
        std::memcpy(mnl_nlmsg_put_extra_header(&message, sizeof(head)), &head, sizeof(head));
        if (fill) {
            fill(message);
        }
        bytes.resize(message.nlmsg_len);
        return NetlinkMessage(std::move(bytes));
    }

    [[nodiscard]] nlmsghdr &head() { return *reinterpret_cast<nlmsghdr *>(bytes_.data()); }
    [[nodiscard]] std::vector<std::byte> const &bytes() const { return bytes_; }
    [[nodiscard]] NetlinkFact fact() { return decodeNetlink(head()); }
    /// With the numbers by which a channel knows an answer.
    [[nodiscard]] NetlinkMessage as(std::uint32_t sequence, std::uint32_t portId,
                                    std::uint16_t flags = NLM_F_MULTI) const {
        NetlinkMessage copy = *this;
        copy.head().nlmsg_seq = sequence;
        copy.head().nlmsg_pid = portId;
        copy.head().nlmsg_flags = flags;
        return copy;
    }

  private:
    std::vector<std::byte> bytes_;
};

/// The messages of a capture, "small-link" for example, each padded to 4 bytes.
inline std::vector<NetlinkMessage> netlinkCapture(std::string const &name) {
    std::ifstream file(std::string(TEST_DATA_DIR) + "/netlink/" + name + ".nl", std::ios::binary);
    std::string const text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_FALSE(text.empty()) << name;
    std::vector<NetlinkMessage> messages;
    for (std::size_t at = 0; at + sizeof(nlmsghdr) <= text.size();) {
        nlmsghdr head;
        std::memcpy(&head, text.data() + at, sizeof(head));
        auto const *const begin = reinterpret_cast<std::byte const *>(text.data()) + at;
        messages.emplace_back(std::vector(begin, begin + head.nlmsg_len));
        at += (head.nlmsg_len + 3U) & ~3U;
    }
    return messages;
}

// Messages by hand.

inline ifinfomsg linkHead(std::uint8_t family, LinkIndex index) {
    ifinfomsg head{};
    head.ifi_family = family;
    head.ifi_index = static_cast<int>(index);
    return head;
}

inline void putBytes(nlmsghdr &message, std::uint16_t type, auto const &value) {
    mnl_attr_put(&message, type, sizeof(value), &value);
}

inline NetlinkMessage linkMessage(LinkFacts const &facts) {
    return NetlinkMessage::of(
        RTM_NEWLINK, linkHead(AF_UNSPEC, facts.index), [&](nlmsghdr &message) {
            mnl_attr_put_strz(&message, IFLA_IFNAME, facts.name.c_str());
            if (facts.master != 0) {
                mnl_attr_put_u32(&message, IFLA_MASTER, facts.master);
            }
            if (facts.lower != 0) {
                mnl_attr_put_u32(&message, IFLA_LINK, facts.lower);
            }
            if (facts.lowerElsewhere) {
                mnl_attr_put_u32(&message, IFLA_LINK_NETNSID, 0);
            }
            static constexpr char const *kinds[] = {"dummy", "bond", "bridge", "vlan"};
            nlattr *const info = mnl_attr_nest_start(&message, IFLA_LINKINFO);
            mnl_attr_put_strz(&message, IFLA_INFO_KIND, kinds[static_cast<int>(facts.kind)]);
            if (facts.vlan != 0) {
                nlattr *const data = mnl_attr_nest_start(&message, IFLA_INFO_DATA);
                mnl_attr_put_u16(&message, IFLA_VLAN_ID, facts.vlan);
                mnl_attr_nest_end(&message, data);
            }
            mnl_attr_nest_end(&message, info);
        });
}

inline NetlinkMessage linkGoneMessage(LinkIndex index, bool moved = false) {
    return NetlinkMessage::of(RTM_DELLINK, linkHead(AF_UNSPEC, index), [&](nlmsghdr &message) {
        if (moved) {
            mnl_attr_put_u32(&message, IFLA_NEW_NETNSID, 0);
        }
    });
}

/// Entries of a port's table, with the flags as they are in it.
inline NetlinkMessage tableMessage(LinkIndex index, std::vector<bridge_vlan_info> const &entries) {
    return NetlinkMessage::of(RTM_NEWLINK, linkHead(AF_BRIDGE, index), [&](nlmsghdr &message) {
        nlattr *const table = mnl_attr_nest_start(&message, IFLA_AF_SPEC);
        for (bridge_vlan_info const &entry : entries) {
            putBytes(message, IFLA_BRIDGE_VLAN_INFO, entry);
        }
        mnl_attr_nest_end(&message, table);
    });
}

inline NetlinkMessage vlansMessage(std::uint16_t type, LinkIndex index,
                                   std::vector<VlanSpan> const &spans) {
    br_vlan_msg head{};
    head.family = AF_BRIDGE;
    head.ifindex = index;
    return NetlinkMessage::of(type, head, [&](nlmsghdr &message) {
        for (VlanSpan const &span : spans) {
            nlattr *const entry = mnl_attr_nest_start(&message, BRIDGE_VLANDB_ENTRY);
            bridge_vlan_info info{};
            info.vid = span.first;
            info.flags =
                static_cast<std::uint16_t>((span.pvid ? BRIDGE_VLAN_INFO_PVID : 0) |
                                           (span.untagged ? BRIDGE_VLAN_INFO_UNTAGGED : 0));
            putBytes(message, BRIDGE_VLANDB_ENTRY_INFO, info);
            if (span.last != span.first) {
                mnl_attr_put_u16(&message, BRIDGE_VLANDB_ENTRY_RANGE, span.last);
            }
            mnl_attr_put_u8(&message, BRIDGE_VLANDB_ENTRY_STATE,
                            static_cast<std::uint8_t>(span.state));
            mnl_attr_nest_end(&message, entry);
        }
    });
}

} // namespace Agent
