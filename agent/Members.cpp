#include "agent/Members.h"

#include "agent/JsonText.h"
#include "platform/Nuvio/Assert.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace Agent {
namespace {

constexpr std::array<std::string_view, 4> words = {"none", "ingress", "egress", "both"};

std::string describe(Bridging::VlanPortConfig const &member) {
    return fmt::format("{}{} with direction {}", member.tagOnEgress ? "tagged" : "untagged",
                       member.pvid ? " PVID" : "", directionWord(member.allowedTrafficDirection));
}

} // namespace

std::optional<Bridging::VlanPortConfig> memberIs(Bridging::Config &config, Bridging::VlanId vlan,
                                                 Iftel::IntfId intf,
                                                 Bridging::VlanPortConfig const &member) {
    auto const entry = config.vlanConfigIs(vlan);
    if (auto const *const known = entry->intf().lookupNodeG(intf)) {
        return known->value() == member ? std::nullopt : std::optional(known->value());
    }
    entry->intfIs(intf, member);
    return std::nullopt;
}

std::string contradiction(std::string_view name, Bridging::VlanId vlan,
                          Bridging::VlanPortConfig const &first,
                          Bridging::VlanPortConfig const &second) {
    return fmt::format("{} is in VLAN {} twice, {} and {}", printable(name), vlan.value(),
                       describe(first), describe(second));
}

std::string_view directionWord(Bridging::AllowedTrafficDirection direction) noexcept {
    auto const index = static_cast<std::size_t>(direction);
    NUVIO_ASSERT(index < words.size());
    return words[index];
}

std::optional<Bridging::AllowedTrafficDirection> directionOf(std::string_view word) noexcept {
    auto const *const found = std::find(words.begin(), words.end(), word);
    if (found == words.end()) {
        return std::nullopt;
    }
    return static_cast<Bridging::AllowedTrafficDirection>(found - words.begin());
}

} // namespace Agent
