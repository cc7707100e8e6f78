// What a run made of the entries that an earlier run had left, in words:
//
//     compared with previous.json: 7 kept, 1 added, 1 changed, 2 deleted as stale
//       added: bond0.200 in VLAN 200
//       deleted as stale: bond1.100 in VLANs 400-401
//       keeps its old LAG members, for it got none in this run: eth5.100 in VLAN 100
#pragma once

#include "agent/Snapshot.h"
#include "platform/Lag.h"

#include <string>
#include <string_view>

namespace Agent {

/// The text, lines closed. `lags` are the inputs of the run.
[[nodiscard]] std::string summaryOf(std::string_view previousName, Snapshot const &before,
                                    Snapshot const &after, Lag::LagPhyIntfMapping const &lags);

} // namespace Agent
