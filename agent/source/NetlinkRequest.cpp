#include "agent/source/NetlinkRequest.h"

#include <libmnl/libmnl.h>
#include <linux/if_bridge.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

namespace Agent {
namespace {

constexpr std::size_t longestRequest = 64;

template <class Head> Head &headIs(nlmsghdr &message) {
    return *static_cast<Head *>(mnl_nlmsg_put_extra_header(&message, sizeof(Head)));
}

} // namespace

std::vector<std::byte> netlinkDumpRequest(NetlinkDump what, std::uint32_t sequence) {
    std::vector<std::byte> bytes(longestRequest);
    nlmsghdr &message = *mnl_nlmsg_put_header(bytes.data());
    message.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    message.nlmsg_seq = sequence;
    if (what == NetlinkDump::vlans) {
        message.nlmsg_type = RTM_GETVLAN;
        headIs<br_vlan_msg>(message).family = AF_BRIDGE;
    } else {
        bool const ofLinks = what == NetlinkDump::links;
        message.nlmsg_type = RTM_GETLINK;
        headIs<ifinfomsg>(message).ifi_family = ofLinks ? AF_UNSPEC : AF_BRIDGE;
        mnl_attr_put_u32(&message, IFLA_EXT_MASK,
                         ofLinks ? RTEXT_FILTER_SKIP_STATS : RTEXT_FILTER_BRVLAN_COMPRESSED);
    }
    bytes.resize(message.nlmsg_len);
    return bytes;
}

} // namespace Agent
