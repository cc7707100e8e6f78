// The derivation of one entry, recomputed from the inputs without regard to what the machine did:
// which statements of the dataflow it passes, with which values, and where it ends. What `explain`
// prints and `audit` compares with.
#pragma once

#include "agent/Inputs.h"
#include "agent/VlanNumber.h"
#include "platform/VlanSubIntfConfigDir.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {

// Rows of the inputs, and of the directory.

/// How the interface is a member of the VLAN; empty when it is none.
[[nodiscard]] Qor::Optional<Bridging::VlanPortConfig>
vlanMember(Inputs const &inputs, Bridging::VlanId vlan, Iftel::IntfId intf);
/// The members of a LAG, sorted; empty when the mapping has no such LAG.
[[nodiscard]] Qor::Optional<std::vector<Iftel::IntfId>> lagMembers(Inputs const &inputs,
                                                                   Iftel::IntfId lag);
/// The entry in the directory; null when there is none. Valid until the directory changes.
[[nodiscard]] VlanSubIntfConfigLib::VlanSubIntf const *
directoryEntry(VlanSubIntfConfigLib::VlanSubIntfConfigDir const &directory, Bridging::VlanId vlan,
               Iftel::IntfId intf);

// Results.

/// What must stand in the directory for a (VLAN, interface).
struct DerivedEntry {
    bool tagOnEgress = false;
    Bridging::AllowedTrafficDirection direction = Bridging::AllowedTrafficDirection::none;
    std::vector<Iftel::IntfId> members; ///< sorted
};

/// Whether the inputs derive an entry there.
[[nodiscard]] bool derivesEntry(Inputs const &inputs, Bridging::VlanId vlan, Iftel::IntfId intf);
/// Recompute it; empty when the inputs derive no such entry.
[[nodiscard]] Qor::Optional<DerivedEntry> deriveEntry(Inputs const &inputs, Bridging::VlanId vlan,
                                                      Iftel::IntfId intf);

// The way to a result.

/// A statement that an event of the entry meets.
struct DerivationStep {
    enum class Outcome : std::uint8_t { passed, wrote, ended };

    std::uint32_t line;         ///< in the dataflow program, as in trace lines
    std::string_view statement; ///< its text, as in trace lines
    Outcome outcome;
    std::string values; ///< "intfId=bond0.100", for people; names are printable
};

/// The steps of the entry's own stream and of the LAG stream behind it, in the order of the
/// program, until one ends. `entry` says whether they wrote an entry.
struct DerivationPath {
    std::vector<DerivationStep> steps;
    bool entry = false;
};
[[nodiscard]] DerivationPath derivationPath(Inputs const &inputs, Bridging::VlanId vlan,
                                            Iftel::IntfId intf);

/// The steps that the members of a LAG take, together, and the (VLAN, subinterface) pairs that ride
/// on the LAG, sorted. The pairs stand there also when the LAG has no members.
struct LagDerivationPath {
    std::vector<DerivationStep> steps;
    std::vector<std::pair<Bridging::VlanId, Iftel::IntfId>> pairs;
};
/// Looks through all VLANs for the pairs.
[[nodiscard]] LagDerivationPath lagDerivationPath(Inputs const &inputs, Iftel::IntfId lag);

} // namespace Agent
