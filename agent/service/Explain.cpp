#include "agent/service/Explain.h"

#include "agent/Error.h"
#include "agent/JsonText.h"
#include "agent/Members.h"
#include "agent/NaturalOrder.h"
#include "agent/ShellWord.h"
#include "agent/VlanRanges.h"
#include "agent/service/Derivation.h"
#include "agent/service/IntfNames.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <span>
#include <utility>

namespace Agent {
namespace {

using Directory = DirectoryJournal::Directory;
using Json = nlohmann::json;

/// A text of others as it stands in documents.
Json jsonText(std::string_view text) {
    std::string json;
    appendJsonString(json, text);
    return Json::parse(json);
}

Json jsonNames(std::span<Iftel::IntfId const> ids) {
    Json names = Json::array();
    for (std::string const &name : namesInOrder(ids)) {
        names.push_back(jsonText(name));
    }
    return names;
}

std::string_view outcomeWord(DerivationStep::Outcome outcome) {
    using enum DerivationStep::Outcome;
    return outcome == passed ? "passed" : outcome == wrote ? "wrote" : "ended";
}

Json jsonSteps(std::vector<DerivationStep> const &steps) {
    Json json = Json::array();
    for (DerivationStep const &step : steps) {
        json.push_back({{"line", step.line},
                        {"statement", step.statement},
                        {"outcome", outcomeWord(step.outcome)},
                        {"values", step.values}});
    }
    return json;
}

/// Whether the interface, or a subinterface of it, is in a VLAN of an input or of the directory.
bool isInVlan(auto const &vlans, Iftel::IntfId id) {
    for (auto const &[number, vlan] : vlans) {
        for (auto const &[intf, value] : vlan->intf()) {
            if (intf == id || Iftel::SubIntfId::parentIntfId(intf) == id) {
                return true;
            }
        }
    }
    return false;
}

std::vector<Iftel::IntfId> lagsOver(Lag::LagPhyIntfMapping const &mapping, Iftel::IntfId intf) {
    std::vector<Iftel::IntfId> lags;
    for (auto const &[id, lag] : mapping.lagPhyIntfConfig()) {
        if (lag->phyIntf().memberHas(intf)) {
            lags.push_back(id);
        }
    }
    return lags;
}

bool occurs(Inputs const &inputs, Directory const &directory, Iftel::IntfId id) {
    return inputs.lagPhyIntfMapping->lagPhyIntfConfig().memberHas(id) ||
           !lagsOver(*inputs.lagPhyIntfMapping, id).empty() ||
           isInVlan(inputs.bridgingConfig->vlanConfig(), id) || isInVlan(directory.config(), id);
}

/// The explanation of one interface.
class Explanation {
  public:
    Explanation(Inputs const &inputs, Directory const &directory, KeptMembers const &kept,
                Iftel::IntfId intf)
        : inputs_(inputs), directory_(directory), kept_(kept), intf_(intf),
          name_(printableName(intf)) {}

    [[nodiscard]] Json whatItIs() const {
        Json is{{"kind", "plain"},
                {"memberOf", jsonNames(lagsOver(*inputs_.lagPhyIntfMapping, intf_))}};
        if (Iftel::SubIntfId::isSubIntfId(intf_)) {
            auto const parent = Iftel::SubIntfId::parentIntfId(intf_);
            is["kind"] = "subinterface";
            is["parent"] =
                parent == Iftel::IntfId() ? Json() : jsonText(parent.stringValue().view());
        } else if (isLag()) {
            is["kind"] = "lag";
        }
        return is;
    }

    [[nodiscard]] bool isLag() const {
        return !Iftel::SubIntfId::isSubIntfId(intf_) &&
               (Iftel::PortChannelIntfId::isPortChannelIntfId(intf_) ||
                inputs_.lagPhyIntfMapping->lagPhyIntfConfig().memberHas(intf_));
    }
    [[nodiscard]] Json lagPart() const {
        auto const path = lagDerivationPath(inputs_, intf_);
        return {{"steps", jsonSteps(path.steps)},
                {"inputs", lagRows(intf_)},
                {"pairs", jsonPairs(path.pairs)}};
    }

