// What explain() (agent/service/Explain.h) says, for people:
//
//     eth5.100: a subinterface of eth5
//
//     VLAN 100: an entry is derived
//       25  passed  vlanConfigStream = from( bridgingConfig.vlanConfig[].intf[] ): vlanId=100 ...
//       29  passed  filter( SubIntfId::isSubIntfId( intfId ) ): intfId=eth5.100: a subinterface ...
//       ...
//       37  ended   filter( PortChannelIntfId::isPortChannelIntfId( intfId ) ): ...
//       inputs:
//         bridgingConfig.vlanConfig[100].intf[eth5.100] = untagged, direction none
//       directory: untagged, direction none, no members
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace Agent {

/// The document as text, lines closed; no control character is left in what it quotes. Throws what
/// nlohmann::json throws for a document of another form.
[[nodiscard]] std::string explanationText(nlohmann::json const &document);

} // namespace Agent
