// A walk over the places where the inputs derive an entry or the directory has one, in slices:
// VLANs by number, within each first what the inputs derive, then what only the directory has.
//
// Inputs and directory may change between two steps. A place that stays is visited once, one that
// comes or goes meanwhile at most once, unless it changes sides.
#pragma once

#include "agent/Inputs.h"
#include "platform/Osk.h"
#include "platform/VlanSubIntfConfigDir.h"

#include <cstdint>
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
    enum class Side : std::uint8_t { inputs, directory };

    /// Go on within the VLAN; true when it is done.
    [[nodiscard]] bool walkVlan(Osk::Task const &task, Visit const &visit);
    [[nodiscard]] bool walkInputs(Osk::Task const &task, Visit const &visit);
    [[nodiscard]] bool walkDirectory(Osk::Task const &task, Visit const &visit);
    template <class Map>
    [[nodiscard]] bool walk(Map const &map, Osk::Task const &task, auto const &visitKey);

    Inputs const *inputs_;
    Directory const *directory_;
    // Where it goes on.
    std::uint16_t vlan_ = 1;
    Side side_ = Side::inputs;
    Qor::Optional<Iftel::IntfId> next_; ///< none: at the side's beginning
};

} // namespace Agent