    /// Where it is a member or has an entry.
    [[nodiscard]] std::vector<std::uint16_t> vlans() const {
        std::vector<std::uint16_t> numbers;
        for (std::uint16_t number = 1; number <= lastVlan; ++number) {
            Bridging::VlanId const vlan(number);
            if (vlanMember(inputs_, vlan, intf_) || directoryEntry(directory_, vlan, intf_)) {
                numbers.push_back(number);
            }
        }
        return numbers;
    }
    [[nodiscard]] Json vlanPart(Bridging::VlanId vlan) const {
        auto const path = derivationPath(inputs_, vlan, intf_);
        auto const *const entry = directoryEntry(directory_, vlan, intf_);
        auto const derived = deriveEntry(inputs_, vlan, intf_);
        auto const keptNow = derived ? keptBeside(vlan, *derived) : std::vector<Iftel::IntfId>();
        Json part{
            {"vlan", vlan.value()},
            {"derived", path.entry},
            {"steps", jsonSteps(path.steps)},
            {"inputs", rows(vlan)},
            {"directory", entry ? jsonEntry(*entry) : Json()},
            {"agrees", entry && derived ? agrees(*entry, *derived, keptNow) : !entry && !derived},
            {"kept", jsonNames(keptNow)}};
        if (!keptNow.empty()) {
            part["clear"] = waysToClear(vlan);
        }
        return part;
    }

  private:
    // Rows of the inputs.

    [[nodiscard]] Json rows(Bridging::VlanId vlan) const {
        Json rows = Json::array();
        auto const member = vlanMember(inputs_, vlan, intf_);
        if (!member) {
            return rows;
        }
        rows.push_back(
            {{"row", fmt::format("bridgingConfig.vlanConfig[{}].intf[{}]", vlan.value(), name_)},
             {"tagOnEgress", member->tagOnEgress},
             {"pvid", member->pvid},
             {"allowedTrafficDirection", directionWord(member->allowedTrafficDirection)}});
        if (Iftel::SubIntfId::isSubIntfId(intf_) &&
            Iftel::PortChannelIntfId::isPortChannelIntfId(intf_)) {
            Json const lag = lagRows(Iftel::SubIntfId::parentIntfId(intf_));
            rows.insert(rows.end(), lag.begin(), lag.end());
        }
        return rows;
    }
    [[nodiscard]] Json lagRows(Iftel::IntfId lag) const {
        Json rows = Json::array();
        auto const members = lagMembers(inputs_, lag);
        std::string const row =
            fmt::format("lagPhyIntfMapping.lagPhyIntfConfig[{}].phyIntf", printableName(lag));
        if (members && members->empty()) {
            rows.push_back({{"row", row}, {"size", 0}});
        } else if (members) {
            for (std::string const &name : namesInOrder(*members)) {
                rows.push_back({{"row", fmt::format("{}[{}]", row, printable(name))}});
            }
        }
        return rows;
    }

    /// For each subinterface its VLANs.
    static Json jsonPairs(std::vector<std::pair<Bridging::VlanId, Iftel::IntfId>> const &pairs) {
        std::map<Iftel::IntfId, std::vector<std::uint16_t>> vlansOf;
        for (auto const &[vlan, intf] : pairs) {
            vlansOf[intf].push_back(vlan.value());
        }
        std::vector<std::pair<std::string, std::string>> named;
        named.reserve(vlansOf.size());
        for (auto const &[intf, vlans] : vlansOf) {
            named.emplace_back(intf.stringValue().view(), vlanRanges(vlans));
        }
        std::ranges::sort(named, naturallyBefore, [](auto const &pair) { return pair.first; });
        Json json = Json::array();
        for (auto const &[name, vlans] : named) {
            json.push_back({{"intf", jsonText(name)}, {"vlans", vlans}});
        }
        return json;
    }

