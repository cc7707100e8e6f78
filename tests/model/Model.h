// The slow, obvious answer: what the machine must derive, recomputed from the inputs as a whole.
//
// Inputs and results are plain maps and sets of texts and numbers, with nothing of the platform in
// them; Entities.h leads from and to the real entities, TakeOver.h knows what start-up may show in
// between. Interfaces go by their native texts ("PortChannel1.10", "Ethernet4").
//
//     Model::Inputs inputs;
//     inputs.vlans[100]["PortChannel1.10"] = {.tagOnEgress = true, .direction = "both"};
//     inputs.lags["PortChannel1"] = {{"Ethernet1", Model::configured}};
//     EXPECT_EQ(Model::differences(Model::derive(inputs), Model::read(*dir)), "");
//
// Nothing here is incremental and nothing is fast; that is its use.
#pragma once

#include <compare>
#include <map>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

namespace Model {

/// How an interface is a member of a VLAN. `direction` is a word: none, ingress, egress, both.
struct Port {
    bool tagOnEgress = false;
    bool pvid = false;
    std::string direction = "none";

    friend bool operator==(Port const &, Port const &) = default;
};
using Ports = std::map<std::string, Port>;

/// The members of a LAG, each with its configuration or without (a null pointer).
enum class MemberConfig { null, configured };
inline constexpr MemberConfig configured = MemberConfig::configured;
using Members = std::map<std::string, MemberConfig>;

struct Inputs {
    std::map<int, Ports> vlans;          ///< bridgingConfig.vlanConfig[].intf[]
    std::map<std::string, Members> lags; ///< lagPhyIntfMapping.lagPhyIntfConfig[].phyIntf[]

    friend bool operator==(Inputs const &, Inputs const &) = default;
};

/// One entry of the output.
struct Entry {
    bool tagOnEgress = false;
    std::string direction = "none";
    std::set<std::string> members;

    friend bool operator==(Entry const &, Entry const &) = default;
};
using Entries = std::map<std::string, Entry>;
/// vlanSubIntfConfigDir.config[].intf[]; a VLAN without entries is told from no VLAN.
using Output = std::map<int, Entries>;
/// lagVlanStatus[].intfToVlanMap, a set of (subinterface, VLAN).
using LagVlanStatus = std::map<std::string, std::set<std::pair<std::string, int>>>;

// What a native text names.

inline bool isSubIntf(std::string const &name) {
    return name.find('.') != std::string::npos;
}
inline std::string parentOf(std::string const &name) {
    return name.substr(0, name.find('.'));
}
/// Of port-channels and of their subinterfaces.
inline bool isPortChannel(std::string_view name) {
    return name.starts_with("PortChannel");
}

// The answer.

/// The members that carry a subinterface's traffic.
inline std::set<std::string> membersOf(Inputs const &inputs, std::string const &subIntf) {
    std::set<std::string> members;
    auto const lag = inputs.lags.find(parentOf(subIntf));
    if (isPortChannel(subIntf) && lag != inputs.lags.end()) {
        for (auto const &[member, config] : lag->second) {
            members.insert(member);
        }
    }
    return members;
}

/// Call `visit( vlan, subinterface, port )` for every member of a VLAN that is a subinterface.
template <class Visit> void forEachSubIntf(Inputs const &inputs, Visit visit) {
    for (auto const &[vlan, ports] : inputs.vlans) {
        for (auto const &[intf, port] : ports) {
            if (isSubIntf(intf)) {
                visit(vlan, intf, port);
            }
        }
    }
}

/// The output of a machine that is ready and found an empty directory.
inline Output derive(Inputs const &inputs) {
    Output output;
    forEachSubIntf(inputs, [&](int vlan, std::string const &intf, Port const &port) {
        output[vlan][intf] = {port.tagOnEgress, port.direction, membersOf(inputs, intf)};
    });
    return output;
}

/// Its local store.
inline LagVlanStatus deriveLagVlanStatus(Inputs const &inputs) {
    LagVlanStatus status;
    forEachSubIntf(inputs, [&](int vlan, std::string const &intf, Port const & /*port*/) {
        if (isPortChannel(intf)) {
            status[parentOf(intf)].insert({intf, vlan});
        }
    });
    return status;
}

/// The output of a machine that found `leftBehind` in the directory, when it is ready and the
/// inputs did not change meanwhile: what it did not write is gone, attributes are overwritten, and
/// a subinterface that got no LAG member keeps its old members.
inline Output afterStartUp(Inputs const &inputs, Output const &leftBehind) {
    Output output = derive(inputs);
    for (auto const &[vlan, entries] : leftBehind) {
        for (auto const &[intf, old] : entries) {
            auto const found = output.find(vlan);
            if (found != output.end() && found->second.contains(intf) &&
                found->second.at(intf).members.empty()) {
                found->second.at(intf).members = old.members;
            }
        }
    }
    return output;
}

// Texts and differences.

inline std::ostream &operator<<(std::ostream &out, Entry const &entry) {
    out << (entry.tagOnEgress ? "tagged " : "untagged ") << entry.direction << " {";
    for (auto const &member : entry.members) {
        out << ' ' << member;
    }
    return out << " }";
}

/// One line an entry: its place and its value.
inline std::map<std::string, std::string> lines(Output const &output) {
    std::map<std::string, std::string> result;
    for (auto const &[vlan, entries] : output) {
        std::string const place = "vlan " + std::to_string(vlan);
        if (entries.empty()) {
            result[place] = "without entries";
        }
        for (auto const &[intf, entry] : entries) {
            std::ostringstream text;
            text << entry;
            result[place + ' ' + intf] = text.str();
        }
    }
    return result;
}

inline std::map<std::string, std::string> lines(LagVlanStatus const &status) {
    std::map<std::string, std::string> result;
    for (auto const &[lag, pairs] : status) {
        std::string &text = result["lagVlanStatus " + lag];
        for (auto const &[intf, vlan] : pairs) {
            text += intf + " in " + std::to_string(vlan) + ' ';
        }
    }
    return result;
}

/// What is wrong with `actual`, a line each, with - before what is missing and + before what is
/// too much; empty when there is no difference.
template <class Result> std::string differences(Result const &expected, Result const &actual) {
    if (expected == actual) {
        return "";
    }
    auto const expectedLines = lines(expected);
    auto const actualLines = lines(actual);
    std::string text;
    auto const report = [&text](char sign, auto const &from, auto const &against) {
        for (auto const &[place, value] : from) {
            auto const other = against.find(place);
            if (other == against.end() || other->second != value) {
                text += std::string(1, sign) + ' ' + place + ": " + value + '\n';
            }
        }
    };
    report('-', expectedLines, actualLines);
    report('+', actualLines, expectedLines);
    return text;
}

} // namespace Model
