// How the subjects name what the workloads are made of. A workload is generated in the types of its
// subject, so that no conversion is part of what is timed.
//
//     PeerIds      plain numbers, what a program without this library's platform would use
//     MachineIds   the platform's types
//
// Both describe the same interfaces: kind, number and subinterface number mean one interface.
#pragma once

#include "platform/Bridging.h"
#include "platform/Iftel.h"

#include <cstdint>

namespace Bench {

enum class Kind : std::uint8_t { ethernet = 1, lag = 2, ethernetSub = 3, lagSub = 4 };

struct PeerConfig {
    std::uint8_t tagOnEgress;
    std::uint8_t pvid;
    std::uint8_t direction;
};

/// An interface is kind (8 bits), number (32), subinterface number (24).
struct PeerIds {
    using Vlan = std::uint16_t;
    using Intf = std::uint64_t;
    using Config = PeerConfig;

    static constexpr Vlan vlan(std::uint64_t number) noexcept { return static_cast<Vlan>(number); }
    static constexpr Intf intf(Kind kind, std::uint64_t number, std::uint32_t sub = 0) noexcept {
        return std::uint64_t{static_cast<std::uint8_t>(kind)} << kindShift | number << subBits |
               sub;
    }
    static constexpr bool isSubIntf(Intf id) noexcept { return (id >> kindShift) - 3 <= 1; }
    static constexpr bool isLagSubIntf(Intf id) noexcept { return (id >> kindShift) == 4; }
    /// Requires: isSubIntf(id).
    static constexpr Intf parentOf(Intf id) noexcept {
        return (id - (std::uint64_t{2} << kindShift)) & ~((std::uint64_t{1} << subBits) - 1);
    }
    static constexpr Config config(bool tagOnEgress, std::uint64_t direction) noexcept {
        return {tagOnEgress, 0, static_cast<std::uint8_t>(direction)};
    }
    static constexpr bool tagOnEgress(Config config) noexcept { return config.tagOnEgress != 0; }
    static constexpr std::uint8_t direction(Config config) noexcept { return config.direction; }

  private:
    static constexpr unsigned kindShift = 56;
    static constexpr unsigned subBits = 24;
};

struct MachineIds {
    using Vlan = Bridging::VlanId;
    using Intf = Iftel::IntfId;
    using Config = Bridging::VlanPortConfig;

    static constexpr Vlan vlan(std::uint64_t number) noexcept {
        return Vlan(static_cast<std::uint16_t>(number));
    }
    static constexpr Intf intf(Kind kind, std::uint64_t number, std::uint32_t sub = 0) noexcept {
        bool const ethernet = kind == Kind::ethernet || kind == Kind::ethernetSub;
        Intf const parent =
            Intf::intf(ethernet ? Iftel::IntfKind::ethernet : Iftel::IntfKind::portChannel,
                       static_cast<std::uint32_t>(number));
        return kind < Kind::ethernetSub ? parent : Intf::subIntf(parent, sub);
    }
    static constexpr bool isSubIntf(Intf id) noexcept { return id.isSubIntf(); }
    static constexpr Config config(bool tagOnEgress, std::uint64_t direction) noexcept {
        return {tagOnEgress, false, static_cast<Bridging::AllowedTrafficDirection>(direction)};
    }
    static constexpr bool tagOnEgress(Config config) noexcept { return config.tagOnEgress; }
    static constexpr std::uint8_t direction(Config config) noexcept {
        return static_cast<std::uint8_t>(config.allowedTrafficDirection);
    }

    /// The peers' name of the interface.
    static constexpr PeerIds::Intf peerIntf(Intf id) noexcept {
        auto const kind = static_cast<std::uint8_t>(id.kind()) + (id.isSubIntf() ? 2 : 0);
        return PeerIds::intf(static_cast<Kind>(kind), id.bits() >> 32 & 0x1FFFFFFF,
                             static_cast<std::uint32_t>(id.bits()));
    }
};

} // namespace Bench
