#include "agent/service/EntryWalk.h"

#include "agent/VlanNumber.h"
#include "agent/service/Derivation.h"

namespace Agent {

bool EntryWalk::step(Osk::Task const &task, Visit const &visit) {
    auto const pause = [&] { return task.taskShouldYield(); };
    auto const visitDerived = [&](Bridging::VlanId vlan, auto const &node) {
        if (Iftel::SubIntfId::isSubIntfId(node.key())) {
            visit(vlan, node.key());
        }
    };
    auto const visitOther = [&](Bridging::VlanId vlan, auto const &node) {
        if (!derivesEntry(*inputs_, vlan, node.key())) {
            visit(vlan, node.key());
        }
    };
    while (overDirectory_.vlan() <= lastVlan) {
        std::uint16_t const vlan = overDirectory_.vlan();
        if (!overInputs_.step(inputs_->bridgingConfig->vlanConfig(), vlan, pause, visitDerived) ||
            !overDirectory_.step(directory_->config(), vlan, pause, visitOther)) {
            return false;
        }
        if (pause()) {
            return vlan == lastVlan;
        }
    }
    return true;
}

} // namespace Agent
