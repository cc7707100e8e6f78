#include "agent/service/EntryWalk.h"

#include "agent/service/Derivation.h"

namespace Agent {

bool EntryWalk::step(Osk::Task const &task, Visit const &visit) {
    while (vlan_ <= lastVlan) {
        if (!walkVlan(task, visit)) {
            return false;
        }
        ++vlan_;
        side_ = Side::inputs;
        if (task.taskShouldYield()) {
            return vlan_ > lastVlan;
        }
    }
    return true;
}

bool EntryWalk::walkVlan(Osk::Task const &task, Visit const &visit) {
    if (side_ == Side::inputs) {
        if (!walkInputs(task, visit)) {
            return false;
        }
        side_ = Side::directory;
    }
    return walkDirectory(task, visit);
}

bool EntryWalk::walkInputs(Osk::Task const &task, Visit const &visit) {
    auto const *const vlan =
        inputs_->bridgingConfig->vlanConfig().lookupNodeG(Bridging::VlanId(vlan_));
    if (!vlan) {
        next_ = {};
        return true;
    }
    return walk(vlan->value()->intf(), task, [&](Iftel::IntfId intf) {
        if (Iftel::SubIntfId::isSubIntfId(intf)) {
            visit(Bridging::VlanId(vlan_), intf);
        }
    });
}

bool EntryWalk::walkDirectory(Osk::Task const &task, Visit const &visit) {
    Bridging::VlanId const vlanId(vlan_);
    auto const *const vlan = directory_->config().lookupNodeG(vlanId);
    if (!vlan) {
        next_ = {};
        return true;
    }
    return walk(vlan->value()->intf(), task, [&](Iftel::IntfId intf) {
        if (!derivesEntry(*inputs_, vlanId, intf)) {
            visit(vlanId, intf);
        }
    });
}

/// Visits at least one key, if there is one, so that every step gets on.
template <class Map>
bool EntryWalk::walk(Map const &map, Osk::Task const &task, auto const &visitKey) {
    auto it = next_ ? map.iteratorFrom(*next_) : map.iterator();
    next_ = {};
    while (it) {
        visitKey(it.key());
        it.advance();
        if (it && task.taskShouldYield()) {
            next_ = it.key();
            return false;
        }
    }
    return true;
}

} // namespace Agent
