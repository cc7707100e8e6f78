// The statements are those of VlanSubIntfConfigLib.dovra, followed for all events of one entry, or
// of one LAG, at a time: where the machine meets a statement once for each LAG member, there is one
// step with all of them.
#include "agent/service/Derivation.h"

#include "VlanSubIntfConfigLib/Trace.h"
#include "agent/service/IntfNames.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace Agent {
namespace {

namespace Statements = VlanSubIntfConfigLib::DovraCode::Statements;
using Outcome = DerivationStep::Outcome;
using VlanSubIntfConfigLib::DovraCode::Statement;

void add(std::vector<DerivationStep> &steps, Statement const &statement, Outcome outcome,
         std::string values) {
    steps.push_back({statement.line, statement.text, outcome, std::move(values)});
}

template <class Value> std::string text(Value const &value) {
    return Qor::ValueTraits<Value>::text(value);
}

/// The way of one entry.
class EntryPath {
  public:
    EntryPath(Inputs const &inputs, Bridging::VlanId vlan, Iftel::IntfId intf)
        : inputs_(inputs), vlan_(vlan), intf_(intf), parent_(Iftel::SubIntfId::parentIntfId(intf)),
          name_(printableName(intf)), parentName_(printableName(parent_)) {}

    DerivationPath follow() {
        if (entersVlanStream() && isSubIntf()) {
            entryIs();
            if (isOnPortChannel() && hasMembers()) {
                lagStream();
                merge();
            }
        }
        return std::move(path_);
    }

  private:
    bool entersVlanStream() {
        auto const config = inputs_.bridgingConfig->vlanConfig(vlan_);
        auto const member = vlanMember(inputs_, vlan_, intf_);
        std::string const key = fmt::format("vlanId={} intfId={}", vlan_.value(), name_);
        if (!member) {
            return end(
                Statements::fromVlanConfig,
                fmt::format("{}: {}", key, config ? "is no member of the VLAN" : "no such VLAN"));
        }
        member_ = *member;
        return pass(Statements::fromVlanConfig,
                    fmt::format("{} vlanPortConfig=( {} )", key, text(member_)));
    }

    bool isSubIntf() {
        if (Iftel::SubIntfId::isSubIntfId(intf_)) {
            return pass(Statements::filterSubIntf,
                        fmt::format("intfId={}: a subinterface of {}", name_, parentName_));
        }
        bool const isLag = Iftel::PortChannelIntfId::isPortChannelIntfId(intf_);
        return end(
            Statements::filterSubIntf,
            fmt::format("intfId={}: {}", name_, isLag ? "a LAG itself" : "a plain interface"));
    }

    void entryIs() {
        write(Statements::intoConfigIntf, fmt::format("k1={} k2={}", vlan_.value(), name_));
        write(Statements::intoTagOnEgress, fmt::format("value={}", member_.tagOnEgress));
        write(Statements::intoDirection,
              fmt::format("value={}", text(member_.allowedTrafficDirection)));
        path_.entry = true;
    }

    bool isOnPortChannel() {
        if (!Iftel::PortChannelIntfId::isPortChannelIntfId(intf_)) {
            bool const known = parent_ != Iftel::IntfId();
            return end(Statements::filterPortChannel,
                       fmt::format("intfId={}: its parent {}", name_,
                                   known ? parentName_ + " is no LAG" : "is not known"));
        }
        pass(Statements::filterPortChannel,
             fmt::format("intfId={}: its parent {} is a LAG", name_, parentName_));
        write(Statements::intoIntfToVlanMap, fmt::format("k1={} k2=( {} )", parentName_, pair()));
        return true;
    }

    bool hasMembers() {
        pass(Statements::filterAdd, "add=true");
        auto lag = lagMembers(inputs_, parent_);
        std::string const key = "parentIntfId=" + parentName_;
        if (!lag) {
            return end(Statements::filterLagConfig, key + ": the mapping has no such LAG");
        }
        pass(Statements::filterLagConfig, key);
        members_ = printableNames(*lag);
        if (lag->empty()) {
            return end(Statements::foreachPhyIntf, "flattening 0 elements");
        }
        return pass(Statements::foreachPhyIntf,
                    fmt::format("flattening {} elements: {}", lag->size(), members_));
    }

    void lagStream() {
        pass(Statements::fromLagUpdate,
             fmt::format("lagId={} lagMemberId={}", parentName_, members_));
        pass(Statements::filterLagVlanStatus, "lagId=" + parentName_);
        pass(Statements::foreachVidIntf, fmt::format("flattening the element ( {} )", pair()));
    }

    void merge() {
        pass(Statements::merge, fmt::format("vlanId={} subIntfId={} lagMemberId={} add=true",
                                            vlan_.value(), name_, members_));
        write(Statements::intoLagPhyIntf, "k1=" + members_);
    }

    [[nodiscard]] std::string pair() const {
        return fmt::format("intfId={} vlanId={}", name_, vlan_.value());
    }
    bool pass(Statement const &statement, std::string values) {
        add(path_.steps, statement, Outcome::passed, std::move(values));
        return true;
    }
    bool end(Statement const &statement, std::string values) {
        add(path_.steps, statement, Outcome::ended, std::move(values));
        return false;
    }
    void write(Statement const &statement, std::string values) {
        add(path_.steps, statement, Outcome::wrote, std::move(values));
    }

