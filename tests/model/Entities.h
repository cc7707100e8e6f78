// From the model's plain structures to the real entities, and back.
#pragma once

#include "VlanSubIntfConfigLib/LocalAttrStore.h"
#include "platform/Bridging.h"
#include "platform/Lag.h"
#include "platform/VlanSubIntfConfigDir.h"
#include "tests/model/Model.h"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Model {

// Values.

inline Iftel::IntfId intfId(std::string const &name) {
    return Iftel::IntfId(name.c_str());
}
inline std::string nameOf(Iftel::IntfId id) {
    return std::string(id.stringValue().view());
}
inline Bridging::VlanId vlanId(int vlan) {
    return Bridging::VlanId(static_cast<std::uint16_t>(vlan));
}
inline std::string wordOf(Bridging::AllowedTrafficDirection direction) {
    using enum Bridging::AllowedTrafficDirection;
    switch (direction) {
    case none:
        return "none";
    case ingress:
        return "ingress";
    case egress:
        return "egress";
    case both:
        return "both";
    }
    throw std::invalid_argument("no direction");
}
/// Requires: `word` is the word of a direction.
inline Bridging::AllowedTrafficDirection directionOf(std::string const &word) {
    using enum Bridging::AllowedTrafficDirection;
    for (auto const direction : {none, ingress, egress, both}) {
        if (wordOf(direction) == word) {
            return direction;
        }
    }
    throw std::invalid_argument("no direction: " + word);
}
inline Bridging::VlanPortConfig portConfig(Port const &port) {
    return {port.tagOnEgress, port.pvid, directionOf(port.direction)};
}
/// A configuration of its own for each member; null where there is none.
inline Qor::Ptr<Lag::EthPhyIntfLagConfig const> lagConfig(MemberConfig config) {
    if (config == MemberConfig::null) {
        return nullptr;
    }
    return Lag::EthPhyIntfLagConfig::EthPhyIntfLagConfigIs();
}

// Writing.

inline void fill(Bridging::VlanConfig &entity, Ports const &ports) {
    for (auto const &[intf, port] : ports) {
        entity.intfIs(intfId(intf), portConfig(port));
    }
}
inline void fill(Lag::LagPhyIntfConfig &entity, Members const &members) {
    for (auto const &[member, config] : members) {
        entity.phyIntfIs(intfId(member), lagConfig(config));
    }
}
/// Add the inputs to the entities, as a host does: element by element, member by member.
inline void fill(Bridging::Config &bridging, Lag::LagPhyIntfMapping &mapping,
                 Inputs const &inputs) {
    for (auto const &[vlan, ports] : inputs.vlans) {
        fill(*bridging.vlanConfigIs(vlanId(vlan)), ports);
    }
    for (auto const &[lag, members] : inputs.lags) {
        fill(*mapping.lagPhyIntfConfigIs(intfId(lag)), members);
    }
}
/// Add to the directory what an earlier run left.
inline void fill(VlanSubIntfConfigLib::VlanSubIntfConfigDir &dir, Output const &leftBehind) {
    for (auto const &[vlan, entries] : leftBehind) {
        auto const config = dir.configIs(vlanId(vlan));
        for (auto const &[intf, entry] : entries) {
            auto const entity = config->intfIs(intfId(intf));
            entity->tagOnEgressIs(entry.tagOnEgress);
            entity->allowedTrafficDirectionIs(directionOf(entry.direction));
            for (auto const &member : entry.members) {
                entity->lagPhyIntfIs(intfId(member));
            }
        }
    }
}

// Reading.

inline Inputs read(Bridging::Config const &bridging, Lag::LagPhyIntfMapping const &mapping) {
    Inputs inputs;
    for (auto const &[vlan, config] : bridging.vlanConfig()) {
        Ports &ports = inputs.vlans[vlan.value()];
        for (auto const &[intf, port] : config->intf()) {
            ports[nameOf(intf)] = {port.tagOnEgress, port.pvid,
                                   wordOf(port.allowedTrafficDirection)};
        }
    }
    for (auto const &[lag, config] : mapping.lagPhyIntfConfig()) {
        Members &members = inputs.lags[nameOf(lag)];
        for (auto const &[member, memberConfig] : config->phyIntf()) {
            members[nameOf(member)] = memberConfig ? configured : MemberConfig::null;
        }
    }
    return inputs;
}

inline Entry read(VlanSubIntfConfigLib::VlanSubIntf const &entity) {
    Entry entry{entity.tagOnEgress(), wordOf(entity.allowedTrafficDirection()), {}};
    for (auto const &member : entity.lagPhyIntf()) {
        entry.members.insert(nameOf(member));
    }
    return entry;
}

inline Output read(VlanSubIntfConfigLib::VlanSubIntfConfigDir const &dir) {
    Output output;
    for (auto const &[vlan, config] : dir.config()) {
        Entries &entries = output[vlan.value()];
        for (auto const &[intf, entity] : config->intf()) {
            entries[nameOf(intf)] = read(*entity);
        }
    }
    return output;
}

/// A port-channel without pairs reads as an empty set: the store must have none.
inline LagVlanStatus read(VlanSubIntfConfigLib::DovraCode::ConfigSm::LocalAttrStore const &store) {
    LagVlanStatus status;
    for (auto const &[lag, entry] : store.lagVlanStatus()) {
        auto &pairs = status[nameOf(lag)];
        if (entry->value()) {
            for (auto const &pair : entry->value()->intfToVlanMap()) {
                pairs.insert({nameOf(pair.intfId), pair.vlanId.value()});
            }
        }
    }
    return status;
}

} // namespace Model
