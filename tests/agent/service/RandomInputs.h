// Changes of a machine's inputs at random, over few names so that they collide often.
#pragma once

#include "agent/Inputs.h"
#include "tests/support/Random.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <string>

namespace Agent {

class RandomInputs {
  public:
    RandomInputs(Inputs const &inputs, TestSupport::Random &random)
        : inputs_(inputs), random_(random) {}

    static constexpr std::array<char const *, 9> interfaces = {
        "PortChannel1.10", "PortChannel1.20", "PortChannel2.10",
        "PortChannel2.20", "PortChannel3.10", "Ethernet1.10",
        "Ethernet2.10",    "Ethernet3",       "PortChannel1"};
    static constexpr std::uint32_t vlans = 6;

    void change() {
        switch (random_.below(16)) {
        case 0:
            inputs_.bridgingConfig->vlanConfigDel(vlan());
            break;
        case 1:
            inputs_.lagPhyIntfMapping->lagPhyIntfConfigDel(lag());
            break;
        case 2:
        case 3:
        case 4:
            inputs_.bridgingConfig->vlanConfigIs(vlan())->intfDel(intf());
            break;
        case 5:
        case 6:
        case 7:
            inputs_.lagPhyIntfMapping->lagPhyIntfConfigIs(lag())->phyIntfDel(member());
            break;
        case 8:
        case 9:
        case 10:
            inputs_.lagPhyIntfMapping->lagPhyIntfConfigIs(lag())->phyIntfIs(member(), nullptr);
            break;
        default:
            inputs_.bridgingConfig->vlanConfigIs(vlan())->intfIs(intf(), port());
        }
    }

    Bridging::VlanId vlan() {
        return Bridging::VlanId(static_cast<std::uint16_t>(random_.below(vlans) + 1));
    }
    Iftel::IntfId intf() { return Iftel::IntfId(interfaces.at(random_.below(interfaces.size()))); }
    Iftel::IntfId lag() {
        // An Ethernet in the mapping is no port-channel, whatever its subinterfaces carry.
        return Iftel::IntfId(random_.oneIn(8)
                                 ? "Ethernet1"
                                 : fmt::format("PortChannel{}", random_.below(3) + 1).c_str());
    }
    Iftel::IntfId member() {
        return Iftel::IntfId(fmt::format("Ethernet{}", random_.below(12) + 100).c_str());
    }
    Bridging::VlanPortConfig port() {
        return {random_.oneIn(2), random_.oneIn(2),
                static_cast<Bridging::AllowedTrafficDirection>(random_.below(4))};
    }

  private:
    Inputs const &inputs_;
    TestSupport::Random &random_;
};

} // namespace Agent
