// A walk in slices over a map of VLANs whose entries have a map of interfaces each: over the
// inputs' VLANs or the directory's, by number, within each in the order of its map.
//
// The maps may change between two steps. An entry that stays is visited once, one that comes or
// goes meanwhile at most once.
//
//     VlanWalk walk;
//     ... while (!walk.step(directory.config(), lastVlan, pause, visit)) { later }
#pragma once

#include "agent/VlanNumber.h"
#include "platform/Bridging.h"
#include "platform/Iftel.h"

#include <cstdint>

namespace Agent {

class VlanWalk {
  public:
    explicit VlanWalk(std::uint16_t first = firstVlan) noexcept : vlan_(first) {}

    /// Where it goes on; behind the last VLAN of a step that has returned true.
    [[nodiscard]] std::uint16_t vlan() const noexcept { return vlan_; }

    /// Call `visit( VLAN, node )` for one entry after the other to the end of VLAN `last`: true
    /// when it is there. Between two entries and two VLANs `pause()` may end the step. `visit` does
    /// not change the maps.
    [[nodiscard]] bool step(auto const &vlans, std::uint16_t last, auto const &pause,
                            auto const &visit) {
        while (vlan_ <= last) {
            Bridging::VlanId const id(vlan_);
            if (auto const *const vlan = vlans.lookupNodeG(id)) {
                auto const &map = vlan->value()->intf();
                auto it = next_ ? map.iteratorFrom(*next_) : map.iterator();
                while (it) {
                    visit(id, *it.node());
                    it.advance();
                    if (it && pause()) {
                        next_ = it.key();
                        return false;
                    }
                }
            }
            next_ = {};
            if (++vlan_ <= last && pause()) {
                return false;
            }
        }
        return true;
    }

  private:
    std::uint16_t vlan_;
    Qor::Optional<Iftel::IntfId> next_; ///< in the VLAN; none for its first
};

} // namespace Agent
