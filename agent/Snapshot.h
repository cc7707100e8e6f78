// What a directory holds at one moment, in a compact form to compare with later.
#pragma once

#include "platform/VlanSubIntfConfigDir.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace Agent {

class Snapshot {
  public:
    struct Entry {
        Iftel::IntfId intf;
        std::size_t membersEnd; ///< in members_; they begin where those of the entry before end
        Bridging::VlanId vlan;
        bool tagOnEgress;
        Bridging::AllowedTrafficDirection direction;
    };
    enum class Change : std::uint8_t { kept, added, changed, deleted };

    explicit Snapshot(VlanSubIntfConfigLib::VlanSubIntfConfigDir const &directory);

    [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }

    /// Call `each` for every entry of the two, in the order of (VLAN, interface), with what has
    /// become of it. For a changed entry it is the later state.
    static void compare(Snapshot const &before, Snapshot const &after,
                        std::function<void(Entry const &, Change)> const &each);

    /// The LAG members of an entry of this snapshot, in the order of their identifiers.
    [[nodiscard]] std::span<Iftel::IntfId const> members(Entry const &entry) const noexcept;

  private:
    static bool same(Snapshot const &before, Entry const &a, Snapshot const &after,
                     Entry const &b) noexcept;

    std::vector<Entry> entries_; ///< by VLAN and interface
    std::vector<Iftel::IntfId> members_;
};

} // namespace Agent
