// Requests for everything the kernel knows of a kind, answered by many messages: a dump.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Agent {

enum class NetlinkDump : std::uint8_t {
    links,  ///< RTM_NEWLINK of family AF_UNSPEC, without counters
    tables, ///< RTM_NEWLINK of family AF_BRIDGE: the VLANs of all bridges and ports, with flags
    vlans,  ///< RTM_NEWVLAN: of all bridges and ports, with flags and states
};

/// The bytes of a request. `sequence` comes back in each message of the answer.
[[nodiscard]] std::vector<std::byte> netlinkDumpRequest(NetlinkDump what, std::uint32_t sequence);

} // namespace Agent