    // The directory, and members kept from an earlier run.

    static std::vector<Iftel::IntfId> membersOf(VlanSubIntfConfigLib::VlanSubIntf const &entry) {
        std::vector<Iftel::IntfId> members;
        for (Iftel::IntfId const member : entry.lagPhyIntf()) {
            members.push_back(member);
        }
        std::ranges::sort(members);
        return members;
    }
    static Json jsonEntry(VlanSubIntfConfigLib::VlanSubIntf const &entry) {
        return {{"tagOnEgress", entry.tagOnEgress()},
                {"allowedTrafficDirection", directionWord(entry.allowedTrafficDirection())},
                {"lagPhyIntf", jsonNames(membersOf(entry))}};
    }
    /// Sorted.
    [[nodiscard]] std::vector<Iftel::IntfId> keptBeside(Bridging::VlanId vlan,
                                                        DerivedEntry const &derived) const {
        std::vector<Iftel::IntfId> members;
        auto const kept = kept_.members().find({vlan, intf_});
        if (kept != kept_.members().end()) {
            std::ranges::set_difference(kept->second, derived.members, std::back_inserter(members));
        }
        return members;
    }
    static bool agrees(VlanSubIntfConfigLib::VlanSubIntf const &entry, DerivedEntry const &derived,
                       std::vector<Iftel::IntfId> const &kept) {
        std::vector<Iftel::IntfId> members;
        std::ranges::set_difference(membersOf(entry), kept, std::back_inserter(members));
        return entry.tagOnEgress() == derived.tagOnEgress &&
               entry.allowedTrafficDirection() == derived.direction && members == derived.members;
    }
    /// The commands that make the entry go and come back.
    [[nodiscard]] Json waysToClear(Bridging::VlanId vlan) const {
        auto const member = vlanMember(inputs_, vlan, intf_).value();
        std::string const port =
            fmt::format("dev {} vid {}", shellWord(intf_.stringValue().view()), vlan.value());
        return {"bridge vlan del " + port,
                fmt::format("bridge vlan add {}{}{}", port, member.pvid ? " pvid" : "",
                            member.tagOnEgress ? "" : " untagged")};
    }

    Inputs const &inputs_;
    Directory const &directory_;
    KeptMembers const &kept_;
    Iftel::IntfId intf_;
    std::string name_; ///< printable
};

} // namespace

nlohmann::json explain(Inputs const &inputs, Directory const &directory, KeptMembers const &kept,
                       std::string_view intf, std::optional<Bridging::VlanId> vlan,
                       std::vector<std::string> const &sourceFacts) {
    auto id = Iftel::NameTable::instance().lookup(intf);
    if (!id) {
        id = Iftel::IntfId::native(intf);
        if (!id || (sourceFacts.empty() && !occurs(inputs, directory, *id))) {
            fail("{}: no such interface is known", quote(intf));
        }
    }
    Explanation const explanation(inputs, directory, kept, *id);
    Json document{{"intf", jsonText(intf)}, {"is", explanation.whatItIs()}};
    for (Json &facts = document["source"] = Json::array(); std::string const &fact : sourceFacts) {
        facts.push_back(jsonText(fact));
    }
    if (explanation.isLag()) {
        document["lag"] = explanation.lagPart();
    }
    auto const vlans = vlan ? std::vector{vlan->value()} : explanation.vlans();
    auto const explained = std::min(vlans.size(), maxExplainedVlans);
    for (Json &parts = document["vlans"] = Json::array();
         std::uint16_t const number : std::span(vlans).first(explained)) {
        parts.push_back(explanation.vlanPart(Bridging::VlanId(number)));
    }
    document["otherVlans"] = vlanRanges(std::span(vlans).subspan(explained));
    return document;
}

} // namespace Agent
