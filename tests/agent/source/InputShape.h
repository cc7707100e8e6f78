// The inputs as maps of texts, to compare and to print.
#pragma once

#include "agent/Inputs.h"

#include <map>
#include <string>
#include <utility>

namespace Agent {

/// VLAN -> interface -> configuration, and LAG -> member -> whether it is configured.
using InputShape = std::pair<std::map<int, std::map<std::string, std::string>>,
                             std::map<std::string, std::map<std::string, bool>>>;

inline InputShape shapeOf(Inputs const &inputs) {
    auto const name = [](Iftel::IntfId id) { return std::string(id.stringValue().view()); };
    InputShape shape;
    for (auto const &[vlan, config] : inputs.bridgingConfig->vlanConfig()) {
        auto &members = shape.first[vlan.value()];
        for (auto const &[intf, port] : config->intf()) {
            members[name(intf)] = std::string(port.tagOnEgress ? "tagged" : "untagged") +
                                  (port.pvid ? " pvid " : " ") +
                                  std::to_string(static_cast<int>(port.allowedTrafficDirection));
        }
    }
    for (auto const &[lag, config] : inputs.lagPhyIntfMapping->lagPhyIntfConfig()) {
        auto &members = shape.second[name(lag)];
        for (auto const &[member, configured] : config->phyIntf()) {
            members[name(member)] = configured != nullptr;
        }
    }
    return shape;
}

} // namespace Agent