    Inputs const &inputs_;
    Bridging::VlanId vlan_;
    Iftel::IntfId intf_;
    Iftel::IntfId parent_;
    std::string name_;
    std::string parentName_;
    Bridging::VlanPortConfig member_; ///< once it has entered
    std::string members_;             ///< of the LAG, once it has some
    DerivationPath path_;
};

/// The subinterfaces of `lag` in a VLAN, behind what is in `pairs`.
void appendPairs(std::vector<std::pair<Bridging::VlanId, Iftel::IntfId>> &pairs,
                 Bridging::VlanConfig const &vlan, Iftel::IntfId lag) {
    auto const begin = static_cast<std::ptrdiff_t>(pairs.size());
    for (auto const &[intf, member] : vlan.intf()) {
        if (Iftel::SubIntfId::isSubIntfId(intf) &&
            Iftel::PortChannelIntfId::isPortChannelIntfId(intf) &&
            Iftel::SubIntfId::parentIntfId(intf) == lag) {
            pairs.emplace_back(vlan.vlanId(), intf);
        }
    }
    std::sort(pairs.begin() + begin, pairs.end());
}

/// The steps of a LAG with these members, on which so many pairs ride.
void appendLagSteps(std::vector<DerivationStep> &steps, std::string const &key,
                    std::span<Iftel::IntfId const> members, std::size_t pairs) {
    std::string const names = printableNames(members);
    add(steps, Statements::fromLagUpdate, Outcome::passed,
        fmt::format("{} lagMemberId={}", key, names));
    if (pairs == 0) {
        add(steps, Statements::filterLagVlanStatus, Outcome::ended,
            key + ": no subinterface of it is in a VLAN");
        return;
    }
    add(steps, Statements::filterLagVlanStatus, Outcome::passed, key);
    add(steps, Statements::foreachVidIntf, Outcome::passed,
        fmt::format("flattening {} elements", pairs));
    add(steps, Statements::merge, Outcome::passed,
        fmt::format("each of them with lagMemberId={} add=true", names));
    add(steps, Statements::intoLagPhyIntf, Outcome::wrote, "k1=" + names);
}

} // namespace

Qor::Optional<Bridging::VlanPortConfig> vlanMember(Inputs const &inputs, Bridging::VlanId vlan,
                                                   Iftel::IntfId intf) {
    auto const *const config = inputs.bridgingConfig->vlanConfig().lookupNodeG(vlan);
    auto const *const member = config ? config->value()->intf().lookupNodeG(intf) : nullptr;
    return member ? Qor::Optional(member->value()) : std::nullopt;
}

Qor::Optional<std::vector<Iftel::IntfId>> lagMembers(Inputs const &inputs, Iftel::IntfId lag) {
    auto const *const config = inputs.lagPhyIntfMapping->lagPhyIntfConfig().lookupNodeG(lag);
    if (!config) {
        return {};
    }
    auto const &phyIntf = config->value()->phyIntf();
    std::vector<Iftel::IntfId> members;
    members.reserve(phyIntf.size());
    for (auto const &[member, memberConfig] : phyIntf) {
        members.push_back(member);
    }
    std::ranges::sort(members);
    return members;
}

VlanSubIntfConfigLib::VlanSubIntf const *
directoryEntry(VlanSubIntfConfigLib::VlanSubIntfConfigDir const &directory, Bridging::VlanId vlan,
               Iftel::IntfId intf) {
    auto const *const config = directory.config().lookupNodeG(vlan);
    auto const *const entry = config ? config->value()->intf().lookupNodeG(intf) : nullptr;
    return entry ? entry->value().get() : nullptr;
}

bool derivesEntry(Inputs const &inputs, Bridging::VlanId vlan, Iftel::IntfId intf) {
    return Iftel::SubIntfId::isSubIntfId(intf) && vlanMember(inputs, vlan, intf).hasValue();
}

Qor::Optional<DerivedEntry> deriveEntry(Inputs const &inputs, Bridging::VlanId vlan,
                                        Iftel::IntfId intf) {
    auto const member = vlanMember(inputs, vlan, intf);
    if (!member || !Iftel::SubIntfId::isSubIntfId(intf)) {
        return {};
    }
    DerivedEntry entry{member->tagOnEgress, member->allowedTrafficDirection, {}};
    if (Iftel::PortChannelIntfId::isPortChannelIntfId(intf)) {
        if (auto members = lagMembers(inputs, Iftel::SubIntfId::parentIntfId(intf))) {
            entry.members = members.take();
        }
    }
    return entry;
}

DerivationPath derivationPath(Inputs const &inputs, Bridging::VlanId vlan, Iftel::IntfId intf) {
    return EntryPath(inputs, vlan, intf).follow();
}

LagDerivationPath lagDerivationPath(Inputs const &inputs, Iftel::IntfId lag) {
    LagDerivationPath path;
    for (std::uint16_t vlan = 1; vlan <= lastVlan; ++vlan) {
        if (auto const config = inputs.bridgingConfig->vlanConfig(Bridging::VlanId(vlan))) {
            appendPairs(path.pairs, **config, lag);
        }
    }
    std::string const key = "lagId=" + printableName(lag);
    auto const members = lagMembers(inputs, lag);
    if (!members || members->empty()) {
        add(path.steps, Statements::fromLagUpdate, Outcome::ended,
            key + (members ? ": it has no members" : ": the mapping has no such LAG"));
    } else {
        appendLagSteps(path.steps, key, *members, path.pairs.size());
    }
    return path;
}

} // namespace Agent
