// The sum over what a subject derived: its output and its index of the pairs that ride on each LAG.
// Independent of any order, and in the peers' names, so that it is equal for all subjects.
#pragma once

#include "bench/Ids.h"
#include "bench/Random.h"

#include <cstdint>

namespace Bench {

struct Checksum {
    std::uint64_t sum = 0;
    std::uint64_t items = 0;

    void entryAdd(PeerIds::Vlan vlan, PeerIds::Intf intf, bool tagOnEgress,
                  std::uint8_t direction) noexcept {
        add(mix(pair(vlan, intf) + (tagOnEgress ? 8U : 0U) + direction));
    }
    void memberAdd(PeerIds::Vlan vlan, PeerIds::Intf intf, PeerIds::Intf member) noexcept {
        add(mix(pair(vlan, intf) ^ mix(member)));
    }
    void indexAdd(PeerIds::Intf lag, PeerIds::Intf intf, PeerIds::Vlan vlan) noexcept {
        add(mix(mix(lag) ^ mix(intf) ^ vlan));
    }
    friend bool operator==(Checksum const &, Checksum const &) noexcept = default;

  private:
    static std::uint64_t pair(PeerIds::Vlan vlan, PeerIds::Intf intf) noexcept {
        return mix(intf ^ std::uint64_t{vlan} << 40);
    }
    void add(std::uint64_t term) noexcept {
        sum += term;
        ++items;
    }
};

} // namespace Bench
