// The slow, obvious answer: the inputs that links and VLANs of ports make, computed anew each time.
#pragma once

#include "agent/Inputs.h"
#include "agent/source/TopologyFacts.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Agent {

/// Inputs, or what they ought to be: a line a member and a line a LAG.
///
///     100 bond0.100/bond0 untagged pvid both
///     lag bond0: eth1 eth2
using InputLines = std::multiset<std::string>;

inline std::string memberLine(int vlan, std::string const &name, std::string const &parent,
                              Bridging::VlanPortConfig const &config) {
    static constexpr char const *directions[] = {" none", " ingress", " egress", " both"};
    return std::to_string(vlan) + " " + name + "/" + parent +
           (config.tagOnEgress ? " tagged" : " untagged") + (config.pvid ? " pvid" : "") +
           directions[static_cast<int>(config.allowedTrafficDirection)];
}

inline std::string lagLine(std::string const &lag, std::set<std::string> const &members) {
    std::string line = "lag " + lag + ":";
    for (std::string const &member : members) {
        line += " " + member;
    }
    return line;
}

/// What is in the inputs. A VLAN without members is a line, too: there ought to be none.
inline InputLines linesOf(Inputs const &inputs) {
    auto const name = [](Iftel::IntfId id) { return std::string(id.stringValue().view()); };
    InputLines lines;
    for (auto const &[vlan, config] : inputs.bridgingConfig->vlanConfig()) {
        for (auto const &[intf, port] : config->intf()) {
            bool const isSub = Iftel::SubIntfId::isSubIntfId(intf);
            auto const parent = isSub ? name(Iftel::SubIntfId::parentIntfId(intf)) : "-";
            lines.insert(memberLine(vlan.value(), name(intf), parent, port));
        }
        if (config->intf().empty()) {
            lines.insert("empty VLAN " + std::to_string(vlan.value()));
        }
    }
    for (auto const &[lag, config] : inputs.lagPhyIntfMapping->lagPhyIntfConfig()) {
        std::set<std::string> members;
        for (auto const &[member, ignored] : config->phyIntf()) {
            members.insert(name(member));
        }
        lines.insert(lagLine(name(lag), members));
    }
    return lines;
}

/// Links and VLANs as they are.
struct TopologyModel {
    std::map<LinkIndex, LinkFacts> links;
    std::map<LinkIndex, std::map<std::uint16_t, VlanSpan>> vlans;

    [[nodiscard]] std::string parentOf(LinkFacts const &link) const {
        if (link.kind != LinkKind::subinterface) {
            return link.name;
        }
        auto const lower = links.find(link.lower);
        return link.lowerElsewhere || lower == links.end() ? "" : parentOf(lower->second);
    }
    [[nodiscard]] LinkFacts const *masterOf(LinkFacts const &link) const {
        auto const master = links.find(link.master);
        return master == links.end() ? nullptr : &master->second;
    }
    [[nodiscard]] bool isPort(LinkFacts const &link, std::string const &bridge) const {
        LinkFacts const *const master = masterOf(link);
        return link.kind != LinkKind::bridge &&
               (bridge.empty() ||
                (master && master->kind == LinkKind::bridge && master->name == bridge));
    }
    static Bridging::VlanPortConfig configOf(VlanSpan const &vlan) {
        using Bridging::AllowedTrafficDirection;
        auto const direction = vlan.state != VlanState::forwarding ? AllowedTrafficDirection::none
                               : vlan.untagged && !vlan.pvid       ? AllowedTrafficDirection::egress
                                                                   : AllowedTrafficDirection::both;
        return {!vlan.untagged, vlan.pvid, direction};
    }

    /// What the inputs ought to be, with the ports of `bridge` only unless it is empty.
    [[nodiscard]] InputLines lines(std::string const &bridge = "") const {
        InputLines lines;
        for (auto const &[index, port] : vlans) {
            LinkFacts const &link = links.at(index);
            bool const isSub = link.kind == LinkKind::subinterface;
            for (auto const &[number, vlan] : port) {
                if (isPort(link, bridge)) {
                    lines.insert(memberLine(number, link.name, isSub ? parentOf(link) : "-",
                                            configOf(vlan)));
                }
            }
        }
        for (auto const &[index, link] : links) {
            std::set<std::string> members;
            for (auto const &[other, member] : links) {
                if (member.master == index) {
                    members.insert(member.name);
                }
            }
            if (link.kind == LinkKind::lag) {
                lines.insert(lagLine(link.name, members));
            }
        }
        return lines;
    }
};

} // namespace Agent
