// A walk over the places where the inputs derive an entry or the directory has one, in slices:
// VLANs by number, within each first what the inputs derive, then what only the directory has.
//
// Inputs and directory may change between two steps. A place that stays is visited once, one that
// comes or goes meanwhile at most once, unless it changes sides.
#pragma once

#include "agent/Inputs.h"
#include "agent/VlanWalk.h"
#include "platform/Osk.h"
#include "platform/VlanSubIntfConfigDir.h"

#include <functional>

namespace Agent {

class EntryWalk {
  public:
    using Directory = VlanSubIntfConfigLib::VlanSubIntfConfigDir;
    using Visit = std::function<void(Bridging::VlanId, Iftel::IntfId)>;

    /// Both must outlive it.
    EntryWalk(Inputs const &inputs, Directory const &directory)
        : inputs_(&inputs), directory_(&directory) {}

    /// Go on until `task` should yield; true when the walk is over. `visit` changes neither inputs
    /// nor directory.
    [[nodiscard]] bool step(Osk::Task const &task, Visit const &visit);

  private:
    Inputs const *inputs_;
    Directory const *directory_;
    VlanWalk overInputs_; ///< goes first in each VLAN
    VlanWalk overDirectory_;
};

} // namespace Agent
