// The text form of a value in trace messages, the same in every message.
//
//   VlanId, AllowedTrafficDirection, IntfId   through their stream operators
//   bool                                      "true" or "false"
//   Optional                                  "Optional( <value> )", or "None"
#pragma once

#include <string>

namespace VlanSubIntfConfigLib::DovraCode {

/// Instantiated for the types above: Bridging::VlanId, Bridging::AllowedTrafficDirection,
/// Iftel::IntfId, bool, Qor::Optional<Bridging::VlanPortConfig> and
/// Qor::Optional<Qor::Ptr<Lag::EthPhyIntfLagConfig const>>.
template <class T> [[nodiscard]] std::string dovraPrint(T const &value);

} // namespace VlanSubIntfConfigLib::DovraCode
