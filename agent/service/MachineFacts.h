// How far a machine is, by the names that the agent shows: in status, metrics and what it waits
// for.
#pragma once

#include "VlanSubIntfConfigLib/VlanSubIntfConfigLib.h"

#include <string_view>
#include <utility>
#include <vector>

namespace Agent {

/// A part of a machine, and whether it is there yet.
using NamedFlags = std::vector<std::pair<std::string_view, bool>>;

/// Which input streams have finished the scan under way. `machine` may be null: then none has.
[[nodiscard]] NamedFlags streamsScanned(VlanSubIntfConfigLib::ConfigSm const *machine);
/// Which outputs are ready. `machine` may be null: then none is.
[[nodiscard]] NamedFlags outputsReady(VlanSubIntfConfigLib::ConfigSm const *machine);
/// The tasks of the machine's two walks over its output; none of null. Valid as long as the
/// machine. (Those of its scans are gone when it is ready, and the library keeps the input machines
/// to itself.)
[[nodiscard]] std::vector<Osk::Task const *> tasksOf(VlanSubIntfConfigLib::ConfigSm const *machine);

} // namespace Agent
