// Brings the inputs level with a second, complete pair: what both have stays untouched, the rest
// comes, changes or goes. In slices, for the inputs of a running machine may be large.
//
// First comes what is wanted, then goes what is not: a member that moves between LAGs is never
// without one in between.
#pragma once

#include "agent/Inputs.h"
#include "platform/Osk.h"

#include <cstdint>
#include <optional>

namespace Agent {

class InputsUpdate {
  public:
    /// `wanted` must not change until step() has returned true.
    InputsUpdate(Inputs inputs, Inputs wanted);

    /// Go on until `task` should yield; true when the inputs hold what is wanted.
    [[nodiscard]] bool step(Osk::Task const &task);
    /// Members that were inserted, changed or removed so far.
    [[nodiscard]] std::uint64_t changes() const noexcept { return changes_; }

  private:
    struct Lags;
    struct Vlans;
    enum class Phase : std::uint8_t { lagsIn, vlansIn, lagsOut, vlansOut, done };

    template <class Kind> bool in(Osk::Task const &task);
    template <class Kind> bool out(Osk::Task const &task);
    [[nodiscard]] bool phaseEnds(Osk::Task const &task);

    Inputs inputs_;
    Inputs wanted_;
    Phase phase_ = Phase::lagsIn;
    std::uint64_t changes_ = 0;
    // Where the walk of the phase stands: a VLAN or LAG, and a member of it.
    std::optional<Lag::LagPhyIntfMapping::LagPhyIntfConfigMap::Iterator> lag_;
    std::optional<Lag::LagPhyIntfConfig::PhyIntfMap::Iterator> phyIntf_;
    std::optional<Bridging::Config::VlanConfigMap::Iterator> vlan_;
    std::optional<Bridging::VlanConfig::IntfMap::Iterator> intf_;
};

} // namespace Agent
