// From a VLAN's number straight to its object: what an owner of VLANs keeps beside the collection,
// where every event looks one up. It owns nothing.
#pragma once

#include "platform/Bridging/VlanId.h"

#include <array>
#include <cstddef>

namespace Bridging {

template <class Vlan> class VlanIndex {
  public:
    /// The object under that number; null for none, and for a number that no VLAN can have: that
    /// one is to be looked up in the collection.
    [[nodiscard]] Vlan *at(VlanId id) const noexcept {
        return id.value() < numbers ? vlans_[id.value()] : nullptr;
    }
    /// Null takes it out.
    void is(VlanId id, Vlan *vlan) noexcept {
        if (id.value() < numbers) {
            vlans_[id.value()] = vlan;
        }
    }

  private:
    /// A VLAN identifier has 12 bits (IEEE 802.1Q).
    static constexpr std::size_t numbers = 4096;
    std::array<Vlan *, numbers> vlans_{};
};

} // namespace Bridging
